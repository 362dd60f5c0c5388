#!/usr/bin/env python3
"""Runs generation and fingerprints of the client on trees and catalogues made by the test."""
import glob
import json
import os
import pathlib
import re
import signal
import socket
import struct
import subprocess
import time
import unittest

from tool_support import OIBIDX, ClientTest, answer, make_tree, model, objects, owner_of, run

HOST = socket.gethostname().upper()
MOMENT = 1709296215  # 2024-03-01T12:30:15Z
NOT_TEXT = "no line; the name or the path is not text"
SHORTENED = "the line has only the folders nearest the file"


class GenerateTest(ClientTest):
    def setUp(self):
        super().setUp()
        self.summary = os.path.join(self.catalogue, "summary.txt")
        self.texts = os.path.join(self.base, "texts")
        owner = owner_of(os.stat(self.tree)).partition("\\")[2]
        self.series = f"vl.%s.{HOST}.{owner}.%d.txt"

    def generate(self, *arguments, place=None, code=0):
        return objects("generate", place or self.catalogue, "-o", self.texts, "--json", *arguments,
                       code=code)[0]

    def content_of_texts(self):
        """Every file of the output folder with its bytes; None for a folder."""
        return {path.name: None if path.is_dir() else path.read_bytes()
                for path in pathlib.Path(self.texts).iterdir()}


class Lines(GenerateTest):
    def check(self, expected, *arguments):
        """`expected`: the lines of each file."""
        self.texts = os.path.join(self.texts, "next")
        report = self.generate("--time", "2013-01-15T09:05:07", *arguments, code=3)
        files = {name: ("\ufeff" + "".join(line + "\r\n" for line in lines)).encode("utf-16-le")
                 for name, lines in expected.items()}
        texts = {name: content for name, content in files.items() if name.startswith("vl.")}
        self.assertGreaterEqual(report.pop("milliseconds"), 0)
        self.assertEqual(report, {
            "output": self.texts, "files": len(texts), "bytes": sum(map(len, texts.values())),
            "volumes": {"C": {"files": 3, "lines": sum(len(expected[name]) for name in texts),
                              "notText": 1, "emptyNames": 0, "unknownOwner": 0, "shortened": 0}}})
        for name in texts:
            status = os.stat(os.path.join(self.texts, name))
            self.assertEqual((status.st_mtime, status.st_atime), (1358240707, 1358240707))
        self.assertEqual(self.content_of_texts(), files)

    def test_files_of_each_mode(self):
        self.make("Users/john/a_bcd.txt", b"1234", modified=MOMENT * 10**9)
        self.make("top", b"", modified=-10**9)
        self.make("Users/bad\udcff")
        self.scan()
        owner = owner_of(os.stat(self.tree)).partition("\\")[2]
        owners = {"owners.C.map": [f"{HOST}\\{owner}    S-1-22-1-{os.getuid()}"]}
        file = f"vl.C.{HOST}.{owner}.%d.txt"
        lines = ["12/31/1969 23:59:59, 0, C:\\top",
                 "03/01/2024 12:30:15, 4, C:\\Users\\john\\a_bcd.txt"]
        self.check({file % 0: lines, **owners})
        self.check({file % 0: lines[:1], file % 1: [], file % 2: lines[1:], **owners},
                   "--records", "1")
        folder = "hac906abf43d5"
        for arguments, prints, parts in [
                ([], ["hac90", folder], []),
                (["--subfolders=2", "--parts=1", "--separators=_"], ["hac90", folder[:9]], ["bcd"]),
                (["--subfolders=0", "--parts=-1", "--separators=_"], ["h", "h"], ["bcd", "a"])]:
            top, john = prints
            top_parts = ["top"] if parts else []
            self.check({file % 0: [
                f"none 0{top} top", *(f"none 1{top} {p}" for p in top_parts),
                *(f"none 2{top} {p[::-1]}" for p in top_parts),
                f"txt 0{john} a_bcd", *(f"txt 1{john} {p}" for p in parts),
                *(f"txt 2{john} {p[::-1]}" for p in parts)], **owners}, "--crc", *arguments)

    def test_fingerprints(self):
        for path, elements, wanted in [("C:\\Users\\john", 2, "0hac906abf"),
                                       ("c:/users//JOHN\\", -1, "0hac906abf43d5")]:
            arguments = ["fingerprint", path, f"--subfolders={elements}"]
            self.assertEqual(answer(*arguments).decode(), wanted + "\n")
            self.assertEqual(objects(*arguments, "--json"), [{"path": path, "fingerprint": wanted}])


class Omissions(GenerateTest):
    def test_random_trees(self):
        """Compares with the files that os.walk sees."""
        make_tree(self.tree, 7)
        for depth in (63, 64, 65, 90):
            self.make("/".join([f"depth{depth}", *(str(i) for i in range(1, depth))]) + "/file")
        for name in ("\ufffe", "\U0001ffff", "\r", "\u0085"):
            self.make("odd" + name)
        self.scan()
        files = model(self.tree)[1]
        for arguments, whole_path in ([], True), (["--crc"], False):
            omitted = {}
            for name in files:
                text = name if whole_path else name.rpartition("\\")[2]
                if re.search("[\n\r\ufffe\U0001ffff\ud800-\udfff]", text):
                    omitted["C:\\" + name] = NOT_TEXT
                elif name.count("\\") > 64:
                    omitted["C:\\" + name] = SHORTENED
            self.assertEqual([*omitted.values()].count(SHORTENED), 2)
            no_line = len(omitted) - 2
            listed = os.path.join(self.base, "omitted")
            done = run("generate", self.catalogue, "-o", self.texts, "--omitted", listed, *arguments)
            with open(listed, encoding="utf-8") as file:
                rows = [json.loads(line) for line in file]
            self.assertEqual({row["path"]: row["reason"] for row in rows}, omitted)
            self.assertEqual((done.returncode, len(rows)), (3, len(omitted)))
            self.assertIn(f"\nVolume C   {len(files)} files, {len(files) - no_line} lines, {no_line} "
                          "not text, 2 with a shortened path\n", done.stdout.decode())
            notes = done.stderr.decode(errors="replace").splitlines()
            self.assertEqual(notes[20:], [f"oibidx: {len(rows) - 20} more; {listed} lists all"])
            self.assertRegex(notes[0], f"^oibidx: C:.*: ({NOT_TEXT}|{SHORTENED})$")

    def replace_records(self, files, owners):
        """Writes files of the root folder (name, owner) and owners (identity, name, domain)."""
        data = self.content()["C.dat"]
        text = lambda value: struct.pack("<I", len(value)) + value.encode("utf-16-le")
        folders, = struct.unpack_from("<q", data, 8)  # the offset of the next table
        end, = struct.unpack_from("<q", data, folders + 8)
        tables = [(data[:46], [text(name) + struct.pack("<qIqq", 0, owner, 0, 0)
                               for name, owner in files]),
                  (data[folders:folders + 40], [data[folders + 40:end]]),
                  (data[end:end + 42], [b"".join(map(text, owner)) for owner in owners])]
        data = b""
        for i, (header, records) in enumerate(tables):
            rest = header[16:-8] + struct.pack("<q", len(records)) + b"".join(records)
            following = len(data) + 16 + len(rest) if i < 2 else 0
            data += header[:8] + struct.pack("<q", following) + rest
        self.write("catalogue/C.dat", data)

    def test_catalogues_of_other_origin(self):
        self.make("a")
        self.scan()
        before = self.generate() and self.content_of_texts()
        owners = [("1", "C", "A.B"), ("2", "B.C", "A")]  # their files have the same names
        self.replace_records([("a", 0), ("b", 1)], owners)
        self.check_failure(["generate", self.catalogue, "-o", self.texts, "--records=1"],
                           f"oibidx: {self.data_file}: 1 line for 2 files")
        self.assertEqual(self.content_of_texts(), before)
        self.replace_records([("kept", 0), ("", 0), ("none", 1), ("none", 2**32 - 1)], owners[:1])
        for arguments, lines, names in ([], 2, 0), (["--crc"], 1, 1), (["--crc", "--parts=1"], 3, 1):
            volume = self.generate(*arguments, code=3)["volumes"]["C"]
            self.assertEqual(volume, {"files": 4, "lines": lines, "notText": 0, "emptyNames": names,
                                      "unknownOwner": 2, "shortened": 0})


class Sets(GenerateTest):
    def setUp(self):
        super().setUp()
        self.make("a")
        self.make("b")
        self.scan()
        self.scan("--volume", "D")

    def names(self):
        return sorted(os.listdir(self.texts))

    def test_what_a_run_replaces(self):
        first = self.generate("--records=1", "--time=2013-01-15")
        self.assertEqual((first["files"], first["bytes"]), (4, 4 * 62))
        c, d = ([self.series % (volume, i) for i in range(2)] for volume in "CD")
        maps = ["owners.C.map", "owners.D.map"]
        other = ["vl.C.notes", "vl.C.x.0.txt", "vl.CD.a.b.0.txt", "x.vl.C.a.b.0.txt"]
        for name in (*other, "vl.C.a.b.3.txt"):
            self.write("texts/" + name, b"other")
        self.assertEqual(self.names(), sorted([*c, *d, *maps, *other, "vl.C.a.b.3.txt"]))
        for place, arguments, kept in [(self.data_file, ["--keep-old"], [*c, *d, "vl.C.a.b.3.txt"]),
                                       (self.data_file, [], [c[0], *d]),
                                       (self.summary, [], [c[0], d[0]])]:
            report = self.generate(*arguments, place=place)
            self.assertEqual([*report["volumes"]], ["C"] if place == self.data_file else ["C", "D"])
            self.assertEqual(self.names(), sorted([*kept, *maps, *other]))
        text = answer("generate", self.catalogue, "-o", self.base + "/other\\texts").decode()
        volumes = "".join(f"Volume {volume}   2 files, 2 lines\n" for volume in "CD")
        self.assertRegex(text, f"^Output     {re.escape(self.base)}/other.texts\n{volumes}Texts      2\n"
                               "Size       244 bytes\nTime       [0-9.]+ s\n$")
        self.assertEqual(sorted(os.listdir(self.base + "/other/texts")), sorted([c[0], d[0], *maps]))
        os.remove(self.summary)
        self.assertEqual([*self.generate(place=self.catalogue + "/D.dat")["volumes"]], ["D"])

    def test_links_and_attributes(self):
        victim = self.write("victim", b"unchanged")
        targets = [self.series % ("C", 0), self.series % ("D", 0), "owners.C.map", "owners.D.map"]
        os.mkdir(self.texts)
        places = [os.path.join(self.texts, name) for name in targets]
        os.symlink(victim, places[0])
        os.link(victim, places[1])
        os.symlink("/nowhere/x", places[2])
        self.write("texts/owners.D.map", b"")
        os.chmod(places[3], 0o640)
        if os.getuid() == 0:
            os.chown(places[3], 1, 2)
        before = os.stat(places[3])
        self.generate()
        after = os.stat(places[3])
        self.assertEqual([(s.st_mode, s.st_uid, s.st_gid) for s in (before, after)][0],
                         (after.st_mode, after.st_uid, after.st_gid))
        self.assertEqual([os.path.islink(place) for place in places], [False] * 4)
        self.assertEqual((self.names(), pathlib.Path(victim).read_bytes()), (sorted(targets), b"unchanged"))

    def test_failures_change_nothing(self):
        self.generate("--records=1")
        before = self.content_of_texts()
        os.mkdir(os.path.join(self.texts, "owners.E.map"))
        self.scan("--volume", "E")
        generate = ["generate", self.catalogue, "-o", self.texts]
        self.check_failure(generate, f"{self.texts}/owners.E.map: Is a directory")
        self.check_failure([*generate[:3], "/dev/null/x"], "oibidx: /dev/null/x: ")
        for name, content, message in [
                ("catalogue/D.dat", b"", f"oibidx: {self.catalogue}/D.dat: "),
                ("catalogue/D.dat", None, f"oibidx: {self.catalogue}/D.dat: no such file\n"),
                *(("catalogue/summary.txt", text, "not a catalogue; the list contains no volume\n")
                  for text in (b"", b"Volumes.C=C.dat", b"Volume=C.dat", b"Volume.C.x=C.dat")),
                ("catalogue/summary.txt", None, f"oibidx: {self.catalogue}: is a folder; name a data")]:
            self.write(name, content or b"")
            if content is None:
                os.remove(os.path.join(self.base, name))
            self.check_failure(generate, message)
        os.rmdir(os.path.join(self.texts, "owners.E.map"))
        self.assertEqual(self.content_of_texts(), before)

    def blocked(self, *arguments):
        """A run that has written its files and waits for a reader of its list of omissions."""
        pipe = os.path.join(self.base, "pipe")
        os.path.exists(pipe) or os.mkfifo(pipe)
        process = subprocess.Popen([OIBIDX, "generate", self.catalogue, "-o", self.texts,
                                    "--omitted", pipe, *arguments],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        reader = open(pipe, "rb", buffering=0)
        self.addCleanup(reader.close)
        self.addCleanup(process.stderr.close)
        for _ in range(20):  # the lines before it fills the pipe
            process.stderr.readline()
        return process, reader

    def test_runs_that_end_and_runs_at_the_same_time(self):
        for i in range(800):
            self.make("x" * 100 + f"\n{i}")
        self.scan()
        self.generate("--records=1", code=3)
        before = self.content_of_texts()
        for number, code, left in (signal.SIGINT, 130, 0), (signal.SIGTERM, 143, 0), (signal.SIGKILL, -9, 1):
            process, _ = self.blocked()
            process.send_signal(number)
            self.assertEqual(process.wait(timeout=60), code)
            hidden = glob.glob(os.path.join(self.texts, ".oibidx-*"))
            self.assertEqual((len(hidden), {k: v for k, v in self.content_of_texts().items()
                                           if v is not None}),
                             (left, before))
        process, reader = self.blocked()
        self.generate("--records=1000", code=3)
        self.assertEqual(sum(name.startswith(".") for name in self.names()), 1)  # that of the run
        reader.readall()
        self.assertEqual(process.wait(timeout=60), 3)
        self.assertEqual(self.names(), sorted(
            [self.series % ("C", 0), self.series % ("D", 0), "owners.C.map", "owners.D.map"]))


unittest.main()
