"""Late-bound calls on Windows, through the automation package win32com."""

import uuid
from datetime import datetime, timezone

import pythoncom
import pywintypes
from win32com.client import VARIANT

from .errors import OibError
from .objects import METHOD
from .values import FileTime, OibFileInfo, SearchResult, SearchSpec

_PROG_ID = "ZorelOibIdxLib.COibIdxLib.5"
_LIBRARY = ("{b61b642b-ea60-4c62-918f-26f54f0f815d}", 1, 0, 0x409)
_SEARCH_SPEC = "{0c1f0ba5-09d6-4f5f-9ab1-0961fc36b976}"
_FILE_TIME = "{49caf78e-0807-43d0-9090-9a06a76af5a0}"

# The variant type of each letter of the outputs in objects.member().
_OUTPUT_TYPES = {
    "s": pythoncom.VT_BSTR,
    "g": pythoncom.VT_VARIANT,
    "o": pythoncom.VT_DISPATCH,
}


def _new_record(record_id, fields):
    record = pythoncom.GetRecordFromGuids(
        pywintypes.IID(_LIBRARY[0]), *_LIBRARY[1:], pywintypes.IID(record_id))
    for name, value in fields:
        setattr(record, name, value)
    return record


def _argument(value):
    if value is None:
        # Without VT_BYREF the package passes the text "None".
        return VARIANT(pythoncom.VT_BYREF | pythoncom.VT_BSTR, None)
    if isinstance(value, SearchSpec):
        return _new_record(_SEARCH_SPEC, value.fields())
    if isinstance(value, FileTime):
        low, high = value.ticks & 0xFFFFFFFF, value.ticks >> 32
        return _new_record(_FILE_TIME, [("dwLowDateTime", low), ("dwHighDateTime", high)])
    return value


def _utc(time):
    """The package returns the fields of a date unchanged but with an arbitrary time zone."""
    return datetime(*time.timetuple()[:6], time.microsecond, timezone.utc)


def _value(value):
    if isinstance(value, pythoncom.TypeIIDs[pythoncom.IID_IDispatch]):
        return Reference(value)
    if isinstance(value, tuple):
        return [_value(item) for item in value]
    if isinstance(value, datetime):
        return _utc(value)
    if isinstance(value, pywintypes.IIDType):
        return uuid.UUID(str(value))
    for kind in (SearchResult, OibFileInfo):
        if all(hasattr(value, name) for name in kind._fields):
            return kind(*(_value(getattr(value, name)) for name in kind._fields))
    return value


def _error(call, failure):
    result, _, details, _ = failure.args
    if details is None:
        return OibError(result, call=call)
    _, source, description, _, _, code = details
    return OibError(code or result, source or None, description or None, call)


class Reference:
    """One reference to an object, released by release() or with this object."""

    def __init__(self, dispatch):
        self._dispatch = dispatch

    def release(self):
        self._dispatch = None

    def is_held(self):
        return self._dispatch is not None

    def _held(self):
        if self._dispatch is None:
            raise ValueError("the object has been released")
        return self._dispatch

    def find(self, name):
        try:
            return self._held().GetIDsOfNames(0, name)
        except pythoncom.com_error as failure:
            raise _error(name, failure) from None

    def invoke(self, call, member_id, flags, values, outputs):
        results = [VARIANT(pythoncom.VT_BYREF | _OUTPUT_TYPES[kind], None) for kind in outputs]
        try:
            result = self._held().Invoke(
                member_id, 0, flags, True, *map(_argument, values), *results)
        except pythoncom.com_error as failure:
            raise _error(call, failure) from None
        return _value(result), [_value(output.value) for output in results]

    def records(self, call, member_id, indices):
        return (self.invoke(call, member_id, METHOD, [index], "")[0] for index in indices)


def create_library(path):
    if path is not None:
        raise ValueError("on Windows the registered class is created; it takes no path")
    try:
        return Reference(pythoncom.CoCreateInstance(
            _PROG_ID, None, pythoncom.CLSCTX_INPROC_SERVER, pythoncom.IID_IDispatch))
    except pythoncom.com_error as failure:
        raise _error("create_library", failure) from None
