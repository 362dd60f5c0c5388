#!/usr/bin/env python3
"""Runs the client's generation and searches on trees made on the spot and compares them with
plain models.

Usage: search_test.py OIBIDX [unittest arguments]
"""
import binascii
import datetime
import glob
import json
import os
import random
import re
import resource
import socket
import time
import unittest

from tool_support import (EPOCH, ClientTest, answer, limited, make_tree, model, objects,
                          read_catalogue, run, utf16_key)

HOST = socket.gethostname().upper()
TICKS_PER_SECOND, TICKS_TO_1970 = 10**7, 116444736 * 10**9


def reads_as_text(text):
    """Of the names that trees here have: no stray bytes, nothing that breaks a line."""
    return not any(c in "\n\r" or "\ud800" <= c <= "\udfff" for c in text)


def fits(name, pattern, server_rule=False):
    """The wildcard rule, a unit at a time."""
    name, at = utf16_key(name), 0
    floating = pattern.startswith("*") or ("*" not in pattern and not server_rule)
    for token in map(utf16_key, filter(None, pattern.split("*"))):
        last = len(name) - len(token)
        places = [p for p in range(at, last + 1 if floating else min(1, last + 1))
                  if all(t in (ord("?"), u) for t, u in zip(token, name[p:]))]
        if not places:
            return False
        at, floating = places[0], True
    return True


def owned_by(owner, asked):
    if not owner or owner.startswith("unkn"):
        return False
    domain, name = owner.lower().split("\\")
    for separator in "\\@.":
        if separator in asked:
            first, second = asked.lower().split(separator, 1)
            return (domain, name) == ((second, first) if separator == "@" else (first, second))
    return name == asked.lower()


def crc(text):
    small = "".join(c.lower() if "A" <= c <= "Z" else c for c in text)
    return "%04x" % binascii.crc_hqx(small.encode("utf-16-le", "surrogatepass"), 0xFFFF)


def owner_label(owners, index):
    """How files and maps call an owner, and the parts of the label."""
    known = [bool(name) and name.lower() != id.lower() for id, name, _ in owners]
    if known[index]:
        return owners[index][2], owners[index][1]
    return ("unkn%d" % known[:index].count(False),)


def text_files(data_file, per_file=10**6, lines_of=None):
    """The files that a generation has to write for volume C, with their text."""
    tables = read_catalogue(data_file)
    owners = tables[3][1]
    written, counts = {}, [0] * len(owners)
    for name, folder, owner, ticks, size in tables[1][1]:
        folders = []
        while folder and len(folders) < 64:
            folders.insert(0, tables[2][1][folder][0])
            folder = tables[2][1][folder][1]
        if lines_of:
            lines = lines_of(folders, name)
        else:
            when = EPOCH + datetime.timedelta(seconds=(ticks - TICKS_TO_1970) // TICKS_PER_SECOND)
            line = f"{when:%m/%d/%Y %H:%M:%S}, {size}, " + "\\".join(["C:", *folders, name])
            lines = [line] if reads_as_text(line) else []
        file = "vl.C.%s.%d.txt" % (".".join(owner_label(owners, owner)), counts[owner] // per_file)
        written[file] = written.get(file, "") + "".join(line + "\r\n" for line in lines)
        counts[owner] += 1
    written["owners.C.map"] = "".join("\\".join(owner_label(owners, i)) + f"    {id}\r\n"
                                      for i, (id, _, _) in enumerate(owners))
    return {file: ("\ufeff" + text).encode("utf-16-le", "surrogatepass")
            for file, text in written.items()}


def key_lines(elements, parts, separators):
    def lines_of(folders, name):
        if not reads_as_text(name):
            return []
        path = ["C:", *folders]
        print_ = "h" + "".join(map(crc, path if elements < 0 else path[:elements]))
        base, dot, ending = name.rpartition(".")
        base, ending = (base, ending) if dot else (name, "none")
        pieces = "".join("\n" if c in separators else c for c in base).split("\n")
        pieces = sorted(filter(None, pieces), key=lambda p: -len(utf16_key(p)))
        pieces = pieces if parts < 0 else pieces[:parts]
        return ([f"{ending} 0{print_} {base}"] + [f"{ending} 1{print_} {p}" for p in pieces] +
                [f"{ending} 2{print_} {backwards(p)}" for p in pieces])
    return lines_of


def backwards(text):
    """With the units turned round, which splits pairs."""
    units = text.encode("utf-16-le")
    turned = b"".join(units[i:i + 2] for i in range(len(units) - 2, -1, -2))
    return turned.decode("utf-16-le", "surrogatepass")


class SearchTest(ClientTest):
    def setUp(self):
        super().setUp()
        self.summary = os.path.join(self.catalogue, "summary.txt")
        self.texts = os.path.join(self.base, "texts")

    def generate(self, *arguments):
        return objects("generate", self.summary, "-o", self.texts, "--json", *arguments)[0]

    def text_names(self):
        return sorted(glob.glob(os.path.join(glob.escape(self.texts), "vl.*")))


class Generation(SearchTest):
    def check(self, expected, *arguments):
        self.texts = os.path.join(self.texts, "next")
        told = self.generate("--time", "2013-01-15T09:05:07", *arguments)
        files = {f: b for f, b in expected.items() if f.startswith("vl.")}
        del told["milliseconds"]
        self.assertEqual(told, {"output": self.texts, "files": len(files),
                                "bytes": sum(map(len, files.values()))})
        for file in files:
            status = os.stat(os.path.join(self.texts, file))
            self.assertEqual((status.st_mtime, status.st_atime), (1358240707, 1358240707), file)
        self.assertEqual(sorted(set(os.listdir(self.texts)) - {"next"}), sorted(expected))
        for file, content in expected.items():
            with open(os.path.join(self.texts, file), "rb") as text:
                self.assertEqual(text.read(), content, file)

    def test_texts_agree_with_a_plain_model(self):
        make_tree(self.tree, 4)
        self.scan()
        self.check(text_files(self.data_file))
        self.check(text_files(self.data_file, per_file=7), "--records", "7")
        for elements, parts, separators in [(3, 0, "._- "), (-1, 2, "._- "), (1, -1, "01"),
                                            (0, 1, "")]:
            with self.subTest(elements=elements, parts=parts, separators=separators):
                self.check(text_files(self.data_file, 40, key_lines(elements, parts, separators)),
                           "--crc", "--records=40", f"--subfolders={elements}", f"--parts={parts}",
                           f"--separators={separators}")

    def test_the_files_carry_the_time_of_the_run(self):
        self.make("a")
        self.scan()
        before = int(time.time())
        told = answer("generate", self.summary, "-o", self.texts).decode()
        after = time.time()
        self.assertRegex(told, f"^Output     {self.texts}\nTexts      1\n"
                               r"Size       62 bytes \(62\)" "\nTime       [0-9.]+ s\n$")
        self.assertTrue(before - 1 <= os.stat(self.text_names()[0]).st_mtime <= after + 1)

    def test_only_the_files_of_this_run_are_counted(self):
        self.make("a")
        self.make("b")
        self.scan()
        for arguments, files in (["--records=1"], 2), ([], 1), (["--records=1"], 2):
            told = self.generate("--time=2013-01-15", *arguments)
            self.assertEqual(told["files"], files)
            self.assertEqual(told["bytes"], 120 + 2 * files)
        self.assertEqual(len(self.text_names()), 2)
        self.texts = self.base + "/other\\texts"
        told = self.generate()
        self.assertEqual((told["files"], told["bytes"]), (1, 122))
        self.assertEqual(len(os.listdir(self.base + "/other/texts")), 2)

    def test_fingerprints_meet_those_of_key_lines(self):
        for path, elements, wanted in [
                ("C:\\Users\\john", 3, "0hac906abf43d5"), ("C:\\Users\\john", 2, "0hac906abf"),
                ("C:\\Users\\john", 0, "0h"), ("c:/users//JOHN\\", -1, "0hac906abf43d5"),
                ("", -1, "0h"), ("\U0001F600\\a", 9, "0h" + crc("\U0001F600") + crc("A"))]:
            with self.subTest(path=path, elements=elements):
                arguments = ["fingerprint", path, f"--subfolders={elements}"]
                self.assertEqual(answer(*arguments).decode(), wanted + "\n")
                self.assertEqual(objects(*arguments, "--json"),
                                 [{"path": path, "fingerprint": wanted}])


class Searches(SearchTest):
    def setUp(self):
        super().setUp()
        make_tree(self.tree, 5)
        now = time.time_ns()
        for name, days in (("ten", 10), ("forty.Txt", 40)):
            self.make("Folder0/" + name, name.encode(), modified=now - days * 86400 * 10**9)
        self.scan()
        self.generate()
        self.folders, files = model(self.tree)
        self.files = []
        for name, file in files.items():
            owner = f"{HOST}\\{file['owner']}" if file["owner"] else "unkn0"
            self.files.append({"path": "C:\\" + name, "size": file["size"],
                               "modified": file["modified"], "owner": owner})

    def check(self, arguments, keeps):
        """Both searches with these arguments against the files of the model."""
        found = [file for file in self.files if all(keep(file) for keep in keeps)]
        in_text = [{**f, "owner": ""} for f in found if reads_as_text(f["path"])]
        for command, places, wanted in (("find", [self.catalogue], found),
                                        ("find-text", self.text_names(), in_text)):
            code = 0 if wanted else 1
            listed = objects(command, *places, *arguments, "--json", code=code)
            self.assertEqual(sorted(listed, key=lambda f: f["path"]),
                             sorted(wanted, key=lambda f: f["path"]), command)
            self.assertEqual(answer(command, *places, *arguments, "--count", code=code),
                             b"%d\n" % len(wanted))
        return len(found)

    def random_filter(self, chance):
        """An argument and what it keeps."""
        kind = chance.choice(["name", "under", "owner", "newer-than", "older-than", "min-size",
                              "max-size", "ext"])
        file = chance.choice(self.files)
        name = file["path"].rpartition("\\")[2]
        if kind == "name":
            middle = name[chance.randrange(len(name)):][:3].replace("*", "") or "a"
            text = chance.choice([middle, middle.upper(), "*" + middle, name[:2] + "*" + middle, "",
                                  "?" * chance.choice([9, 20, 80]), "*", "*t?T", "*1*1", "É"])
            text = text if reads_as_text(text) else "b*"
            return text, kind, lambda f, server: fits(f["path"].rpartition("\\")[2], text, server)
        if kind == "under":
            text = chance.choice([*self.folders, ""])
            text = text if reads_as_text(text) else "folder0"
            start = "C:\\" + (text + "\\" if text else "")
            text = chance.choice(["", "\\", "C:\\", "c:/"]) + chance.choice([text, text.upper()])
            text = text.replace("\\", chance.choice("\\/")) + chance.choice(["", "/", "\\"])
            return text, kind, lambda f, _: utf16_key(f["path"])[:len(utf16_key(start))] == \
                utf16_key(start)
        if kind == "owner":
            domain, _, user = file["owner"].rpartition("\\")
            text = chance.choice([user, f"{domain}\\{user}", f"{user.upper()}@{domain.lower()}",
                                  f"{domain}.{user}", "nobody\\" + user])
            return text, kind, lambda f, _: owned_by(f["owner"], text)
        if kind.endswith("than"):
            when = file["modified"]
            text = chance.choice([when, when[:10], when[:-4].replace("T", " "), when[:16] + "Z",
                                  "30d", "5w", "700h", "0s"])
            full = text.rstrip("Z").replace(" ", "T") + "T00:00:00"[len(text.rstrip("Z")) - 10:]
            if text[-1] in "dwhs":
                seconds = int(text[:-1]) * {"d": 86400, "w": 7 * 86400, "h": 3600, "s": 1}[text[-1]]
                full = (EPOCH + datetime.timedelta(seconds=time.time() - seconds)).isoformat()
            return text, kind, ((lambda f, _: f["modified"][:-1] >= full) if kind[0] == "n" else
                                (lambda f, _: f["modified"][:-1] <= full))
        if kind.endswith("size"):
            text, size = chance.choice([("0", 0), ("1", 1), ("78", 78), ("4K", 4096),
                                        ("4097", 4097), ("5120M", 5 * 2**30), ("5GB", 5 * 2**30),
                                        ("1t", 2**40)])
            return text, kind, ((lambda f, _: f["size"] >= size) if kind[1] == "i" else
                                (lambda f, _: f["size"] <= size))
        text = chance.choice([".txt", ".TXT,log", " .txt ; 7", "zzz", "", ";", "1 0log,2"])
        # An ending that holds blanks loses as many units at its end.
        ends = tuple(e.strip()[:len(e.replace(" ", ""))].lower()
                     for e in text.replace(",", ";").split(";") if e.strip())
        return text, kind, lambda f, _: not text or f["path"].endswith(ends)

    def test_both_searches_agree_with_a_plain_model(self):
        chance = random.Random(20130115)
        found = []
        for i in range(150):
            chosen = {}
            for _ in range(chance.choice([1, 1, 2, 3])):
                text, kind, keep = self.random_filter(chance)
                chosen[kind] = (text, keep)
            server = chance.random() < 0.25
            arguments = [f"--{kind}={text}" for kind, (text, _) in chosen.items()]
            arguments += ["--search-server-rule"] if server else []
            with self.subTest(i=i, arguments=arguments):
                keeps = [lambda f, keep=keep: keep(f, server) for _, keep in chosen.values()]
                found.append(self.check(arguments, keeps))
        self.assertEqual(self.check([], []), len(self.files))
        # The filters part the files, neither none nor all of them.
        self.assertGreater(sum(0 < n < len(self.files) for n in found), 75)

    def test_text_for_people(self):
        line = "%s              3  %s  C:\\Folder0\\ten\n"
        when = next(f["modified"] for f in self.files if f["path"].endswith("\\ten"))
        when = when[:10] + " " + when[11:19]
        owner = next(f["owner"] for f in self.files if f["path"].endswith("\\ten"))
        self.assertEqual(answer("find", self.catalogue, "--name=ten").decode(),
                         line % (when, owner.ljust(16)))
        self.assertEqual(answer("find", self.summary, "--name=ten"),
                         answer("find", self.catalogue, "--name=ten"))
        self.assertEqual(answer("find-text", *self.text_names(), "--name=ten").decode(),
                         line % (when, "-".ljust(16)))
        for command, places in (("find", [self.catalogue]), ("find-text", self.text_names())):
            for name, count in (("ten", 1), ("nobody", 0)):
                self.assertEqual(objects(command, *places, f"--name={name}", "--count", "--json",
                                         code=1 - count), [{"count": count}])

    def test_owners_in_the_names_of_texts(self):
        names = ["vl.C.CORP.ann.0.txt", "vl.C.LAB.ann.12.txt", "vl.D..bob.0.txt",
                 "vl.C.a.b.ann.0.txt", "vl.C.unkn0.0.txt"]
        for name in names:
            with open(os.path.join(self.base, name), "wb") as file:
                file.write("\ufeff01/15/2013 09:05:07, 1, C:\\x\r\n".encode("utf-16-le"))
        for owner, found in [("CORP\\ann", [0]), ("corp.ANN", [0]), ("ann@lab", [1]),
                             ("ann", [0, 1, 3]), ("nn", []), ("\\bob", [2]), ("bob", [2]),
                             ("a.b\\ann", [3]), ("unkn0", []), ("CORP", []), ("", range(5))]:
            for i, name in enumerate(names):
                with self.subTest(owner=owner, name=name):
                    count = int(i in found)
                    text = self.base + "\\" + name
                    self.assertEqual(answer("find-text", text, f"--owner={owner}", "--count",
                                            code=1 - count), b"%d\n" % count)
        for name in ("ann.txt", "vl.C.ann.0.txt", "vl.C.CORP.ann.x.txt", "vl.C.CORP.ann.0.map",
                     "vl.C.unkn.0.txt", "vl.C.0.txt"):
            done = run("find-text", self.base + "/" + names[0], name, "--owner=ann")
            self.assertEqual((done.returncode, done.stdout), (2, b""))
            self.assertIn(name + ": --owner: The file name contains no owner", done.stderr.decode())

    def test_all_volumes_are_searched(self):
        other = os.path.join(self.base, "other")
        os.makedirs(os.path.join(other, "Folder0"))
        with open(os.path.join(other, "Folder0", "ten.d"), "wb"):
            pass
        objects("scan", other, "-o", self.catalogue, "--volume", "D", "--json")
        self.generate()
        paths = ["C:\\Folder0\\ten", "D:\\Folder0\\ten.d"]
        for command, places in (("find", [self.catalogue]), ("find-text", self.text_names())):
            for filters, wanted in [
                    (["--under=/folder0"], paths), (["--under", "Folder0/"], paths), ([], paths),
                    (["--under=c:/folder0"], paths[:1]), (["--under=D:\\Folder0"], paths[1:]),
                    (["--under=d:"], paths[1:]), (["--under=E:"], [])]:
                with self.subTest(command=command, filters=filters):
                    arguments = [command, *places, "--name=ten*", *filters]
                    found = objects(*arguments, "--json", code=0 if wanted else 1)
                    self.assertEqual([f["path"] for f in found], wanted)
                    self.assertEqual(answer(*arguments, "--count", code=0 if wanted else 1),
                                     b"%d\n" % len(wanted))


class Failures(SearchTest):
    def check(self, arguments, *clues):
        with self.subTest(arguments=arguments):
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, b""), done.stderr)
            text = done.stderr.decode()
            self.assertTrue(text.startswith("oibidx: "), text)
            for clue in clues:
                self.assertIn(clue, text)

    def write(self, name, content):
        path = os.path.join(self.base, name)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes)
                       else ("\ufeff" + content).encode("utf-16-le"))
        return path

    def test_catalogues(self):
        self.make("a", b"1")
        self.scan()
        with open(self.data_file, "rb") as file:
            sound = file.read()
        not_loaded = "Instance of the CCoOibBDFSearchTask() cannot be initialized."
        prefix = "Prefix not match in CSeqTableReader::CSeqTableReader (HRESULT 0x80070057)"
        size = "The specified size is out of the buffer boundary. (HRESULT 0x80004005)"
        for label, summary, data, in_find, in_generation in [
                ("no list", None, sound, [not_loaded, "does not exist"], "does not exist"),
                ("half a unit", b"\xff\xfeV", sound, [not_loaded, "contains non-unicode lines"],
                 "contains non-unicode lines"),
                ("no data file", "Volume.C=none.dat", sound, [not_loaded, "HRESULT 0x80070002"],
                 "Cannot open file CFileReader::Open"),
                ("no table", None, sound[:20], [size], prefix),
                ("cut short", None, sound[:-1], [size], size),
                ("another file", None, b"X" + sound[1:], [prefix], prefix)]:
            with self.subTest(label):
                self.write(self.summary, "Volume.C=C.dat" if summary is None else summary)
                self.write(self.data_file, data)
                if label == "no list":
                    os.remove(self.summary)
                self.check(["find", self.catalogue], f"oibidx: {self.catalogue}: ", *in_find)
                self.check(["generate", self.summary, "-o", self.texts],
                           f"oibidx: {self.summary}: ", in_generation)
                self.assertEqual(self.text_names(), [])
        self.check(["find", self.base + "/none"], not_loaded, "does not exist")
        self.check(["generate", self.base, "-o", self.texts], self.base)

    def test_texts(self):
        good = "01/15/2013 09:05:07, 1234, C:\\Users\\john\\readme.txt\r\n"
        self.make("a.txt")
        self.scan()
        self.generate("--crc")
        not_loaded = "Instance of the CCoOibTDFSearchTask() cannot be initialized."
        keys, = self.text_names()
        self.check(["find-text", keys], not_loaded, "Cannot find a folder in line 1 ", "80004005")
        self.check(["find-text", keys + ".none"], not_loaded, "Cannot open file CFileReader::Open",
                   "80070002")
        for line, message in [
                ("xx/15/2013 09:05:07, 1, C:\\a",
                 "Cannot unserialize a string value to integer. String: [xx]."),
                ("13/15/2013 09:05:07, 1, C:\\a", "Cannot convert system time to variant time"),
                ("01/15/2013 09:05:07, 1 C:\\a", "Cannot find file size while parsing string: ["),
                ("01/15/2013 09:05:07,\\1,x", "Cannot find file name while parsing string: ["),
                ("no folder", "Cannot find a folder in line 2 ")]:
            bad = self.write("bad.txt", good + line + "\r\n" + good)
            self.check(["find-text", bad], f"oibidx: {bad}: ", not_loaded, message)
            # What the files before it gave is no answer without the rest.
            self.check(["find-text", self.write("good.txt", good), bad, "--count"], message)
        self.assertEqual(answer("find-text", self.write("vl.C.x.0.txt", good), "--count"), b"1\n")

    def test_arguments(self):
        self.make("a")
        self.scan()
        find, text = ["find", self.catalogue], ["find-text", self.summary]
        generate = ["generate", self.summary, "-o", self.texts]
        for size in ("", "x", "-1", "1.5M", "10X", "10MM", "10 M", "K", "9223372036854775808",
                     "8388608T"):
            self.check([*find, "--max-size=" + size], f"--max-size: '{size}' is not a size")
        for when in ("", "d", "-3d", "3y", "30 d", "2024-02-30", "2024-13-01", "2024-01-01T24:00",
                     "2024-01-01T1", "2024-01-01x", "12:30", "tomorrow", " 2024-01-01",
                     "2024--1-01", "+024-01-01", "2024-01-01T12:30:", "2024-01-01 12:30:15.5"):
            self.check([*find, "--newer-than=" + when], f"--newer-than: '{when}' is not a time")
            self.check([*generate, "--time=" + when], f"--time: '{when}' is not a time")
        self.check([*text, "--owner=a"], self.summary + ": --owner: The file name contains no owner")
        self.check([*generate, "--records=0"], "--records")
        self.check([*generate, "--records=x"], "--records")
        self.check([*generate, "--subfolders=1"], "--subfolders", "--crc")
        self.check(["generate", self.summary], "--output")
        self.check(["find"], "CATALOGUE")
        self.check(["find-text"], "FILE")
        self.check(["fingerprint"], "PATH")
        self.check(["fingerprint", "a", "--subfolders=x"], "--subfolders")
        self.assertFalse(os.path.exists(self.texts))

    def test_a_full_disk_is_never_a_success(self):
        for i in range(40):
            self.make(f"file {i}")
        self.scan()
        self.generate()
        generate = ["generate", self.summary, "-o", self.texts]
        text, = self.text_names()
        whole = os.path.getsize(text)
        for limit in (0, 1, 100, whole - 1):
            with self.subTest(limit=limit):
                done = run(*generate, preexec_fn=limited((resource.RLIMIT_FSIZE, limit)))
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertIn(b"Cannot write file in CFileWriter::Write", done.stderr)
                self.assertLessEqual(os.path.getsize(text), limit)
        os.remove(text)
        if os.getuid() == 0:  # others cannot give a device its time
            os.symlink("/dev/full", text)
            self.check(generate, "Cannot write file in CFileWriter::Write",
                       "There is not enough space on the disk.", "80070070")
            os.remove(text)
        os.remove(os.path.join(self.texts, "owners.C.map"))
        os.symlink("/dev/full", os.path.join(self.texts, "owners.C.map"))
        self.check(generate, "Failed to create owners map file. File path:[", "80070070")
        self.assertEqual(os.path.getsize(text), whole)

    def test_output_that_cannot_be_written(self):
        self.make("a")
        self.scan()
        self.generate()
        for arguments in (["generate", self.summary, "-o", self.texts], ["fingerprint", "C:\\a"],
                          ["find", self.catalogue], ["find", self.catalogue, "--count"],
                          ["find-text", *self.text_names(), "--json"], ["find", "--help"]):
            with self.subTest(arguments=arguments), open("/dev/full", "wb") as full:
                done = run(*arguments, stdout=full)
                self.assertEqual((done.returncode, done.stderr),
                                 (2, b"oibidx: standard output: No space left on device\n"))


class Help(unittest.TestCase):
    def test_manual_and_completion_know_every_option(self):
        tools = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "cli")
        with open(os.path.join(tools, "oibidx.1")) as file:
            manual = file.read().replace("\\-", "-")
        with open(os.path.join(tools, "oibidx.bash-completion")) as file:
            completion = file.read()
        for command, options in [("generate", 8), ("find", 11), ("find-text", 11),
                                 ("fingerprint", 2)]:
            told = {*re.findall(r"--[\w-]+", answer(command, "--help").decode())} - {"--help"}
            self.assertGreaterEqual(len(told), options, command)
            heading = "find, oibidx find-text" if command.startswith("find") else command
            synopsis = manual.split(f".B oibidx {command}\n")[1].split("\n.br")[0]
            section = manual.split(f".SS oibidx {heading}\n")[1].split("\n.SS")[0]
            for option in told:
                self.assertRegex(synopsis + section, rf"(?<![\w-]){option}(?![\w-])", command)
                self.assertRegex(completion, rf"(?<![\w-]){option}(?![\w-])", command)


if __name__ == "__main__":
    unittest.main()
