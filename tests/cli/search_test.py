#!/usr/bin/env python3
"""Runs generation and the searches of the client on trees made by the test."""
import glob
import os
import re
import struct
import time
import unittest

from tool_support import HOST, ClientTest, answer, make_tree, model, objects, owner_of, run

MOMENT = 1709296215  # 2024-03-01T12:30:15Z


class SearchTest(ClientTest):
    def setUp(self):
        super().setUp()
        self.summary = os.path.join(self.catalogue, "summary.txt")
        self.texts = os.path.join(self.base, "texts")

    def generate(self):
        self.assertIn(run("generate", self.summary, "-o", self.texts).returncode, [0, 3])

    def text_names(self):
        return sorted(glob.glob(os.path.join(glob.escape(self.texts), "vl.*")))


class Searches(SearchTest):
    def check(self, arguments, wanted):
        """Both searches print the files with the names `wanted`."""
        for command, places in (("find", [self.catalogue]), ("find-text", self.text_names())):
            code = 0 if wanted else 1
            listed = objects(command, *places, *arguments, "--json", code=code)
            names = sorted(file["path"].rpartition("\\")[2] for file in listed)
            self.assertEqual(names, sorted(wanted), (command, arguments))
            self.assertEqual(answer(command, *places, *arguments, "--count", code=code),
                             b"%d\n" % len(wanted))

    def test_filters(self):
        now = time.time_ns()
        self.make("Docs/report.txt", b"x" * 100, modified=MOMENT * 10**9)
        self.make("Docs/Old/my_Report.TXT", b"x" * 4096, modified=(MOMENT + 86400) * 10**9)
        self.make("Docs2/x1.log", b"", modified=0)
        self.make("ten")
        os.truncate(os.path.join(self.tree, "ten"), 5 * 2**30)
        os.utime(os.path.join(self.tree, "ten"), ns=(0, now - 13 * 86400 * 10**9))
        self.scan()
        self.generate()
        user = owner_of(os.stat(self.tree)).partition("\\")[2]
        report, old, log, ten = everything = ["report.txt", "my_Report.TXT", "x1.log", "ten"]
        for arguments, wanted in [
                ([], everything), (["--name=REPORT"], [report, old]), (["--name=*my"], [old]),
                (["--name=REPORT", "--search-server-rule"], [report]), (["--name="], everything),
                (["--name=?????????????"], [old]), (["--name=r*t.t"], [report]),
                (["--under=/docs"], [report, old]), (["--under", "C:\\Docs\\"], [report, old]),
                (["--under=docs/old"], [old]), (["--under=c:"], everything), (["--under=D:"], []),
                (["--under="], everything), (["--under=Doc"], []),
                (["--newer-than=2024-03-01T12:30:15"], [report, old, ten]),
                (["--newer-than=2024-03-01 12:30:16Z"], [old, ten]),
                (["--older-than=2024-03-01T12:30:15"], [report, log]),
                (["--older-than=2024-03-01"], [log]), (["--newer-than=320h"], [ten]),
                (["--older-than=2024-03-01T12:31"], [report, log]), (["--newer-than=2w"], [ten]),
                (["--newer-than=15d"], [ten]), (["--newer-than=14000min"], []),
                (["--older-than=1200000s", "--newer-than=1970-01-02"], [report, old]),
                (["--newer-than=9223372036854775807w"], everything),
                (["--min-size=100"], [report, old, ten]), (["--max-size=100"], [report, log]),
                (["--min-size=4K"], [old, ten]), (["--min-size=4097"], [ten]), (["--min-size=1T"], []),
                (["--min-size=5GB", "--max-size=5120m"], [ten]), (["--ext=.TXT,log"], [report, old, log]),
                (["--ext= .txt ; 1 .log"], [report, old]), (["--ext="], everything), (["--ext=;"], []),
                (["--ext=ten"], []), (["--owner=" + user], everything), (["--owner="], everything),
                ([f"--owner={HOST.lower()}\\{user.upper()}"], everything),
                ([f"--owner={user}@{HOST}"], everything), ([f"--owner=other\\{user}"], []),
                (["--under=docs", "--ext=txt", "--max-size=1K"], [report])]:
            self.check(arguments, wanted)

    def test_json_of_a_random_tree(self):
        make_tree(self.tree, 5)
        self.scan()
        self.generate()
        wanted = [*model(self.tree)[1].values()]
        # A line of text contains no stray bytes and no line breaks.
        in_text = [{**file, "owner": ""} for file in wanted
                   if not re.search("[\n\r\ud800-\udfff]", file["path"])]
        for wanted, *arguments in ((wanted, "find", self.catalogue),
                                   (in_text, "find-text", *self.text_names())):
            self.assertEqual(sorted(objects(*arguments, "--json"), key=lambda f: f["path"]),
                             sorted(wanted, key=lambda f: f["path"]))

    def test_listings(self):
        self.make("Docs/ten\x1b", b"abc", modified=MOMENT * 10**9)
        self.scan()
        self.generate()
        line = "2024-03-01 12:30:15              3  %s  C:\\Docs\\ten\\x1B\n"
        owner = owner_of(os.stat(self.tree))
        for place in (self.catalogue, self.summary):
            self.assertEqual(answer("find", place).decode(), line % owner.ljust(16))
        texts = self.text_names()
        self.assertEqual(answer("find-text", *texts).decode(), line % "-".ljust(16))
        for command, places in (("find", [self.catalogue]), ("find-text", texts)):
            for name, count in (("ten", 1), ("other", 0)):
                self.assertEqual(objects(command, *places, f"--name={name}", "--count", "--json",
                                         code=1 - count), [{"count": count}])

    def test_owners_in_the_names_of_texts(self):
        names = ["vl.C.CORP.ann.0.txt", "vl.C.LAB.ann.12.txt", "vl.D..bob.0.txt",
                 "vl.C.a.b.ann.0.txt", "vl.C.unkn0.0.txt"]
        texts = [self.write(name, f"01/15/2013 09:05:07, {1 << i}, C:\\x\r\n").replace("/v", "\\v")
                 for i, name in enumerate(names)]
        for owner, found in [("CORP\\ann", 1), ("corp.ANN", 1), ("ann@lab", 2), ("ann", 11),
                             ("nn", 0), ("\\bob", 4), ("a.b\\ann", 8), ("unkn0", 0), ("CORP", 0),
                             ("", 31)]:
            listed = objects("find-text", *texts, f"--owner={owner}", "--json",
                             code=0 if found else 1)
            self.assertEqual(sum(file["size"] for file in listed), found, owner)
        for name in ("ann.txt", "vl.C.ann.0.txt", "vl.C.CORP.ann.x.txt", "vl.C.CORP.ann.0.map",
                     "vl.C.unkn.0.txt", "vl.C.0.txt"):
            self.check_failure(["find-text", texts[0], name, "--owner=ann"],
                               name + ": --owner: The file name contains no owner")

    def test_all_volumes_are_searched(self):
        self.make("Folder0/ten.c")
        self.scan()
        os.rename(os.path.join(self.tree, "Folder0/ten.c"), os.path.join(self.tree, "Folder0/ten.d"))
        self.scan("--volume", "D")
        self.generate()
        both = ["ten.c", "ten.d"]
        for under, wanted in [("/folder0", both), ("c:/folder0", both[:1]), ("D:\\Folder0", both[1:]),
                              ("d:", both[1:]), ("E:", [])]:
            self.check(["--under=" + under], wanted)


class Failures(SearchTest):
    def test_a_result_that_cannot_be_read_hides_no_other(self):
        for i in range(3):
            self.make(f"f{i}", modified=i * 10**9)
        self.scan()
        before, data = struct.pack("<q", 116444736010000000), self.content()["C.dat"]
        self.write("catalogue/C.dat", data.replace(before, b"\xff" * 7 + b"\x7f"))
        for arguments, code, count in ([], 3, 2), (["--name=f1"], 3, 0), (["--name=f0"], 0, 1):
            done = run("find", self.catalogue, *arguments)
            self.assertEqual((done.returncode, done.stdout.count(b"\n")), (code, count))
            self.assertRegex(done.stderr.decode(), f"^oibidx: {self.catalogue}: Result [1-3] of "
                             r"[13] cannot be read: .*\n$" if code else "^$")

    def test_files(self):
        self.make("a", b"1")
        self.scan()
        os.truncate(self.data_file, os.path.getsize(self.data_file) - 1)
        self.check_failure(["find", self.catalogue],
                           f"oibidx: {self.data_file}: damaged: it ends too early\n")
        os.remove(self.summary)
        self.check_failure(["find", self.catalogue], f"oibidx: {self.catalogue}: is a folder; name a data file or a")
        good = self.write("vl.C.x.0.txt", "01/15/2013 09:05:07, 1234, C:\\Users\\readme.txt\r\n")
        self.assertEqual(answer("find-text", good, "--count"), b"1\n")
        bad = self.write("bad.txt", "no folder\r\n")
        # A failure leaves no output, not even that of the files before it.
        self.check_failure(["find-text", good, bad, "--count"],
                           f"oibidx: {bad}: not a text data file: line 1 contains no path\n")

    def test_arguments(self):
        self.make("a")
        self.scan()
        find, text = ["find", self.catalogue], ["find-text", self.summary]
        generate = ["generate", self.summary, "-o", self.texts]
        for size in ("", "-1", "1.5", "1.M", "10X", "1Mi", "10MM", "K", "9223372036854775808", "8388608T"):
            self.check_failure([*find, "--max-size=" + size], f"--max-size: '{size}' is not a size")
        for when in ("", "d", "-3d", "3z", "30 d", "2024-02-30", "2024-13-01", "2024-01-01T24:00",
                     "2024-01-01T1", "2024-01-01x", "12:30", "tomorrow", " 2024-01-01", "99-01-01",
                     "2024--1-01", "+024-01-01", "2024-01-01T12:30:", "2024-01-01 12:30:15.5"):
            self.check_failure([*find, "--newer-than=" + when], f"--newer-than: '{when}' is not a time")
        for arguments, text in [
                ([*generate, "--time=x"], "--time: 'x' is not a time"),
                ([*generate, "--records=0"], "--records"), ([*generate, "--records=x"], "--records"),
                ([*generate, "--subfolders=1"], "--crc"), (["generate", self.summary], "--output"),
                (["find"], "CATALOGUE"), (["find-text"], "FILE"), (["fingerprint"], "PATH"),
                (["fingerprint", "a", "--subfolders=x"], "--subfolders")]:
            self.check_failure(arguments, text)
        self.assertFalse(os.path.exists(self.texts))


unittest.main()
