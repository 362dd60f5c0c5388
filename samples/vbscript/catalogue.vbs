' Lists a folder of a catalogue and writes the number of documents to a meta-file.
' cscript //nologo catalogue.vbs C:\catalogue\C.dat C:\docs C:\catalogue\notes.mtf
Set library = CreateObject("ZorelOibIdxLib.COibIdxLib")
Set browser = library.BrowseOibDF(WScript.Arguments(0))
Set files = browser.GetFilesEx(WScript.Arguments(1), True, ".txt;.docx")
WScript.Echo files.FilesCount & " files, " & files.TotalSize & " bytes"
Set notes = library.CreateMetaFile(WScript.Arguments(2), 1) ' 1: EIdxMetaOpenRW, opens or creates
notes.SetAttr "Documents.Count", CStr(files.FilesCount)
notes.FlushChanges
WScript.Echo "Documents.Count = " & notes.GetExistingAttr("Documents.Count")
notes.Close
browser.Close
