#!/usr/bin/env python3
"""The VBScript examples of doc/interface.md, run one after the other under the script host.

Usage: interface_vbscript_test.py OIBIDX      (the client of this system, for the catalogue)
"""

import subprocess
import sys
import tempfile
import unittest

from interface_document import examples, prepare

OIBIDX = sys.argv.pop(1)
SENTINEL = "all examples ran"
# The description's third line is in the words of the system.
PRINTED = """0x80070002 ZorelOibIdxLib.COibIdxLib.5
Instance of the CCoOibDFBrowser() cannot be initialized.
Cannot open file CFileReader::Open
*
 Code: 2
match
0hac906abf43d5
searched
2 files, 18 bytes
1 file, 3 bytes
srv01
no client
srv01
db02 2013-01-15 09:05:07
web01 2013-01-14 09:05:07
2013-01-15 09:05:07
AddBSession: Daily on srv01
D:\\Backup\\daily.bak
1 group, 0 restore points
""" + SENTINEL


class Examples(unittest.TestCase):
    maxDiff = None

    def test_run_and_print(self):
        with tempfile.TemporaryDirectory() as folder:
            prepare(folder, OIBIDX)
            with open(f"{folder}/examples.vbs", "w", encoding="latin-1") as script:
                script.write("\r\n".join(code for code, _ in examples("vbscript")))
                script.write(f'\r\nWScript.Echo "{SENTINEL}"\r\n')
            done = subprocess.run(["wine", "cscript.exe", "//nologo", "examples.vbs"], cwd=folder,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, timeout=120, check=False)
        lines = done.stdout.decode("cp437").replace("\r", "").splitlines()
        if len(lines) > 3:
            lines[3] = "*"
        self.assertEqual("\n".join(lines), PRINTED)


if __name__ == "__main__":
    unittest.main()
