' A session with every object of the library. Arguments: a folder for the files of this
' script, ending with a backslash, and the example catalogue.
Option Explicit
Dim folder, library, browser, files, tree, meta, session, refs, order, reader
Dim number, source, description
folder = WScript.Arguments(0)

Sub Expect(what, actual, expected)
    If CStr(actual) <> CStr(expected) Then
        WScript.Echo what & ": '" & actual & "' instead of '" & expected & "'"
        WScript.Quit 1
    End If
End Sub

Set library = CreateObject("ZorelOibIdxLib.COibIdxLib.5")
library.InitLogging folder & "client.log", True
Expect "a match", library.iswildcardMATCH("C:\docs\Readme.txt", "read*.TXT"), True
Expect "no match", library.IsWildcardMatch("C:\docs\Readme.txt", "*.docx"), False
Expect "a fingerprint", library.ConvetrPathToCrcStr("C:\Users\john", 3), "0hac906abf43d5"

' Browsing.
Set browser = library.BrowseOibDF(WScript.Arguments(1))
Expect "type of a list", VarType(browser.GetFolders("C:")), 8200
Expect "files of the root", browser.GetFiles("C:").FilesCount, 0
Set files = browser.GetFilesEx("C:", True, ".txt")
Expect "files", files.FilesCount, 1
Expect "bytes", files.TotalSize, 1234
Expect "files with another ending", browser.GetFilesEx("C:", True, ".doc").FilesCount, 0
browser.Close

' A meta-file: created, edited, flushed, opened again.
Set meta = library.CreateMetaFile(folder & "client.mtf", 2)
meta.SetAttr "Job.Name", "Nightly"
meta.SetAttr "Job.Number", 7
Set tree = meta.CreateAttrsTree("Job.Hosts")
tree.CreateSubtree("Spare").SetAttr "Second", "srv02"
meta.PushComment "edited by a script"
meta.FlushChanges
meta.Close
Expect "existence", library.IsMetaFileExists(folder & "client.mtf"), True
Set meta = library.CreateMetaFile(folder & "client.mtf", 1)
Expect "a number", meta.GetExistingAttr("Job.Number"), "7"
Expect "a missing attribute", meta.FindAttr("Job.None"), ""
Expect "a missing subtree", meta.FindAttrsTree("None") Is Nothing, True
Expect "an attribute of a subtree", meta.GetExistingAttr("Job.Hosts.Spare.Second"), "srv02"
meta.DelAttr "Job.Name"
meta.GetExistingAttrsTree("Job").DelSubtree "Hosts"
meta.FlushChanges
meta.Close
Set meta = library.CreateMetaFile(folder & "client.mtf", 0)
Expect "what is left", meta.FindAttr("Job.Name") & meta.FindAttr("Job.Number") & _
    meta.FindAttr("Job.Hosts.Spare.Second"), "7"

' A backup session and a publication, in one file.
Set meta = library.CreateMetaFile(folder & "session.mtf", 2)
meta.SetAttr "oib0.VmName", "machine"
meta.SetAttr "oib0.BackupTimeUtc", "01/15/2013 09:05:07"
meta.SetAttr "Publication.UTCTime", "01/15/2013 09:05:07"
meta.SetAttr "cmd.7.Type", "AddBSession"
meta.SetAttr "cmd.7.JobName", "Nightly"
meta.SetAttr "cmd.3.Type", "Other"
meta.FlushChanges
meta.Close
Set session = library.CreateBSessionMetaFile(folder & "session.mtf", 0)
Set refs = session.EnumOibsRefs()
Expect "references", refs.RefsCount, 1
refs.MoveToElem 0
Expect "a machine", refs.VmName, "machine"
session.Close
Set order = library.LoadPublicationOrderingInfo(folder & "session.mtf")
Expect "the time of a publication", order.PubUtcTime, "01/15/2013 09:05:07"
Set reader = Nothing
library.LoadPublication folder & "session.mtf", reader
Expect "commands", reader.CmdCount, 2
Expect "a command", reader.GetCmdType(0), "AddBSession"
Expect "groups of a command", reader.AddBSessionCmdAccessor.GetRetargetedOibGroupsNum(7), 0
Expect "the publication's text", reader.MetaFile.GetExistingAttr("cmd.7.JobName"), "Nightly"

' A failure, with its number, source and description.
On Error Resume Next
Set browser = library.BrowseOibDF(folder & "missing.dat")
number = Err.Number
source = Err.Source
description = Err.Description
On Error Goto 0
Expect "number of the failure", Hex(number), "80070002"
Expect "source of the failure", source, "ZorelOibIdxLib.COibIdxLib.5"
Expect "its outermost context", InStr(description, "Instance of the CCoOibDFBrowser() "), 1

WScript.Echo "client.vbs: all steps passed"
