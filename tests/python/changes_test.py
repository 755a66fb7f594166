#!/usr/bin/python3
"""Notifications of loads. ctest ends a test that waits too long."""

import asyncio
import gc
import os
import select
import signal
import subprocess
import threading
import unittest.mock

import support
import sysconfreader

EVENT_LIBRARY = "SYSCONF_EVENT_LIBRARY"


def is_readable(changes):
    poll = select.poll()
    poll.register(changes, select.POLLIN)
    return poll.poll(0) != []


def descriptors():
    return sorted(os.listdir("/proc/self/fd"))


class ChangesTest(support.MasterTest):
    def test_Changes_YieldTheGenerationAfterAReload(self):
        with sysconfreader.changes() as changes:
            self.assertFalse(is_readable(changes))
            sysconfreader.local_port()
            self.assertEqual(next(changes), 2)
            self.assertFalse(is_readable(changes))
            for expected in (4, 6):
                thread = threading.Thread(target=sysconfreader.reload)
                thread.start()
                self.assertEqual(next(changes), expected)
                thread.join()

    def test_Changes_FollowTheFilesOnDisk(self):
        support.load_event_library(EVENT_LIBRARY)
        self.assertEqual(sysconfreader.corba_port(), 31500)
        with sysconfreader.changes() as changes:
            self.set_corba_port(4711)
            for generation in changes:
                if sysconfreader.corba_port() == 4711:
                    break
        self.assertGreaterEqual(generation, 4)
        self.assertGreaterEqual(sysconfreader.status().events_applied, 1)

    def test_AsyncChanges_FollowTheFilesOnDisk(self):
        support.load_event_library(EVENT_LIBRARY)
        self.assertEqual(sysconfreader.corba_port(), 31500)

        async def follow():
            ports = iter((4711, 4712))
            with sysconfreader.changes() as changes:
                self.set_corba_port(expected := next(ports))
                async for generation in changes:
                    self.assertEqual(generation, sysconfreader.generation())
                    if sysconfreader.corba_port() == expected:
                        if (expected := next(ports, None)) is None:
                            return
                        self.set_corba_port(expected)

        asyncio.run(follow())
        self.assertEqual(sysconfreader.corba_port(), 4712)

    def check_follows(self, program):
        """The program prints the new port after the file has changed."""
        self.set_corba_port(31500)
        environment = dict(os.environ)
        del environment["NO_EM_CLIENT"]
        environment["LD_LIBRARY_PATH"] += f":{os.path.dirname(os.environ[EVENT_LIBRARY])}"
        process = support.run(program, env=environment, stdout=subprocess.PIPE)
        with process:
            self.assertEqual(process.stdout.readline(), "port 31500\n")
            self.set_corba_port(4711)
            for line in process.stdout:
                if line == "port 4711\n":
                    process.kill()
                    return
            self.fail("the program has ended")

    def test_ProgramsOfThePage_FollowTheFilesOnDisk(self):
        _, loop, asynchronous = support.programs("docs/python.md")
        self.check_follows(loop)
        self.check_follows(asynchronous)

    def test_AsyncChanges_LetOtherTasksRun(self):
        async def follow():
            with sysconfreader.changes() as changes:
                waiting = asyncio.create_task(anext(changes))
                await asyncio.sleep(0)
                self.assertFalse(waiting.done())
                sysconfreader.local_port()
                return await waiting

        self.assertEqual(asyncio.run(follow()), 2)

    def test_AsyncChanges_Cancelled_LeaveNoReader(self):
        async def cancel():
            loop = asyncio.get_running_loop()
            with sysconfreader.changes() as changes:
                waiting = asyncio.create_task(anext(changes))
                await asyncio.sleep(0)
                waiting.cancel()
                await asyncio.wait([waiting])
                self.assertTrue(waiting.cancelled())
                self.assertFalse(loop.remove_reader(changes.fileno()))
                sysconfreader.local_port()
                self.assertEqual(await anext(changes), 2)

        asyncio.run(cancel())

    def test_Changes_AfterClose_End(self):
        with sysconfreader.changes() as changes:
            changes.close()
            self.assertEqual(list(changes), [])
            self.assertRaises(ValueError, changes.fileno)

            async def collect():
                return [generation async for generation in changes]

            self.assertEqual(asyncio.run(collect()), [])

    def test_Changes_ClosedByASignalHandler_End(self):
        with sysconfreader.changes() as changes:
            signal.signal(signal.SIGALRM, lambda *_: changes.close())
            # Again, in case that the first one precedes the wait.
            signal.setitimer(signal.ITIMER_REAL, 0.01, 0.01)
            self.addCleanup(signal.setitimer, signal.ITIMER_REAL, 0)
            self.assertEqual(list(changes), [])

    def test_Changes_ClosedByASignalHandlerBeforeARead_End(self):
        read = os.read
        with sysconfreader.changes() as changes:

            def close_and_read(descriptor, size):
                changes.close()
                return read(descriptor, size)

            with unittest.mock.patch("os.read", close_and_read):
                self.assertEqual(list(changes), [])

    def test_AsyncChanges_ClosedWhileATaskWaits_EndAndLeaveNoReader(self):
        async def close():
            loop = asyncio.get_running_loop()
            changes = sysconfreader.changes()
            number = changes.fileno()
            waiting = asyncio.create_task(anext(changes, "end"))
            await asyncio.sleep(0)
            changes.close()
            self.assertFalse(loop.remove_reader(number))
            # Gets the number of the closed file.
            with sysconfreader.changes() as other:
                self.assertEqual(other.fileno(), number)
                loop.call_soon(sysconfreader.local_port)
                # Waits before the task of the closed one ends.
                self.assertEqual(await anext(other), 2)
            self.assertEqual(await waiting, "end")

        asyncio.run(close())

    def test_Descriptors_AreClosed(self):
        sysconfreader.reload()
        before = descriptors()
        for _ in range(5000):
            with sysconfreader.changes() as changes:
                sysconfreader.reload()
                next(changes)
            sysconfreader.changes().close()
            sysconfreader.changes()  # deleted at once
        gc.collect()
        self.assertEqual(descriptors(), before)

    def test_AsyncSubscriptions_LeaveNoDescriptor(self):
        async def follow():
            async for _ in sysconfreader.changes():
                break

        async def rounds():
            before = descriptors()
            for _ in range(2000):
                task = asyncio.create_task(follow())
                await asyncio.sleep(0)
                sysconfreader.reload()
                await task
            self.assertEqual(descriptors(), before)

        asyncio.run(rounds())

    def test_TooManyDescriptors_AreAnOSError(self):
        held = []
        with self.assertRaises(OSError) as raised:
            while len(held) < 1000:
                held.append(sysconfreader.changes())
        self.assertEqual(len(held), 64)
        self.assertIn("no descriptor for changes", str(raised.exception))

    def test_Changes_InAForkedChild_FollowTheChild(self):
        sysconfreader.local_port()
        with sysconfreader.changes() as changes:
            child = os.fork()
            if child == 0:
                signal.alarm(60)
                changes.fileno()
                sysconfreader.reload()
                os._exit(0 if next(changes) == sysconfreader.generation() == 4 else 1)
            self.assertEqual(os.waitpid(child, 0), (child, 0))
            self.assertFalse(is_readable(changes))
            sysconfreader.reload()
            self.assertEqual(next(changes), 4)


if __name__ == "__main__":
    support.main()
