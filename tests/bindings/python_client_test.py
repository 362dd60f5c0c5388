#!/usr/bin/env python3
"""The Python client against the module and catalogues of small folders.

Usage: python_client_test.py MODULE OIBIDX [unittest arguments]
"""

import ctypes
import gc
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import threading
import unittest
import uuid
from datetime import datetime, timedelta, timezone

CLIENT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../bindings/python")
sys.path.insert(0, CLIENT)
MODULE, OIBIDX = sys.argv.pop(1), sys.argv.pop(1)
os.environ["ZOREL_OIBIDX_MODULE"] = MODULE

import zorel_oibidx  # noqa: E402
from zorel_oibidx import EIdxMetaOpenMode, FileTime, OibError, SearchSpec, values  # noqa: E402

MODULE_FUNCTIONS = ctypes.CDLL(MODULE)
WEB, DB = uuid.UUID("9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d"), uuid.UUID(int=2**100 + 7)
LIBRARY_SOURCE = "ZorelOibIdxLib.COibIdxLib.5"


def slot(number):
    """AddRef (1) or Release (2), as a function of an object's address."""
    prototype = ctypes.CFUNCTYPE(ctypes.c_uint32, ctypes.c_void_p)

    def call(pointer):
        table = ctypes.c_void_p.from_address(pointer).value
        return prototype(ctypes.c_void_p.from_address(table + 8 * number).value)(pointer)

    return call


add_ref, release = slot(1), slot(2)


class MallInfo(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in (
        "arena", "ordblks", "smblks", "hblks", "hblkhd", "usmblks", "fsmblks", "uordblks",
        "fordblks", "keepcost")]


def allocated_bytes():
    """What the C heap has handed out."""
    system = ctypes.CDLL(None)
    try:
        count = system.__sanitizer_get_current_allocated_bytes
    except AttributeError:
        system.mallinfo2.restype = MallInfo
        info = system.mallinfo2()
        return info.uordblks + info.hblkhd
    count.restype = ctypes.c_size_t
    return count()


def can_unload():
    gc.collect()
    return MODULE_FUNCTIONS.DllCanUnloadNow() == 0


class ClientTest(unittest.TestCase):
    """Each test has a folder of its own, and leaves no object and no open file behind."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.base = folder.name
        self.descriptors = os.listdir("/proc/self/fd")
        self.lib = zorel_oibidx.create_library()

    def tearDown(self):
        del self.lib
        self.assertTrue(can_unload(), "objects are left")
        self.assertEqual(len(os.listdir("/proc/self/fd")), len(self.descriptors))

    def path(self, *names):
        return os.path.join(self.base, *names)

    def make(self, name, size, modified):
        path = os.path.join(os.fsencode(self.path("tree")), os.fsencode(name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(b"x" * size)
        os.utime(path, (modified.timestamp(), modified.timestamp()))

    def scan(self):
        subprocess.run([OIBIDX, "scan", self.path("tree"), "-o", self.path("catalogue")],
                       check=True, stdout=subprocess.DEVNULL)
        return self.path("catalogue", "C.dat")

    def write_meta_file(self, name, *lines):
        with open(self.path(name), "wb") as file:
            file.write(("\ufeff" + "\r\n".join(lines)).encode("utf-16-le"))
        return self.path(name)

    def check_failure(self, call, hresult, source, beginning):
        """`beginning` is how the description begins; None when there is none."""
        with self.assertRaises(OibError) as caught:
            call()
        error = caught.exception
        self.assertEqual((error.hresult, error.source), (hresult, source), str(error))
        if beginning is None:
            self.assertIsNone(error.description)
        else:
            self.assertEqual((error.description or "")[:len(beginning)], beginning)


TIME = datetime(2013, 1, 15, 9, 5, 7, tzinfo=timezone.utc)


class Browsing(ClientTest):
    def setUp(self):
        super().setUp()
        for name, size in [("a.txt", 3), ("B.log", 5), ("Docs/report.txt", 7), ("zeta/x", 0),
                           ("Docs/2019/photo.jpg", 2**20 + 1), (b"Docs/2019/o\xffd.txt", 11)]:
            self.make(name, size, TIME)
        self.data_file = self.scan()

    def test_listings(self):
        with self.lib.BrowseOibDF(self.data_file) as browser:
            self.assertEqual(browser.GetFolders("C:\\"), ["Docs", "zeta"])
            self.assertEqual(browser.getfolders(rootPath="c:/none"), [])
            odd = "Docs\\2019\\o\udcffd.txt"
            for arguments, names in [
                    (("", False, None), ["a.txt", "B.log"]), (("", False, ""), []),
                    (("", True, "txt;log"), ["a.txt", "B.log", odd, "Docs\\report.txt"]),
                    (("c:\\Docs\\2019", 0, ".jpg"), ["photo.jpg"]), (("c:\\x", True, None), [])]:
                with self.subTest(arguments):
                    files = browser.GetFilesEx(*arguments)
                    self.assertEqual([file.FileName for file in files], names)
                    self.assertEqual((files.FilesCount, len(files)), (len(names),) * 2)
                    self.assertEqual(files.TotalSize, sum(file.Size for file in files))
            photo = browser.GetFiles("c:\\docs\\2019").GetFileInfo(index=1)
        self.assertEqual((photo.FileName, photo.Size, photo.ModifyTime),
                         ("photo.jpg", 2**20 + 1, TIME))
        self.assertTrue(photo.Owner)

    def test_a_path_object_names_a_file(self):
        for path in (pathlib.Path(self.data_file), os.fsencode(self.data_file)):
            with self.lib.BrowseOibDF(path) as browser:
                self.assertEqual(len(browser.GetFiles("")), 2)

    def test_the_example(self):
        done = subprocess.run(
            [sys.executable, os.path.join(CLIENT, "example.py"), self.path("catalogue"),
             "C:\\docs", "photo"], capture_output=True, text=True, check=True)
        lines = done.stdout.splitlines()
        self.assertEqual(lines[:5], [
            "-- Volume.C, folder C:\\docs", "      folder  2019",
            "           7  2013-01-15 09:05:07  report.txt", "           7  bytes in 1 files",
            "-- photo below C:\\docs"])
        self.assertIn("     1048577  C:\\Docs\\2019\\photo.jpg  (", lines[5])
        self.assertEqual(len(lines), 6)


class Lifetime(ClientTest):
    def test_a_with_block_closes_and_gives_up(self):
        self.make("a", 1, TIME)
        data_file = self.scan()
        with self.lib.BrowseOibDF(data_file) as browser:
            files = browser.GetFiles("")
        for use in (lambda: browser.GetFiles(""), lambda: browser.Nothing, lambda: len(browser)):
            self.assertRaisesRegex(ValueError, "has been released", use)
        self.assertEqual(len(files), 1)  # outlives its browser

    def test_closing_does_not_wait_for_other_holders(self):
        path = self.path("held.mtf")
        with self.lib.CreateMetaFile(path, EIdxMetaOpenMode.EIdxMetaOpenRW) as file:
            other_holder = file._reference._pointer
            add_ref(other_holder)
            self.check_failure(lambda: self.lib.CreateMetaFile(path, 1), 0x80070020,
                               LIBRARY_SOURCE, "Cannot create or load meta-file")
        self.lib.CreateMetaFile(path, EIdxMetaOpenMode.EIdxMetaOpenRW).release()
        release(other_holder)

    def test_an_error_in_the_block_stays_what_it_was(self):
        with self.assertRaises(ZeroDivisionError):
            with self.lib.CreateMetaFile(self.path("m"), 2) as file:
                file.SetAttr("a", str(1 // 0))
        with self.lib.CreateMetaFile(self.path("m"), 2) as file:
            file.release()
            file.release()

    def test_every_reference_counts(self):
        self.assertFalse(can_unload())
        file = self.lib.CreateMetaFile(self.path("m"), 2)
        self.lib.release()
        self.assertFalse(can_unload())
        trees = [file.CreateAttrsTree(name) for name in "abc"]
        file.release()
        self.assertEqual(trees[0].EnumChildTrees(), [])
        self.assertFalse(can_unload())
        trees.clear()
        self.assertTrue(can_unload())

    def test_calls_leave_no_memory_behind(self):
        self.make("a" * 100, 1, TIME)
        data_file = self.scan()
        missing = self.path("missing" * 10)
        session = self.write_meta_file("s", "oib1.VmName=" + "x" * 100, f"oib1.OibUID={WEB}")
        references = self.lib.CreateBSessionMetaFile(session, 0).EnumOibsRefs()

        def work(rounds):
            with self.lib.BrowseOibDF(data_file) as browser, \
                    self.lib.FindInOibBDF(self.path("catalogue")) as task:
                files = browser.GetFiles("")
                for _ in range(rounds):
                    files.GetFileInfo(0)
                    references.GetOibRef(0)
                    browser.GetFolders("c:\\")
                    task.Find(SearchSpec(rootPath="c:\\" + "x" * 200))
                    self.assertRaises(OibError, self.lib.BrowseOibDF, missing)
                    self.assertRaises(OibError, self.lib.CreateMetaFile, missing, {})

        work(50)
        gc.collect()
        before = allocated_bytes()
        work(500)
        gc.collect()
        self.assertLess(allocated_bytes() - before, 20_000)


class Calls(ClientTest):
    def test_matching(self):
        for line, pattern, matches in [("C:\\d\\readme.txt", "*.TXT", True), ("C:\\a", "b", False)]:
            self.assertIs(self.lib.IsWildcardMatch(line, pattern), matches)
        self.assertEqual(self.lib.ConvetrPathToCrcStr("C:\\Users\\john", 3), "0hac906abf43d5")
        self.assertEqual(self.lib.CONVETRPATHTOCRCSTR(subfoldersMax=-1, folderPath="c:/users"),
                         "0hac906abf")

    def test_failures(self):
        missing = self.path("missing")
        context = "Instance of the CCoOibDFBrowser() cannot be initialized.\r\nCannot open file "
        match = self.lib.IsWildcardMatch
        for label, call, failure in [
                ("engine", lambda: self.lib.BrowseOibDF(missing),
                 (0x80070002, LIBRARY_SOURCE, context)),
                ("mode", lambda: self.lib.CreateMetaFile(missing, 3),
                 (0x80004005, LIBRARY_SOURCE, "Unknown meta-file open mode: 3.")),
                ("null string", lambda: self.lib.BrowseOibDF(None), (0x80070057, None, None)),
                ("not built", lambda: self.lib.ParseOibTDFName("x"), (0x80004001, None, None)),
                ("too few", lambda: match("C:\\a"), (0x8002000E, None, None)),
                ("too many", lambda: match("C:\\a", "b", "c"), (0x8002000E, None, None)),
                ("no number", lambda: self.lib.ConvetrPathToCrcStr("a", "b"),
                 (0x80020005, None, None)),
                ("too large", lambda: self.lib.ConvetrPathToCrcStr("a", 2**40),
                 (0x8002000A, None, None)),
                ("no record", lambda: self.lib.FindInOibTDF2(missing, 1),
                 (0x80020005, None, None)),
                ("wrong record", lambda: self.lib.FindInOibTDF2(missing, FileTime(0)),
                 (0x80020005, None, None)),
                ("right record", lambda: self.lib.FindInOibTDF2(missing, {}),
                 (0x80070002, LIBRARY_SOURCE, "Instance of the CCoOibTDFSearchTask()"))]:
            with self.subTest(label):
                self.check_failure(call, *failure)
        with self.assertRaises(OibError) as caught:
            self.lib.BrowseOibDF(missing)
        self.assertRegex(str(caught.exception), r"(?s)^BrowseOibDF: Inst.*\n.*\(HRESULT 0x80070002")

    def test_misuse(self):
        match = self.lib.IsWildcardMatch
        for label, call, kind in [
                ("no member", lambda: self.lib.Nothing, AttributeError),
                ("private", lambda: self.lib._Close, AttributeError),
                ("no place", lambda: setattr(self.lib, "InitLogging", 1), AttributeError),
                ("unknown argument", lambda: match("C:\\a", text="a"), TypeError),
                ("twice", lambda: match("C:\\a", line="a"), TypeError),
                ("gap", lambda: match(pattern="a"), TypeError),
                ("no variant", lambda: match("C:\\a", [1]), TypeError),
                ("too wide", lambda: match("C:\\a", 2**64), OverflowError),
                ("too large", lambda: self.lib.FindInOibTDF2("a", {"SizeTill": 2**63}),
                 OverflowError),
                ("too early", lambda: FileTime.from_datetime(datetime(1600, 1, 1)), OverflowError),
                ("unknown field", lambda: self.lib.FindInOibTDF2("a", {"Nothing": 1}),
                 TypeError),
                ("no list", lambda: list(self.lib), TypeError)]:
            with self.subTest(label):
                self.assertRaises(kind, call)
        self.assertTrue(self.lib)

    def test_each_thread_has_its_own_failures(self):
        failures = {}

        def fail(place):
            library = zorel_oibidx.create_library()
            for _ in range(200):
                try:
                    library.CreateMetaFile(self.path("m"), 100 + place)
                except OibError as error:
                    failures.setdefault(place, set()).add(error.description)

        threads = [threading.Thread(target=fail, args=(place,)) for place in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, {place: {f"Unknown meta-file open mode: {100 + place}."}
                                    for place in range(4)})


class SystemTime(ctypes.Structure):
    _fields_ = [(name, ctypes.c_uint16) for name in (
        "year", "month", "weekday", "day", "hour", "minute", "second", "millisecond")]


class Times(unittest.TestCase):
    def test_dates_are_those_of_the_module(self):
        generator = random.Random(20130115)
        first, seconds = datetime(100, 1, 1, tzinfo=timezone.utc), 9899 * 365 * 86400
        times = [first + timedelta(seconds=generator.randrange(seconds)) for _ in range(5000)]
        times += [datetime(1899, 12, day, 6, tzinfo=timezone.utc) for day in (28, 29, 30, 31)]
        for time in times:
            fields = SystemTime(time.year, time.month, 0, time.day, time.hour, time.minute,
                                time.second, 0)
            date = ctypes.c_double()
            known = MODULE_FUNCTIONS.SystemTimeToVariantTime(
                ctypes.byref(fields), ctypes.byref(date))
            self.assertEqual(known, 1)
            self.assertEqual(values.date_from_datetime(time), date.value, time)
            self.assertEqual(values.datetime_from_date(date.value), time)

    def test_zones(self):
        east = timezone(timedelta(hours=2))
        for time in (TIME, TIME.replace(tzinfo=None), TIME.astimezone(east)):
            self.assertEqual(values.date_from_datetime(time), 41289.37855324074)
            self.assertEqual(FileTime.from_datetime(time).ticks, 130027143070000000)
        self.assertEqual(FileTime.from_datetime(datetime(1601, 1, 1, 0, 0, 0, 5)).ticks, 50)


class MetaFiles(ClientTest):
    def test_create_edit_flush_reopen(self):
        path = self.path("job.mtf")
        self.assertIs(self.lib.IsMetaFileExists(path), False)
        with self.lib.CreateMetaFile(path, 2) as file:
            file.PushComment("nightly\ncatalogue")
            file.SetAttr("Job.Server.Host", "srv01")
            job = file.GetExistingAttrsTree("JOB")
            job.SetAttr("Empty", "")
            job.CreateSubtree("Disk").SetAttr("Size", "7")
            self.assertEqual((job.EnumChildTrees(), job.EnumChildAttrs()),
                             (["Server", "Disk"], ["Empty"]))
            file.FlushChanges()
            job.DelSubtree("Disk")  # never flushed
        self.assertIs(self.lib.IsMetaFileExists(path), True)
        with self.lib.CreateMetaFile(path, EIdxMetaOpenMode.EIdxMetaOpenRW) as file:
            self.assertEqual(file.EnumAllAttrs(),
                             ["Job.Empty", "Job.Server.Host", "Job.Disk.Size"])
            tree = file.FindAttrsTree("job.server")
            self.assertEqual(tree.GetExistingAttr("Host"), "srv01")
            self.assertIsNone(file.FindAttrsTree("None"))
            self.assertEqual((file.FindAttr("Job.Empty"), file.FindAttr("Job.empty")), ("", None))
            self.check_failure(lambda: tree.GetExistingAttr("Port"), 0x80004005, None,
                               'Attribute "Port" was not found under the tree "Job.Server".')
            self.check_failure(lambda: file.SetAttr("..", "x"), 0x80004005, None,
                               'Failed to create attribute ".." in the tree "".')
            file.DelAttr("Job.Empty")
            file.DelAttrsTree("Job.Disk")
            file.FlushChanges()
        with open(path, "rb") as file:
            self.assertEqual(file.read().decode("utf-16"),
                             "#nightly\r\n#catalogue\r\nJob.Server.Host=srv01")

    def test_text_survives(self):
        generator = random.Random(7)
        planes = [(0x21, 0x7F), (0xA1, 0x800), (0xD800, 0xE000), (0x10000, 0x110000)]
        with self.lib.CreateMetaFile(self.path("m"), 2) as file:
            for i in range(300):
                text = "".join(chr(generator.randrange(*generator.choice(planes)))
                               for _ in range(generator.randrange(40)))
                # Two halves of a pair that come to stand together are one character.
                units = text.encode("utf-16-le", "surrogatepass")
                text = units.decode("utf-16-le", "surrogatepass")
                file.SetAttr(f"a{i}", text)
                self.assertEqual(file.FindAttr(f"a{i}"), text)


class BackupSessions(ClientTest):
    def test_references(self):
        path = self.write_meta_file(
            "session.mtf", "oib1.VmName=web01", "oib1.BackupTimeUtc=monday", f"oib1.OibUID={WEB}",
            "oib2.VmName=db02", f"oib2.OibUID={{{DB}}}")
        with self.lib.CreateBSessionMetaFile(path, 1) as session:
            references = session.EnumOibsRefs()
            self.assertEqual(list(references), [("db02", "", DB), ("web01", "monday", WEB)])
            references.MoveToElem(1)
            self.assertEqual((references.VmName, references.BackupTimeUtc, references.UniqueId),
                             ("web01", "monday", WEB))
            self.check_failure(lambda: references.MoveToElem(-1), 0x80004005, None,
                               "The specified enumerator position (-1) exceeds")
            session.DeleteOibRef(DB)
            session.DeleteOibRef(uuid.UUID(int=0))
            session.FlushChanges()
            self.assertEqual((len(references), len(session.EnumOibsRefs())), (2, 1))
            session.DeleteOibRef(str(WEB))
            empty = session.EnumOibsRefs()
            self.check_failure(lambda: empty.VmName, 0x80004005, None, "The current element")
            self.check_failure(lambda: session.DeleteOibRef("web01"), 0x80020005, None, None)
        with self.lib.CreateBSessionMetaFile(path, 0) as session:
            self.assertEqual([ref.VmName for ref in session.EnumOibsRefs()], ["web01"])


class Publications(ClientTest):
    def test_reader(self):
        group = "cmd.7.grp.5."
        path = self.write_meta_file(
            "pub.mtf", "Publication.LocalTime=noon", "Publication.UTCTime=ten",
            "cmd.7.Type=AddBSession", "cmd.7.JobName=Daily", "cmd.7.BackupServer=bs",
            f"{group}OIB.9.VmName=web01", f"{group}OIB.9.OibUID={WEB}", f"{group}OIB.9.Origin=o",
            f"{group}BackupFile.0.Path=\\\\bs\\daily.bak", "cmd.3.Type=Other")
        info = self.lib.LoadPublicationOrderingInfo(path)
        self.assertEqual((info.PubLocalTime, info.PubUtcTime), ("noon", "ten"))
        reader = self.lib.LoadPublication(path)
        self.assertEqual(reader.OrderingInfo.PubUtcTime, "ten")
        self.assertEqual([reader.GetCmdType(i) for i in range(reader.CmdCount)],
                         ["AddBSession", "Other"])
        self.assertEqual(reader.MetaFile.FindAttr("cmd.3.Type"), "Other")
        commands = reader.AddBSessionCmdAccessor
        self.assertEqual(commands.GetBSessionInfo(7), ("Daily", "bs", ""))
        self.assertEqual((commands.GetRetargetedOibGroupsNum(7),
                          commands.GetOibsNumInRetargetedOibGroup(7, 0),
                          commands.GetBackupFilesNumInRetargetedOibGroup(7, 0)), (1, 1, 1))
        reference = commands.GetOibRef(7, groupId=0, oibId=0)
        self.assertEqual(reference, ("web01", "", WEB, "o", ""))
        self.assertEqual(commands.GetBackupFile(7, 0, 0).Path, "\\\\bs\\daily.bak")
        self.check_failure(lambda: commands.GetOibRef(7, 1, 0), 0x80004005, None,
                           "Out of the sparse array boundary: requested element '1'")
        self.check_failure(lambda: self.lib.LoadPublication(self.path("none")), 0x80004005,
                           LIBRARY_SOURCE, "Cannot create or load meta-file")


class Searches(ClientTest):
    """Searches find what a plain filter over the files finds."""

    def setUp(self):
        super().setUp()
        generator = random.Random(4)
        self.files = {}
        for i in range(60):
            folder = generator.choice(["", "Docs\\", "Docs\\Old\\", "Pictures\\"])
            name = f"{folder}File{i}.{generator.choice(['txt', 'jpg', 'TXT'])}"
            size = generator.randrange(50)
            modified = TIME + timedelta(seconds=generator.randrange(-5, 6))
            self.files["C:\\" + name] = (modified, size)
            self.make(name.replace("\\", "/"), size, modified)
        self.scan()
        self.generator = generator

    def some_criteria(self):
        criteria = SearchSpec(
            rootPath=self.generator.choice([None, "c:\\docs", "c:\\Docs\\old", "c:\\none"]),
            FileNamePattern=self.generator.choice([None, "*.txt", "file1"]))
        if self.generator.random() < 0.5:
            criteria.ModifyTimeFrom = TIME + timedelta(seconds=self.generator.randrange(-5, 6))
        if self.generator.random() < 0.5:
            criteria.ModifyTimeTill = TIME + timedelta(seconds=self.generator.randrange(-5, 6))
        if self.generator.random() < 0.5:
            criteria.SizeFrom = self.generator.randrange(50)
        if self.generator.random() < 0.5:
            criteria.SizeTill = self.generator.randrange(50)
        return criteria

    def expected(self, criteria):
        last = datetime.max.replace(tzinfo=timezone.utc)
        start = criteria.ModifyTimeFrom or datetime(100, 1, 1, tzinfo=timezone.utc)
        end = criteria.ModifyTimeTill or last
        smallest = 0 if criteria.SizeFrom is None else criteria.SizeFrom
        largest = 2**63 if criteria.SizeTill is None else criteria.SizeTill

        def fits(path):
            folder, name = path.lower().rsplit("\\", 1)
            pattern = criteria.FileNamePattern or ""
            named = pattern[1:] in name if pattern[:1] == "*" else name.startswith(pattern)
            root = (criteria.rootPath or "").lower()
            return named and (root == "" or folder == root or folder.startswith(root + "\\"))

        return sorted((path, *facts) for path, facts in self.files.items()
                      if fits(path) and start <= facts[0] <= end
                      and smallest <= facts[1] <= largest)

    def found(self, task):
        return sorted((file.FileFullName, file.ModifyTime, file.Size) for file in task)

    def test_binary_search(self):
        found = 0
        for _ in range(40):
            criteria = self.some_criteria()
            with self.subTest(criteria), self.lib.FindInOibBDF(self.path("catalogue")) as task:
                task.Find(criteria)
                self.assertEqual(self.found(task), self.expected(criteria))
                found += len(task)
        self.assertGreater(found, 20)

    def test_criteria_accumulate_and_owners_match(self):
        with self.lib.FindInOibBDF(self.path("catalogue")) as task:
            task.Find({"UnrestrictedExtentions": ".jpg"})
            owner, count = task.GetResult(0).Owner, task.ResultsCount
            task.Find({"Owner": owner})
            self.assertEqual(task.ResultsCount, 2 * count)
            task.Find({"Owner": "nobody\\here"})
            self.assertEqual(task.ResultsCount, 2 * count)
            self.check_failure(lambda: task.GetResult(2 * count), 0x80070057, None,
                               "Index is out of bounds in CBinDataSearcher::GetResultRecord")

    def test_text_data_files(self):
        texts, stamp = self.path("texts"), datetime(2020, 2, 29, 12, tzinfo=timezone.utc)
        self.lib.GenerateOibTDFs(
            self.path("catalogue", "summary.txt"), texts, FileTime.from_datetime(stamp),
            recsNumPerTxt=1000, bCrcMode=False, subfoldersMax=0, additionalParts=0, separators="")
        [name] = [name for name in os.listdir(texts) if name.startswith("vl.C.")]
        text_file = os.path.join(texts, name)
        self.assertEqual(os.stat(text_file).st_mtime, stamp.timestamp())
        lines = self.lib.FindInOibTDF(text_file, "", "")
        self.assertEqual(sorted(line.split(", ", 2)[2] for line in lines), sorted(self.files))
        self.assertEqual(self.lib.FindInOibTDF(text_file, "", "nothing"), [])
        found = 0
        for _ in range(40):
            criteria = self.some_criteria()
            # Below a folder means below a path that begins so.
            criteria.rootPath = criteria.rootPath and criteria.rootPath + "\\"
            expected = self.expected(SearchSpec(**vars(criteria) | {
                "rootPath": criteria.rootPath and criteria.rootPath[:-1]}))
            with self.subTest(criteria):
                task = self.lib.FindInOibTDF2(text_file, criteria)
                self.assertEqual(self.found(task), expected)
                self.assertTrue(all(file.Owner is None for file in task))
                found += len(task)
        self.assertGreater(found, 20)


if __name__ == "__main__":
    unittest.main()
