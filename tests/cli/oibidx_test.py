#!/usr/bin/env python3
"""Runs scans and listings of the client on trees made by the test, and compares with os.walk."""
import bisect
import json
import os
import resource
import struct
import subprocess
import tempfile
import unittest

from tool_support import OIBIDX, ClientTest, answer, make_tree, model, objects, owner_of, run


class ScanAndBrowse(ClientTest):
    def test_random_trees_list_like_os_walk(self):
        for seed in range(2):
            self.setUp()
            make_tree(self.tree, seed)
            folders, files = model(self.tree)
            totals = self.scan()
            self.assertEqual(
                totals, {"catalogue": self.data_file, "folders": len(folders), "files": len(files),
                         "unreachableFolders": 0, "notEntered": [], "bytes": sum(f["size"] for f in files.values()),
                         "owners": len({f["owner"] for f in files.values()}),
                         "skipped": {**dict.fromkeys(totals["skipped"], 0),
                                     "symbolicLinks": 2, "fifos": 1}})
            self.check_listing(["-r"], folders, files)
            for ending in [".txt;log", " .TXT , g", "zzz", ""]:
                ends = tuple(e.strip() for e in ending.replace(",", ";").split(";"))
                kept = {n: f for n, f in files.items() if ending and n.endswith(ends)}
                self.check_listing(["-r", "--ext", ending], [], kept, code=0 if kept else 1)
            for folder in ["", *folders]:
                start = folder + "\\" if folder else ""
                inside = [f[len(start):] for f in folders if f.startswith(start)]
                direct = {n[len(start):]: f for n, f in files.items()
                          if n.startswith(start) and "\\" not in n[len(start):]}
                self.check_listing(["C:\\" + folder], [f for f in inside if f and "\\" not in f],
                                   direct, start)

    def check_listing(self, arguments, folders, files, start="", code=0):
        rows = objects("browse", self.data_file, "--json", *arguments, code=code)
        relative = lambda row: row["path"][len("C:\\" + start):]
        listed = [relative(r) for r in rows if r["type"] == "folder"]
        by_names = lambda path: [os.fsencode(name) for name in path.split("\\")]
        self.assertEqual(listed, sorted(folders, key=by_names), arguments)
        self.assertEqual({relative(r): r for r in rows if r["type"] == "file"}, files, arguments)
        self.assertEqual([r["type"] for r in rows[:len(folders)]], ["folder"] * len(folders))

    def test_times(self):
        first, last = "1601-01-01T00:00:00Z", "9999-12-31T23:59:59Z"
        with tempfile.TemporaryDirectory(dir="/dev/shm") as self.base:  # holds every time
            self.tree = self.base + "/tree"
            for seconds in (-12 * 10**9, 253402300799, 253402300800, 316516 * 10**6):
                self.make(first if seconds < 0 else f"{last}{seconds}",
                          modified=seconds * 10**9 + 999999999)
            self.make("1969-12-31T23:59:59Z", modified=-(5 * 10**8) - 1)
            self.scan()
        rows = objects("find", self.catalogue, "--json")
        self.assertEqual([r["path"][3:23] for r in rows], [r["modified"] for r in rows])
        self.assertIn(struct.pack("<q", 116444736000000000 - 5000001), self.content()["C.dat"])



class Text(ClientTest):
    def test_listing(self):
        self.make("Docs/r\x1b.txt", b"x" * 1536, modified=1700000000 * 10**9)
        self.make("Docs/a.txt", b"", modified=0)
        self.make("Docs/old/x")
        owner = owner_of(os.stat(self.tree))
        self.scan()
        blank = "-".ljust(len(owner))
        self.assertEqual(
            answer("browse", self.data_file, "docs", "-H").decode(), f"d  {blank}     -  -                    old\\\n"
            f"-  {owner}     0  1970-01-01 00:00:00  a.txt\n"
            f"-  {owner}  1.5K  2023-11-14 22:13:20  r\\x1B.txt\n"
            "1 folder, 2 files, 1.5K\n")

    def test_spellings_of_a_path(self):
        self.make("usr/Share/x")
        self.scan()
        for code, paths in [(0, ["C:\\usr\\share", "c:/usr/share", "/usr/share", "usr/share/",
                                 "\\usr\\\\SHARE"]),
                            (1, ["Z:usr", "/c:/usr", "usr/shar", "usr/share/x", "share"])]:
            for path in paths:
                done = run("browse", self.data_file, path)
                self.assertEqual((done.returncode, path in done.stderr.decode(),
                                  b"  x\n" in done.stdout), (code, code == 1, code == 0), path)
        for path in ("", "C:", "C:\\", "/"):
            self.assertIn(b"usr\\", answer("browse", self.data_file, path), path)

    def test_match(self):
        for line, pattern, code, text in [("C:\\docs\\[a,b]é", "*[A,b]?", 0, b"match\n"),
                                          ("C:\\docs\\readme.txt", "eadme", 1, b"no match\n")]:
            self.assertEqual(answer("match", line, pattern, code=code), text)
            self.assertEqual(objects("match", line, pattern, "--json", code=code),
                             [{"line": line, "pattern": pattern, "match": code == 0}])


class Failures(ClientTest):
    def test_messages_and_exit_codes(self):
        self.make("file", b"no catalogue")
        self.scan()
        file = os.path.join(self.tree, "file")
        missing = os.path.join(self.base, "missing")
        for arguments, message in [
                (["browse", missing], f"oibidx: {missing}: no such file\n"),
                (["match", "name", "*"], "oibidx: name: "),
                (["scan", missing, "-o", self.base], f"oibidx: {missing}: No such file"),
                (["scan", file, "-o", self.base], f"oibidx: {file}: Not a directory"),
                (["scan", self.tree, "-o", file], f"oibidx: {file}: "),
                (["scan", self.tree, "-o", missing, "--volume", "1"], "--volume"),
                (["scan", self.tree], "--output"), (["browse"], "CATALOGUE"),
                (["browse", self.data_file, "a", "b"], "b"), (["match", "C:\\a"], "PATTERN"),
                (["nonsense"], "nonsense"), ([], "command")]:
            self.check_failure(arguments, message)
        self.assertFalse(os.path.exists(missing))
        self.assertRegex(answer("--version"), rb"^oibidx [0-9]+\.[0-9]+\.[0-9]+\n$")

    def test_missing_memory_at_the_start(self):
        def limited_run(kib):
            limit = (resource.RLIMIT_AS, (kib << 10, kib << 10))
            done = run("match", "C:\\a", "a", preexec_fn=lambda: resource.setrlimit(*limit))
            return done.returncode, done.stderr
        with open(OIBIDX, "rb") as program:
            if program.read(4) != b"\x7fELF":
                self.skipTest("the limit would be that of the emulator")
        if limited_run(1 << 20)[0] != 0:
            self.skipTest("a sanitizer needs more address space")
        enough = bisect.bisect_left(range(1 << 20), 1, key=lambda kib: limited_run(kib)[0] == 0)
        answers = [limited_run(kib) for kib in range(enough - 200, enough, 4)]
        started = {answer for answer in answers if answer[0] != 127}  # 127: not loaded
        self.assertEqual(started, {(2, b"oibidx: not enough memory\n")})

    def test_output_that_cannot_be_written(self):
        self.make("a")
        self.scan()
        for arguments in (["browse", self.data_file], ["match", "C:\\a", "a"], ["--help"],
                          ["scan", self.tree, "-o", self.catalogue], ["find", self.catalogue],
                          ["generate", self.catalogue + "/summary.txt", "-o", self.base + "/texts"]):
            end, pipe = os.pipe()
            os.close(end)
            full = (2, "oibidx: standard output: No space left on device\n")
            for target, end in (os.open("/dev/full", os.O_WRONLY), full), (pipe, (0, "")):
                with os.fdopen(target, "wb") as stdout:
                    done = run(*arguments, stdout=stdout)
                self.assertEqual((done.returncode, done.stderr.decode()), end, arguments)



unittest.main()
