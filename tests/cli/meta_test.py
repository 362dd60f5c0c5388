#!/usr/bin/env python3
"""Runs the commands of the client on meta-files, which the test writes and reads itself."""
import os
import unittest

from tool_support import ClientTest, objects, run

WEB, DB = "9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d", "0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a"
NO_ID = "{00000000-0000-0000-0000-000000000000}"


class MetaTest(ClientTest):
    def setUp(self):
        super().setUp()
        self.file = os.path.join(self.base, "x.mtf")

    def write_lines(self, *lines):
        self.write("x.mtf", "\r\n".join(lines))

    def lines(self):
        with open(self.file, "rb") as file:
            return file.read().decode("utf-16-le")[1:].split("\r\n")

    def run_on_file(self, command, *arguments, code=0):
        """Standard output and standard error of a run whose exit code has to be `code`."""
        done = run(*command.split(), self.file, *arguments)
        self.assertEqual(done.returncode, code, done.stderr)
        return done.stdout.decode(), done.stderr.decode()

    def objects(self, command, *arguments, code=0):
        return objects(*command.split(), self.file, *arguments, "--json", code=code)

    def test_reading(self):
        self.write_lines("#c", "Job.Name=Da\x1bily", "job.Server.Host = srv=1", "v=\U0001F600", "note")
        everything = [("v", "\U0001F600"), ("Job.Name", "Da\x1bily"), ("Job.Server.Host", "srv=1")]
        for subtree, wanted in [([], everything), (["JOB"], everything[1:]), (["v"], []),
                                (["job..server."], everything[2:]), (["Jo"], [])]:
            code = 0 if wanted else 1
            listed = self.objects("meta list", *subtree, code=code)
            self.assertEqual(listed, [{"name": n, "value": v} for n, v in wanted], subtree)
            text = "".join(f"{n}={v}\n" for n, v in wanted).replace("\x1b", "\\x1B")
            self.assertEqual(self.run_on_file("meta list", *subtree, code=code), (text, ""))
        self.assertEqual(self.run_on_file("meta get", "JOB.Name"), ("Da\x1bily\n", ""))
        self.assertEqual(self.objects("meta get", "v"), [{"name": "v", "value": "\U0001F600"}])
        self.assertEqual(self.run_on_file("meta get", "job.name", code=1),
                         ("", f"oibidx: {self.file}: no attribute job.name\n"))

    def test_editing(self):
        self.assertIn("no such file", self.run_on_file("meta set", "a=1", code=2)[1])
        self.assertFalse(os.path.exists(self.file))
        notes = ["#one", "#", "#two", "#three"]
        for command, arguments, code, answer, lines in [
                ("set", ["--create", "a.b=1", "c=x=y"], 0, {"set": 2}, ["a.b=1", "c=x=y"]),
                ("set", ["A.b", "p=q"], 0, {"set": 1}, ["a.b=p=q", "c=x=y"]),
                ("comment", ["one\n\ntwo", "three"], 0, {"comments": 4}, ["a.b=p=q", "c=x=y", *notes]),
                ("del", ["C", "d"], 1, {"deleted": 0}, ["a.b=p=q", "c=x=y", *notes]),
                ("del", ["c", "d"], 0, {"deleted": 1}, ["a.b=p=q", *notes]),
                ("set", ["e.f.g="], 0, {"set": 1}, ["a.b=p=q", *notes, "e.f.g="]),
                ("del", ["--tree", "E.f", "a"], 0, {"deleted": 2}, notes)]:
            self.assertEqual(self.objects("meta " + command, *arguments, code=code),
                             [{"file": self.file, **answer}])
            self.assertEqual(self.lines(), lines, arguments)

    def test_text_without_a_mark_is_converted(self):
        for old, kept in (b"", []), (b"A=1\r\n#c\r\nx=2\r\nB=\xc3\xbc", ["A=1", "#c", "x=2", "B=ü"]):
            for command, argument, added in ("set", "xx=3", "xx=3"), ("comment", "n", "#n"):
                self.write("x.mtf", old)
                self.run_on_file("meta " + command, argument)
                self.assertEqual(self.lines(), [*kept, added])
        for old in b"a" * (50 << 20), b"\xff\xfe" + bytes(104857580):
            self.write("x.mtf", old)
            self.assertIn("not be opened again", self.run_on_file("meta set", "longer=1", code=2)[1])
            self.assertEqual(os.path.getsize(self.file), len(old))

    def test_text_that_would_be_lost_is_an_error(self):
        self.write_lines("a=1")
        split = b"\xe0\xb4\x85\xe0\xa8\x80\xc4\x80"  # its bytes contain a line break
        for arguments in (["#x=1"], ["x= 1"], ["x=1\t"], [" x=1"], ["x=1\r\n2"], ["=1"], ["..=1"],
                          ["x"], ["x", "y", "z=1"], [b"x=" + split]):
            self.assertTrue(self.run_on_file("meta set", "b=2", *arguments, code=2)[1], arguments)
        for arguments in (["comment", split], ["del", ""], ["del", "--tree", "."]):
            self.run_on_file("meta " + arguments[0], *arguments[1:], code=2)
        self.assertEqual(self.lines(), ["a=1"])

    def test_sessions(self):
        groups = [["oib1.VmName=web\x7f", "oib1.BackupTimeUtc=monday", f"oib1.OibUID={{{WEB}}}"],
                  ["oib2.VmName=db02", "oib2.BackupTimeUtc=wednesday", f"oib2.OibUID={DB}"]]
        self.write_lines(*groups[0], *groups[1])
        self.assertEqual(self.objects("session list"), [
            {"vmName": "db02", "backupTimeUtc": "wednesday", "uniqueId": f"{{{DB}}}"},
            {"vmName": "web\x7f", "backupTimeUtc": "monday", "uniqueId": f"{{{WEB}}}"}])
        self.assertEqual(self.run_on_file("session list")[0],
                         f"{{{DB}}}  wednesday  db02\n{{{WEB}}}  monday     web\\x7F\n")
        for ids, code in (([WEB[:-1]], 2), ([WEB + "0"], 2), (["x" + WEB[1:]], 2), ([NO_ID], 2),
                          (["-" + WEB[1:]], 2), ([WEB.replace("9", "8")], 1)):
            self.run_on_file("session delete", "--", *ids, code=code)
            self.assertEqual(self.lines(), groups[0] + groups[1], ids)
        self.assertEqual(
            self.objects("session delete", f"{{{WEB.upper()}}}", WEB.replace("9", "8")),
            [{"file": self.file, "deleted": 1}])
        self.assertEqual(self.lines(), groups[1])
        self.run_on_file("session delete", DB)
        self.assertEqual(self.run_on_file("session list", code=1), ("", ""))
        os.remove(self.file)
        self.run_on_file("session delete", DB, code=2)
        self.assertFalse(os.path.exists(self.file))

    def test_publications(self):
        self.write_lines("Publication.LocalTime=noon", "cmd.7.Type=AddBSession", "cmd.7.JobName=Daily",
                   "cmd.7.grp.5.BackupFile.2.Path=/a", "cmd.7.grp.9.OIB.1.VmName=web",
                   f"cmd.7.grp.9.OIB.1.OibUID={WEB}", "cmd.-3.Type=Other", "cmd.07.BackupServer=s")
        command = {"type": "command", "jobName": "", "backupServer": "", "sessionDateUtc": ""}
        self.assertEqual(self.objects("publication show"), [
            {"type": "publication", "localTime": "noon", "utcTime": ""},
            {**command, "command": 7, "commandType": "AddBSession", "jobName": "Daily",
             "backupServer": "s"},
            {"type": "backupFile", "command": 7, "group": 0, "server": "", "path": "/a",
             "modifyDateUtc": ""},
            {"type": "oib", "command": 7, "group": 1, "vmName": "web", "backupTimeUtc": "",
             "oibUid": f"{{{WEB}}}", "origin": "", "platform": ""},
            {**command, "command": -3, "commandType": "Other"}])
        self.assertEqual(
            self.run_on_file("publication show")[0],
            "Local time  noon\nCommand 7\n  Type      AddBSession\n  Job       Daily\n"
            "  Server    s\n  Group 0, backup file\n    Path        /a\n"
            f"  Group 1, restore point\n    Machine     web\n    Identifier  {{{WEB}}}\n"
            "Command -3\n  Type      Other\n")
        self.write_lines("note")
        self.assertIn("not a publication", self.run_on_file("publication show", code=2)[1])
        self.write_lines("cmd.1.JobName=a", "cmdX.2.JobName=b")
        self.assertIn("several trees", self.run_on_file("publication show", code=2)[1])


unittest.main()
