#!/usr/bin/python3

import json
import os
import pathlib
import pickle
import subprocess
import sys
import tempfile
import unittest

import support
import sysconfreader

# Too large for any free part of the heap.
LARGE = 64 << 20


class ErrorsTest(support.MasterTest):
    def check_raises(self, kind, text, call, *arguments):
        with self.assertRaises(sysconfreader.Error) as raised:
            call(*arguments)
        self.assertIs(type(raised.exception), kind)
        self.assertEqual(str(raised.exception), text)
        return raised.exception

    def test_NothingConfigured_IsNoAnswer(self):
        error = self.check_raises(
            sysconfreader.NoAnswer,
            "no answer to local-service2-ip",
            sysconfreader.local_service2_ip,
        )
        self.assertEqual(error.status, sysconfreader.status())
        self.assertEqual(str(pickle.loads(pickle.dumps(error))), str(error))

    def test_MissingFiles_AreTheReasonOfNoAnswer(self):
        self.app_config.unlink()
        self.node_list.write_text("{\n,")
        self.check_raises(
            sysconfreader.NoAnswer,
            "no answer to localhost-ip-address; app config file: no such file; "
            "node list: malformed at 2:1",
            sysconfreader.localhost_ip_address,
        )

    def test_DatabaseOfTheWrongType_IsWrongType(self):
        self.configure(lambda config: config["databases"].update(db={"type": "x"}))
        with self.assertRaisesRegex(sysconfreader.WrongType, "^db-type: .+"):
            sysconfreader.db_type("db", 0)

    def test_UnknownQuery_IsUnknownQuery(self):
        with self.assertRaisesRegex(sysconfreader.UnknownQuery, "^no-such-query: .*unknown"):
            sysconfreader.get("no-such-query")

    def test_BadArguments_AreBadArgument(self):
        self.check_raises(
            sysconfreader.BadArgument,
            "db-type: the index must be a number from 0 on",
            sysconfreader.db_type,
            "alarms",
            "first",
        )
        for call, arguments in (
            (sysconfreader.local_port, ["one"]),
            (sysconfreader.db_type, ["alarms"]),
            (sysconfreader.db_type, ["alarms", -1]),
            (sysconfreader.all_float_ip, []),
            (sysconfreader.db_info, ["alarms\0"]),
            (sysconfreader.db_info, ["alarms\ud800"]),
        ):
            with self.subTest(arguments=arguments):
                with self.assertRaises(sysconfreader.BadArgument):
                    call(*arguments)

    def test_ArgumentOfAnotherType_IsATypeError(self):
        for argument in (None, b"alarms", 1.0):
            with self.assertRaisesRegex(TypeError, type(argument).__name__):
                sysconfreader.db_info(argument)

    def test_ShortageOfMemory_IsOutOfMemory(self):
        self.configure(lambda config: config["databases"].update(large="x" * LARGE))
        self.assertEqual(sysconfreader.corba_port(), 31500)
        support.limit_memory(LARGE // 2)
        error = self.check_raises(
            sysconfreader.OutOfMemory,
            "db-info: out of memory",
            sysconfreader.db_info,
            "large",
        )
        self.assertIsInstance(error, MemoryError)
        self.assertEqual(sysconfreader.corba_port(), 31500)

    def test_EventLibraryThatThrows_IsInternal(self):
        support.load_event_library("SYSCONF_THROWING_EVENT_LIBRARY")
        self.check_raises(
            sysconfreader.Internal, "local-port: no event service", sysconfreader.local_port
        )

    def test_Classes_AreThoseOfTheResults(self):
        header = (support.SOURCE / "include/sysconfreader_c.h").read_text()
        results = support.enumeration(header, "sysconfreader_result")
        self.assertEqual(results.pop("OK"), 0)
        for name, value in results.items():
            kind = getattr(sysconfreader, name.title().replace("_", ""))
            with self.assertRaises(kind):
                sysconfreader._errors.check(value, "query")
        with self.assertRaisesRegex(sysconfreader.Error, "^query: unknown$") as raised:
            sysconfreader._errors.check(max(results.values()) + 1, "query")
        self.assertIs(type(raised.exception), sysconfreader.Error)


class ImportTest(unittest.TestCase):
    def test_LibraryThatCannotBeLoaded_IsAnImportErrorWithItsPackage(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "libsysconfreader-c.so.1").touch()
            program = (
                "import json\n"
                "try:\n    import sysconfreader\n"
                "except ImportError as error:\n    print(json.dumps(str(error)))\n"
            )
            done = subprocess.run(
                [sys.executable, "-c", program],
                env={**os.environ, "LD_LIBRARY_PATH": folder},
                stdout=subprocess.PIPE,
                check=True,
            )
        text = json.loads(done.stdout)
        self.assertRegex(text, "^libsysconfreader-c.so.1 cannot be loaded: .*too short")
        self.assertIn("package libsysconfreader-c1", text)


if __name__ == "__main__":
    support.main()
