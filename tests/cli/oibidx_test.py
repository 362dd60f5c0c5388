#!/usr/bin/env python3
"""Runs the command-line client on trees made on the spot and compares it with os.walk.

Usage: oibidx_test.py OIBIDX [unittest arguments]
"""
import ctypes
import json
import os
import pty
import resource
import signal
import socket
import subprocess
import time
import unittest

from tool_support import (OIBIDX, ClientTest, answer, limited, make_tree, model, objects, owner_of,
                          read_catalogue, run, utf16_key)


class ScanAndBrowse(ClientTest):
    def test_random_trees_list_like_os_walk(self):
        for seed in range(3):
            with self.subTest(seed=seed):
                self.setUp()
                make_tree(self.tree, seed)
                folders, files = model(self.tree)
                totals = self.scan()
                self.assertEqual((totals["folders"], totals["files"]), (len(folders), len(files)))
                self.assertEqual(totals["bytes"], sum(f["size"] for f in files.values()))
                self.assertEqual(totals["owners"], len({f["owner"] for f in files.values()}))
                skipped = {k: n for k, n in totals["skipped"].items() if n}
                self.assertEqual(skipped, {"symbolicLinks": 2, "fifos": 1})
                self.check_listing(["-r"], folders, files)
                for ending in [".txt", ".txt;log", " .TXT , g", "zzz", ""]:
                    ends = tuple(e.strip() for e in ending.replace(",", ";").split(";"))
                    kept = {n: f for n, f in files.items() if ending and n.endswith(ends)}
                    self.check_listing(["-r", "--ext", ending], [], kept, code=0 if kept else 1)
                for folder in ["", *folders]:
                    start = folder + "\\" if folder else ""
                    inside = [f[len(start):] for f in folders if f.startswith(start)]
                    direct = {n[len(start):]: {**f, "name": n[len(start):]}
                              for n, f in files.items()
                              if n.startswith(start) and "\\" not in n[len(start):]}
                    self.check_listing(["C:\\" + folder],
                                       [f for f in inside if f and "\\" not in f], direct)

    def check_listing(self, arguments, folders, files, code=0):
        rows = objects("browse", self.data_file, "--json", *arguments, code=code)
        listed = [r["name"] for r in rows if r["type"] == "folder"]
        self.assertEqual(sorted(listed), sorted(folders), arguments)
        self.assertEqual({r["name"]: r for r in rows if r["type"] == "file"}, files, arguments)
        self.assertEqual([r["type"] for r in rows], ["folder"] * len(folders) + ["file"] * len(files))
        names = [r["name"] for r in rows if r["type"] == "file"]
        self.assertEqual(names, sorted(names, key=utf16_key))

    def test_the_data_file_holds_what_the_file_system_says(self):
        self.make("a/b/deep.bin", b"12345", modified=-(5 * 10**8) - 1)  # before 1970, odd nanoseconds
        self.make("top", b"1", modified=1700000000123456789)
        self.scan("--volume", "Q")
        tables = read_catalogue(os.path.join(self.catalogue, "Q.dat"))
        epoch = 116444736000000000
        self.assertEqual(tables[2], ((2, 1), [["", 0], ["a", 0], ["b", 1]]))
        self.assertEqual(tables[1][0], (2, 1, 3, 1, 1))
        self.assertEqual(sorted(tables[1][1]),
                         [["deep.bin", 2, 0, epoch - 5000001, 5],
                          ["top", 0, 0, epoch + 17000000001234567, 1]])
        account = [f"S-1-22-1-{os.getuid()}", owner_of(os.stat(self.tree)),
                   socket.gethostname().upper()]
        self.assertEqual(tables[3], ((2, 2, 2), [account]))

    def test_deep_trees_need_few_descriptors(self):
        depth, here = 300, os.getcwd()
        os.chdir(self.tree)
        for i in range(depth):
            os.mkdir(f"level-number-{i}")
            os.mkdir("after")  # visited on the way out as well as on the way in
            os.mkdir("zulu")
            os.chdir(f"level-number-{i}")
        open("bottom", "w").close()
        os.chdir(here)
        done = run("scan", self.tree, "-o", self.catalogue,
                   preexec_fn=limited((resource.RLIMIT_NOFILE, 40)))
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        folders = read_catalogue(self.data_file)[2][1]
        place = 0
        for i in range(depth):
            below = {name: k for k, (name, parent) in enumerate(folders) if parent == place and k}
            self.assertEqual(sorted(below), ["after", f"level-number-{i}", "zulu"])
            place = below[f"level-number-{i}"]
        self.assertEqual(read_catalogue(self.data_file)[1][1][0][:2], ["bottom", place])

    def test_folders_that_cannot_be_read_are_counted(self):
        self.make("open/a")
        self.make("shut/b")
        os.chmod(os.path.join(self.tree, "shut"), 0)

        def without_privileges():  # root reads everything unless these capabilities go
            for capability in (1, 2):
                ctypes.CDLL(None).prctl(24, capability, 0, 0, 0)
        done = run("scan", self.tree, "-o", self.catalogue, "--json",
                   preexec_fn=without_privileges)
        totals = json.loads(done.stdout)
        self.assertEqual((totals["folders"], totals["files"]), (2, 1))
        self.assertEqual(totals["skipped"]["unreadableFolders"], 1)

    def test_the_catalogue_is_left_out_of_itself(self):
        self.make("mine.txt", b"1")
        for place, folders in (("", 0), ("kept", 1), ("kept/below", 1)):
            with self.subTest(place=place):
                self.catalogue = os.path.join(self.tree, place)
                if place == "kept":
                    self.make("kept/other.txt", b"22")
                for _ in range(2):
                    totals = self.scan()
                    bytes_found = 1 if place == "" else 3
                    self.assertEqual((totals["folders"], totals["bytes"]), (folders, bytes_found))
                if place:
                    subprocess.run(["find", self.catalogue, "-name", "*.dat", "-delete"])
                    os.remove(os.path.join(self.catalogue, "summary.txt"))
                else:
                    os.remove(self.data_file.replace("catalogue", "tree"))
                    os.remove(os.path.join(self.tree, "summary.txt"))

    def test_folders_that_no_path_reaches_are_noted(self):
        for name in ("Twin/a", "twin/b", "back\\slash/c", "back/slash/below/d"):
            self.make(name)
        self.assertEqual(self.scan()["unreachableFolders"], 2)
        self.assertEqual(read_catalogue(self.data_file)[2][1][1:],
                         [["Twin", 0], ["back", 0], ["slash", 2], ["below", 3],
                          ["back\\slash", 0], ["twin", 0]])
        names = [r["name"] for r in objects("browse", self.data_file, "-r", "--json")
                 if r["type"] == "folder"]
        self.assertEqual(names, ["back", "back\\slash", "back\\slash\\below", "back\\slash",
                                 "twin"])


class Text(ClientTest):
    def test_listing_for_people(self):
        self.make("Docs/r\x1b.txt", b"x" * 1536, modified=1700000000 * 10**9)
        self.make("Docs/a.txt", b"", modified=0)
        self.make("Docs/old/x")
        owner = owner_of(os.stat(self.tree))
        self.scan()
        blank = "-".ljust(len(owner))
        self.assertEqual(
            answer("browse", self.data_file, "docs", "-H").decode(),
            f"d  {blank}     -  -                    old\\\n"
            f"-  {owner}     0  1970-01-01 00:00:00  a.txt\n"
            f"-  {owner}  1.5K  2023-11-14 22:13:20  r\\x1B.txt\n"
            "1 folder, 2 files, 1.5K\n")

    def test_summary_of_a_scan(self):
        self.make("a", b"12345")
        os.symlink("a", os.path.join(self.tree, "b"))
        text = answer("scan", self.tree, "-o", self.catalogue + "/").decode()
        self.assertEqual(text, f"Catalogue  {self.data_file}\nFolders    0\nFiles      1\n"
                               "Size       5 bytes\nOwners     1\nSkipped    1 symbolic link\n")

    def test_spellings_of_a_path(self):
        self.make("usr/Share/x")
        self.scan()
        for path, code in [("C:\\usr\\share", 0), ("c:/usr/share", 0), ("/usr/share", 0),
                           ("usr/share/", 0), ("\\usr\\\\SHARE", 0), ("Z:usr", 1), ("/c:/usr", 1),
                           ("usr/shar", 1), ("usr/share/x", 1), ("share", 1)]:
            with self.subTest(path=path):
                done = run("browse", self.data_file, path)
                self.assertEqual(done.returncode, code)
                self.assertEqual(path in done.stderr.decode(), code == 1)
                self.assertEqual(b"  x\n" in done.stdout, code == 0)
        for path in ("", "C:", "C:\\", "/"):
            self.assertIn(b"usr\\", answer("browse", self.data_file, path), path)

    def test_match(self):
        for line, pattern, matches in [
                ("C:\\docs\\readme.txt", "*.TXT", True), ("C:\\docs\\readme.txt", "eadme", False),
                ("C:\\txt\\a.doc", "*txt*", False), ("C:\\a", "", True), ("C:\\%%", "%%", True),
                ("C:\\[a,b]", "[a,b]", True), ("C:\\a?", "??", True), ("C:\\é", "É", False)]:
            with self.subTest(line=line, pattern=pattern):
                code = 0 if matches else 1
                self.assertEqual(answer("match", line, pattern, code=code),
                                 b"match\n" if matches else b"no match\n")
                self.assertEqual(objects("match", line, pattern, "--json", code=code),
                                 [{"line": line, "pattern": pattern, "match": matches}])


class Failures(ClientTest):
    def test_messages_and_exit_codes(self):
        self.make("file", b"no catalogue")
        self.scan()
        file = os.path.join(self.tree, "file")
        missing = os.path.join(self.base, "missing")
        system = "Win32 error:The system cannot find the file specified.\n Code: 2"
        for arguments, message in [
                (["browse", missing],
                 f"oibidx: {missing}: Instance of the CCoOibDFBrowser() cannot be initialized.\n"
                 f"Cannot open file CFileReader::Open\n{system} (HRESULT 0x80070002)\n"),
                (["browse", file],
                 f"oibidx: {file}: Instance of the CCoOibDFBrowser() cannot be initialized.\nPrefix "
                 "not match in CSeqTableReader::CSeqTableReader (HRESULT 0x80070057)\n"),
                (["match", "name", "*"], "oibidx: name: "),
                (["scan", missing, "-o", self.base], f"oibidx: {missing}: No such file"),
                (["scan", file, "-o", self.base], f"oibidx: {file}: Not a directory"),
                (["scan", self.tree, "-o", file], f"oibidx: {file}: "),
                (["scan", self.tree], "--output"),
                (["scan", self.tree, "-o", missing, "--volume", "CD"], "--volume"),
                (["scan", self.tree, "-o", missing, "--volume", "1"], "--volume"),
                (["browse"], "DATAFILE"), (["browse", self.data_file, "a", "b"], "b"),
                (["match", "C:\\a"], "PATTERN"), (["nonsense"], "nonsense"), ([], "command")]:
            with self.subTest(arguments=arguments):
                done = run(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertTrue(done.stderr.startswith(b"oibidx: "))
                self.assertIn(message, done.stderr.decode())
        self.assertFalse(os.path.exists(missing))

    def test_output_that_cannot_be_written(self):
        self.make("a")
        self.scan()
        for arguments in (["browse", self.data_file], ["browse", self.data_file, "--json"],
                          ["match", "C:\\a", "a"], ["--help"], ["browse", "--help"], ["--version"],
                          ["scan", self.tree, "-o", self.catalogue]):
            with self.subTest(arguments=arguments):
                with open("/dev/full", "wb") as full:
                    done = run(*arguments, stdout=full)
                self.assertEqual(done.returncode, 2)
                self.assertEqual(done.stderr,
                                 b"oibidx: standard output: No space left on device\n")
                end, pipe = os.pipe()
                os.close(end)
                with os.fdopen(pipe, "wb") as closed:
                    done = run(*arguments, stdout=closed)
                self.assertEqual((done.returncode, b"Broken pipe" in done.stderr), (2, True))

    def test_a_failed_scan_leaves_the_catalogue_as_it_was(self):
        self.make("a")
        self.scan()
        before = self.content()
        for i in range(40):
            self.make(f"{i}" * 100)
        for limit in (0, 50, 1000, 9000):
            with self.subTest(limit=limit):
                done = run("scan", self.tree, "-o", self.catalogue,
                           preexec_fn=limited((resource.RLIMIT_FSIZE, limit)))
                self.assertEqual(done.returncode, 2)
                self.assertRegex(done.stderr.decode(), f"^oibidx: {self.data_file}: Cannot write file")
                self.assertEqual(self.content(), before)
        os.remove(self.data_file)
        os.mkdir(self.data_file)
        answer("scan", self.tree, "-o", self.catalogue, code=2)
        self.assertEqual(sorted(os.listdir(self.catalogue)), ["C.dat", "summary.txt"])

    def test_without_a_terminal_there_is_no_progress(self):
        with subprocess.Popen([OIBIDX, "scan", "/", "-o", self.catalogue], stderr=subprocess.PIPE,
                              stdout=subprocess.DEVNULL) as process:
            time.sleep(0.5)
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.stderr.read(), b"oibidx: /: The scan was interrupted.\n")

    def test_an_interrupted_scan_shows_progress_and_leaves_nothing(self):
        for kind in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=kind.name):
                terminal, end = pty.openpty()
                process = subprocess.Popen([OIBIDX, "scan", "/", "-o", self.catalogue], stderr=end,
                                           stdout=subprocess.DEVNULL)
                os.close(end)
                shown = b""
                while b"files" not in shown:
                    shown += os.read(terminal, 1000)
                process.send_signal(kind)
                self.assertEqual(process.wait(timeout=60), 2)
                shown += os.read(terminal, 1000)
                os.close(terminal)
                self.assertIn(b"\rScanning: ", shown)
                self.assertIn(b"oibidx: /: The scan was interrupted.", shown)
                self.assertEqual(self.content(), {})


class Summary(ClientTest):
    def test_other_volumes_stay(self):
        ours = "Volume.C=C.dat"
        mark = "\ufeff"
        for label, old, new in [
                ("none", None, ours),
                ("empty", b"", ours),
                ("another volume", mark + "Volume.D=D.dat", "Volume.D=D.dat\r\n" + ours),
                ("in place", mark + " Volume.C = x \r\nVolume.D=d", ours + "\r\nVolume.D=d"),
                ("other case", mark + "volume.c=x\r\nVolume.D=d", "Volume.D=d\r\nvolume.C=C.dat"),
                ("separator at the end", mark + "Volume.D=d\r\n", "Volume.D=d\r\n\r\n" + ours),
                ("8-bit", b"Volume.D=d", "Volume.D=d\r\n" + ours)]:
            with self.subTest(label):
                os.makedirs(self.catalogue, exist_ok=True)
                path = os.path.join(self.catalogue, "summary.txt")
                if old is not None:
                    with open(path, "wb") as file:
                        file.write(old if isinstance(old, bytes) else old.encode("utf-16-le"))
                self.scan()
                self.assertEqual(self.content()["summary.txt"], (mark + new).encode("utf-16-le"))
                self.assertEqual(sorted(self.content()), ["C.dat", "summary.txt"])
                os.remove(path)

    def test_a_safety_copy_counts_as_the_summary(self):
        self.scan("--volume", "D")
        path = os.path.join(self.catalogue, "summary.txt")
        os.rename(path, path + ".old")
        with open(path, "wb") as file:
            file.write(b"\xff\xfeh")
        self.scan()
        self.assertEqual(self.content()["summary.txt"].decode("utf-16"),
                         "Volume.D=D.dat\r\nVolume.C=C.dat")
        self.assertNotIn("summary.txt.old", self.content())

    def test_what_is_no_summary_is_not_replaced(self):
        os.mkdir(self.catalogue)
        path = os.path.join(self.catalogue, "summary.txt")
        with open(path, "wb") as file:
            file.write(b"\xff\xfea\0b")
        done = run("scan", self.tree, "-o", self.catalogue)
        self.assertEqual(done.returncode, 2)
        self.assertIn(path + ": Cannot create or load meta-file", done.stderr.decode())
        self.assertEqual(self.content(), {"summary.txt": b"\xff\xfea\0b"})


if __name__ == "__main__":
    unittest.main()
