"""Read by the type checker only: a wrong use without its comment, or a comment for a use that is
not wrong, fails the test."""

import pathlib
from datetime import datetime
from typing import assert_type
from uuid import UUID

import zorel_oibidx
from zorel_oibidx import IMtfAttrsTree, OibFileInfo, OibRef, SearchResult, SearchSpec

library = zorel_oibidx.create_library(pathlib.Path("module.so"))
with library.BrowseOibDF("C.dat") as browser:
    files = browser.GetFilesEx(rootPath="", bRecursive=True, premittedExtentions=None)
    assert_type(files[0], OibFileInfo)
    assert_type(files[1:], list[OibFileInfo])
    assert_type([file.ModifyTime for file in files], list[datetime])
    assert_type(files.TotalSize + len(files), int)
    browser.getfolders("")  # type: ignore[attr-defined]
    browser.GetFiles(5)  # type: ignore[arg-type]
    files["a"]  # type: ignore[call-overload]
with library.FindInOibBDF(b"catalogue") as task:
    task.Find(SearchSpec(SizeTill=10))
    task.Find({"SizeTill": 10})
    task.Find(10)  # type: ignore[arg-type]
    assert_type(task[-1], SearchResult)
with library.CreateMetaFile("m", zorel_oibidx.EIdxMetaOpenMode.EIdxMetaLoad) as file:
    assert_type(file.FindAttrsTree("a"), IMtfAttrsTree | None)
    file.FindAttrsTree("a").EnumChildAttrs()  # type: ignore[union-attr]
    file.FlushChanges = print  # type: ignore[assignment]
session = library.CreateBSessionMetaFile("s", 1)
session.DeleteOibRef(UUID(int=0))
assert_type(session.EnumOibsRefs()[0], OibRef)
publication = library.LoadPublication("p")
publication.CmdCount = 5  # type: ignore[misc]
assert_type(publication.AddBSessionCmdAccessor.GetOibRef(7, 0, oibId=0).OibId, UUID)
try:
    library.InitLogging("log")  # type: ignore[call-arg]
except zorel_oibidx.OibFileNotFoundError as error:
    assert_type(error.hresult, int)
    assert_type(error.description, str | None)
