"""Shared by the tests of the command-line client: runs, trees to scan, and a model of what a
scan of them records. A test's first argument is the path of the client."""
import datetime
import json
import os
import pathlib
import pwd
import random
import socket
import subprocess
import sys
import tempfile
import unittest

OIBIDX = os.path.abspath(sys.argv.pop(1))
HOST = socket.gethostname().upper()
EPOCH = datetime.datetime(1970, 1, 1)
AWKWARD_NAMES = ["ü ß", "日本", "two  blanks ", "line\nbreak", "quo'te\"", "-dash", "x" * 255,
               os.fsdecode(b"bad\xff\xfebytes"), "\U0001F600", "tab\t", "dot."]


def run(*arguments, **options):
    options.setdefault("stdout", subprocess.PIPE)
    return subprocess.run([OIBIDX, *arguments], stderr=subprocess.PIPE, timeout=120, **options)


def answer(*arguments, code=0):
    """The standard output of a run whose exit code has to be `code`."""
    done = run(*arguments)
    assert done.returncode == code, (arguments, done.returncode, done.stderr)
    return done.stdout


def objects(*arguments, code=0):
    return [json.loads(line) for line in answer(*arguments, code=code).splitlines()]


def owner_of(status):
    """The owner as listings print it after a scan."""
    try:
        return HOST + "\\" + pwd.getpwuid(status.st_uid).pw_name
    except KeyError:
        return f"S-1-22-1-{status.st_uid}"


def model(tree):
    """The folders and files below `tree` with relative names, as os.walk sees them."""
    folders, files = [], {}
    for place, names, file_names in os.walk(tree):
        relative = os.path.relpath(place, tree)
        prefix = "" if relative == "." else relative.replace("/", "\\") + "\\"
        folders += [prefix + n for n in names if not os.path.islink(os.path.join(place, n))]
        for name in file_names:
            path = os.path.join(place, name)
            if os.path.islink(path) or not os.path.isfile(path):
                continue
            status = os.stat(path)
            modified = EPOCH + datetime.timedelta(seconds=status.st_mtime_ns // 10**9)
            files[prefix + name] = {"type": "file", "path": "C:\\" + prefix + name, "name": name,
                                    "size": status.st_size, "modified": modified.isoformat() + "Z",
                                    "owner": owner_of(status), "volume": "C"}
    return sorted(folders), files


def make_tree(root, seed):
    """Folders and files with awkward names, sizes, times and owners."""
    chance = random.Random(seed)
    folders = [root]
    for i in range(60):
        name = chance.choice(AWKWARD_NAMES)[:200] + str(i)
        folders.append(os.path.join(chance.choice(folders), name))
        os.mkdir(folders[-1])
    for i in range(300):
        name = chance.choice(AWKWARD_NAMES)[:80] + f"{i}" + chance.choice(["", ".txt", ".TXT", "log"])
        path = os.path.join(chance.choice(folders), name)
        with open(path, "wb") as file:
            file.truncate(chance.choice([0, 1, 77, 4096, 5 * 2**30]))
        nanoseconds = chance.randrange(-(2**31), 2**33) * 10**9 + chance.randrange(10**9)
        os.utime(path, ns=(0, nanoseconds))
        if os.getuid() == 0:
            os.chown(path, chance.choice([0, 1, 4000001]), 0)
    os.symlink(root, os.path.join(folders[5], "loop"))
    os.symlink("nowhere", os.path.join(root, "broken"))
    os.mkfifo(os.path.join(folders[7], "fifo"))


class ClientTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.base = tempfile.mkdtemp()
        self.addCleanup(subprocess.run, ["rm", "-rf", self.base])
        self.tree = os.path.join(self.base, "tree")
        self.catalogue = os.path.join(self.base, "catalogue")
        self.data_file = os.path.join(self.catalogue, "C.dat")
        os.mkdir(self.tree)

    def make(self, name, content=b"", modified=None):
        path = self.write("tree/" + name, content)
        if modified is not None:
            os.utime(path, ns=(0, modified))

    def write(self, name, content):
        """Writes bytes, or text as UTF-16 with a byte-order mark; returns the path."""
        path = pathlib.Path(self.base, name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes)
                         else ("\ufeff" + content).encode("utf-16-le"))
        return str(path)

    def check_failure(self, arguments, *texts):
        """The run fails without output, and its message contains the texts."""
        done = run(*arguments)
        message = done.stderr.decode()
        self.assertEqual((done.returncode, done.stdout), (2, b""), (arguments, message))
        self.assertTrue(message.startswith("oibidx: "), message)
        for text in texts:
            self.assertIn(text, message)

    def scan(self, *arguments, code=0):
        return objects("scan", self.tree, "-o", self.catalogue, "--json", *arguments, code=code)[0]

    def content(self):
        """Every file of the catalogue with its bytes."""
        return {path.name: path.read_bytes() for path in pathlib.Path(self.catalogue).glob("*")}
