"""Values of arguments and results: records, times, errors."""

import dataclasses
import enum
from collections.abc import Mapping
from datetime import datetime, timedelta, timezone

DISP_E_MEMBERNOTFOUND = 0x80020003
DISP_E_UNKNOWNNAME = 0x80020006
DISP_E_EXCEPTION = 0x80020009

_CALL_FAILURES = {
    0x80004001: "The method is not implemented.",
    0x80070057: "An argument is null.",
    DISP_E_MEMBERNOTFOUND: "There is no such member.",
    0x80020004: "An argument has a name that the method does not know.",
    0x80020005: "An argument has the wrong type.",
    DISP_E_UNKNOWNNAME: "There is no such name.",
    0x8002000A: "An argument is out of range.",
    0x8002000E: "The number of arguments is wrong.",
    0x8002000F: "An argument is missing.",
}


class OibError(Exception):
    """A call that failed.

    hresult      the result code, as an unsigned number: 0x80070002
    source       the class that failed; None if the object gives no source
    description  the full message: the failed operation first, the cause last, separated by
                 CR LF; None for a failure without a message, such as a null argument
    call         the method or property
    """

    def __init__(self, hresult, source=None, description=None, call=""):
        hresult &= 0xFFFFFFFF
        super().__init__(hresult, source, description, call)
        self.hresult = hresult
        self.source = source
        self.description = description
        self.call = call

    def __str__(self):
        text = self.description or _CALL_FAILURES.get(self.hresult, "The call failed.")
        text = text.replace("\r\n", "\n")
        return f"{self.call}: {text} (HRESULT 0x{self.hresult:08X})"


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


def _as_utc(time):
    return time.replace(tzinfo=timezone.utc) if time.tzinfo is None else time


def date_from_datetime(time):
    """An automation date. A time without a zone is UTC."""
    since = _as_utc(time) - _DATE_ZERO
    day_part = (since.seconds + since.microseconds / 1e6) / 86400
    # The fraction is the time of day after midnight also for negative dates.
    return since.days + day_part if since.days >= 0 else since.days - day_part


def datetime_from_date(date):
    """The UTC time of an automation date, to the millisecond."""
    days = int(date)
    milliseconds = round(abs(date - days) * 86400_000)
    return _DATE_ZERO + timedelta(days=days, milliseconds=milliseconds)


@dataclasses.dataclass(frozen=True)
class FileTime:
    """The record _FILETIME: 100-ns ticks since 1601-01-01 UTC."""

    ticks: int

    def __post_init__(self):
        if not 0 <= self.ticks < 2**64:
            raise OverflowError("the time is outside the range of file times")

    @classmethod
    def from_datetime(cls, time):
        """A time without a zone is UTC."""
        return cls((_as_utc(time) - _FILE_TIME_ZERO) // timedelta(microseconds=1) * 10)


# ----- Records -------------------------------------------------------------------------


@dataclasses.dataclass
class SearchSpec:
    """The criteria of a search. Methods also accept a dict with the same keys.

    A limit of None is open. If UseTimeLimits or UseSizeLimits is None, the limits are used
    when at least one of the two is given.
    """

    rootPath: str | None = None
    FileNamePattern: str | None = None
    Owner: str | None = None
    UseTimeLimits: bool | None = None
    ModifyTimeFrom: datetime | None = None
    ModifyTimeTill: datetime | None = None
    UseSizeLimits: bool | None = None
    SizeFrom: int | None = None
    SizeTill: int | None = None
    UseSearchServerRule: bool = False
    UnrestrictedExtentions: str | None = None

    def fields(self):
        """(name, value) for each field of the record; dates are numbers, defaults are filled in."""
        times = [self.ModifyTimeFrom, self.ModifyTimeTill]
        sizes = [self.SizeFrom, self.SizeTill]
        used = {"UseTimeLimits": times, "UseSizeLimits": sizes}
        values = dataclasses.asdict(self)
        for name, limits in used.items():
            if values[name] is None:
                values[name] = any(limit is not None for limit in limits)
        for name, end in (("ModifyTimeFrom", _FIRST_DATE), ("ModifyTimeTill", _LAST_DATE)):
            values[name] = end if values[name] is None else date_from_datetime(values[name])
        for name, end in (("SizeFrom", -(2**63)), ("SizeTill", 2**63 - 1)):
            values[name] = end if values[name] is None else values[name]
        return values.items()


@dataclasses.dataclass(frozen=True)
class SearchResult:
    """A result of a search; Owner is None in results of a text search."""

    FileFullName: str
    ModifyTime: datetime  # UTC
    Size: int  # bytes
    Owner: str | None


@dataclasses.dataclass(frozen=True)
class OibFileInfo:
    """A file of a listing."""

    FileName: str
    ModifyTime: datetime  # UTC
    Size: int  # bytes
    Owner: str | None


def as_record(value):
    """A dict converted to SearchSpec; other values unchanged."""
    return SearchSpec(**value) if isinstance(value, Mapping) else value
