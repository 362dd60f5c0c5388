"""The file-index controller from Python.

    import zorel_oibidx

    with zorel_oibidx.create_library() as library:
        with library.BrowseOibDF("/srv/catalogue/C.dat") as browser:
            for file in browser.GetFiles("C:\\docs"):
                print(file.ModifyTime, file.Size, file.FileName)

Objects have the methods and properties of the published interfaces; names are found without
case. A call that fails raises OibError.
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
    """Creates the library object, whose methods return all other objects.

    `path` is the file of the module. Without a path, Linux uses the environment variable
    ZOREL_OIBIDX_MODULE, or else the loader's search for libZorelOibIdxComLib.so. Windows
    creates the registered class; there a path raises ValueError.
    """
    return AutomationObject(_system.create_library(path))
