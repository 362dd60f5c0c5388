"""The file-index controller from Python.

    import zorel_oibidx

    with zorel_oibidx.create_library() as library:
        with library.BrowseOibDF("/srv/catalogue/C.dat") as browser:
            for file in browser.GetFiles("C:\\docs"):
                print(file.ModifyTime, file.Size, file.FileName)

Objects have the methods and properties of the published interfaces, IOibIdxLib first; names are
found without case. A call that fails raises OibError.
"""

import os

from .errors import OibError, OibFileNotFoundError, OibPermissionError
from .interfaces import (
    ICatOibRefsEnumerator,
    IMtfAddBSessionCmdAccessor,
    IMtfAttrsTree,
    IMtfBSessionMetaFile,
    IMtfMetaFile,
    IMtfPublicationMetaFileReader,
    IMtfPublicationOrderingInfo,
    IOibBDFSearchTask,
    IOibDFBrowser,
    IOibFilesArray,
    IOibIdxLib,
    IOibTDFSearchTask,
)
from .objects import AutomationObject
from .values import (
    BackupFile,
    BSessionInfo,
    EIdxMetaOpenMode,
    FileTime,
    OibFileInfo,
    OibRef,
    RetargetedOibRef,
    SearchResult,
    SearchSpec,
)

if os.name == "nt":
    from . import _windows as _system
else:
    from . import _posix as _system

__all__ = [
    "AutomationObject", "BSessionInfo", "BackupFile", "EIdxMetaOpenMode", "FileTime",
    "ICatOibRefsEnumerator", "IMtfAddBSessionCmdAccessor", "IMtfAttrsTree", "IMtfBSessionMetaFile",
    "IMtfMetaFile", "IMtfPublicationMetaFileReader", "IMtfPublicationOrderingInfo",
    "IOibBDFSearchTask", "IOibDFBrowser", "IOibFilesArray", "IOibIdxLib", "IOibTDFSearchTask",
    "OibError", "OibFileInfo", "OibFileNotFoundError", "OibPermissionError", "OibRef",
    "RetargetedOibRef", "SearchResult", "SearchSpec", "create_library",
]


def create_library(path=None):
    """Creates the library object, whose methods return all other objects.

    `path` is the file of the module. Without a path, Linux uses the environment variable
    ZOREL_OIBIDX_MODULE, or else the loader's search for libZorelOibIdxComLib.so. Windows
    creates the registered class; there a path raises ValueError.
    """
    return IOibIdxLib(_system.create_library(path))
