# SPDX-License-Identifier: Apache-2.0
"""Exceptions, and which result of the C library raises which."""

from ._library import library
from ._status import Status, status


class Error(Exception):
    """Base class of this module's exceptions, and a result that it does not know."""


class NoAnswer(Error):
    """Nothing is configured, or a file could not be read. The text names the files not loaded."""

    def __init__(self, text: str, status: Status):
        super().__init__(text, status)
        #: The status of loads at that time.
        self.status = status

    def __str__(self) -> str:
        return str(self.args[0])


class WrongType(Error):
    """A database, or its field, has another type than the query needs."""


class UnknownQuery(Error):
    """There is no query of that name."""


class BadArgument(Error):
    """Too many or too few arguments, an index that is no number, or a text with a NUL."""


class OutOfMemory(Error, MemoryError):
    """The library has no memory. Nothing has changed except by a load."""


class Internal(Error):
    """Any other failure, such as an exception of the event library."""


# The values of enum sysconfreader_result. "no answer" is not here.
_NO_ANSWER = 1
_CLASSES: dict[int, type[Error]] = {
    2: WrongType,
    3: UnknownQuery,
    4: BadArgument,
    5: OutOfMemory,
    6: Internal,
}


def check(result: int, subject: str) -> None:
    """Raises the exception of the result, unless that is success."""
    if result == 0:
        return
    if result == _NO_ANSWER:
        present = status()
        reasons = "".join(f"; {reason}" for reason in present.files_not_loaded())
        raise NoAnswer(f"no answer to {subject}{reasons}", present)
    text = library.sysconfreader_error() or library.sysconfreader_result_text(result)
    raise _CLASSES.get(result, Error)(f"{subject}: {text.decode(errors='replace')}")
