#!/usr/bin/env python3
"""doc/interface.md against the interfaces: it has every member as published, its Python and
C++ examples run and print what it shows.

Usage: interface_doc_test.py MODULE OIBIDX C++-COMPILER
"""

import contextlib
import io
import os
import re
import sys
import tempfile
import unittest

from documents import SOURCES, examples, prepare, read, run_cpp

MODULE, OIBIDX, COMPILER = sys.argv[1:4]
del sys.argv[1:4]
os.environ["ZOREL_OIBIDX_MODULE"] = MODULE
sys.path.insert(0, os.path.join(SOURCES, "bindings/python"))

NAME = "doc/interface.md"
DOCUMENT, PUBLISHED = read(NAME), read("tests/data/interfaces.txt")


def interfaces():
    """The published members: (interface, kind, name, arguments as the document writes them)."""
    name = None
    for line in PUBLISHED.splitlines():
        if not line.startswith(" "):
            name = line.split()[0] if " library " in line else None
        elif name is not None:
            _, kind, rest = line.split(maxsplit=2)
            member, arguments = rest.rstrip().rstrip(")").split("(")
            yield name, kind, member, re.sub(r"(^|, )(in|-) ", r"\1", arguments)


class Document(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)
        prepare(".", OIBIDX)

    def test_every_member_is_there_as_published(self):
        sections = dict(re.findall(r"^# (I\w+)\n(.*?)(?=^# |\Z)", DOCUMENT,
                                   re.MULTILINE | re.DOTALL))
        for name, kind, member, arguments in interfaces():
            prefix = "get_" if kind == "get" else ""
            with self.subTest(f"{name}.{member}"):
                self.assertIn(f"| `{prefix}{member}({arguments})` |", sections[name])
        rows = re.findall(r"^\| `\w+\(", DOCUMENT, re.MULTILINE)
        self.assertEqual(len(rows), len(list(interfaces())))
        identifiers = re.findall(r"^# (I\w+)\n\nIdentifier ([0-9a-f-]+)\.", DOCUMENT, re.MULTILINE)
        self.assertEqual(sorted(identifiers),
                         sorted(re.findall(r"^(I\w+) (\S+) library", PUBLISHED, re.MULTILINE)))

    def test_python_examples(self):
        names = {}
        for code, expected in examples(NAME, "python"):
            with contextlib.redirect_stdout(io.StringIO()) as printed:
                exec(compile(code, NAME, "exec"), names)
            self.assertEqual(printed.getvalue().replace("\r", ""), expected, code)

    def test_cpp_examples(self):
        (helpers, _), (create, _), *rest = examples(NAME, "cpp")
        mark = 'std::puts("----");\n'
        body = "".join(f"{{\n{code}}}\n{mark}" for code, _ in rest)
        printed = run_cpp(".", f"{helpers}\nint main() {{\n{create}{body}}}\n",
                          MODULE, COMPILER).split("----\n")
        self.assertEqual(printed, [expected for _, expected in rest] + [""])


unittest.main()
