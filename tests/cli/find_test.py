#!/usr/bin/env python3
"""Runs the searches and listings of the client on catalogues that the test writes."""
import fnmatch
import json
import os
import pathlib
import pty
import random
import re
import struct
import subprocess
import time
import unittest

import jsonschema

from tool_support import OIBIDX, ClientTest, answer, objects, run

NO_OWNER = 2**32 - 1
OWNERS = [("S-1", "ann", "CORP"), ("S-2", "ann", ""), ("S-3", "ann", "LAB"), ("S-4", "", ""),
          ("S-5", "s-5", "X"), ("S-6", "bo.b@x", "A"), ("S-7", "e\x1bve", "CORP"), ("S-8", "bob", "")]
SHOWN = ["CORP\\ann", "ann", "LAB\\ann", "S-4", "S-5", "A\\bo.b@x", "CORP\\e\x1bve", "bob", ""]
SCHEMA = json.loads((pathlib.Path(__file__).parents[2] / "doc/oibidx.schema.json").read_text())


def data_file(folders, files, owners=OWNERS):
    """The bytes of a volume. Folders: name, parent; files: name, folder, owner, Unix time, size."""
    string = lambda text: (struct.pack("<I", len(text.encode("utf-16-le", "surrogatepass")) // 2) +
                           text.encode("utf-16-le", "surrogatepass"))
    tables = [(1, [2, 1, 3, 1, 1], [string(name) + struct.pack(
                  "<qIqq", folder, owner, (when + 11644473600) * 10**7, size)
                  for name, folder, owner, when, size in files]),
              (2, [2, 1], [string(name) + struct.pack("<q", up) for name, up in [("", 0), *folders]]),
              (3, [2, 2, 2], [b"".join(map(string, owner)) for owner in owners])]
    data = b""
    for identifier, types, records in tables:
        rest = struct.pack(f"<III{len(types)}Hq", 0, identifier, len(types), *types, len(records))
        rest += b"".join(records)
        data += b"VIFD" + struct.pack("<HHq", 1, 1, (len(data) + 16 + len(rest)) * (identifier < 3))
        data += rest
    return data


def fold(text):
    return re.sub("[A-Z]", lambda letter: letter[0].lower(), text)


def matches(name, pattern):
    """The product's rule, for patterns whose parts begin with different letters."""
    start = "" if "*" in pattern else ".*"
    wanted = start + re.escape(fold(pattern)).replace(r"\*", ".*").replace(r"\?", ".")
    return re.match(wanted, fold(name), re.DOTALL)


class FindTest(ClientTest):
    def volume(self, letter, folders, files, owners=OWNERS, catalogue="catalogue"):
        self.write(f"{catalogue}/{letter}.dat", data_file(folders, files, owners))
        names = sorted(path.stem for path in pathlib.Path(self.base, catalogue).glob("?.dat"))
        self.write(f"{catalogue}/summary.txt",
                   "\r\n".join(f"Volume.{name}={name}.dat" for name in names))
        places = ["C:".replace("C", letter)]
        for name, up in folders:
            places.append(places[up] + "\\" + name)
        return [{"type": "file", "path": f"{places[folder]}\\{name}", "name": name, "size": size,
                 "modified": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(when)),
                 "owner": SHOWN[min(owner, len(SHOWN) - 1)], "volume": letter}
                for name, folder, owner, when, size in files], places[1:]


class Model(FindTest):
    def test_filters_and_orders(self):
        chance = random.Random(20)
        words = ["report", "Rat", "BAT.txt", "a.TXT", "log.Log", "日本.txt", "é", "mix[1]", "\u202ex", "t"]
        def some(count, folders):
            return [(chance.choice(words) + chance.choice(["", "1", ".log"]) + str(i) *
                     chance.randrange(2), chance.randrange(folders), chance.choice(
                         [*range(len(OWNERS)), NO_OWNER]), chance.choice(
                             [0, 1700000000, 951782400, -86401]), chance.choice([0, 5, 1536, 2**40]))
                    for i in range(count)]
        rows, folders = [], []
        for letter in "CD":
            tree = [(chance.choice(words) + str(i), chance.randrange(i + 1)) for i in range(12)]
            found, places = self.volume(letter, tree, some(900, 13))
            rows += found
            folders += [{"type": "folder", "path": path, "name": path.rpartition("\\")[2],
                         "volume": letter} for path in places]
        tests = {
            "--name": (["rat", "r*t", "*txt", "?at", "LOG"], lambda v, r: matches(r["name"], v)),
            "--glob": (["*.txt", "[a-m]*", "[!A-M]?*", "é", "?at*1", "*[[]1]", "re*", "[]x]*", "[R]a*"],
                       lambda v, r: fnmatch.fnmatchcase(fold(r["name"]), fold(v))),
            "--not-name": (["1", "b*t", "*g"], lambda v, r: not matches(r["name"], v)),
            "--ext": ([".txt;.LOG", "1", "t, 1 "], lambda v, r: "size" in r and any(
                fold(r["name"]).endswith(fold(end.strip())) and len(r["name"]) > len(end.strip())
                for end in re.split("[;,]", v))),
            "--owner": ([*SHOWN[:-1], "-", "corp\\ANN", "ann@lab", "none"], lambda v, r: "size" in r
                        and fold(r["owner"] or "-") == fold("LAB\\ann" if "@l" in v else v)),
            "--under": (["D:", "/" + folders[0]["name"], folders[15]["path"].upper()], lambda v, r:
                        fold(r["path"]).startswith(fold((r["path"][:2] if v[0] == "/" else "") +
                                                        v.replace("/", "\\") + "\\"))),
            "--min-size": (["1.5K", "1TiB", "1"], lambda v, r: r.get("size", -1) >=
                           {"1.5K": 1536, "1TiB": 2**40, "1": 1}[v]),
            "--older-than": (["2000-02-29", "1970-01-01"], lambda v, r: "size" in r and
                             r["modified"] <= v + "T00:00:00Z"),
            "--newer-than": (["2000-02-29"], lambda v, r: "size" in r and r["modified"] >= v)}
        keys = {"name": lambda r: (fold(r["name"]), fold(r["path"])), "path": lambda r: fold(r["path"]),
                "size": lambda r: r.get("size", -1), "time": lambda r: r.get("modified", "")}
        for _ in range(150):
            chosen = {option: chance.sample(values, chance.choice([1, 1, 2]) if option in (
                "--name", "--glob", "--not-name", "--owner") else 1)
                      for option, (values, _) in tests.items() if chance.random() < 0.2}
            named = [(o, v) for o in ("--name", "--glob") for v in chosen.get(o, [])]
            others = {o: v for o, v in chosen.items() if o not in ("--name", "--glob")}
            with_folders = chance.random() < 0.3
            parts = [[f for f in folders if with_folders and f["volume"] == "C" or with_folders], rows]
            wanted = [r for r in parts[0] + parts[1]
                      if (not named or any(tests[o][1](v, r) for o, v in named)) and
                      all((all if o == "--not-name" else any)(tests[o][1](v, r) for v in values)
                          for o, values in others.items())]
            arguments = [f"{o}={v}" for o, values in chosen.items() for v in values]
            arguments += ["--folders"] * with_folders
            order, limit = chance.choice([None, *keys]), chance.choice([None, None, 1, 7])
            if order:
                back = chance.random() < 0.5
                arguments += ["--sort", order] + ["--reverse"] * back
                wanted.sort(key=keys[order], reverse=back)
            done = run("find", self.catalogue, *arguments, "--json",
                       *([f"--limit={limit}"] if limit else []))
            listed = [json.loads(line) for line in done.stdout.splitlines()]
            self.assertEqual(done.returncode, 0 if wanted else 1, (arguments, done.stderr))
            self.assertEqual(listed, wanted[:limit], arguments)
            self.assertEqual(int(run("find", self.catalogue, *arguments, "--count").stdout),
                             len(wanted), arguments)
        for row in rows + folders:
            jsonschema.validate(row, SCHEMA)

    def test_several_catalogues_and_texts_keep_their_order(self):
        places, texts = [], []
        for i in range(9):
            files = [(f"{i}-{j}.txt", 0, 0, j, j) for j in range([0, 1, 5000, 513][i % 4])]
            rows, _ = self.volume("C", [], files, catalogue=f"many/{i}")
            places.append(f"{self.base}/many/{i}" + ["", "/summary.txt", "/C.dat"][i % 3])
            texts.append(self.write(f"vl.C.x.y.{i}.txt", "".join(
                f"01/01/1970 00:00:00, {j}, C:\\{row[0]}\r\n" for j, row in enumerate(files))))
        for command, paths in ("find", places), ("find-text", texts):
            single = [run(command, path, "--name=1").stdout for path in paths]
            self.assertEqual(answer(command, *paths, "--name=1"), b"".join(single))
            self.assertEqual(answer(command, *paths, "--count"), b"11028\n")
            self.assertEqual(answer(command, *paths, "--limit=5002").count(b"\n"), 5002)


class Output(FindTest):
    def setUp(self):
        super().setUp()
        self.volume("C", [("docs", 0), ("\u202edir", 1)],
                    [("b\x1b.txt", 1, 3, 1709296215, 1536), ("A", 2, NO_OWNER, 0, 5),
                     ("c", 0, 6, 1720000000, 2**50)])

    def test_forms(self):
        line = "2024-03-01 12:30:15           1536  S-4               C:\\docs\\b\\x1B.txt\n"
        for arguments, wanted in [
                (["--name=txt"], line),
                (["--name=txt", "--local"], line.replace("12:30:15", "13:30:15 +01:00")),
                (["--glob=c", "--local", "--format={time}"], "2024-07-03T11:46:40+02:00\n"),
                (["-l", "--sort=name"], "-  C  -                       5  1970-01-01 00:00:00  "
                 "C:\\docs\\\\u202Edir\\A\n-  C  S-4                  1.5K  2024-03-01 12:30:15  "
                 "C:\\docs\\b\\x1B.txt\n-  C  CORP\\e\\x1Bve         1.0P  2024-07-03 09:46:40  C:\\c\n"),
                (["--folders", "-l", "--glob=docs"], "d  C  -                       -  " +
                 "-".ljust(19) + "  C:\\docs\\\n"),
                (["--name=txt", "-0"], "C:\\docs\\b\x1b.txt\0"),
                (["--name=txt", "-0", "--format={name} {{{size}}}"], "b\x1b.txt {1536}\0"),
                (["--glob=a", "--format={volume}|{folder}|{name}|{owner}|{time}|{path}"],
                 "C|C:\\docs\\\\u202Edir|A||1970-01-01T00:00:00Z|C:\\docs\\\\u202Edir\\A\n"),
                (["--name=txt", "--color=always", "--format={path}"],
                 "\x1b[34mC:\\docs\\\x1b[0mb\\x1B.txt\n"), (["-q"], "")]:
            done = subprocess.run([OIBIDX, "find", self.catalogue, *arguments], stdout=-1, stderr=-1,
                                  env={"TZ": "CET-1CEST,M3.5.0,M10.5.0/3"}, timeout=60)
            self.assertEqual((done.returncode, done.stdout.decode(), done.stderr), (0, wanted, b""))
        self.assertEqual(run("find", self.catalogue, "-q", "--name=none").returncode, 1)

    def test_a_terminal(self):
        for variables, start in ({}, "\x1b[34mC:"), ({"NO_COLOR": "1"}, "C:"), ({"TERM": "dumb"}, "C:"):
            ours, theirs = pty.openpty()
            subprocess.run([OIBIDX, "find", self.catalogue, "--name=txt"], stdout=theirs, timeout=60,
                           env={"TERM": "xterm", **variables})
            os.close(theirs)
            self.assertIn("12:30:15 UTC           1536  S-4               " + start,
                          os.read(ours, 1000).decode())
            os.close(ours)

    def test_owners_are_printed_and_accepted_in_one_way(self):
        files = [(f"f{i}", 0, owner, 0, i) for i, owner in enumerate([*range(8), NO_OWNER])]
        self.volume("C", [], files)
        listed = answer("browse", self.data_file).decode().splitlines()[:-1]
        for i, line in enumerate(answer("find", self.catalogue).decode().splitlines()):
            owner = line[36:].split("  ")[0].rstrip()
            self.assertEqual(listed[i].split()[1], owner)
            self.assertEqual(objects("browse", self.data_file, "--json")[i],
                             objects("find", self.catalogue, "--owner", owner, "--json")[0])
            self.assertEqual(answer("find", self.catalogue, "--owner", owner, "--count"), b"1\n")
        for owner, found in ("ann@corp", 1), ("CORP.ann", 1), ("lab\\ANN", 1), ("bo.b@x", 1), ("x", 0):
            self.assertEqual(run("find", self.catalogue, "--owner", owner, "--count").stdout,
                             b"%d\n" % found, owner)


class Volumes(FindTest):
    def setUp(self):
        super().setUp()
        self.volume("C", [("Docs", 0), ("docs", 0), ("back\\slash", 0), ("below", 1)],
                    [("a", 1, 0, 0, 1), ("b", 2, 0, 0, 2), ("c", 3, 0, 0, 4), ("d", 4, 0, 0, 8)])

    def test_hidden_folders_are_named(self):
        notes = ("oibidx: C:\\Docs: hidden by C:\\docs\n"
                 "oibidx: C:\\back\\slash: its name contains a backslash, no path reaches it\n")
        for arguments, code, size in [
                (["find", self.catalogue], 0, 15), (["find", self.catalogue, "--under=/docs"], 0, 11),
                (["browse", self.data_file, "-r"], 3, 6), (["browse", self.data_file], 3, 0)]:
            done = run(*arguments, "--json")
            rows = [json.loads(line) for line in done.stdout.splitlines()]
            self.assertEqual((done.returncode, done.stderr.decode()), (code, notes), arguments)
            self.assertEqual(sum(row.get("size", 0) for row in rows), size, arguments)
        self.assertEqual(run("find", self.catalogue, "--count").stderr, b"")
        self.volume("C", [(name, 0) for i in range(25) for name in (f"t{i}", f"T{i}")], [])
        self.assertRegex(run("browse", self.data_file).stderr.decode(),
                         r"(oibidx: C:\\t\d+: hidden by C:\\T\d+\n){20}oibidx: 5 more\n$")

    def test_catalogues_in_any_form(self):
        self.volume("D", [("Sub", 0)], [("x", 0, 0, 0, 1), ("y", 1, 0, 0, 2)])
        for place in (self.catalogue, self.catalogue + "/summary.txt"):
            self.assertEqual(answer("browse", place), b"v  C:\\\nv  D:\\\n2 volumes\n")
            volume = {"type": "volume", "path": "C:\\", "name": "C", "volume": "C"}
            self.assertEqual(objects("browse", place, "--json")[0], volume)
            jsonschema.validate(volume, SCHEMA)
            self.assertEqual(objects("browse", place, "d:/sub", "--json")[0]["path"], "D:\\Sub\\y")
            self.check_failure(["browse", place, "E:\\"], f"no volume E in {place} (C, D)")
            self.check_failure(["browse", place, "sub"], f"{place}: has 2 volumes")
        self.assertEqual([row["name"] for row in objects("find", self.catalogue + "/D.dat", "--json")],
                         ["x", "y"])

    def test_volumes_that_cannot_be_read(self):
        self.volume("D", [], [("x", 0, 0, 0, 1)])
        self.write("catalogue/D.dat", b"no data file")
        self.volume("E", [], [("y", 0, 0, 0, 1)])
        self.check_failure(["find", self.catalogue], f"oibidx: {self.catalogue}/D.dat: ")
        for arguments, count in ([], b"5\n"), (["--name=y"], b"1\n"):
            done = run("find", self.catalogue, "--skip-unreadable", "--count", *arguments)
            self.assertEqual((done.returncode, done.stdout), (3, count))
            self.assertRegex(done.stderr.decode(), f"^oibidx: {self.catalogue}/D.dat: [^\n]+\n$")

    def test_arguments(self):
        find = ["find", self.catalogue]
        for arguments, text in [
                (["--name=a/b"], "--name: 'a/b' contains a slash; names are matched, not paths; "
                 "--under limits the search to a folder"), (["--glob=a\\b"], "--glob: 'a\\b'"),
                (["--not-name=/"], "--not-name"), (["--limit=0"], "--limit: '0' is not a number"),
                (["--limit=x"], "--limit"), (["--sort=x"], "--sort"), (["--reverse"], "--sort"),
                (["--color=x"], "--color"), (["--json", "-l"], "--json excludes"),
                (["--format={x}"], "there is no field {x}; fields: {path}, {name}, {folder}, {size}, "
                 "{time}, {owner}, {volume}"), (["--format={"], "brace"), (["--format=a}"], "brace")]:
            self.check_failure([*find, *arguments], text)
        self.check_failure(["find-text", "x", "--folders"], "--folders: text data files list no")


unittest.main()
