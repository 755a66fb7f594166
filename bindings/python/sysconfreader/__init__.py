# SPDX-License-Identifier: Apache-2.0
"""The configuration reader for the processes of a clustered deployment.

Each query of the library is a function of this module: "local-service-ip" is local_service_ip().
dir() lists them, help() describes them. get() calls a query by its name. An answer is a str, an
int, a list, or a dict, as the query defines it.

The first query loads the files that the environment names. Environment, threads, change events
and the end of the process are those of the C++ library. In a forked child every function may be
called, and a Changes object of the parent follows the loads of the child.
"""

from collections.abc import Callable
from typing import Any

from ._changes import Changes, changes
from ._errors import (
    BadArgument,
    Error,
    Internal,
    NoAnswer,
    OutOfMemory,
    UnknownQuery,
    WrongType,
)
from ._queries import FUNCTIONS as _functions
from ._queries import destroy, get, reload
from ._status import File, Load, Outcome, Status, Subscription, generation, status

__all__ = [
    "BadArgument",
    "Changes",
    "Error",
    "File",
    "Internal",
    "Load",
    "NoAnswer",
    "OutOfMemory",
    "Outcome",
    "Status",
    "Subscription",
    "UnknownQuery",
    "WrongType",
    "changes",
    "destroy",
    "generation",
    "get",
    "reload",
    "status",
]


def __getattr__(name: str) -> Callable[..., Any]:
    try:
        return _functions[name]
    except KeyError:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}") from None


def __dir__() -> list[str]:
    return sorted({*globals(), *_functions})
