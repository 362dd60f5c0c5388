// Browses a folder of a catalogue and notes in a meta-file what it found.
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
    // The library's own message; its lines run from the outermost context inwards.
    WScript.Echo("0x" + (error.number >>> 0).toString(16) + ": " + error.description);
    WScript.Quit(1);
}
