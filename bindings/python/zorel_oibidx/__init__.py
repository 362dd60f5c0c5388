"""The file-index controller from Python.

    import zorel_oibidx

    with zorel_oibidx.create_library() as library:
        with library.BrowseOibDF("/srv/catalogue/C.dat") as browser:
            for file in browser.GetFiles("C:\\docs"):
                print(file.ModifyTime, file.Size, file.FileName)

Objects have the methods and properties of the published interfaces, whose names are found
without regard to case. A call that fails raises OibError.
"""

import os

from .objects import AutomationObject, BackupFile, BSessionInfo, OibRef, RetargetedOibRef
from .values import (
    EIdxMetaOpenMode,
    FileTime,
    OibError,
    OibFileInfo,
    SearchResult,
    SearchSpec,
)

if os.name == "nt":
    from . import _windows as _system
else:
    from . import _posix as _system

__all__ = [
    "AutomationObject", "BSessionInfo", "BackupFile", "EIdxMetaOpenMode", "FileTime", "OibError",
    "OibFileInfo", "OibRef", "RetargetedOibRef", "SearchResult", "SearchSpec", "create_library",
]


def create_library(path=None):
    """Creates the library object, the one that hands out all others.

    `path` is the module file. Without one, Linux takes the environment variable
    ZOREL_OIBIDX_MODULE or looks libZorelOibIdxComLib.so up like any library; Windows creates
    the registered class, and takes no path.
    """
    return AutomationObject(_system.create_library(path))
