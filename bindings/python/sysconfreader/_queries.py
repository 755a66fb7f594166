# SPDX-License-Identifier: Apache-2.0
"""Queries by their names, and a function for each query in the table of the C library."""

import ctypes
import inspect
import itertools
import json
from collections.abc import Callable, Iterator
from typing import Any

from ._errors import BadArgument, check
from ._library import UNLIMITED, library

_JSON = 1


def _encoded(text: str | int) -> bytes:
    if not isinstance(text, (str, int)):
        raise TypeError(f"an argument is a str or an int, not {type(text).__name__}")
    try:
        encoded = str(text).encode(errors="surrogateescape")
    except UnicodeEncodeError as error:
        raise BadArgument("an argument contains a lone surrogate") from error
    if b"\0" in encoded:
        raise BadArgument("an argument contains a NUL")
    return encoded


def get(query: str, *arguments: str | int) -> Any:
    """Calls the query, with the arguments of `sysconfctl get`, and returns its answer.

    Raises NoAnswer if nothing is configured, or another Error. Passwords are not masked. Bytes of a
    text that are not UTF-8 are replaced.
    """
    texts = (ctypes.c_char_p * len(arguments))(*map(_encoded, arguments))
    answer = ctypes.c_void_p()
    result = library.sysconfreader_get(
        _encoded(query), texts, len(texts), _JSON, ctypes.byref(answer)
    )
    check(result, query)
    try:
        return json.loads(ctypes.string_at(answer).decode(errors="replace"))
    finally:
        library.sysconfreader_free(answer)


def reload() -> None:
    """Loads both readers again, as a change event does."""
    check(library.sysconfreader_reload(), "reload")


def destroy() -> None:
    """Frees the readers and ends the subscription to change events. The next query loads again.

    No other thread may be in a query.
    """
    check(library.sysconfreader_destroy(), "destroy")


def _signature(index: int) -> inspect.Signature:
    most = ctypes.c_size_t()
    library.sysconfreader_query_arguments(index, ctypes.byref(most))
    parameters: list[inspect.Parameter] = []
    while name := library.sysconfreader_query_argument(index, len(parameters)):
        kind = inspect.Parameter.POSITIONAL_ONLY
        parameters.append(inspect.Parameter(name.decode().lower(), kind))
    if most.value == UNLIMITED:
        parameters[-1] = parameters[-1].replace(kind=inspect.Parameter.VAR_POSITIONAL)
    return inspect.Signature(parameters)


def _function(index: int, query: str) -> Callable[..., Any]:
    def function(*arguments: str | int) -> Any:
        return get(query, *arguments)

    function.__name__ = function.__qualname__ = query.replace("-", "_")
    function.__module__ = __package__
    function.__doc__ = f"Query {query}: {library.sysconfreader_query_help(index).decode()}."
    function.__signature__ = _signature(index)  # type: ignore[attr-defined]
    return function


def _functions() -> Iterator[Callable[..., Any]]:
    for index in itertools.count():
        name = library.sysconfreader_query_name(index)
        if name is None:
            return
        yield _function(index, name.decode())


FUNCTIONS = {function.__name__: function for function in _functions()}
