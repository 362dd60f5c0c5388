// Lists a folder of a catalogue and writes the number of documents to a meta-file.
// cscript //nologo catalogue.js C:\catalogue\C.dat C:\docs C:\catalogue\notes.mtf
var EIdxMetaOpenRW = 1;
var path = WScript.Arguments(0), folder = WScript.Arguments(1);

try {
    var library = new ActiveXObject("ZorelOibIdxLib.COibIdxLib");
    var browser = library.BrowseOibDF(path);
    var files = browser.GetFilesEx(folder, true, ".txt;.docx");
    WScript.Echo(files.FilesCount + " files, " + files.TotalSize + " bytes");
    browser.Close();

    var notes = library.CreateMetaFile(WScript.Arguments(2), EIdxMetaOpenRW);
    notes.SetAttr("Documents.Count", String(files.FilesCount));
    notes.FlushChanges();
    WScript.Echo("Documents.Count = " + notes.GetExistingAttr("Documents.Count"));
    notes.Close();
} catch (error) {
    // The library's message: the failed operation first, the cause last.
    WScript.Echo("0x" + (error.number >>> 0).toString(16) + ": " + error.description);
    WScript.Quit(1);
}
