"""Automation objects as Python objects, for all systems."""

import collections

from .values import DISP_E_MEMBERNOTFOUND, DISP_E_UNKNOWNNAME, OibError

_METHOD = 1
_PROPERTY_GET = 2

OibRef = collections.namedtuple("OibRef", "VmName BackupTimeUtc UniqueId")
RetargetedOibRef = collections.namedtuple(
    "RetargetedOibRef", "VmName BackupTimeUtc OibId OibOrigin Platform")
BackupFile = collections.namedtuple("BackupFile", "BackupSrv Path ModificationTimeUTC")
BSessionInfo = collections.namedtuple("BSessionInfo", "JobName BackupServer SessionDateUtc")

# Methods with output arguments: by name and number of inputs, the constructor of the result
# and the types of the outputs (s: string, g: GUID, o: object).
_OUTPUTS = {
    ("getoibref", 1): (OibRef, "ssg"),
    ("getoibref", 3): (RetargetedOibRef, "ssgss"),
    ("getbackupfile", 3): (BackupFile, "sss"),
    ("getbsessioninfo", 1): (BSessionInfo, "sss"),
    ("loadpublication", 1): (lambda publication: publication, "o"),
    ("parseoibtdfname", 1): (lambda *names: names, "ss"),
}
_NO_OUTPUTS = (None, "")

# Objects with a list: the property with its length, the method that returns an element.
_LISTS = (("FilesCount", "GetFileInfo"), ("ResultsCount", "GetResult"), ("RefsCount", "GetOibRef"))


class AutomationObject:
    """One object of the library.

    Its attributes are its methods and properties; methods take arguments by position or by
    their published names. The end of a `with` block closes the object, if it has a method
    Close, and releases it; without a `with` block Python's last reference releases it. A list
    of files, results or references can be iterated and has a length.

    The caller serializes calls of one object; different objects that share no file may be
    used at the same time.
    """

    __slots__ = ("_reference", "_member_ids", "_methods", "__weakref__")

    def __init__(self, reference):
        self._reference = reference
        self._member_ids = {}
        self._methods = set()

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        if name not in self._member_ids:
            ids = self._find(name)
            if ids is None:
                raise AttributeError(f"the object has no {name}")
            self._member_ids[name] = ids[0]
        member_id = self._member_ids[name]
        if name not in self._methods:
            # Reading a method as a property fails without calling it.
            try:
                return self._wrap(self._reference.invoke(name, member_id, _PROPERTY_GET, [], "")[0])
            except OibError as error:
                if error.hresult != DISP_E_MEMBERNOTFOUND:
                    raise
            self._methods.add(name)
        return lambda *values, **named: self._call(name, member_id, values, named)

    def _find(self, *names):
        """The identifiers of a member and of its arguments; None when a name is unknown."""
        try:
            return self._reference.find(names)
        except OibError as error:
            if error.hresult != DISP_E_UNKNOWNNAME:
                raise
            return None

    def _call(self, name, member_id, values, named):
        if named:
            values = self._in_order(name, values, named)
        make, types = _OUTPUTS.get((name.lower(), len(values)), _NO_OUTPUTS)
        result, outputs = self._reference.invoke(name, member_id, _METHOD, list(values), types)
        return make(*map(self._wrap, outputs)) if make else self._wrap(result)

    def _in_order(self, name, values, named):
        ids = self._find(name, *named)
        if ids is None:
            raise TypeError(f"{name} has no argument of one of these names: {', '.join(named)}")
        given = dict(enumerate(values)) | dict(zip(ids[1:], named.values()))
        if sorted(given) != list(range(len(values) + len(named))):
            raise TypeError(f"{name}: an argument is missing or given twice")
        return [given[position] for position in sorted(given)]

    def _wrap(self, value):
        return AutomationObject(value) if isinstance(value, type(self._reference)) else value

    # ----- Lists -----

    def _list(self):
        for property_name, method in _LISTS:
            count = getattr(self, property_name, None)
            if count is not None:
                return count, getattr(self, method)
        raise TypeError("the object is not a list")

    def __iter__(self):
        count, item = self._list()
        return map(item, range(count))

    def __len__(self):
        return self._list()[0]

    def __bool__(self):
        return True

    # ----- Lifetime -----

    def release(self):
        """Releases the object, which cannot be called afterwards. A second call has no effect."""
        self._reference.release()

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        try:
            if self._reference.is_held() and hasattr(self, "Close"):
                self.Close()
        finally:
            self.release()
