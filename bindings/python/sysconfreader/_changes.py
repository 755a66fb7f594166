# SPDX-License-Identifier: Apache-2.0
"""Notifications of loads."""

import asyncio
import ctypes
import os
import select
from collections.abc import Callable
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
        self._wake: Callable[[], None] | None = None
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
        # The loop must not watch the number of a closed file: another file may get it.
        if self._wake:
            self._wake()
        library.sysconfreader_close_changes(descriptor)

    def _current(self) -> int:
        """Returns the descriptor, -1 after close()."""
        # The inherited one is notified of loads of the parent, who reads from the same counter.
        if self._descriptor >= 0 and self._process != os.getpid():
            self.close()
            self._open()
        return self._descriptor

    def fileno(self) -> int:
        """Returns the descriptor, which is readable after a load."""
        if self._descriptor < 0:
            raise ValueError("the object is closed")
        return self._current()

    def _take(self, descriptor: int) -> bool:
        """Resets the descriptor; whether there was a load."""
        try:
            os.read(descriptor, 8)
        except BlockingIOError:
            return False
        except OSError:
            # A signal handler may call close() at any time.
            if self._descriptor == descriptor:
                raise
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
        while (descriptor := self._current()) >= 0:
            if self._take(descriptor):
                return generation()
            poll = select.poll()
            poll.register(descriptor, select.POLLIN)
            poll.poll()
        raise StopIteration

    def __aiter__(self) -> Self:
        return self

    async def __anext__(self) -> int:
        while (descriptor := self._current()) >= 0:
            if self._take(descriptor):
                return generation()
            await self._readable(descriptor)
        raise StopAsyncIteration

    async def _readable(self, descriptor: int) -> None:
        loop = asyncio.get_running_loop()
        future: asyncio.Future[None] = loop.create_future()

        def wake() -> None:
            loop.remove_reader(descriptor)
            # May run again before the task does.
            if not future.done():
                future.set_result(None)

        loop.add_reader(descriptor, wake)
        self._wake = wake
        try:
            await future
        finally:
            self._wake = None
            # After close(), the number may be another file's.
            if self._descriptor == descriptor:
                loop.remove_reader(descriptor)


def changes() -> Changes:
    """Returns an iterator over the loads from now on, also for `async for`."""
    return Changes()
