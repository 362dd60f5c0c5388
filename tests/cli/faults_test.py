#!/usr/bin/env python3
"""Runs the commands that write with one fault at every step of their file-system calls: a failure,
a failure that lasts, the end of the process, a power failure; and with a limit of the file size.
A command that reports success has written everything; after any other end, the next command reads
the former content or the new one, and the command succeeds when it runs again."""
import concurrent.futures
import os
import pathlib
import resource
import shutil
import sys
import unittest

FAULTS = os.path.abspath(sys.argv.pop(2))
from tool_support import ClientTest, objects, run  # takes the first argument

DIED = 77
ENDS = ["kill", "power-cut", "power-cut-all", "power-cut-some"]
LINES = "a.b=1\r\nc=2"


class FaultsTest(ClientTest):
    def setUp(self):
        super().setUp()
        self.calls = os.path.join(self.base, "calls")
        self.start = os.path.join(self.base, "start")  # the state before each run
        self.state = os.path.join(self.base, "state")
        os.mkdir(self.start)

    def restore(self):
        shutil.rmtree(self.state, ignore_errors=True)
        shutil.copytree(self.start, self.state)

    def run_with(self, fault, arguments):
        self.restore()
        return run(*arguments, env={**os.environ, "LD_PRELOAD": FAULTS, "ZOREL_FAULT": fault,
                                    "ZOREL_FAULT_CALLS": self.calls})

    def check_faults(self, arguments, read):
        """`read` returns the content of the state. Returns the number of steps."""
        self.restore()
        before = read()
        self.assertEqual(run(*arguments).returncode, 0)
        after = read()
        self.assertNotEqual(before, after)

        def check(code, message):
            if code == 0:
                self.assertEqual(read(), after)
            else:
                self.assertIn(code, [2, DIED], message)
                self.assertTrue(code == DIED or message.startswith(b"oibidx: "), message)
                self.assertIn(read(), [before, after])
            self.assertEqual(run(*arguments).returncode, 0)
            self.assertEqual(read(), after)

        self.assertEqual(self.run_with("fail:1000000000", arguments).returncode, 0)
        with open(self.calls, encoding="ascii") as file:
            calls = int(file.read())
        for kind in ["fail", "fail-from-then", "short-write", *ENDS]:
            for step in range(1, calls + 1):
                done = self.run_with(f"{kind}:{step}", arguments)
                with self.subTest(arguments=arguments, kind=kind, step=step):
                    self.assertEqual(done.returncode == DIED, kind in ENDS)
                    self.assertTrue(kind != "short-write" or done.returncode == 0, done.stderr)
                    check(done.returncode, done.stderr)
        for size in range(0, 80):
            self.restore()
            done = run(*arguments, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size)))
            with self.subTest(arguments=arguments, size=size):
                check(done.returncode, done.stderr)
        return calls

    def test_meta_files(self):
        path = os.path.join(self.state, "x.mtf")
        read = lambda: run("meta", "list", path).stdout
        with open(os.path.join(self.start, "x.mtf"), "wb") as file:
            file.write(("\ufeff" + LINES).encode("utf-16-le"))
        for arguments in [["set", path, "d=3"], ["set", path, "d=3", "e=4"], ["set", path, "a.b=3"]]:
            self.assertGreater(self.check_faults(["meta", *arguments], read), 5)
        os.remove(os.path.join(self.start, "x.mtf"))
        self.check_faults(["meta", "set", "--create", path, "d=3"], read)

    def test_races(self):
        """Eight processes create and change one file. Each success is in the file at the end."""
        path = os.path.join(self.base, "x.mtf")
        calls = {**os.environ, "LD_PRELOAD": FAULTS, "ZOREL_FAULT": "delay:1",
                 "ZOREL_FAULT_CALLS": self.calls}

        def change(i):
            """The attribute that the process set last, and its own reading of the file."""
            name = f"n{i}"
            value = None
            for turn in range(7):
                command = ["del", path, name] if turn % 3 == 2 else ["set", "--create", path,
                                                                    f"{name}={turn}"]
                done = run("meta", *command, env=calls)
                if done.returncode == 0:
                    value = None if turn % 3 == 2 else str(turn)
                elif done.returncode == 2:
                    self.assertRegex(done.stderr.decode(), "being used by another process|in use")
                else:
                    self.assertEqual((done.returncode, command[0]), (1, "del"))
                self.assertIn(run("meta", "list", path, env=calls).returncode, [0, 1, 2])
            return name, value

        for _ in range(3):
            with concurrent.futures.ThreadPoolExecutor(8) as pool:
                expected = {name: value for name, value in pool.map(change, range(8)) if value}
            found = {row["name"]: row["value"] for row in objects("meta", "list", path, "--json")}
            self.assertEqual(found, expected)
            os.remove(path)

    def test_scan(self):
        self.make("a.txt", b"1")
        self.make("folder/b.txt", b"22")
        catalogue = os.path.join(self.state, "catalogue")
        other = os.path.dirname(self.write("other/c.txt", b"333"))
        folders = {2: self.tree, 1: other}  # by the number of files

        read = lambda: run("find", os.path.join(catalogue, "summary.txt"), "--json").stdout

        def read_with_source():
            row, = objects("info", catalogue, "--json")
            self.assertTrue(row["scan"] is None or
                            row["scan"]["folder"] == os.path.realpath(folders[row["files"]]))
            return read()
        arguments = ["scan", self.tree, "-o", catalogue]
        self.assertGreater(self.check_faults(arguments, read), 10)
        run("scan", self.tree, "-o", os.path.join(self.start, "catalogue"))
        self.check_faults(["scan", other, "-o", catalogue, "--replace"], read_with_source)
        self.check_faults([*arguments, "--volume", "D"], read)
        self.assertEqual(sorted(os.listdir(catalogue)), ["C.dat", "C.scan.mtf", "D.dat", "D.scan.mtf", "summary.txt"])

    def test_generate(self):
        self.make("a.txt", b"1")
        self.make("b.txt", b"1")
        catalogue = os.path.join(self.start, "catalogue")
        run("scan", self.tree, "-o", catalogue)
        run("generate", catalogue, "-o", os.path.join(self.start, "texts"))
        self.write("start/texts/vl.C.a.b.7.txt", b"earlier")
        broken = self.write("broken/C.dat", b"VIFD")
        output = os.path.join(self.state, "texts")

        def read():
            """The files after a run that only repairs, because its catalogue is damaged."""
            self.assertEqual(run("generate", broken, "-o", output).returncode, 2)
            return {file.name: file.read_bytes() for file in pathlib.Path(output).iterdir()}
        arguments = ["generate", os.path.join(self.state, "catalogue"), "-o", output,
                     "--records=1"]
        self.assertGreater(self.check_faults(arguments, read), 20)


if __name__ == "__main__":
    unittest.main()
