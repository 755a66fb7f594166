#!/usr/bin/python3
"""Runs the examples on copies of the sample deployments.

usage: examples_test.py SOURCE-DIRECTORY BUILD-DIRECTORY

A test waits for a change by reading the next line of the example; ctest has the timeout.
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1])
BUILD = pathlib.Path(sys.argv[2])
# The master's service address: on another host, and on this one.
ELSEWHERE = "198.51.100.61"
HERE = "127.0.0.1"

STANDBY = (
    "tenancy core, answering for node-2 (HOST-B), master at 198.51.100.11, standby at 198.51.100.12"
)
STANDING_IN = (
    "tenancy core, answering for node-1 (HOST-A), master at 198.51.100.11, standby at 198.51.100.12"
)


class Pair:
    """A copy of the sample pair and the environment of its standby."""

    def __init__(self, folder):
        self.root = pathlib.Path(folder) / "ha-pair"
        shutil.copytree(SOURCE / "samples" / "ha-pair", self.root)
        self.node_list = self.root / "node-2/etc/sysconf/nodelist.json"

    def environment(self, **more):
        mine = {
            "APP_CONF_FILE": str(self.root / "node-2/etc/app.json"),
            "PROCESS_INSTANCE_ID": "alarm-1",
            "APP_ROOT": str(self.root / "node-2"),
            "TOLM_ROOT": str(self.root / "manager"),
        }
        inherited = {
            name: value
            for name, value in os.environ.items()
            if name not in ("NO_EM_CLIENT", "NO_EM_CLIENT_CONSUMER", "LD_LIBRARY_PATH")
        }
        return {**inherited, **mine, **more}

    def replace(self, path, old, new):
        """Renames a complete new file over the old one."""
        text = path.read_text()
        assert old in text, (path, old)
        following = path.with_suffix(".next")
        following.write_text(text.replace(old, new))
        following.rename(path)

    def move_service_address(self, old, new):
        self.replace(self.node_list, old, new)


class ExamplesTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.pair = Pair(folder.name)

    def service(self, **environment):
        """Starts where-am-i on the standby with an interval of 10 ms."""
        process = subprocess.Popen(
            [BUILD / "examples/where-am-i/where-am-i", "10"],
            env=self.pair.environment(**environment),
            stdout=subprocess.PIPE,
            text=True,
        )

        def end():
            process.kill()
            process.wait()
            process.stdout.close()

        self.addCleanup(end)
        return process

    def next_line(self, process):
        return process.stdout.readline().rstrip("\n")

    def wait_for(self, process, line):
        """For a moment after a change, the program may print a mixture of old and new values."""
        while (printed := self.next_line(process)) != line:
            self.assertTrue(printed)

    def end(self, process, number):
        process.send_signal(number)
        self.assertEqual(process.stdout.read(), "ended\n")
        self.assertEqual(process.wait(), 0)

    def test_where_am_i_follows_a_failover_with_the_event_library_of_the_project(self):
        self.pair.move_service_address(HERE, ELSEWHERE)
        service = self.service(LD_LIBRARY_PATH=str(BUILD / "platform/eventcbutil"))
        self.assertEqual(self.next_line(service), STANDBY)
        self.pair.move_service_address(ELSEWHERE, HERE)
        self.wait_for(service, STANDING_IN)
        self.pair.move_service_address(HERE, ELSEWHERE)
        self.wait_for(service, STANDBY)
        self.end(service, signal.SIGTERM)

    def test_where_am_i_follows_a_failover_with_the_minimal_event_library(self):
        pipe = self.folder / "events"
        os.mkfifo(pipe)
        self.pair.move_service_address(HERE, ELSEWHERE)
        service = self.service(
            LD_LIBRARY_PATH=str(BUILD / "examples/event-library"), EVENT_PIPE=str(pipe)
        )
        self.assertEqual(self.next_line(service), STANDBY)
        events = os.open(pipe, os.O_WRONLY)
        self.addCleanup(os.close, events)
        self.pair.move_service_address(ELSEWHERE, HERE)
        os.write(events, b"SomethingElse\nSysConfig")
        os.write(events, b"Event\n")
        self.wait_for(service, STANDING_IN)
        self.pair.move_service_address(HERE, ELSEWHERE)
        os.write(events, b"SysConfigEvent\n")
        self.wait_for(service, STANDBY)
        self.end(service, signal.SIGINT)

    def test_where_am_i_without_an_event_library_prints_its_place_once(self):
        service = self.service(LD_LIBRARY_PATH=str(self.folder))
        self.assertEqual(self.next_line(service), STANDING_IN)
        self.end(service, signal.SIGTERM)

    def test_the_minimal_event_library_without_a_pipe_fails_to_subscribe(self):
        threads = []
        for events in {}, {"NO_EM_CLIENT": "1"}:
            service = self.service(LD_LIBRARY_PATH=str(BUILD / "examples/event-library"), **events)
            self.assertEqual(self.next_line(service), STANDING_IN)
            threads.append(len(os.listdir(f"/proc/{service.pid}/task")))
            self.end(service, signal.SIGTERM)
        self.assertEqual(threads[0], threads[1], "the event library started a thread")

    def database_entry(self, name):
        run = subprocess.run(
            [BUILD / "examples/database-entry/database-entry", name],
            env=self.pair.environment(),
            capture_output=True,
            text=True,
            check=False,
        )
        return run.returncode, run.stdout, run.stderr

    ALARMS = (
        "0: postgresql at 198.51.100.30 port 5432, user alarms_rw, service alarms of db-a, "
        "through libpq.so.5, with a password\n"
    )

    def test_database_entry_prints_every_entry(self):
        self.assertEqual(self.database_entry("alarms"), (0, self.ALARMS, ""))

    def test_database_entry_reports_an_unknown_name(self):
        self.assertEqual(self.database_entry("Alarms"), (1, "", "no database Alarms\n"))

    def test_database_entry_reports_a_value_of_the_wrong_type(self):
        self.pair.replace(self.pair.root / "node-2/etc/app.json", "5432", '"5432"')
        status, output, error = self.database_entry("alarms")
        self.assertEqual((status, output), (1, ""))
        self.assertIn("database alarms: Value is not convertible to Int", error)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
