"""The types of the package for type checkers, without the modules for one system."""

import os

from .errors import (
    OibError as OibError,
    OibFileNotFoundError as OibFileNotFoundError,
    OibPermissionError as OibPermissionError,
)
from .interfaces import (
    ICatOibRefsEnumerator as ICatOibRefsEnumerator,
    IMtfAddBSessionCmdAccessor as IMtfAddBSessionCmdAccessor,
    IMtfAttrsTree as IMtfAttrsTree,
    IMtfBSessionMetaFile as IMtfBSessionMetaFile,
    IMtfMetaFile as IMtfMetaFile,
    IMtfPublicationMetaFileReader as IMtfPublicationMetaFileReader,
    IMtfPublicationOrderingInfo as IMtfPublicationOrderingInfo,
    IOibBDFSearchTask as IOibBDFSearchTask,
    IOibDFBrowser as IOibDFBrowser,
    IOibFilesArray as IOibFilesArray,
    IOibIdxLib as IOibIdxLib,
    IOibTDFSearchTask as IOibTDFSearchTask,
)
from .objects import AutomationObject as AutomationObject
from .values import (
    BackupFile as BackupFile,
    BSessionInfo as BSessionInfo,
    EIdxMetaOpenMode as EIdxMetaOpenMode,
    FileTime as FileTime,
    OibFileInfo as OibFileInfo,
    OibRef as OibRef,
    RetargetedOibRef as RetargetedOibRef,
    SearchResult as SearchResult,
    SearchSpec as SearchSpec,
)

def create_library(path: str | os.PathLike[str] | None = None) -> IOibIdxLib: ...
