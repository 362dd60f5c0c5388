// What differs from VBScript: non-Latin text, null objects and exceptions. Argument: a folder
// for the files of this script, ending with a backslash.
var folder = WScript.Arguments(0);
var text = "\u0416\u4e2d\ud83d\ude00";

function expect(what, actual, expected) {
    if (String(actual) !== String(expected)) {
        WScript.Echo(what + ": '" + actual + "' instead of '" + expected + "'");
        WScript.Quit(1);
    }
}

var library = new ActiveXObject("ZorelOibIdxLib.COibIdxLib");
expect("a match", library.IsWildcardMatch("C:\\\u0416\u0437\\\u0416.txt", "\u0416*.TXT"), true);

// A meta-file: created, edited, flushed, opened again.
var meta = library.CreateMetaFile(folder + text + ".mtf", 2);
meta.SetAttr("Job.Name", text);
meta.FlushChanges();
meta.Close();
meta = library.CreateMetaFile(folder + text + ".mtf", 1);
expect("text beyond Latin", meta.GetExistingAttr("Job.Name"), text);
expect("a missing subtree", meta.FindAttrsTree("None") === null, true);

// A failure, with its number and description.
var failure = {number: 0, description: ""};
try {
    library.BrowseOibDF(folder + "missing.dat");
} catch (error) {
    failure = error;
}
expect("its number", (failure.number >>> 0).toString(16), "80070002");
expect("its outermost context", failure.description.split("\n")[0].replace("\r", ""),
       "Instance of the CCoOibDFBrowser() cannot be initialized.");

WScript.Echo("client.js: all steps passed");
