// What differs from VBScript: non-Latin text, null objects and exceptions. Argument: a folder
// for the files of this script, ending with a backslash.
var folder = WScript.Arguments(0);

function expect(what, actual, expected) {
    if (String(actual) !== String(expected)) {
        WScript.Echo(what + ": '" + actual + "' instead of '" + expected + "'");
        WScript.Quit(1);
    }
}

var library = new ActiveXObject("ZorelOibIdxLib.COibIdxLib");
var strings = new ActiveXObject("ZorelOibIdxTest.Strings");
library.InitLogging(folder + "client.log", true);

// Matching; the letter is Cyrillic.
expect("a match", library.IsWildcardMatch("C:\\\u0416\u0437\\\u0416.txt", "\u0416*.TXT"), true);

// A meta-file: created, edited, flushed, opened again.
var meta = library.CreateMetaFile(folder + "client_js.mtf", 2);
meta.SetAttr("Job.Name", "\u0416\u4e2d\ud83d\ude00");
var tree = meta.CreateAttrsTree("Job.Hosts");
tree.SetAttr("First", "srv01");
meta.FlushChanges();
meta.Close();
expect("existence", library.IsMetaFileExists(folder + "client_js.mtf"), true);
meta = library.CreateMetaFile(folder + "client_js.mtf", 1);
expect("text beyond Latin", meta.GetExistingAttr("Job.Name"), "\u0416\u4e2d\ud83d\ude00");
expect("attributes", strings.Joined(meta.EnumAllAttrs(), ";"), "Job.Name;Job.Hosts.First");
expect("a missing subtree", meta.FindAttrsTree("None") === null, true);
meta.Close();

// A failure, with its number and description.
var failure = null;
try {
    library.BrowseOibDF(folder + "missing.dat");
} catch (error) {
    failure = error;
}
expect("a failure", failure !== null, true);
expect("its number", (failure.number >>> 0).toString(16), "80070002");
expect("its outermost context", failure.description.split("\n")[0].replace("\r", ""),
       "Instance of the CCoOibDFBrowser() cannot be initialized.");

WScript.Echo("client.js: all steps passed");
