// The steps of client.vbs from JScript, with text beyond Latin. Arguments: a folder for the
// files made here, ending with a backslash, and the example catalogue.
var folder = WScript.Arguments(0), example = WScript.Arguments(1);

function expect(what, actual, expected) {
    if (String(actual) !== String(expected)) {
        WScript.Echo(what + ": '" + actual + "' instead of '" + expected + "'");
        WScript.Quit(1);
    }
}

var library = new ActiveXObject("ZorelOibIdxLib.COibIdxLib");
var strings = new ActiveXObject("ZorelOibIdxTest.Strings");
library.InitLogging(folder + "client.log", true);

// Matching and fingerprints; the letter is a Cyrillic one.
expect("a match", library.IsWildcardMatch("C:\\\u0416\u0437\\\u0416.txt", "\u0416*.TXT"), true);
expect("no match", library.IsWildcardMatch("C:\\\u0416.txt", "\u0417*.TXT"), false);
expect("a fingerprint", library.ConvetrPathToCrcStr("C:\\Users\\john", 3), "0hac906abf43d5");
expect("in other case", library.ConvetrPathToCrcStr("c:\\USERS\\John", 3), "0hac906abf43d5");

// Browsing.
var browser = library.BrowseOibDF(example);
expect("folders", strings.Joined(browser.GetFolders("C:"), ";"), "docs");
var files = browser.GetFiles("C:\\docs");
expect("files", files.FilesCount, 1);
expect("bytes", files.TotalSize, 1234);
browser.Close();

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
meta.DelAttrsTree("Job.Hosts");
meta.FlushChanges();
meta.Close();
meta = library.CreateMetaFile(folder + "client_js.mtf", 0);
expect("what is left", strings.Joined(meta.EnumAllAttrs(), ";"), "Job.Name");

// A publication.
meta = library.CreateMetaFile(folder + "publication_js.mtf", 2);
meta.SetAttr("Publication.UTCTime", "01/15/2013 09:05:07");
meta.SetAttr("cmd.7.Type", "AddBSession");
meta.SetAttr("cmd.7.JobName", "Nightly");
meta.FlushChanges();
meta.Close();
var order = library.LoadPublicationOrderingInfo(folder + "publication_js.mtf");
expect("the time of a publication", order.PubUtcTime, "01/15/2013 09:05:07");

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
