#!/usr/bin/env python3
"""doc/interface.md against the interfaces: it has every member as published, its Python and
C++ examples run and print what it says, its VBScript examples call members that exist.

Usage: interface_doc_test.py SOURCES MODULE OIBIDX C++-COMPILER
"""

import contextlib
import io
import os
import re
import subprocess
import sys
import tempfile
import unittest
from datetime import datetime, timezone

SOURCES, MODULE, OIBIDX, COMPILER = sys.argv[1:5]
del sys.argv[1:5]
os.environ["ZOREL_OIBIDX_MODULE"] = MODULE
sys.path.insert(0, os.path.join(SOURCES, "clients/python"))

with open(os.path.join(SOURCES, "doc/interface.md"), encoding="utf-8") as document:
    DOCUMENT = document.read()
BLOCKS = re.findall(r"^```(\w+)\n(.*?)^```$", DOCUMENT, re.MULTILINE | re.DOTALL)
TIME = datetime(2013, 1, 15, 9, 5, 7, tzinfo=timezone.utc).timestamp()
RECORDS = """01/15/2013 09:05:07, 3, C:\\a.txt
01/15/2013 09:05:07, 7, C:\\Docs\\report.txt
01/15/2013 09:05:07, 11, C:\\Docs\\2019\\old.txt
01/15/2013 09:05:07, 13, C:\\Docs\\2019\\photo.jpg
"""
SESSION = """oib1.VmName=web01
oib1.BackupTimeUtc=2013-01-14 09:05:07
oib1.OibUID={9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}
oib2.VmName=db02
oib2.BackupTimeUtc=2013-01-15 09:05:07
oib2.OibUID={0e8d7c6b-5a49-4382-9170-6f5e4d3c2b1a}"""
PUBLICATION = """Publication.UTCTime=2013-01-15 09:05:07
cmd.7.Type=AddBSession
cmd.7.JobName=Daily
cmd.7.BackupServer=srv01
cmd.7.grp.0.BackupFile.0.Path=D:\\Backup\\daily.bak"""


def prepare(folder):
    """The folder in which the document's examples run."""
    for name, size in [("a.txt", 3), ("Docs/report.txt", 7), ("Docs/2019/old.txt", 11),
                       ("Docs/2019/photo.jpg", 13)]:
        path = os.path.join(folder, "tree", name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(b"x" * size)
        os.utime(path, (TIME, TIME))
    subprocess.run([OIBIDX, "scan", "tree", "-o", "catalogue"], cwd=folder, check=True,
                   stdout=subprocess.DEVNULL)
    for name, text in [("vl.C.CORP.ann.0.txt", RECORDS), ("session.mtf", SESSION),
                       ("publication.mtf", PUBLICATION)]:
        with open(os.path.join(folder, name), "wb") as file:
            file.write(("\ufeff" + text.replace("\n", "\r\n")).encode("utf-16-le"))


def examples(language):
    """(code, what it prints) for each example, in order."""
    found = []
    for kind, code in BLOCKS:
        if kind == language:
            found.append([code, ""])
        elif kind == "text" and found:
            found[-1][1] = code
    return found


def interfaces():
    """The published members: (interface, kind, name, arguments as the document writes them)."""
    name = None
    with open(os.path.join(SOURCES, "tests/data/interfaces.txt"), encoding="utf-8") as published:
        for line in published:
            if not line.startswith(" "):
                name = line.split()[0] if " library " in line else None
            elif name is not None:
                _, kind, rest = line.split(maxsplit=2)
                member, arguments = rest.rstrip().rstrip(")").split("(")
                yield name, kind, member, re.sub(r"(^|, )(in|-) ", r"\1", arguments)


class Document(unittest.TestCase):
    maxDiff = None

    def folder(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        prepare(folder.name)
        return folder.name

    def test_every_member_is_there_as_published(self):
        sections = dict(re.findall(r"^# (I\w+)\n(.*?)(?=^# |\Z)", DOCUMENT,
                                   re.MULTILINE | re.DOTALL))
        for name, kind, member, arguments in interfaces():
            prefix = "get_" if kind == "get" else ""
            with self.subTest(f"{name}.{member}"):
                self.assertIn(f"| `{prefix}{member}({arguments})` |", sections[name])
        rows = re.findall(r"^\| `\w+\(", DOCUMENT, re.MULTILINE)
        self.assertEqual(len(rows), len(list(interfaces())))

    def test_identifiers(self):
        with open(os.path.join(SOURCES, "tests/data/interfaces.txt"), encoding="utf-8") as file:
            published = re.findall(r"^(I\w+) (\S+) library", file.read(), re.MULTILINE)
        documented = re.findall(r"^# (I\w+)\n\nIdentifier ([0-9a-f-]+)\.", DOCUMENT, re.MULTILINE)
        self.assertEqual(sorted(documented), sorted(published))

    def test_python_examples(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder())
        names = {}
        for code, expected in examples("python"):
            with self.subTest(code), contextlib.redirect_stdout(io.StringIO()) as printed:
                exec(compile(code, "doc/interface.md", "exec"), names)
            self.assertEqual(printed.getvalue().replace("\r", ""), expected, code)

    def test_cpp_examples(self):
        folder = self.folder()
        (helpers, _), (create, _), *rest = examples("cpp")
        mark = 'std::puts("----");\n'
        body = "".join(f"{{\n{code}}}\n{mark}" for code, _ in rest)
        with open(os.path.join(folder, "examples.cpp"), "w", encoding="utf-8") as source:
            source.write(f"{helpers}\nint main() {{\n{create}{body}}}\n")
        subprocess.run([COMPILER, "-std=c++17", "-Wall", "-Wextra", "-Werror",
                        "-I", os.path.join(SOURCES, "include"), "examples.cpp", MODULE,
                        "-Wl,-rpath," + os.path.dirname(MODULE), "-o", "examples"],
                       cwd=folder, check=True)
        done = subprocess.run(["./examples"], cwd=folder, check=True, capture_output=True)
        printed = done.stdout.decode().replace("\r", "").split("----\n")
        self.assertEqual(printed, [expected for _, expected in rest] + [""])

    def test_vbscript_examples_call_what_exists(self):
        known = {member.lower() for _, _, member, _ in interfaces()}
        known |= {"echo", "number", "source", "description"}
        called = {member.lower() for code, _ in examples("vbscript")
                  for member in re.findall(r"\.([A-Za-z]\w*)", re.sub(r'"[^"]*"', "", code))}
        self.assertGreater(len(called), 20)
        self.assertEqual(called - known, set())


if __name__ == "__main__":
    unittest.main()
