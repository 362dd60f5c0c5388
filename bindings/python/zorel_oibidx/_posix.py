"""Late-bound calls on Linux, through the automation functions that the module exports."""

import codecs
import ctypes
import functools
import os
import struct
import sys
import uuid
import weakref
from ctypes import POINTER, byref, c_double, c_int16, c_int32, c_int64, c_uint16, c_uint32
from ctypes import c_uint64, c_void_p

from .errors import DISP_E_EXCEPTION, OibError
from .objects import METHOD
from .values import FileTime, OibFileInfo, SearchResult, datetime_from_date

_DEFAULT_MODULE = "libZorelOibIdxComLib.so"

_VT_EMPTY, _VT_NULL, _VT_I4, _VT_BSTR = 0, 1, 3, 8
_VT_DISPATCH, _VT_BOOL, _VT_VARIANT, _VT_UI4, _VT_I8, _VT_UI8 = 9, 11, 12, 19, 20, 21
_VT_RECORD, _VT_ARRAY, _VT_BYREF = 36, 0x2000, 0x4000

# ----- The published layouts -----------------------------------------------------------


class _Guid(ctypes.Structure):
    _fields_ = [("bytes_le", ctypes.c_ubyte * 16)]

    @classmethod
    def of(cls, text):
        return cls.from_buffer_copy(uuid.UUID(text).bytes_le)

    def uuid(self):
        return uuid.UUID(bytes_le=bytes(self.bytes_le))


class _Record(ctypes.Structure):
    _fields_ = [("data", c_void_p), ("info", c_void_p)]


class _Value(ctypes.Union):
    _fields_ = [
        ("i4", c_int32), ("ui4", c_uint32), ("i8", c_int64), ("ui8", c_uint64), ("bool", c_int16),
        ("pointer", c_void_p), ("record", _Record),
    ]


class _Variant(ctypes.Structure):
    _anonymous_ = ["value"]
    _fields_ = [("vt", c_uint16), ("reserved", c_uint16 * 3), ("value", _Value)]


class _DispParams(ctypes.Structure):
    _fields_ = [
        ("arguments", POINTER(_Variant)), ("names", c_void_p), ("count", c_uint32),
        ("named", c_uint32),
    ]


class _ExcepInfo(ctypes.Structure):
    _fields_ = [
        ("code", c_uint16), ("reserved", c_uint16), ("source", c_void_p),
        ("description", c_void_p), ("help_file", c_void_p), ("help_context", c_uint32),
        ("reserved_pointer", c_void_p), ("deferred_fill_in", c_void_p), ("scode", c_int32),
    ]


class _SearchSpec(ctypes.Structure):
    _fields_ = [
        ("rootPath", c_void_p), ("FileNamePattern", c_void_p), ("Owner", c_void_p),
        ("UseTimeLimits", c_int16), ("ModifyTimeFrom", c_double), ("ModifyTimeTill", c_double),
        ("UseSizeLimits", c_int16), ("SizeFrom", c_int64), ("SizeTill", c_int64),
        ("UseSearchServerRule", c_int16), ("UnrestrictedExtentions", c_void_p),
    ]


_IID_NULL = _Guid()
_IID_IDISPATCH = _Guid.of("00020400-0000-0000-c000-000000000046")

# The memory of the process: a slice takes a tenth of the time of ctypes.string_at.
_MEMORY = memoryview((ctypes.c_ubyte * sys.maxsize).from_address(0)).cast("B")
_UNITS = _MEMORY[:-3].cast("I")  # in front of a string, its length in bytes
_read_file = struct.Struct("=QdqQ").unpack_from  # SearchResult and OibFileInfo


def _text(string):
    """The text of a BSTR. Lone surrogates are preserved."""
    if not string:
        return None
    length = _UNITS[string // 4 - 1]
    return codecs.utf_16_le_decode(_MEMORY[string:string + length], "surrogatepass", True)[0]


# ----- Calls through vtables -----------------------------------------------------------


class _Slot:
    """The method in a vtable slot: a function of the object and its arguments."""

    def __init__(self, number, result, *arguments):
        self._offset = number * ctypes.sizeof(c_void_p)
        self._prototype = ctypes.CFUNCTYPE(result, c_void_p, *arguments)
        self._functions = {}

    def address(self, pointer):
        """The address of the method of this object."""
        table = c_void_p.from_address(pointer).value
        return c_void_p.from_address(table + self._offset).value

    def __call__(self, pointer, *values):
        address = self.address(pointer)
        if address not in self._functions:
            self._functions[address] = self._prototype(address)
        return self._functions[address](pointer, *values)


_release = _Slot(2, c_uint32)
_get_ids_of_names = _Slot(
    5, c_int32, POINTER(_Guid), POINTER(c_void_p), c_uint32, c_uint32, POINTER(c_int32))
_invoke = _Slot(  # member, IID_NULL, locale, flags, parameters, result, exception, bad argument
    6, c_int32, c_int32, c_void_p, c_uint32, c_uint16, c_void_p, c_void_p, c_void_p, c_void_p)
_record_guid = _Slot(6, c_int32, POINTER(_Guid))


class _RecordInfo:
    """An IRecordInfo that returns the identifier and the size of a record type; its other
    methods return E_NOTIMPL. Never freed."""

    _SLOTS = 19
    _E_NOTIMPL = c_int32(0x80004001).value

    def __init__(self, record_id, size):
        def get_guid(_, guid):
            guid[0] = _Guid.of(record_id)
            return 0

        def get_size(_, bytes_out):
            bytes_out[0] = size
            return 0

        self._methods = [_self_method(lambda _: self._E_NOTIMPL)] * self._SLOTS
        self._methods[1] = self._methods[2] = _self_method(lambda _: 1)
        self._methods[6] = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(_Guid))(get_guid)
        self._methods[8] = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(c_uint32))(get_size)
        self._table = (c_void_p * self._SLOTS)(
            *(ctypes.cast(method, c_void_p) for method in self._methods))
        self._object = c_void_p(ctypes.addressof(self._table))
        self.pointer = ctypes.addressof(self._object)


_self_method = ctypes.CFUNCTYPE(c_int32, c_void_p)
_SEARCH_SPEC = _RecordInfo("0c1f0ba5-09d6-4f5f-9ab1-0961fc36b976", ctypes.sizeof(_SearchSpec))
_FILE_TIME = _RecordInfo("49caf78e-0807-43d0-9090-9a06a76af5a0", 8)


class _Module:
    """The functions that the module exports."""

    def __init__(self, path):
        library = ctypes.CDLL(path)

        def function(name, result, *arguments):
            found = getattr(library, name)
            found.restype, found.argtypes = result, arguments
            return found

        self.create = function(
            "CreateOibIdxLib", c_int32, c_void_p, POINTER(_Guid), POINTER(c_void_p))
        self.new_string = function("SysAllocStringLen", c_void_p, c_void_p, c_uint32)
        self.free_string = function("SysFreeString", None, c_void_p)
        self.clear = function("VariantClear", c_int32, c_void_p)
        self.array_bounds = [
            function(name, c_int32, c_void_p, c_uint32, POINTER(c_int32))
            for name in ("SafeArrayGetLBound", "SafeArrayGetUBound")
        ]
        self.access = function("SafeArrayAccessData", c_int32, c_void_p, POINTER(c_void_p))
        self.unaccess = function("SafeArrayUnaccessData", c_int32, c_void_p)

    def string(self, text):
        """A new BSTR, which the caller frees; the null string for None. Lone surrogates are
        preserved."""
        if text is None:
            return None
        units = text.encode("utf-16-le", "surrogatepass")
        string = self.new_string(units, len(units) // 2)
        if not string:
            raise MemoryError
        return string

    def take_text(self, string):
        text = _text(string)
        self.free_string(string)
        return text

    # ----- Results -----

    def texts(self, array):
        first, last, data = c_int32(), c_int32(), c_void_p()
        for bound, function in zip((first, last), self.array_bounds):
            _check("array", function(array, 1, byref(bound)))
        _check("array", self.access(array, byref(data)))
        try:
            count = last.value - first.value + 1
            strings = (c_void_p * count).from_address(data.value) if count > 0 else ()
            return [_text(string) for string in strings]
        finally:
            self.unaccess(array)

    def take(self, variant):
        """The value of a variant. The returned Reference takes over a VT_DISPATCH reference."""
        kind = variant.vt
        if kind in (_VT_EMPTY, _VT_NULL):
            return None
        if kind == _VT_DISPATCH:
            variant.vt = _VT_EMPTY
            return Reference(self, variant.pointer) if variant.pointer else None
        return _READERS[kind](self, variant)


_READERS = {
    _VT_I4: lambda module, variant: variant.i4,
    _VT_UI4: lambda module, variant: variant.ui4,
    _VT_I8: lambda module, variant: variant.i8,
    _VT_UI8: lambda module, variant: variant.ui8,
    _VT_BOOL: lambda module, variant: variant.bool != 0,
    _VT_BSTR: lambda module, variant: _text(variant.pointer),
    _VT_RECORD: lambda module, variant: _record_reader(variant.record.info)(variant.record.data),
    _VT_ARRAY | _VT_BSTR: lambda module, variant: module.texts(variant.pointer),
}


def _check(call, result):
    if result < 0:
        raise OibError(result, call=call)


def _read_guid(data):
    return _Guid.from_address(data).uuid()


def _file_reader(kind):
    new = tuple.__new__  # of a NamedTuple, without the call of its own constructor

    def read(data):
        name, time, size, owner = _read_file(_MEMORY, data)
        return new(kind, (_text(name), datetime_from_date(time), size, _text(owner)))

    return read


_RECORD_READERS = {  # by identifier; a record type without one is a GUID
    uuid.UUID("74590d76-2403-4179-822b-bffb059b2e0d"): _file_reader(SearchResult),
    uuid.UUID("0c7d7e0b-0247-4802-a844-cc2fbc4ccd51"): _file_reader(OibFileInfo),
    uuid.UUID(int=0): _read_guid,
}


def _record_reader(info):
    """The function that reads records of this type from their address."""
    guid = _Guid()
    _check("record", _record_guid(info, byref(guid)))
    return _RECORD_READERS[guid.uuid()]


# ----- One call ------------------------------------------------------------------------


class _Arguments:
    """The variants of one call, in reverse order of the arguments, until close().

    The module allocates strings; this object owns the records and frees the strings.
    """

    def __init__(self, module, values, outputs):
        self._module = module
        self._strings = []
        self._records = []
        self.variants = (_Variant * (len(values) + outputs))()
        self.outputs = (_Variant * outputs)()
        try:
            for variant, value in zip(reversed(self.variants), values):
                self._fill(variant, value)
        except BaseException:
            self.close()
            raise
        for i, output in enumerate(self.outputs):
            variant = self.variants[outputs - 1 - i]
            variant.vt = _VT_BYREF | _VT_VARIANT
            variant.pointer = ctypes.addressof(output)
        self.params = _DispParams(self.variants, None, len(self.variants), 0)

    def close(self):
        for variant in self.variants:
            if variant.vt == _VT_BSTR:
                self._strings.append(variant.pointer)
        for output in self.outputs:
            self._module.clear(byref(output))
        while self._strings:
            self._module.free_string(self._strings.pop())

    def _fill(self, variant, value):
        if value is None or isinstance(value, str):
            variant.vt, variant.pointer = _VT_BSTR, self._module.string(value)
        elif isinstance(value, bool):
            variant.vt, variant.bool = _VT_BOOL, -value
        elif isinstance(value, int):
            self._fill_number(variant, value)
        elif isinstance(value, FileTime):
            self._fill_record(variant, _FILE_TIME, c_uint64(value.ticks))
        else:
            self._fill_record(variant, _SEARCH_SPEC, self._record_of(value))

    def _fill_number(self, variant, value):
        if -(2**31) <= value < 2**31:
            variant.vt, variant.i4 = _VT_I4, value
        elif -(2**63) <= value < 2**63:
            variant.vt, variant.i8 = _VT_I8, value
        elif 0 <= value < 2**64:
            variant.vt, variant.ui8 = _VT_UI8, value
        else:
            raise OverflowError(f"{value} has more than 64 bits")

    def _fill_record(self, variant, info, record):
        self._records.append(record)
        variant.vt = _VT_RECORD
        variant.record.data, variant.record.info = ctypes.addressof(record), info.pointer

    def _record_of(self, criteria):
        record = _SearchSpec()
        kinds = dict(_SearchSpec._fields_)
        for name, value in criteria.fields():
            if kinds[name] is c_void_p:
                value = self._module.string(value)
                self._strings.append(value)
            elif kinds[name] is c_int16:
                value = -bool(value)
            elif kinds[name] is c_int64 and not -(2**63) <= value < 2**63:
                raise OverflowError(f"{name} has more than 64 bits")
            setattr(record, name, value)
        return record


class Reference:
    """One reference to an object, released by release() or with this object."""

    def __init__(self, module, pointer):
        self._module = module
        self._pointer = pointer
        self._finalizer = weakref.finalize(self, _release, pointer)
        self._finalizer.atexit = False

    def release(self):
        self._pointer = None
        self._finalizer()

    def is_held(self):
        return self._pointer is not None

    def _held(self):
        if self._pointer is None:
            raise ValueError("the object has been released")
        return self._pointer

    def find(self, name):
        """The identifier of a member."""
        text = ctypes.create_string_buffer(name.encode("utf-16-le") + b"\0\0")
        pointer, member_id = c_void_p(ctypes.addressof(text)), c_int32()
        _check(name, _get_ids_of_names(self._held(), byref(_IID_NULL), byref(pointer), 1, 0,
                                       byref(member_id)))
        return member_id.value

    def invoke(self, call, member_id, flags, values, outputs):
        """Calls the member. Returns its return value and a list with a value for each letter of
        `outputs`."""
        pointer = self._held()
        arguments = _Arguments(self._module, values, len(outputs))
        result, exception, bad_argument = _Variant(), _ExcepInfo(), c_uint32()
        try:
            code = _invoke(pointer, member_id, byref(_IID_NULL), 0, flags,
                           byref(arguments.params), byref(result), byref(exception),
                           byref(bad_argument))
            if code < 0:
                self._raise_failure(call, code, exception)
            return self._module.take(result), [self._module.take(v) for v in arguments.outputs]
        finally:
            arguments.close()
            self._module.clear(byref(result))

    def records(self, call, member_id, indices):
        """Calls a method that returns a record with each index in turn; yields the results.

        The variants and the converted arguments are the same for all calls: this takes a tenth
        of the time of invoke().
        """
        index, result, exception = _Variant(vt=_VT_I4), _Variant(), _ExcepInfo()
        params = _DispParams(ctypes.pointer(index), None, 1, 0)
        iid, parameters, result_at, exception_at = (
            c_void_p(ctypes.addressof(item)) for item in (_IID_NULL, params, result, exception))
        arguments = (c_void_p(self._held()), member_id, iid, 0, METHOD, parameters, result_at,
                     exception_at, None)
        # Without declared arguments a call does not convert them again.
        invoke = ctypes.CFUNCTYPE(c_int32)(_invoke.address(self._held()))
        read, record, clear = None, result.record, self._module.clear
        for index.i4 in indices:
            if self._pointer is None:
                self._held()
            code = invoke(*arguments)
            if code < 0:
                self._raise_failure(call, code, exception)
            try:
                read = read or _record_reader(record.info)
                value = read(record.data)
            finally:
                clear(result_at)
            yield value

    def _raise_failure(self, call, code, exception):
        source, description, _ = [
            self._module.take_text(text)
            for text in (exception.source, exception.description, exception.help_file)
        ]
        if code & 0xFFFFFFFF == DISP_E_EXCEPTION:
            raise OibError(exception.scode, source, description, call)
        _check(call, code)


@functools.cache
def _module(path):
    return _Module(path)


def create_library(path):
    module = _module(os.fspath(path or os.environ.get("ZOREL_OIBIDX_MODULE") or _DEFAULT_MODULE))
    pointer = c_void_p()
    _check("CreateOibIdxLib", module.create(None, byref(_IID_IDISPATCH), byref(pointer)))
    return Reference(module, pointer.value)
