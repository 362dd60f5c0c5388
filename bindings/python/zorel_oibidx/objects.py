"""Automation objects as Python objects, for all systems.

A class of interfaces.py declares an interface; the functions of this file turn a declaration
into a late-bound call.
"""

import functools
import inspect
import operator
import typing
from collections.abc import Callable, Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any, Generic, Self, TypeVar, overload

from .values import converted

METHOD = 1
PROPERTY_GET = 2

# ----- Members -------------------------------------------------------------------------

_F = TypeVar("_F", bound=Callable[..., Any])
_Item = TypeVar("_Item")


class _Member:
    """A method or property as its declaration describes it; outputs as in member()."""

    def __init__(self, declaration: Callable[..., Any], flags: int, outputs: str) -> None:
        self.name = declaration.__name__
        self._declaration = declaration
        self._flags = flags
        self._outputs = outputs
        self._id: int | None = None
        self._parameters = list(inspect.signature(declaration).parameters)[1:]
        self._folded = {name.lower(): name for name in self._parameters}

    @functools.cached_property
    def _types(self) -> list[Any]:
        """The types of the arguments in order, then the type of the result."""
        hints = typing.get_type_hints(self._declaration)
        return [hints[name] for name in (*self._parameters, "return")]

    @functools.cached_property
    def _result_class(self) -> Any:
        """The class of a returned object; None for values."""
        result = self._types[-1]
        for kind in (result, *typing.get_args(result)):
            if inspect.isclass(kind) and issubclass(kind, AutomationObject):
                return kind
        return None

    def call(self, reference: Any, values: Sequence[Any], named: Mapping[str, Any]) -> Any:
        arguments = [
            converted(f"{self.name}, {name}", kind, value) for name, kind, value
            in zip(self._parameters, self._types, self._in_order(values, named))]
        result, outputs = reference.invoke(
            self.name, self._id_in(reference), self._flags, arguments, self._outputs)
        if len(self._outputs) > 1:
            return self._types[-1](*outputs)
        [result] = outputs or [result]
        return self._result_class(result) if isinstance(result, type(reference)) else result

    def items(self, reference: Any, indices: range) -> Iterator[Any]:
        """The results for each index."""
        if self._outputs:
            return (self.call(reference, [index], {}) for index in indices)
        results: Iterator[Any] = reference.records(self.name, self._id_in(reference), indices)
        return results

    def _id_in(self, reference: Any) -> int:
        if self._id is None:
            self._id = int(reference.find(self.name))
        return self._id

    def _in_order(self, values: Sequence[Any], named: Mapping[str, Any]) -> Sequence[Any]:
        if named:
            unknown = [name for name in named if name.lower() not in self._folded]
            if unknown:
                raise TypeError(f"{self.name} has no argument {unknown[0]}")
            given = {self._folded[name.lower()]: value for name, value in named.items()}
            free = self._parameters[len(values):]
            if len(given) == len(named) and sorted(given) == sorted(free):
                return [*values, *(given[name] for name in free)]
        elif len(values) == len(self._parameters):
            return values
        raise TypeError(f"{self.name} takes ({', '.join(self._parameters)}): "
                        "an argument is missing or given twice")


def member(flags: int, outputs: str = "") -> Callable[[_F], _F]:
    """Turns a declaration into the call of the member with its name.

    The annotations of the declaration determine the checks of the arguments and the class of
    the result. `outputs` has the types of the arguments that the call returns (s: string, g: GUID,
    o: object); several are the fields of the result.
    """
    def declare(declaration: _F) -> _F:
        described = _Member(declaration, flags, outputs)

        @functools.wraps(declaration)
        def call(self: Any, *values: Any, **named: Any) -> Any:
            return described.call(self._reference, values, named)

        call.member = described  # type: ignore[attr-defined]
        return typing.cast(_F, call)

    return declare


method = member(METHOD)
getter = member(PROPERTY_GET)

# ----- Objects -------------------------------------------------------------------------


class AutomationObject:
    """One object of the library.

    Its attributes are the methods and properties of its interface; names are found without case.
    Methods take arguments by position or by their published names. An argument of a wrong type
    raises TypeError before the call; a call that fails raises OibError; a call of a released
    object raises ValueError.

    The end of a `with` block closes the object, if it has a method Close, and releases it;
    without a `with` block Python's last reference releases it. The caller serializes calls of
    one object; different objects that share no file may be used at the same time.
    """

    __slots__ = ("_reference", "__weakref__")

    def __init__(self, reference: Any) -> None:
        self._reference = reference

    if not TYPE_CHECKING:  # a type checker requires the published letter case
        def __getattr__(self, name):
            for published in dir(type(self)):
                if published.lower() == name.lower() != published and name[0] != "_":
                    return getattr(self, published)
            raise AttributeError(f"{type(self).__name__} has no {name}")

    def release(self) -> None:
        """Releases the object, which cannot be called afterwards. A second call has no effect."""
        self._reference.release()

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *failure: object) -> None:
        try:
            if self._reference.is_held() and hasattr(self, "Close"):
                self.Close()
        finally:
            self.release()


class ListObject(AutomationObject, Generic[_Item]):
    """An object with a list of values: len(), iteration, indices from 0 or negative, slices.

    The object is true also when its list is empty. An iteration has the elements that exist when
    it begins.
    """

    __slots__ = ()
    _LENGTH = _ITEM = ""  # the property with the length, the method that returns an element

    def __len__(self) -> int:
        return int(getattr(self, self._LENGTH))

    def __bool__(self) -> bool:
        return True

    def __iter__(self) -> Iterator[_Item]:
        return self._items(range(len(self)))

    @overload
    def __getitem__(self, index: int) -> _Item: ...

    @overload
    def __getitem__(self, index: slice) -> list[_Item]: ...

    def __getitem__(self, index: int | slice) -> _Item | list[_Item]:
        elements = range(len(self))
        if isinstance(index, slice):
            return list(self._items(elements[index]))
        if not -len(elements) <= operator.index(index) < len(elements):
            raise IndexError(f"no element {index} in a list of {len(elements)}")
        return next(self._items(elements[index:][:1]))

    def _items(self, indices: range) -> Iterator[_Item]:
        described: _Member = getattr(type(self), self._ITEM).member
        return typing.cast(Iterator[_Item], described.items(self._reference, indices))
