#!/usr/bin/env python3
"""Runs scans and listings of the client on trees made by the test, and compares with os.walk."""
import bisect
import ctypes
import json
import os
import pty
import resource
import signal
import struct
import subprocess
import tempfile
import time
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
                         "unreachableFolders": 0, "bytes": sum(f["size"] for f in files.values()),
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
                direct = {n[len(start):]: {**f, "name": n[len(start):]} for n, f in files.items()
                          if n.startswith(start) and "\\" not in n[len(start):]}
                self.check_listing(["C:\\" + folder], [f for f in inside if f and "\\" not in f],
                                   direct)

    def check_listing(self, arguments, folders, files, code=0):
        rows = objects("browse", self.data_file, "--json", *arguments, code=code)
        listed = [r["name"] for r in rows if r["type"] == "folder"]
        by_names = lambda path: [os.fsencode(name) for name in path.split("\\")]
        self.assertEqual(listed, sorted(folders, key=by_names), arguments)
        self.assertEqual({r["name"]: r for r in rows if r["type"] == "file"}, files, arguments)
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

    def test_deep_trees_need_few_descriptors(self):
        depth, here, path = 300, os.getcwd(), []
        os.chdir(self.tree)
        for i in range(depth):
            path.append(f"level-number-{i}")
            os.mkdir(path[-1])
            os.mkdir("after")  # visited on the way out as well as on the way in
            os.mkdir("zulu")
            os.chdir(path[-1])
        open("bottom", "w").close()
        os.chdir(here)
        done = run("scan", self.tree, "-o", self.catalogue,
                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (40, 40)))
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        for i in (0, 16, 17, 150, depth - 1, depth):
            rows = objects("browse", self.data_file, "/".join(path[:i]), "--json")
            self.assertEqual([row["name"] for row in rows],
                             ["after", path[i], "zulu"] if i < depth else ["bottom"])

    def test_folders_that_cannot_be_read_are_counted(self):
        self.make("open/a")
        self.make("shut/b")
        os.chmod(os.path.join(self.tree, "shut"), 0)

        def without_privileges():  # root reads everything unless these capabilities go
            for capability in (1, 2):
                ctypes.CDLL(None).prctl(24, capability, 0, 0, 0)
        totals = json.loads(run("scan", self.tree, "-o", self.catalogue, "--json",
                                preexec_fn=without_privileges).stdout)
        self.assertEqual((totals["folders"], totals["files"]), (2, 1))
        self.assertEqual(totals["skipped"]["unreadableFolders"], 1)

    def test_the_catalogue_is_left_out_of_itself(self):
        self.make("mine.txt", b"1")
        self.make("kept/other.txt", b"22")
        for place in ("", "kept", "new", "kept/below"):
            self.catalogue = os.path.join(self.tree, place)
            for volume in ("C", "D", "C"):
                totals = self.scan("--volume", volume)
                self.assertEqual((totals["folders"], totals["bytes"]), (1, 3), place)
            for name in ("C.dat", "D.dat", "summary.txt"):
                os.remove(os.path.join(self.catalogue, name))
            if place in ("new", "kept/below"):
                os.rmdir(self.catalogue)

    def test_folders_that_no_path_reaches_are_noted(self):
        for name in ("Twin/a", "twin/b", "back\\slash/c", "back/slash/below/d"):
            self.make(name)
        self.assertEqual(self.scan()["unreachableFolders"], 2)
        self.assertEqual(
            [r["name"] for r in objects("browse", self.data_file, "-r", "--json")
             if r["type"] == "folder"],
            ["back", "back\\slash", "back\\slash\\below", "back\\slash", "twin"])
        os.symlink("a", os.path.join(self.tree, "b"))
        self.make("five", b"12345")
        self.assertIn(f"Catalogue  {self.data_file}\nFolders    6\nFiles      5\nSize       5 bytes\n"
                      "Owners     1\nSkipped    1 symbolic link\n"
                      "Note       2 recorded folders cannot be browsed: ",
                      answer("scan", self.tree, "-o", self.catalogue + "/").decode())


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
                (["scan", self.tree], "--output"), (["browse"], "DATAFILE"),
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

    def test_a_failed_scan_leaves_the_catalogue_as_it_was(self):
        self.make("a")
        self.scan()
        before = self.content()
        for i in range(40):
            self.make(f"{i}" * 100)
        for limit in (0, 1000, 9000):
            done = run("scan", self.tree, "-o", self.catalogue,
                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
            self.assertEqual(done.returncode, 2, limit)
            self.assertRegex(done.stderr.decode(),
                             f"^oibidx: {self.data_file}: the file would be too large\n$")
            self.assertEqual(self.content(), before)
        os.remove(self.data_file)
        os.mkdir(self.data_file)
        answer("scan", self.tree, "-o", self.catalogue, code=2)
        self.assertEqual(sorted(os.listdir(self.catalogue)), ["C.dat", "summary.txt"])

    def test_an_interrupted_scan_leaves_nothing(self):
        scan = [OIBIDX, "scan", "/", "-o", self.catalogue]
        with subprocess.Popen(scan, stderr=subprocess.PIPE, stdout=subprocess.DEVNULL) as process:
            time.sleep(0.5)
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.stderr.read(), b"oibidx: /: The scan was interrupted.\n")
        terminal, end = pty.openpty()
        process = subprocess.Popen(scan, stderr=end, stdout=subprocess.DEVNULL)
        os.close(end)
        shown = b""
        while b"files" not in shown:  # only a terminal shows progress
            shown += os.read(terminal, 1000)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), 2)
        shown += os.read(terminal, 1000)
        os.close(terminal)
        self.assertIn(b"\rScanning: ", shown)
        self.assertIn(b"oibidx: /: The scan was interrupted.", shown)
        self.assertEqual(self.content(), {})

    def test_what_other_scans_leave_behind(self):
        self.scan()
        os.chmod(self.data_file, 0o640)
        if os.getuid() == 0:
            os.chown(self.data_file, 1, 2)
        def attributes():
            status = os.stat(self.data_file)
            return status.st_mode, status.st_uid, status.st_gid
        before = attributes()
        scans = [subprocess.Popen([OIBIDX, "scan", "/", "-o", self.catalogue],
                                  stdout=subprocess.DEVNULL) for _ in range(2)]
        names = [f".C.dat.{scan.pid}-0.tmp" for scan in scans]
        while not {*names} <= {*self.content()}:
            time.sleep(0.01)
        for scan, kept in zip(scans, (names[1:], [])):
            scan.kill()
            scan.wait()
            self.scan()
            self.assertEqual(sorted(self.content()), [*kept, "C.dat", "summary.txt"])
            self.assertEqual(attributes(), before)


class VolumeList(ClientTest):
    def test_other_volumes_stay(self):
        ours, other = "Volume.C=C.dat", "Volume.D=D.dat"
        for name, old, new in [
                ("other", b"", ours), ("summary.txt", b"", ours),
                ("summary.txt", " Volume.C = x \r\n#c\r\n" + other, ours + "\r\n#c\r\n" + other),
                ("summary.txt", "volume.c=x\r\n" + other, other + "\r\nvolume.C=C.dat"),
                ("summary.txt", other + "\r\n", other + "\r\n\r\n" + ours),
                ("summary.txt.old", other, other + "\r\n" + ours),  # an unfinished save
                ("summary.txt", other.encode(), other + "\r\n" + ours)]:
            self.write("catalogue/" + name, old)
            self.scan()
            content = self.content()
            self.assertEqual({*content} - {"other"}, {"C.dat", "summary.txt"}, old)
            self.assertEqual(content["summary.txt"], ("\ufeff" + new).encode("utf-16-le"), old)
            os.remove(self.catalogue + "/summary.txt")

    def test_another_file_is_not_replaced(self):
        self.write("catalogue/summary.txt", b"\xff\xfea\0b")
        self.check_failure(["scan", self.tree, "-o", self.catalogue],
                           f"oibidx: {self.catalogue}/summary.txt: damaged: a line of ")
        self.assertEqual(self.content(), {"summary.txt": b"\xff\xfea\0b"})

    def test_scans_at_the_same_time_lose_no_line(self):
        letters = "ABCDEFGHIJKLMNOP"
        scans = [subprocess.Popen([OIBIDX, "scan", self.tree, "-o", self.catalogue, "--volume", x],
                                  stdout=subprocess.DEVNULL) for x in letters]
        self.assertEqual([scan.wait(timeout=60) for scan in scans], [0] * len(letters))
        lines = self.content()["summary.txt"].decode("utf-16").split("\r\n")
        self.assertEqual(sorted(lines), [f"Volume.{x}={x}.dat" for x in letters])


unittest.main()
