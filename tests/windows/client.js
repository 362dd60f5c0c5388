// What the examples of the documents do not show: non-Latin text, numbers as text, deletions,
// null objects and exceptions. Argument: a folder for the files of this script, ending with a
// backslash.
var path = WScript.Arguments(0) + "\u0416\u4e2d\ud83d\ude00.mtf";

function expect(what, actual, expected) {
    if (String(actual) !== String(expected)) {
        WScript.Echo(what + ": '" + actual + "' instead of '" + expected + "'");
        WScript.Quit(1);
    }
}

var library = new ActiveXObject("ZorelOibIdxLib.COibIdxLib.5");
expect("a match", library.iswildcardMATCH("C:\\\u0416\u0437\\\u0416.txt", "\u0416*.TXT"), true);
var meta = library.CreateMetaFile(path, 2);
meta.SetAttr("Job.Name", path);
meta.SetAttr("Job.Number", 7);
meta.CreateAttrsTree("Job.Hosts").CreateSubtree("Spare").SetAttr("Second", "srv02");
meta.DelAttr("Job.Name");
meta.FlushChanges();
meta.Close();
expect("existence", library.IsMetaFileExists(path), true);
meta = library.CreateMetaFile(path, 1);
expect("a number", meta.GetExistingAttr("Job.Number"), "7");
expect("a missing attribute", meta.FindAttr("Job.Name"), "");
expect("an attribute of a subtree", meta.GetExistingAttr("Job.Hosts.Spare.Second"), "srv02");
meta.GetExistingAttrsTree("Job").DelSubtree("Hosts");
expect("a missing subtree", meta.FindAttrsTree("Job.Hosts") === null, true);
meta.SetAttr("Job.Name", path);
expect("text beyond Latin", meta.GetExistingAttr("Job.Name"), path);

var failure = {number: 0, description: ""};
try {
    library.BrowseOibDF(path + ".missing");
} catch (error) {
    failure = error;
}
expect("its number", (failure.number >>> 0).toString(16), "80070002");
expect("its outermost context", failure.description.split("\n")[0].replace("\r", ""),
       "Instance of the CCoOibDFBrowser() cannot be initialized.");

WScript.Echo("all steps passed");
