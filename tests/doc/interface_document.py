"""The interface document's examples and the folder in which they run."""

import os
import re
import subprocess
from datetime import datetime, timezone

SOURCES = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
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


def prepare(folder, oibidx):
    """Makes the folder in which the document's examples run, with the client `oibidx`."""
    for name, size in [("a.txt", 3), ("Docs/report.txt", 7), ("Docs/2019/old.txt", 11),
                       ("Docs/2019/photo.jpg", 13)]:
        path = os.path.join(folder, "tree", name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(b"x" * size)
        os.utime(path, (TIME, TIME))
    subprocess.run([oibidx, "scan", "tree", "-o", "catalogue"], cwd=folder, check=True,
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
