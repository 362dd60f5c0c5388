"""The examples of README.md and doc/interface.md, and what is needed to run them."""

import os
import pathlib
import re
import subprocess
from datetime import datetime, timezone

SOURCES = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TIME = datetime(2013, 1, 15, 9, 5, 7, tzinfo=timezone.utc).timestamp()
FILES = {"a.txt": 3, "Docs/report.txt": 7, "Docs/2019/old.txt": 11, "Docs/2019/photo.jpg": 13}
RECORDS = "".join("01/15/2013 09:05:07, {}, C:\\{}\n".format(size, name.replace("/", "\\"))
                  for name, size in FILES.items())
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
    """Writes the files that the interface document's examples use, with the client `oibidx`."""
    for name, size in FILES.items():
        path = pathlib.Path(folder, "tree", name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(b"x" * size)
        os.utime(path, (TIME, TIME))
    subprocess.run([oibidx, "scan", "tree", "-o", "catalogue"], cwd=folder, check=True,
                   stdout=subprocess.DEVNULL)
    for name, text in [("vl.C.CORP.ann.0.txt", RECORDS), ("session.mtf", SESSION),
                       ("publication.mtf", PUBLICATION)]:
        content = ("\ufeff" + text.replace("\n", "\r\n")).encode("utf-16-le")
        pathlib.Path(folder, name).write_bytes(content)


def read(name):
    return pathlib.Path(SOURCES, name).read_text(encoding="utf-8")


def examples(name, language):
    """(code, what it prints) for each example of a document in a language, in order. A text
    block is the output of the last example of every language since the text block before."""
    found, has_output = [], True
    for kind, code in re.findall(r"^```(\w+)\n(.*?)^```$", read(name), re.MULTILINE | re.DOTALL):
        if kind == language:
            found.append([code, ""])
            has_output = False
        elif kind == "text" and not has_output:
            found[-1][1] = code
            has_output = True
    return found


def run_cpp(folder, source, module, compiler):
    """Compiles a program against the public headers and the module; returns what it prints."""
    pathlib.Path(folder, "example.cpp").write_text(source, encoding="utf-8")
    subprocess.run([compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror",
                    "-I", os.path.join(SOURCES, "include"), "example.cpp", module,
                    "-Wl,-rpath," + os.path.dirname(module), "-o", "example"],
                   cwd=folder, check=True)
    done = subprocess.run(["./example"], cwd=folder, check=True, capture_output=True)
    return done.stdout.decode().replace("\r", "")
