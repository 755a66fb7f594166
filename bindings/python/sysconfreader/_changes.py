# SPDX-License-Identifier: Apache-2.0
"""Notifications of loads."""

import asyncio
import ctypes
import os
import select
from typing import Self

from ._library import library
from ._status import generation


class Changes:
    """Yields the generation after each load since the object was created.

    `for` blocks until the next load, `async for` waits in the running event loop. Loads in close
    succession are reported once, with the last generation. The iteration ends after close().

    The object holds a descriptor until close(), the end of a `with` block, or its deletion. A
    process may have 64 of them. Use an object on one thread, and in one task, at a time. In a
    forked child it opens a descriptor of the child at its next use.
    """

    def __init__(self) -> None:
        self._descriptor = -1
        self._open()

    def _open(self) -> None:
        self._process = os.getpid()
        self._descriptor = library.sysconfreader_open_changes()
        if self._descriptor < 0:
            number = ctypes.get_errno()
            raise OSError(number, f"no descriptor for changes: {os.strerror(number)}")

    def close(self) -> None:
        """Closes the descriptor. Closing twice is harmless."""
        descriptor, self._descriptor = self._descriptor, -1
        library.sysconfreader_close_changes(descriptor)

    def fileno(self) -> int:
        """Returns the descriptor, which is readable after a load."""
        if self._descriptor < 0:
            raise ValueError("the object is closed")
        # The inherited one is notified of loads of the parent, who reads from the same counter.
        if self._process != os.getpid():
            self.close()
            self._open()
        return self._descriptor

    def _take(self) -> bool:
        """Resets the descriptor; whether there was a load."""
        try:
            os.read(self.fileno(), 8)
        except BlockingIOError:
            return False
        return True

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __del__(self) -> None:
        self.close()

    def __iter__(self) -> Self:
        return self

    def __next__(self) -> int:
        if self._descriptor < 0:
            raise StopIteration
        while not self._take():
            poll = select.poll()
            poll.register(self.fileno(), select.POLLIN)
            poll.poll()
        return generation()

    def __aiter__(self) -> Self:
        return self

    async def __anext__(self) -> int:
        if self._descriptor < 0:
            raise StopAsyncIteration
        while not self._take():
            await _readable(self.fileno())
        return generation()


async def _readable(descriptor: int) -> None:
    loop = asyncio.get_running_loop()
    future: asyncio.Future[None] = loop.create_future()

    def wake() -> None:
        # May run again before the task does.
        if not future.done():
            future.set_result(None)

    loop.add_reader(descriptor, wake)
    try:
        await future
    finally:
        loop.remove_reader(descriptor)


def changes() -> Changes:
    """Returns an iterator over the loads from now on, also for `async for`."""
    return Changes()
