"""Values of arguments and results: records, times, conversions of arguments."""

import dataclasses
import enum
import operator
import os
import uuid
from collections.abc import ItemsView, Mapping
from datetime import datetime, timedelta, timezone
from typing import Any, NamedTuple, Self

Text = str | bytes | os.PathLike[str] | os.PathLike[bytes] | None


class EIdxMetaOpenMode(enum.IntEnum):
    """How CreateMetaFile and CreateBSessionMetaFile open a file."""

    EIdxMetaLoad = 0
    EIdxMetaOpenRW = 1
    EIdxMetaCreateNewDetached = 2


# ----- Times ---------------------------------------------------------------------------

_DATE_ZERO = datetime(1899, 12, 30, tzinfo=timezone.utc)
_FILE_TIME_ZERO = datetime(1601, 1, 1, tzinfo=timezone.utc)
_FIRST_DATE = -657434.0  # 0100-01-01
_LAST_DATE = 2958465.99999999  # the end of 9999-12-31


def _as_utc(time: datetime) -> datetime:
    return time.replace(tzinfo=timezone.utc) if time.tzinfo is None else time


def date_from_datetime(time: datetime) -> float:
    """An automation date. A time without a zone is UTC."""
    since = _as_utc(time) - _DATE_ZERO
    day_part = (since.seconds + since.microseconds / 1e6) / 86400
    # The fraction is the time of day after midnight also for negative dates.
    return since.days + day_part if since.days >= 0 else since.days - day_part


def datetime_from_date(date: float) -> datetime:
    """The UTC time of an automation date, to the millisecond."""
    days = int(date)
    return _DATE_ZERO + timedelta(days, 0, 0, round(abs(date - days) * 86400_000))


@dataclasses.dataclass(frozen=True)
class FileTime:
    """The record _FILETIME: 100-ns ticks since 1601-01-01 UTC."""

    ticks: int

    def __post_init__(self) -> None:
        if not 0 <= self.ticks < 2**64:
            raise OverflowError("the time is outside the range of file times")

    @classmethod
    def from_datetime(cls, time: datetime) -> Self:
        """A time without a zone is UTC."""
        return cls((_as_utc(time) - _FILE_TIME_ZERO) // timedelta(microseconds=1) * 10)


# ----- Criteria ------------------------------------------------------------------------


@dataclasses.dataclass
class SearchSpec:
    """The criteria of a search. Methods also accept a dict with the same keys.

    A limit of None is open. If UseTimeLimits or UseSizeLimits is None, the limits are used
    when at least one of the two is given.
    """

    rootPath: Text = None
    FileNamePattern: Text = None
    Owner: Text = None
    UseTimeLimits: bool | None = None
    ModifyTimeFrom: datetime | None = None
    ModifyTimeTill: datetime | None = None
    UseSizeLimits: bool | None = None
    SizeFrom: int | None = None  # bytes
    SizeTill: int | None = None
    UseSearchServerRule: bool = False
    UnrestrictedExtentions: Text = None

    def fields(self) -> ItemsView[str, Any]:
        """(name, value) for each field of the record; dates are numbers, defaults are filled in.
        TypeError for a value of a wrong type."""
        values = {
            field.name: None if (value := getattr(self, field.name)) is None
            else converted(field.name, field.type, value)
            for field in dataclasses.fields(self)
        }
        for name, limits in (("UseTimeLimits", ("ModifyTimeFrom", "ModifyTimeTill")),
                             ("UseSizeLimits", ("SizeFrom", "SizeTill"))):
            if values[name] is None:
                values[name] = any(values[limit] is not None for limit in limits)
        for name, end in (("ModifyTimeFrom", _FIRST_DATE), ("ModifyTimeTill", _LAST_DATE),
                          ("SizeFrom", -(2**63)), ("SizeTill", 2**63 - 1)):
            values[name] = end if values[name] is None else values[name]
        return values.items()


# ----- Results -------------------------------------------------------------------------


class SearchResult(NamedTuple):
    """A result of a search; Owner is None in results of a text search."""

    FileFullName: str
    ModifyTime: datetime  # UTC
    Size: int  # bytes
    Owner: str | None


class OibFileInfo(NamedTuple):
    """A file of a listing; Owner is "" if the catalogue does not contain it."""

    FileName: str
    ModifyTime: datetime  # UTC
    Size: int  # bytes
    Owner: str | None


class OibRef(NamedTuple):
    """A restore point of a backup session."""

    VmName: str
    BackupTimeUtc: str
    UniqueId: uuid.UUID


class RetargetedOibRef(NamedTuple):
    """A restore point of a publication."""

    VmName: str
    BackupTimeUtc: str
    OibId: uuid.UUID
    OibOrigin: str
    Platform: str


class BackupFile(NamedTuple):
    """A backup file of a publication."""

    BackupSrv: str
    Path: str
    ModificationTimeUTC: str


class BSessionInfo(NamedTuple):
    """The backup session of a publication's command."""

    JobName: str
    BackupServer: str
    SessionDateUtc: str


class TdfOwner(NamedTuple):
    """The owner in the name of a text data file."""

    OwnerDomain: str
    OwnerName: str


# ----- Conversions of arguments --------------------------------------------------------

Guid = uuid.UUID | str
Criteria = SearchSpec | Mapping[str, Any]


def _text(value: Any) -> str | None:
    return None if value is None else os.fsdecode(value)


def _instance(kind: type, value: Any) -> Any:
    if not isinstance(value, kind):
        raise TypeError(f"expected {kind.__name__}, not {type(value).__name__}")
    return value


def _truth(value: Any) -> bool:
    return bool(_instance(int, value))


def _date(value: Any) -> float:
    return date_from_datetime(_instance(datetime, value))


def _file_time(value: Any) -> Any:
    return _instance(FileTime, value)


def _guid(value: Any) -> Any:
    return f"{{{value}}}" if isinstance(value, uuid.UUID) else _instance(str, value)


def _criteria(value: Any) -> Any:
    return SearchSpec(**value) if isinstance(value, Mapping) else _instance(SearchSpec, value)


# The annotation of an argument or field: the function that checks and converts it.
_CONVERSIONS: dict[Any, Any] = {
    Text: _text, Guid: _guid, Criteria: _criteria, FileTime: _file_time, bool: _truth,
    bool | None: _truth, int: operator.index, int | None: operator.index, datetime | None: _date,
}


def converted(name: str, kind: Any, value: Any) -> Any:
    """The value of an argument or field as the system modules accept it: str, None, int, bool,
    float, FileTime or SearchSpec. TypeError for a value of a wrong type."""
    try:
        return _CONVERSIONS[kind](value)
    except TypeError as error:
        raise TypeError(f"{name}: {error}") from None
