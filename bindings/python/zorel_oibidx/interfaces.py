"""The published interfaces. The body of each member is its documentation: objects.py calls it.

Relative paths are relative to the working folder; indices begin at 0; times are UTC and sizes
bytes. doc/interface.md describes each member with an example.
"""
# mypy: disable-error-code="empty-body"

from uuid import UUID

from .objects import METHOD, AutomationObject, ListObject, getter, member, method
from .values import (
    BackupFile,
    BSessionInfo,
    Criteria,
    FileTime,
    Guid,
    OibFileInfo,
    OibRef,
    RetargetedOibRef,
    SearchResult,
    TdfOwner,
    Text,
)

# ----- Catalogues ----------------------------------------------------------------------


class IOibFilesArray(ListObject[OibFileInfo]):
    """A list of files; it remains valid without its browser."""

    __slots__ = ()
    _LENGTH, _ITEM = "FilesCount", "GetFileInfo"

    @method
    def GetFileInfo(self, index: int) -> OibFileInfo:
        """File number `index`. OibError for an index out of range."""

    @property
    @getter
    def FilesCount(self) -> int:
        """The number of files."""

    @property
    @getter
    def TotalSize(self) -> int:
        """The sum of the sizes, in bytes."""


class IOibDFBrowser(AutomationObject):
    """The catalogue of one volume. A folder is a path such as "C:\\docs"; "" is the root."""

    __slots__ = ()

    @method
    def GetFolders(self, rootPath: Text) -> list[str]:
        """The names of the direct subfolders, ordered without case."""

    @method
    def GetFiles(self, rootPath: Text) -> IOibFilesArray:
        """The files of the folder, by name."""

    @method
    def GetFilesEx(self, rootPath: Text, bRecursive: bool,
                   premittedExtentions: Text) -> IOibFilesArray:
        """The files of the folder, with `bRecursive` also those of all folders below, named
        relative to the folder. `premittedExtentions` lists permitted endings of names, separated
        by ";" or ","; None permits all, "" none.
        """

    @method
    def Close(self) -> None:
        """Releases the folder tree. Later listings fail; a second call has no effect."""


class IOibTDFSearchTask(ListObject[SearchResult]):
    """The results of a search of a text data file."""

    __slots__ = ()
    _LENGTH, _ITEM = "ResultsCount", "GetResult"

    @method
    def GetResult(self, index: int) -> SearchResult:
        """Result number `index`. OibError for an index out of range."""

    @property
    @getter
    def ResultsCount(self) -> int:
        """The number of results."""


class IOibBDFSearchTask(IOibTDFSearchTask):
    """A search task over the volumes of a catalogue, with its results."""

    __slots__ = ()

    @method
    def Find(self, srchSpec: Criteria) -> None:
        """Searches all volumes and appends the results. Criteria accumulate: a field that is not
        set keeps the value of an earlier call.
        """


# ----- Meta-files ----------------------------------------------------------------------


class IMtfAttrsTree(AutomationObject):
    """A tree of attributes; it remains valid without its meta-file."""

    __slots__ = ()

    @method
    def EnumChildTrees(self) -> list[str]:
        """The names of the direct subtrees, in the order of their creation."""

    @method
    def CreateSubtree(self, treeName: Text) -> "IMtfAttrsTree":
        """The subtree, created if it is missing."""

    @method
    def FindSubtree(self, treeName: Text) -> "IMtfAttrsTree | None":
        """The subtree; None if there is none."""

    @method
    def GetExistingSubtree(self, treeName: Text) -> "IMtfAttrsTree":
        """The subtree. OibError if there is none."""

    @method
    def DelSubtree(self, treeName: Text) -> None:
        """Removes the subtree with everything below it; no effect if there is none."""

    @method
    def EnumChildAttrs(self) -> list[str]:
        """The names of the attributes of this tree only, ordered by code units."""

    @method
    def DelAttr(self, attrName: Text) -> None:
        """Removes the attribute; no effect if there is none."""

    @method
    def SetAttr(self, attrName: Text, attrValue: Text) -> None:
        """Sets the attribute; creates it and its subtrees if they are missing."""

    @method
    def FindAttr(self, attrName: Text) -> str | None:
        """The value; None if there is no such attribute."""

    @method
    def GetExistingAttr(self, attrName: Text) -> str:
        """The value. OibError if there is no such attribute."""


class IMtfMetaFile(AutomationObject):
    """A meta-file: attributes with paths such as "Job.Server.Host"."""

    __slots__ = ()

    @method
    def GetRootAttrsTree(self) -> IMtfAttrsTree:
        """The root of the attributes."""

    @method
    def CreateAttrsTree(self, treePath: Text) -> IMtfAttrsTree:
        """The subtree, created if it is missing. A subtree without attributes is not saved."""

    @method
    def FindAttrsTree(self, treePath: Text) -> IMtfAttrsTree | None:
        """The subtree; None if there is none."""

    @method
    def GetExistingAttrsTree(self, treePath: Text) -> IMtfAttrsTree:
        """The subtree. OibError if there is none."""

    @method
    def DelAttrsTree(self, treePath: Text) -> None:
        """Removes the subtree with everything below it; no effect if there is none."""

    @method
    def SetAttr(self, attrPath: Text, attrValue: Text) -> None:
        """Sets the attribute, created if it is missing. OibError for a path without elements."""

    @method
    def FindAttr(self, attrPath: Text) -> str | None:
        """The value; None if there is no such attribute."""

    @method
    def GetExistingAttr(self, attrPath: Text) -> str:
        """The value. OibError if there is no such attribute."""

    @method
    def DelAttr(self, attrPath: Text) -> None:
        """Removes the attribute; no effect if there is none."""

    @method
    def EnumAllAttrs(self) -> list[str]:
        """The full paths of all attributes."""

    @method
    def PushComment(self, commentLine: Text) -> None:
        """Adds a comment, or several for a text of several lines; "" adds nothing."""

    @method
    def FlushChanges(self) -> None:
        """Saves the file. After a failure the changes are still pending."""

    @method
    def Close(self) -> None:
        """Closes the file without saving. The object remains usable; a flush writes the file."""


class ICatOibRefsEnumerator(ListObject[OibRef]):
    """The restore points of a backup session, the highest number first."""

    __slots__ = ()
    _LENGTH, _ITEM = "RefsCount", "GetOibRef"

    @property
    @getter
    def RefsCount(self) -> int:
        """The number of restore points."""

    @method
    def MoveToElem(self, elemIndex: int) -> None:
        """Makes this element the current one. OibError for an index out of range."""

    @property
    @getter
    def VmName(self) -> str:
        """The machine name of the current element. OibError for an empty list."""

    @property
    @getter
    def BackupTimeUtc(self) -> str:
        """The backup time of the current element, as the file has it."""

    @property
    @getter
    def UniqueId(self) -> UUID:
        """The identifier of the current element; zero if the file has none."""

    @member(METHOD, "ssg")
    def GetOibRef(self, elemIndex: int) -> OibRef:
        """All three values of an element. OibError for an index out of range."""


class IMtfBSessionMetaFile(AutomationObject):
    """The meta-file of a backup session."""

    __slots__ = ()

    @method
    def DeleteOibRef(self, pOibId: Guid) -> None:
        """Removes the first restore point with this identifier; no effect if there is none."""

    @method
    def EnumOibsRefs(self) -> ICatOibRefsEnumerator:
        """The current restore points. OibError for a malformed line."""

    @method
    def FlushChanges(self) -> None:
        """Saves the file. After a failure the changes are still pending."""

    @method
    def Close(self) -> None:
        """Closes the file without saving; the object remains usable."""


class IMtfPublicationOrderingInfo(AutomationObject):
    """The times of a publication, as the file has them; "" for a time that it has not."""

    __slots__ = ()

    @property
    @getter
    def PubLocalTime(self) -> str:
        """The value of Publication.LocalTime."""

    @property
    @getter
    def PubUtcTime(self) -> str:
        """The value of Publication.UTCTime."""


class IMtfAddBSessionCmdAccessor(AutomationObject):
    """The backup sessions that a publication adds.

    `cmdId` is the number of a command in the file; other identifiers are positions from 0.
    OibError for a command, group, restore point or backup file that does not exist.
    """

    __slots__ = ()

    @method
    def GetRetargetedOibGroupsNum(self, cmdId: int) -> int:
        """The number of groups."""

    @method
    def GetOibsNumInRetargetedOibGroup(self, cmdId: int, groupId: int) -> int:
        """The number of restore points of a group."""

    @method
    def GetBackupFilesNumInRetargetedOibGroup(self, cmdId: int, groupId: int) -> int:
        """The number of backup files of a group."""

    @member(METHOD, "ssgss")
    def GetOibRef(self, cmdId: int, groupId: int, oibId: int) -> RetargetedOibRef:
        """A restore point."""

    @member(METHOD, "sss")
    def GetBackupFile(self, cmdId: int, groupId: int, fileId: int) -> BackupFile:
        """A backup file."""

    @member(METHOD, "sss")
    def GetBSessionInfo(self, cmdId: int) -> BSessionInfo:
        """Job, backup server and date of the session."""


class IMtfPublicationMetaFileReader(AutomationObject):
    """A publication."""

    __slots__ = ()

    @property
    @getter
    def OrderingInfo(self) -> IMtfPublicationOrderingInfo:
        """The times of the publication."""

    @property
    @getter
    def CmdCount(self) -> int:
        """The number of its commands."""

    @method
    def GetCmdType(self, cmdId: int) -> str:
        """The type of a command by its position. OibError for a position out of range."""

    @property
    @getter
    def AddBSessionCmdAccessor(self) -> IMtfAddBSessionCmdAccessor:
        """The content of the commands of type AddBSession."""

    @property
    @getter
    def MetaFile(self) -> IMtfMetaFile:
        """The meta-file, as a new object; its changes do not change the publication."""


# ----- The library ---------------------------------------------------------------------


class IOibIdxLib(AutomationObject):
    """The library: opens catalogues and meta-files, searches, generates text data files."""

    __slots__ = ()

    @method
    def InitLogging(self, logPath: Text, bSkipSecure: bool) -> None:
        """Starts the log of the process in this file; it cannot be stopped. `bSkipSecure` has no
        effect.
        """

    @method
    def CreateMetaFile(self, metaFilePath: Text, openMode: int) -> IMtfMetaFile:
        """Opens a meta-file; `openMode` is an EIdxMetaOpenMode."""

    @method
    def IsMetaFileExists(self, metaFilePath: Text) -> bool:
        """Whether the file, or its recovery copy, exists. The name may be a pattern with "*" and
        "?".
        """

    @method
    def GenerateOibTDFs(self, binIndexFile: Text, outpFolder: Text, txtDateTime: FileTime,
                        recsNumPerTxt: int, bCrcMode: bool, subfoldersMax: int,
                        additionalParts: int, separators: Text) -> None:
        """Writes the text data files of every volume that the meta-file `binIndexFile` lists;
        each has the time `txtDateTime` and up to `recsNumPerTxt` lines. `bCrcMode` writes key
        files, whose form the last three arguments select.
        """

    @method
    def FindInOibTDF(self, dataFile: Text, rootPath: Text, searchStr: Text) -> list[str]:
        """The lines of a text data file whose folder begins with `rootPath` and whose name
        matches the pattern; None or "" selects all.
        """

    @member(METHOD, "ss")
    def ParseOibTDFName(self, txtHierarchyFileName: Text) -> TdfOwner:
        """Not implemented: always raises OibError with E_NOTIMPL."""

    @method
    def ConvetrPathToCrcStr(self, folderPath: Text, subfoldersMax: int) -> str:
        """The fingerprint of the folder: four digits for each of the first `subfoldersMax` path
        elements, or for all if the number is negative.
        """

    @method
    def FindInOibTDF2(self, dataFile: Text, srchSpec: Criteria) -> IOibTDFSearchTask:
        """Searches a text data file by folder, name, time and size."""

    @method
    def BrowseOibDF(self, volumeFilePath: Text) -> IOibDFBrowser:
        """Opens the index data file of a volume."""

    @method
    def IsWildcardMatch(self, line: Text, pattern: Text) -> bool:
        """Whether the name at the end of the path `line` matches the pattern, without case."""

    @method
    def FindInOibBDF(self, dataPath: Text) -> IOibBDFSearchTask:
        """Loads every volume that summary.txt of the folder names, for searches."""

    @method
    def CreateBSessionMetaFile(self, metaFilePath: Text, openMode: int) -> IMtfBSessionMetaFile:
        """Opens the meta-file of a backup session; `openMode` is an EIdxMetaOpenMode."""

    @method
    def LoadPublicationOrderingInfo(self, pubFilePath: Text) -> IMtfPublicationOrderingInfo:
        """Reads the times of a publication; the rest of the file is not checked."""

    @member(METHOD, "o")
    def LoadPublication(self, metaFilePath: Text) -> IMtfPublicationMetaFileReader:
        """Reads a publication."""
