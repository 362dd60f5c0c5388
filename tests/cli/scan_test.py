#!/usr/bin/env python3
"""Runs scans of trees made by the test: what they leave out and report, when they refuse, and
what they leave behind."""
import ctypes
import datetime
import json
import os
import pty
import resource
import signal
import socket
import subprocess
import tempfile
import time
import unittest

from tool_support import OIBIDX, ClientTest, answer, make_tree, model, objects, run


class Trees(ClientTest):
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

    def test_what_cannot_be_read_is_named(self):
        for i in range(24):
            self.make(f"{i:02}/b")
            os.chmod(f"{self.tree}/{i:02}", 0)
        self.make("blind/c")
        self.make("open/a")
        os.chmod(self.tree + "/blind", 0o400)  # its names can be read, but not its entries
        errors = self.base + "/errors"

        def without_privileges():  # root reads everything unless these capabilities go
            for capability in (1, 2):
                ctypes.CDLL(None).prctl(24, capability, 0, 0, 0)
        expected = [f"{self.tree}/{name}: Permission denied"
                    for name in [*(f"{i:02}" for i in range(24)), "blind"]]
        for options, rest in [([], "--errors FILE"), (["--errors", errors], errors)]:
            done = run("scan", self.tree, "-o", self.catalogue, "--json", *options,
                       preexec_fn=without_privileges)
            lines = [*expected[:20], f"5 more; {rest} list{'s' * bool(rest)} all"]
            self.assertEqual(done.stderr.decode(), "".join(f"oibidx: {line}\n" for line in lines))
            totals = json.loads(done.stdout)
            self.assertEqual((done.returncode, totals["folders"], totals["files"]), (3, 26, 1))
            self.assertEqual(totals["skipped"]["unreadableFolders"], 25)
        with open(errors, encoding="utf-8") as file:
            listed = [json.loads(line) for line in file]
        self.assertEqual([f"{row['path']}: {row['reason']}" for row in listed], expected)

    def test_exclusions(self):
        files = ["a.tmp", "b.txt", "ü.o", "build/x.o", "src/build", "src/a.tmp", "src/lib/c.txt",
                 "src/lib/build/y.o", "[z]", os.fsdecode(b"\xff.o")]
        for name in files:
            self.make(name)
        for patterns, excluded in [
                (["*.tmp"], ["a.tmp", "src/a.tmp"]),
                (["?.o", "B*"], ["ü.o", os.fsdecode(b"\xff.o"), "build/x.o", "src/lib/build/y.o"]),
                (["build"], ["build/x.o", "src/build", "src/lib/build/y.o"]),
                (["build/"], ["build/x.o", "src/lib/build/y.o"]),
                (["/build", "src/*.tmp"], ["build/x.o", "src/a.tmp"]),
                (["src/*/c.txt", "*/y.o"], ["src/lib/c.txt"]),
                (["*/*/*"], ["src/lib/c.txt", "src/lib/build/y.o"]),
                (["[a-b].*", "[!a-z]*", r"\[z]"], ["a.tmp", "b.txt", "ü.o", "src/a.tmp", "[z]",
                                                   os.fsdecode(b"\xff.o")]), (["B?ild"], [])]:
            options = [f"--exclude={pattern}" for pattern in patterns]
            totals = self.scan(*options)
            rows = objects("browse", self.data_file, "-r", "--json")
            self.assertEqual(sorted(r["path"][3:] for r in rows if r["type"] == "file"),
                             sorted({name.replace("/", "\\") for name in files} -
                                    {name.replace("/", "\\") for name in excluded}), patterns)
            self.assertEqual(totals["skipped"]["excluded"] == 0, not excluded)
        self.check_failure(["scan", self.tree, "-o", self.catalogue, "--exclude", "/"], "--exclude")

    def test_file_systems(self):
        mounts = {f"/{name}" for name in ("dev", "proc", "sys")
                  if os.stat("/" + name).st_dev != os.stat("/").st_dev}
        others = [f"--exclude=/{name}" for name in os.listdir("/")
                  if name not in ("dev", "proc", "sys")]
        text = answer("scan", "/", "-o", self.catalogue, *others).decode()
        self.assertIn(f"{len(mounts)} folders not entered: {', '.join(sorted(mounts))}\n", text)
        far = {entry.path for entry in os.scandir("/dev") if entry.is_dir(follow_symlinks=False)
               and os.stat(entry.path).st_dev != os.stat("/dev").st_dev}
        self.assertIn("/dev/shm", far)
        with tempfile.NamedTemporaryFile(dir="/dev/shm", prefix=".") as file:
            for options, expected in [(["--one-file-system"], far), ([], set())]:
                totals = objects("scan", "/dev", "-o", self.catalogue, "--replace", "--json",
                                 "--exclude=/shm/[!.]*", *options)[0]
                self.assertEqual({*totals["notEntered"]}, expected)
                self.assertEqual(totals["skipped"]["notEntered"], len(expected))
                answer("find", self.catalogue, "--name", "*" + os.path.basename(file.name),
                       code=len(options))
        totals = objects("scan", "/", "-o", self.catalogue, "--replace", "--json",
                         "--all-file-systems", "--exclude=/*/*/*", "--exclude=/[ps]*/*", *others)[0]
        self.assertEqual((totals["notEntered"], totals["folders"] > 4), ([], True))

    def test_the_catalogue_is_left_out_of_itself(self):
        self.make("mine.txt", b"1")
        self.make("kept/other.txt", b"22")
        for place in ("", "kept", "new", "kept/below"):
            self.catalogue = os.path.join(self.tree, place)
            for volume in ("C", "D", "C"):
                totals = self.scan("--volume", volume)
                self.assertEqual((totals["folders"], totals["bytes"]), (1, 3), place)
            for name in ("C.dat", "C.scan.mtf", "D.dat", "D.scan.mtf", "summary.txt"):
                os.remove(os.path.join(self.catalogue, name))
            if place in ("new", "kept/below"):
                os.rmdir(self.catalogue)

    def test_folders_that_no_path_reaches_are_noted(self):
        for name in ("Twin/a", "twin/b", "back\\slash/c", "back/slash/below/d"):
            self.make(name)
        done = run("scan", self.tree, "-o", self.catalogue)
        self.assertEqual((done.returncode, done.stderr.decode()), (3, "".join(
            f"oibidx: {self.tree}/{text}\n" for text in [
                "back\\slash: cannot be browsed: the name contains a backslash",
                'Twin: cannot be browsed: hidden by "twin", whose name differs only in letter case'])))
        self.assertEqual(
            [r["path"][3:] for r in objects("browse", self.data_file, "-r", "--json", code=3)
             if r["type"] == "folder"],
            ["back", "back\\slash", "back\\slash\\below", "back\\slash", "twin"])
        os.symlink("a", os.path.join(self.tree, "b"))
        self.make("five", b"12345")
        self.assertIn(f"Catalogue  {self.data_file}\nFolders    6\nFiles      5\nSize       5 bytes\n"
                      "Owners     1\nSkipped    1 symbolic link\n"
                      "Note       2 recorded folders cannot be browsed: ",
                      answer("scan", self.tree, "-o", self.catalogue + "/", code=3).decode())


class Endings(ClientTest):
    def slow_scan(self):
        """The arguments of a scan that takes many seconds, because its patterns are slow."""
        for i in range(1000):
            self.make("a" * 200 + str(i))
        return [OIBIDX, "scan", self.tree, "-o", self.catalogue,
                *(f"--exclude=*a*{i}b" for i in range(10000))]

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
        self.assertEqual(sorted(os.listdir(self.catalogue)), ["C.dat", "C.scan.mtf", "summary.txt"])

    def test_an_interrupted_scan_leaves_nothing(self):
        scan = self.slow_scan()
        with subprocess.Popen(scan, stderr=subprocess.PIPE, stdout=subprocess.DEVNULL) as process:
            time.sleep(0.5)
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.stderr.read(), b"")
        self.assertEqual(process.returncode, 128 + signal.SIGTERM)
        terminal, end = pty.openpty()
        process = subprocess.Popen(scan, stderr=end, stdout=subprocess.DEVNULL)
        os.close(end)
        shown = b""
        while b"files" not in shown:  # only a terminal shows progress
            shown += os.read(terminal, 1000)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), 130)
        os.close(terminal)
        self.assertIn(b"\rScanning: ", shown)
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
        ours = ["C.dat", "C.scan.mtf", "summary.txt"]
        scans, names = [], []  # running scans, and the files that they are writing
        slow_scan = self.slow_scan()
        for _ in range(2):
            scans.append(subprocess.Popen(slow_scan, stdout=subprocess.DEVNULL))
            while not {*self.content()} - {*ours, *names}:
                time.sleep(0.01)
            names += {*self.content()} - {*ours, *names}
        self.write("catalogue/.D.scan.mtf.0123456789abcdef.tmp", b"")
        for scan, kept in zip(scans, (names[1:], [])):
            scan.kill()
            scan.wait()
            self.scan()
            self.assertEqual(sorted(self.content()), sorted([*kept, *ours]))
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
            self.assertEqual({*content} - {"other"}, {"C.dat", "C.scan.mtf", "summary.txt"}, old)
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


class Sources(ClientTest):
    """Where a volume comes from: kept by scan, shown by info, compared before it is replaced."""

    def info(self, place="", code=0):
        return objects("info", os.path.join(self.catalogue, place), "--json", code=code)

    def test_info_shows_what_was_scanned(self):
        make_tree(self.tree, 5)
        folders, files = model(self.tree)
        times = sorted(file["modified"] for file in files.values())
        before = datetime.datetime.now(datetime.timezone.utc).replace(microsecond=0)
        self.scan()
        self.scan("--volume", "D", "--exclude", "* ", "--exclude=ü%/", "--exclude=*",
                  "--one-file-system")
        row, other = self.info()
        scan = row.pop("scan")
        self.assertEqual(row, {
            "volume": "C", "dataFile": self.data_file, "folders": len(folders),
            "dataFileSize": os.path.getsize(self.data_file), "files": len(files),
            "bytes": sum(file["size"] for file in files.values()),
            "owners": len({file["owner"] for file in files.values()}),
            "oldest": times[0], "newest": times[-1]})
        started = datetime.datetime.fromisoformat(scan.pop("time").replace("Z", "+00:00"))
        self.assertTrue(before <= started <= datetime.datetime.now(datetime.timezone.utc))
        self.assertLess(scan.pop("milliseconds"), 60000)
        self.assertEqual(scan, {"folder": os.path.realpath(self.tree), "omitted": 0,
                                "host": socket.gethostname(), "options": []})
        self.assertEqual((other["volume"], other["files"], other["oldest"], other["newest"]),
                         ("D", 0, None, None))
        self.assertEqual(other["scan"]["options"], ["--exclude=* ", "--exclude=ü%/", "--exclude=*",
                                                    "--one-file-system"])
        self.assertEqual(self.info("summary.txt"), self.info())
        self.assertEqual(self.info("D.dat"), [other])
        text = answer("info", self.catalogue).decode()
        self.assertRegex(text, rf"(?s)^Volume     C\nData file  {self.data_file}, .*\n"
                         rf"Newest     {times[-1]}\nSource     {scan['folder']} on {scan['host']}\n"
                         r"Scanned    20.*Z in [0-9.]+ s\n\nVolume     D\n.*\nOldest     -\n")

    def test_info_of_what_cannot_be_read(self):
        self.make("a")
        for volume in "CDE":
            self.scan("--volume", volume)
        complete = self.info("D.dat")
        content = self.content()["D.dat"]
        os.remove(self.catalogue + "/E.dat")
        for size in range(len(content)):
            self.write("catalogue/D.dat", content[:size])
            done = run("info", self.catalogue, "--json")
            self.assertRegex(done.stderr.decode(), f"^oibidx: {self.catalogue}/D.dat: .*\noibidx: "
                             f"{self.catalogue}/E.dat: no such file\n$", size)
            self.assertEqual((done.returncode, done.stdout.count(b'"volume":"C"')), (3, 1))
            self.info("D.dat", code=2)
        self.write("catalogue/D.dat", content)
        self.assertEqual(self.info("D.dat"), complete)
        self.write("catalogue/D.scan.mtf", b"\xff\xfea\0b")
        self.assertEqual(self.info("D.dat", code=3), [{**complete[0], "scan": None}])

    def test_a_volume_from_elsewhere_is_not_replaced(self):
        names = ["same", " %41\nü\r "]
        for name in names:
            self.write(f"{name}/file", b"")
        here, there = (os.path.join(self.base, name) for name in names)
        os.symlink(there, self.base + "/link")
        scan = ["scan", "-o", self.catalogue]
        record = self.catalogue + "/C.scan.mtf"
        answer(*scan, there)
        self.assertEqual(self.info()[0]["scan"]["folder"], os.path.realpath(there))
        answer(*scan, self.base + "/link/.")
        before = self.content()
        self.check_failure([*scan, here, "--errors", self.base + "/errors"], "C.dat: the volume was "
                           f"scanned from {self.base}/ %41\\x0Aü\\x0D  on ", f"to replace it by a scan of {here} on ", "--replace")
        self.assertEqual((self.content(), os.path.exists(self.base + "/errors")), (before, False))
        answer(*scan, here, "--volume", "D")
        answer(*scan, here, "--replace")
        answer("meta", "set", record, "Scan.Host=elsewhere")
        self.check_failure([*scan, here], f"scanned from {here} on elsewhere; ")
        former = self.content()["C.scan.mtf"]
        self.write("same/more", b"")
        answer(*scan, here, "--replace")
        self.write("catalogue/C.scan.mtf", former)  # as a kill before the second rename leaves it
        self.assertEqual((self.info()[0]["scan"], self.info()[0]["files"]), (None, 2))
        answer(*scan, there)
        os.remove(record)
        answer(*scan, here)
        self.assertEqual(self.info()[0]["scan"]["folder"], here)


unittest.main()
