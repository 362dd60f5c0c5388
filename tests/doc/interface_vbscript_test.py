#!/usr/bin/env python3
"""The VBScript examples of doc/interface.md, run one after the other under the script host.

Usage: interface_vbscript_test.py OIBIDX      (the client for Linux; it writes the catalogue)
"""

import subprocess
import sys
import tempfile
import unittest

from documents import examples, prepare

OIBIDX = sys.argv.pop(1)
EXAMPLES = [*examples("doc/interface.md", "vbscript"),
            ["WScript.Echo VarType(folders)", "8200\n"]]  # the type of an array of strings


class Examples(unittest.TestCase):
    maxDiff = None

    def test_run_and_print(self):
        with tempfile.TemporaryDirectory() as folder:
            prepare(folder, OIBIDX)
            with open(f"{folder}/examples.vbs", "w", encoding="latin-1") as script:
                script.write("\n".join(code for code, _ in EXAMPLES).replace("\n", "\r\n"))
            done = subprocess.run(["wine", "cscript.exe", "//nologo", "examples.vbs"], cwd=folder,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, timeout=120, check=False)
        printed = done.stdout.decode("cp437").replace("\r", "").splitlines()
        expected = "".join(output for _, output in EXAMPLES).splitlines()
        self.assertGreater(len(expected), 15)
        # The fourth line is the system's error text.
        self.assertEqual(printed[:3] + printed[4:], expected[:3] + expected[4:])


unittest.main()
