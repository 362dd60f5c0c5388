"""The failures of calls."""

import errno
from typing import Any

DISP_E_EXCEPTION = 0x80020009

_CALL_FAILURES = {
    0x80004001: "The method is not implemented.",
    0x80070057: "An argument is null.",
    0x8002000A: "An argument is out of range.",
}


class OibError(Exception):
    """A call that failed.

    hresult      the result code, as an unsigned number: 0x80070002
    source       the class that failed; None if the object gives no source
    description  the full message: the failed operation first, the cause last, separated by
                 CR LF; None for a failure without a message, such as a null argument
    call         the method or property

    A failure for which Python has a class is an instance of both: OibFileNotFoundError,
    OibPermissionError.
    """

    def __new__(cls, hresult: int, *details: Any, **named: Any) -> "OibError":
        kind = _SYSTEM_FAILURES.get(hresult & 0xFFFFFFFF, cls) if cls is OibError else cls
        return super(OibError, kind).__new__(kind)

    def __init__(self, hresult: int, source: str | None = None, description: str | None = None,
                 call: str = "") -> None:
        super().__init__()
        self.hresult = hresult & 0xFFFFFFFF
        self.source = source
        self.description = description
        self.call = call
        self.args = (self.hresult, source, description, call)

    def __str__(self) -> str:
        text = self.description or _CALL_FAILURES.get(self.hresult) or "The call failed."
        lines = text.replace("\r\n", "\n")
        return f"{self.call}: {lines} (HRESULT 0x{self.hresult:08X})"


class OibFileNotFoundError(OibError, FileNotFoundError):
    """A file, or a folder of its path, does not exist."""

    def __init__(self, *details: Any, **named: Any) -> None:
        super().__init__(*details, **named)
        self.errno, self.strerror = errno.ENOENT, str(self)


class OibPermissionError(OibError, PermissionError):
    """Access is denied, or another process or object has the file open."""

    def __init__(self, *details: Any, **named: Any) -> None:
        super().__init__(*details, **named)
        self.errno, self.strerror = errno.EACCES, str(self)


_SYSTEM_FAILURES: dict[int, type[OibError]] = {
    0x80070002: OibFileNotFoundError,  # no such file
    0x80070003: OibFileNotFoundError,  # no such path
    0x80070005: OibPermissionError,  # access is denied
    0x80070020: OibPermissionError,  # in use
    0x80070021: OibPermissionError,  # locked
}
