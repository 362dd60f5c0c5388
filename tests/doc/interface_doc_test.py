#!/usr/bin/env python3
"""doc/interface.md against the interfaces: it has every member as published, its Python and
C++ examples run and print what it says, its VBScript examples call members that exist.

Usage: interface_doc_test.py MODULE OIBIDX C++-COMPILER
"""

import contextlib
import io
import os
import re
import subprocess
import sys
import tempfile
import unittest

from interface_document import DOCUMENT, SOURCES, examples, prepare

MODULE, OIBIDX, COMPILER = sys.argv[1:4]
del sys.argv[1:4]
os.environ["ZOREL_OIBIDX_MODULE"] = MODULE
sys.path.insert(0, os.path.join(SOURCES, "bindings/python"))


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
        prepare(folder.name, OIBIDX)
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
