# SPDX-License-Identifier: Apache-2.0
"""The status of loads."""

import ctypes
import enum
import os
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Self

from ._library import FileStruct, LoadStruct, StatusStruct, library


class _Growing(enum.IntEnum):
    """Accepts the values of later versions of the library."""

    @classmethod
    def _missing_(cls, value: object) -> Self | None:
        if not isinstance(value, int):
            return None
        member = int.__new__(cls, value)
        member._name_ = f"VALUE_{value}"
        member._value_ = value
        return member


class Outcome(_Growing):
    """The outcome of a file in a load: enum sysconfreader_outcome."""

    NOT_READ = 0
    LOADED = 1
    MISSING = 2
    NOT_PERMITTED = 3
    NOT_REGULAR = 4
    TOO_LARGE = 5
    UNREADABLE = 6
    MALFORMED = 7
    VALUE_OF_WRONG_TYPE = 8
    SHORTAGE = 9

    @property
    def text(self) -> str:
        """A few English words."""
        text: bytes = library.sysconfreader_outcome_text(self)
        return text.decode()


class Subscription(_Growing):
    """The subscription to change events: enum sysconfreader_subscription."""

    NOT_SUBSCRIBED = 0
    SUBSCRIBED = 1
    SWITCHED_OFF = 2
    NO_EVENT_LIBRARY = 3
    NO_ENTRY_POINT = 4
    REFUSED = 5

    @property
    def text(self) -> str:
        """A few English words."""
        text: bytes = library.sysconfreader_subscription_text(self)
        return text.decode()


@dataclass(frozen=True, slots=True)
class File:
    """A file in a load."""

    outcome: Outcome
    #: The errno of a failed system call, else 0.
    error: int
    #: Where a malformed file fails, from 1; 0 if that is unknown.
    line: int
    column: int
    #: The JSON pointer of the value of the wrong type.
    pointer: str

    def reason(self) -> str:
        """Why the file is not loaded, as far as it is known."""
        text = self.outcome.text
        if self.line:
            text += f" at {self.line}:{self.column}"
        if self.pointer:
            text += f" at {self.pointer}"
        if self.error and self.outcome not in (Outcome.MISSING, Outcome.NOT_PERMITTED):
            text += f" ({os.strerror(self.error)})"
        return text


@dataclass(frozen=True, slots=True)
class Load:
    """The last load of a reader."""

    #: Its number in the sequence of both readers, 0 before the first one.
    number: int
    #: Nanoseconds since 1970.
    started_at: int
    #: Nanoseconds.
    duration: int
    shortage: bool
    app_config: File
    node_list: File
    manager_node_list: File

    def files(self) -> dict[str, File]:
        """The files by their names."""
        return {
            "app config file": self.app_config,
            "node list": self.node_list,
            "manager node list": self.manager_node_list,
        }


@dataclass(frozen=True, slots=True)
class Status:
    """The loads of both readers and the subscription to change events."""

    last_load: int
    events_applied: int
    events_failed: int
    events_dropped: int
    subscription: Subscription
    event_library: str
    reader: Load
    roles: Load

    def files_not_loaded(self) -> list[str]:
        """Which files were not loaded, and why; [] if all were."""
        return list(dict.fromkeys(self._failures()))

    def _failures(self) -> Iterator[str]:
        for load in (self.reader, self.roles):
            for name, file in load.files().items():
                if file.outcome not in (Outcome.NOT_READ, Outcome.LOADED):
                    yield f"{name}: {file.reason()}"


def _file(file: FileStruct) -> File:
    return File(
        Outcome(file.outcome), file.error, file.line, file.column, os.fsdecode(file.pointer)
    )


def _load(load: LoadStruct) -> Load:
    return Load(
        load.number,
        load.started_at,
        load.duration,
        bool(load.shortage),
        _file(load.app_config),
        _file(load.node_list),
        _file(load.manager_node_list),
    )


def status() -> Status:
    """Returns the present status. Loads nothing and waits for no load."""
    present = StatusStruct()
    library.sysconfreader_get_status(ctypes.byref(present), ctypes.sizeof(present))
    return Status(
        present.last_load,
        present.events_applied,
        present.events_failed,
        present.events_dropped,
        Subscription(present.subscription),
        os.fsdecode(present.event_library),
        _load(present.reader),
        _load(present.roles),
    )


def generation() -> int:
    """Returns the number of the last load of either reader, 0 before the first one."""
    number: int = library.sysconfreader_generation()
    return number
