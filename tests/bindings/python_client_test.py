#!/usr/bin/env python3
"""The Python package: values across the boundary, lifetime, failures, misuse.

Usage: python_client_test.py MODULE OIBIDX MYPY [unittest arguments]
"""

import ctypes
import gc
import inspect
import os
import pathlib
import pickle
import random
import re
import subprocess
import sys
import tempfile
import unittest
import uuid
from datetime import datetime, timedelta, timezone

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGE = str(ROOT / "bindings/python")
sys.path.insert(0, PACKAGE)
MODULE, OIBIDX, MYPY = (sys.argv.pop(1) for _ in range(3))
os.environ["ZOREL_OIBIDX_MODULE"] = MODULE

import zorel_oibidx  # noqa: E402
from zorel_oibidx import EIdxMetaOpenMode, FileTime, OibError, SearchSpec, values  # noqa: E402

MODULE_FUNCTIONS = ctypes.CDLL(MODULE)
WEB, DB = uuid.UUID("9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d"), uuid.UUID(int=2**100 + 7)
SOURCE = "ZorelOibIdxLib.COibIdxLib.5"
TIME = datetime(2013, 1, 15, 9, 5, 7, tzinfo=timezone.utc)
SECOND = timedelta(seconds=1)
STRAY = "Docs\\2019\\o\udcffd.txt"


class MallInfo(ctypes.Structure):
    _fields_ = [("numbers", ctypes.c_size_t * 10)]


def allocated_bytes():
    function = ctypes.CDLL(None).mallinfo2
    function.restype = MallInfo
    gc.collect()
    info = function().numbers
    return info[4] + info[7]  # mapped and other blocks


def can_unload():
    gc.collect()
    return MODULE_FUNCTIONS.DllCanUnloadNow() == 0


def call_slot(pointer, number):
    """AddRef (1) or Release (2)."""
    table = ctypes.c_void_p.from_address(pointer).value
    method = ctypes.c_void_p.from_address(table + 8 * number).value
    ctypes.CFUNCTYPE(ctypes.c_uint32, ctypes.c_void_p)(method)(pointer)


class ClientTest(unittest.TestCase):
    """A catalogue of five files; no object and no open file is left after a test."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.base = folder.name
        for i, (name, size) in enumerate([
                ("a.txt", 0), ("B.log", 5), ("Docs/report.txt", 7),
                ("Docs/2019/photo.jpg", 2**32 + 1), (b"Docs/2019/o\xffd.txt", 11)]):
            path = os.path.join(os.fsencode(self.path("tree")), os.fsencode(name))
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.truncate(size)
            os.utime(path, (TIME.timestamp() + i,) * 2)
        subprocess.run([OIBIDX, "scan", self.path("tree"), "-o", self.path("catalogue")],
                       check=True, stdout=subprocess.DEVNULL)
        self.data_file = self.path("catalogue", "C.dat")
        self.lib = zorel_oibidx.create_library()

    def tearDown(self):
        del self.lib
        self.assertTrue(can_unload(), "objects are left")
        self.assertFalse([target for target in map(os.path.realpath, pathlib.Path(
            "/proc/self/fd").iterdir()) if target.startswith(self.base)])

    def path(self, *names):
        return os.path.join(self.base, *names)

    def write_meta_file(self, name, *lines):
        with open(self.path(name), "wb") as file:
            file.write(("\ufeff" + "\r\n".join(lines)).encode("utf-16-le"))
        return self.path(name)


class Values(ClientTest):
    def check_list(self, files, names):
        """Indices and slices select as those of a list of names."""
        for index in range(-len(names), len(names)):
            self.assertEqual(files[index].FileName, names[index])
        for index in (len(names), -len(names) - 1):
            self.assertRaises(IndexError, lambda: files[index])
        for part in (slice(1, None), slice(None, None, -1), slice(-2, 9), slice(3, 1)):
            self.assertEqual([file.FileName for file in files[part]], names[part])

    def test_listings(self):
        for path in (self.data_file, pathlib.Path(self.data_file), os.fsencode(self.data_file)):
            with self.lib.BrowseOibDF(path) as browser:
                self.assertEqual(browser.getfolders(rootPath="c:\\"), ["Docs"])
                for arguments, names in [
                        (("", False, None), ["a.txt", "B.log"]), (("", False, ""), []),
                        (("", True, ".txt"), ["a.txt", STRAY, "Docs\\report.txt"])]:
                    files = browser.GetFilesEx(*arguments)
                    self.assertEqual([file.FileName for file in files], names)
                    self.assertEqual((files.FilesCount, len(files)), (len(names),) * 2)
                    self.assertTrue(files)
                    self.check_list(files, names)
                photo = browser.GetFiles("c:\\docs\\2019").GetFileInfo(index=1)
        self.assertEqual((photo.FileName, photo.Size, photo.ModifyTime),
                         ("photo.jpg", 2**32 + 1, TIME + 3 * SECOND))
        self.assertTrue(photo.Owner)

    def test_each_field_of_the_criteria_selects(self):
        photo, late = "Docs\\2019\\photo.jpg", TIME + 3 * SECOND
        everything, below = {"a.txt", "B.log", "Docs\\report.txt", photo, STRAY}, {photo, STRAY}
        for criteria, names in [
                ({}, everything), (SearchSpec(rootPath="c:\\docs\\2019"), below),
                ({"FileNamePattern": "*.t"}, everything - {"B.log", photo}),
                ({"FileNamePattern": "log"}, {"B.log"}),
                ({"FileNamePattern": "log", "UseSearchServerRule": True}, set()),
                ({"Owner": "no such owner"}, set()), ({"ModifyTimeFrom": late}, below),
                ({"ModifyTimeTill": late - 3 * SECOND}, {"a.txt"}),
                ({"ModifyTimeFrom": late, "UseTimeLimits": False}, everything),
                ({"SizeFrom": 2**20}, {photo}), ({"SizeTill": 3}, {"a.txt"}),
                ({"SizeTill": 3, "UseSizeLimits": False}, everything),
                ({"UnrestrictedExtentions": ".log"}, {"B.log"})]:
            with self.subTest(criteria), self.lib.FindInOibBDF(self.path("catalogue")) as task:
                task.Find(criteria)
                self.assertEqual({file.FileFullName[3:] for file in task}, names)

    def test_text_data_files(self):
        texts, stamp = self.path("texts"), datetime(2020, 2, 29, 12, tzinfo=timezone.utc)
        self.lib.GenerateOibTDFs(
            self.path("catalogue", "summary.txt"), texts, FileTime.from_datetime(stamp),
            recsNumPerTxt=1000, bCrcMode=False, subfoldersMax=0, additionalParts=0, separators="")
        [name] = [name for name in os.listdir(texts) if name.startswith("vl.C.")]
        self.assertEqual(os.stat(os.path.join(texts, name)).st_mtime, stamp.timestamp())
        [found] = self.lib.FindInOibTDF2(os.path.join(texts, name), {"SizeFrom": 4, "SizeTill": 6})
        self.assertEqual((found.ModifyTime, found.Owner), (TIME + SECOND, None))

    def test_text_survives(self):
        generator = random.Random(7)
        planes = [(0x21, 0x7F), (0xA1, 0x800), (0xD800, 0xE000), (0x10000, 0x110000)]
        with self.lib.CreateMetaFile(self.path("m"), 2) as file:
            for i in range(100):
                text = "".join(chr(generator.randrange(*generator.choice(planes)))
                               for _ in range(generator.randrange(40)))
                # Adjacent surrogates that form a pair are one character.
                text = text.encode("utf-16", "surrogatepass").decode("utf-16", "surrogatepass")
                file.SetAttr(f"a.{i}", text)
                self.assertEqual(file.FindAttr(f"a.{i}"), text)
            self.assertEqual(file.EnumAllAttrs(), sorted(f"a.{i}" for i in range(100)))
            self.assertIsNone(file.FindAttr("none"))
            self.assertIsNone(file.FindAttrsTree("none"))

    def test_identifiers_and_output_arguments(self):
        path = self.write_meta_file(
            "session.mtf", "oib1.VmName=web01", "oib1.BackupTimeUtc=monday", f"oib1.OibUID={WEB}",
            "oib2.VmName=db02", f"oib2.OibUID={{{DB}}}")
        with self.lib.CreateBSessionMetaFile(path, 1) as session:
            references = session.EnumOibsRefs()
            self.assertEqual(list(references), [("db02", "", DB), ("web01", "monday", WEB)])
            self.assertEqual(references.UniqueId, DB)
            self.assertEqual(references[-1:], [("web01", "monday", WEB)])
            session.DeleteOibRef(DB)
            session.DeleteOibRef(str(WEB))
            self.assertEqual(len(session.EnumOibsRefs()), 0)
        oib = "cmd.7.grp.5.OIB.9."
        commands = self.lib.LoadPublication(self.write_meta_file(
            "pub.mtf", "cmd.7.Type=AddBSession", f"{oib}VmName=web01", f"{oib}OibUID={WEB}",
            f"{oib}Origin=o")).AddBSessionCmdAccessor
        self.assertEqual(commands.GetOibRef(7, groupId=0, oibId=0), ("web01", "", WEB, "o", ""))

    def test_dates_are_those_of_the_module(self):
        generator = random.Random(20130115)
        first, seconds = datetime(100, 1, 1, tzinfo=timezone.utc), 9899 * 365 * 86400
        times = [first + generator.randrange(seconds) * SECOND for _ in range(2000)]
        times += [datetime(1899, 12, day, 6, tzinfo=timezone.utc) for day in (28, 29, 30, 31)]
        for time in times:
            fields = (ctypes.c_uint16 * 8)(time.year, time.month, 0, time.day, time.hour,
                                           time.minute, time.second, 0)
            date = ctypes.c_double()
            MODULE_FUNCTIONS.SystemTimeToVariantTime(fields, ctypes.byref(date))
            self.assertEqual(values.date_from_datetime(time), date.value, time)
            self.assertEqual(values.datetime_from_date(date.value), time)
        for time in (TIME.replace(tzinfo=None), TIME.astimezone(timezone(timedelta(hours=2)))):
            self.assertEqual(values.date_from_datetime(time), values.date_from_datetime(TIME))
            self.assertEqual(FileTime.from_datetime(time).ticks, 130027143070000000)


class Lifetime(ClientTest):
    def test_a_with_block_closes_and_releases(self):
        with self.lib.BrowseOibDF(self.data_file) as browser:
            files = browser.GetFiles("")
            others, elements = browser.GetFiles("docs"), iter(files)
        others.release()
        next(elements)
        for use in (lambda: browser.GetFiles(""), lambda: others.TotalSize, lambda: len(others)):
            self.assertRaisesRegex(ValueError, "has been released", use)
        self.assertEqual(len(files), 2)  # remains valid without its browser
        with self.assertRaises(ZeroDivisionError):
            with self.lib.CreateMetaFile(self.path("m"), EIdxMetaOpenMode.EIdxMetaOpenRW) as file:
                pointer = file._reference._pointer
                call_slot(pointer, 1)
                self.assertRaisesRegex(OibError, "0x80070020", self.lib.CreateMetaFile,
                                       self.path("m"), 1)
                file.SetAttr("a", str(1 // 0))
        with self.lib.CreateMetaFile(self.path("m"), 1) as file:  # closed, but not destroyed
            call_slot(pointer, 2)
            tree = file.GetRootAttrsTree()
            file.release()
            file.release()
        self.lib.release()
        files.release()
        self.assertRaisesRegex(ValueError, "has been released", next, elements)
        self.assertEqual(tree.EnumChildTrees(), [])
        self.assertFalse(can_unload())
        tree.release()
        self.assertTrue(can_unload())

    def test_calls_free_their_memory(self):
        missing = self.path("missing" * 10)
        session = self.write_meta_file("s", "oib1.VmName=" + "x" * 100, f"oib1.OibUID={WEB}")

        def work(rounds):
            with self.lib.BrowseOibDF(self.data_file) as browser, \
                    self.lib.FindInOibBDF(self.path("catalogue")) as task:
                files = browser.GetFiles("")
                references = self.lib.CreateBSessionMetaFile(session, 0).EnumOibsRefs()
                for _ in range(rounds):
                    files.GetFileInfo(0)
                    self.assertEqual(len(list(files)), 2)
                    references.GetOibRef(0)
                    browser.GetFolders("c:\\")
                    task.Find(SearchSpec(rootPath="c:\\" + "x" * 200))
                    self.assertRaises(OibError, self.lib.BrowseOibDF, missing)
                    self.assertRaises(OibError, self.lib.FindInOibTDF2, missing, {})

        work(50)
        before = allocated_bytes()
        work(500)
        self.assertLess(allocated_bytes() - before, 20_000)


class Failures(ClientTest):
    def test_failures(self):
        with self.assertRaises(OibError) as caught:
            self.lib.BrowseOibDF(self.path("missing"))
        error, beginning = caught.exception, "Instance of the CCoOibDFBrowser() cannot be "
        self.assertEqual((error.hresult, error.source), (0x80070002, SOURCE))
        self.assertIn(beginning + "initialized.\r\nCannot open file ", error.description)
        self.assertRegex(str(error), r"(?s)^BrowseOibDF: Inst.*\n.*\(HRESULT 0x80070002\)$")
        with self.assertRaisesRegex(OibError, "CCoOibTDFSearchTask.*"):
            self.lib.FindInOibTDF2(self.path("missing"), {})

    def test_failures_are_those_of_python(self):
        for code, kind in [(0x80070002, FileNotFoundError), (0x80070003, FileNotFoundError),
                           (0x80070005, PermissionError), (0x80070020, PermissionError)]:
            error = pickle.loads(pickle.dumps(OibError(code - 2**32, "s", "text", "Open")))
            self.assertIsInstance(error, kind)
            self.assertEqual((error.hresult, error.source, error.description, error.call),
                             (code, "s", "text", "Open"))
            self.assertEqual((type(OSError(error.errno, "")), error.strerror), (kind, str(error)))
        self.assertNotIsInstance(OibError(0x80004005), OSError)
        self.assertRaises(FileNotFoundError, self.lib.BrowseOibDF, self.path("no", "file"))
        with self.lib.CreateMetaFile(self.path("m"), 1):
            self.assertRaises(PermissionError, self.lib.CreateMetaFile, self.path("m"), 1)

    def test_misuse(self):
        self.assertIs(self.lib.IsWildcardMatch(PATTERN="*.TXT", line="C:\\d\\a.txt"), True)
        names = {"lib": self.lib, "FileTime": FileTime, "early": datetime(1600, 1, 1),
                 "match": self.lib.IsWildcardMatch, "crc": self.lib.ConvetrPathToCrcStr,
                 "search": self.lib.FindInOibTDF2, "tdfs": self.lib.GenerateOibTDFs,
                 "file": self.lib.CreateMetaFile(self.path("m"), 2)}
        for failure, calls in [
                (0x80070057, ["lib.BrowseOibDF(None)"]), (0x80004001, ["lib.ParseOibTDFName('')"]),
                (0x8002000A, ["crc('a', 2**31)", "crc('a', 2**64 - 1)"]),
                (AttributeError, ["lib.Nothing", "lib._Close", "setattr(lib, 'InitLogging', 1)",
                                  "lib._REFERENCE"]),
                (TypeError, ["match('a', text='a')", "match('a', line='a')", "match(pattern='a')",
                             "match('a', [1])", "match('a', 2)", "search('a', {'Nothing': 1})",
                             "list(lib)", "match('C:/a', 'b', 'c')", "crc('a', 'b')",
                             "crc('a', 1.5)", "search('a', 1)", "search('a', FileTime(0))",
                             "search('a', {'ModifyTimeFrom': 'monday'})", "search('a', None)",
                             "search('a', {'SizeTill': '1'})", "search('a', {'Owner': 1})",
                             "search('a', {'UseSizeLimits': 'no'})", "file[0]", "len(file)",
                             "lib.InitLogging('log', 'no')", "lib.CreateMetaFile('m', None)",
                             "tdfs('s', 't', early, 1, False, 0, 0, '')"]),
                (OverflowError, ["crc('a', 2**64)", "search('a', {'SizeTill': 2**63})",
                                 "FileTime.from_datetime(early)"])]:
            for call in calls:
                with self.assertRaises((OibError, AttributeError, TypeError, OverflowError),
                                       msg=call) as caught:
                    eval(call, names)
                error = caught.exception
                self.assertIn(failure, (type(error), getattr(error, "hresult", None)), call)
                self.assertIsNone(getattr(error, "description", None), call)


class Declarations(unittest.TestCase):
    def test_every_published_member_is_declared_and_documented(self):
        kind, checked = None, 0
        for line in (ROOT / "tests/data/interfaces.txt").read_text().splitlines():
            if not line.startswith(" "):
                kind = getattr(zorel_oibidx, line.split()[0], None) if " library " in line else None
            elif kind is not None:
                name, arguments = line.split(maxsplit=2)[2].split("(")
                declared = vars(kind)[name]
                self.assertIn(name, dir(kind))
                self.assertTrue(inspect.getdoc(kind) and declared.__doc__, name)
                if not isinstance(declared, property):
                    # Arguments by reference are results, with one exception: the criteria.
                    inputs = re.findall(r"(?:SearchSpec\*|\w+) (\w+)[,)]", arguments)
                    self.assertEqual(list(inspect.signature(declared).parameters)[1:], inputs)
                checked += 1
        self.assertEqual(checked, 70)

        stub = (pathlib.Path(PACKAGE) / "zorel_oibidx/__init__.pyi").read_text()
        names = set(re.findall(r"as (\w+),?$|^def (\w+)", stub, re.MULTILINE))
        self.assertEqual({a or b for a, b in names}, set(zorel_oibidx.__all__))

    def test_types(self):
        client = ROOT / "tests/bindings/typed_client.py"
        done = subprocess.run(
            [MYPY, "--strict", "--warn-unused-ignores", "--cache-dir", os.devnull, client],
            env=os.environ | {"MYPYPATH": PACKAGE}, text=True, capture_output=True)
        self.assertEqual((done.returncode, done.stdout[:8]), (0, "Success:"), done.stdout)


unittest.main()
