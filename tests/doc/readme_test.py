#!/usr/bin/env python3
"""README.md: the tour and the C++ program print what it shows. All documents: links lead to
files, and promises name tests that exist.

Usage: readme_test.py MODULE OIBIDX C++-COMPILER
"""

import glob
import os
import pwd
import re
import socket
import subprocess
import sys
import tempfile
import unittest

from documents import SOURCES, examples, read, run_cpp

MODULE, OIBIDX, COMPILER = sys.argv[1:4]
del sys.argv[1:4]


def normalized(text):
    """The README shows the user ann on srv01; the width of a column depends on these."""
    host = socket.gethostname().upper()
    user = pwd.getpwuid(os.getuid()).pw_name
    text = text.replace(f" {host}\\{user} ", " SRV01\\ann ").replace(f" {user} ", " ann ")
    return re.sub(" +", " ", re.sub(r"(?m)^(Time +)[0-9.]+ s$", r"\g<1>0.00 s", text))


class Readme(unittest.TestCase):
    maxDiff = None

    def test_tour(self):
        [(tour, _)] = examples("README.md", "console")
        [(program, program_output)] = examples("README.md", "cpp")
        environment = os.environ | {"PATH": os.path.dirname(OIBIDX) + ":" + os.environ["PATH"]}
        steps = re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", tour, re.MULTILINE)
        self.assertGreater(len(steps), 10)
        with tempfile.TemporaryDirectory() as folder:
            for command, expected in steps:
                done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment,
                                      stdout=subprocess.PIPE, text=True, check=True)
                self.assertEqual(normalized(done.stdout), normalized(expected), command)
            self.assertEqual(run_cpp(folder, program, MODULE, COMPILER), program_output)

    def test_links(self):
        for path in ["README.md", "CONTRIBUTING.md", "CHANGELOG.md", "samples/README.md",
                     *glob.glob("doc/*.md", root_dir=SOURCES)]:
            for link in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", read(path)):
                target = os.path.join(SOURCES, os.path.dirname(path), link)
                self.assertTrue(os.path.exists(target), f"{path}: {link}")

    def test_promises_name_tests(self):
        tests = "".join(read(path) for path in glob.glob("tests/**/*_test.*", root_dir=SOURCES,
                                                         recursive=True))
        promises = re.findall(r"(?m)^\| .* \| (`.*`) \|$", read("doc/reliability.md"))
        self.assertGreater(len(promises), 10)
        for name in re.findall("`(.*?)`", " ".join(promises)):
            exists = (os.path.exists(f"{SOURCES}/{name}_fuzz.cpp") if name.startswith("fuzz/")
                      else f"def {name}(" in tests or f"({name.replace('.', ', ')})" in tests)
            self.assertTrue(exists, name)


unittest.main()
