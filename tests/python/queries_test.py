#!/usr/bin/python3

import inspect
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
import zipfile

import support
import sysconfreader

ARGUMENTS = {
    "usage": ["internal_service"],
    "prefix": ["northbound", "core", "e", ""],
    "tag": ["service"],
    "field": ["assignedToTenancy", "absent"],
    "index": ["0", "1", "9"],
}
VIEWS = sorted(support.SAMPLES.glob("*/*.env"))


def functions():
    """The functions of the package that are queries, by the query's name."""
    found = {}
    for name in dir(sysconfreader):
        value = getattr(sysconfreader, name)
        if inspect.isfunction(value) and (value.__doc__ or "").startswith("Query "):
            found[value.__doc__.split()[1].rstrip(":")] = value
    return found


def calls(function, databases):
    """Lists of arguments for the function."""
    lists = [[]]
    for name in inspect.signature(function).parameters:
        values = databases + ["absent"] if name == "name" else ARGUMENTS[name]
        lists = [texts + [value] for texts in lists for value in values]
    return lists


def tool(view, *arguments):
    """The answer that the tool gives, None if there is none."""
    done = subprocess.run(
        [os.environ["SYSCONFCTL"], "get", "-o", "json", "--reveal-secrets", "--env-file", view]
        + list(arguments),
        stdout=subprocess.PIPE,
    )
    answer = json.loads(done.stdout)
    return answer["value"] if answer["answered"] else None


def answer(function, arguments):
    try:
        return function(*arguments)
    except sysconfreader.NoAnswer:
        return None


class QueriesTest(support.MasterTest):
    def check_view(self, view):
        """Every query answers as the tool does; returns how many have an answer."""
        os.environ.update(support.environment_of(view))
        sysconfreader.destroy()
        databases = list(answer(sysconfreader.all_db_info, []) or {})
        answered = 0
        for query, function in functions().items():
            for arguments in calls(function, databases):
                got = answer(function, arguments)
                with self.subTest(view=view, query=query, arguments=arguments):
                    self.assertEqual(got, tool(view, query, *arguments))
                    self.assertEqual(got, answer(sysconfreader.get, [query, *arguments]))
                answered += got is not None
        return answered

    def test_Queries_AnswerAsTheToolOnEachSample(self):
        self.assertEqual(len(VIEWS), 5)
        for view in VIEWS:
            self.assertGreater(self.check_view(view), 10, view)

    def test_Answers_HaveTheTypesOfTheQueries(self):
        self.assertEqual(sysconfreader.local_service_ip(), "127.0.0.1")
        self.assertEqual(sysconfreader.corba_port(), 31500)
        self.assertEqual(
            sysconfreader.ip_addresses("assignedToTenancy", "man"),
            ["192.0.2.100", "198.51.100.100"],
        )
        self.assertEqual(
            sysconfreader.local_node_ips_by_tag("service", "absent"),
            {
                "absent": "",
                "service": "127.0.0.1",
                "southbound": "203.0.113.20",
                "southbound3": "203.0.113.23",
            },
        )
        self.assertEqual(sysconfreader.db_info("alarms")[0]["accessPort"], 5432)

    def test_Texts_AreUnicode(self):
        def rename(config):
            config["databases"] = {"Zürich": [{"type": "\u2603 \0\U0001f600"}]}

        self.configure(rename)
        self.assertEqual(list(sysconfreader.all_db_info()), ["Zürich"])
        self.assertEqual(
            sysconfreader.db_info("Zürich"), [{"type": "\u2603 \0\U0001f600"}]
        )

    def test_BytesThatAreNotUtf8_AreReplacedAndNothingElseIs(self):
        text = self.app_config.read_bytes().replace(b"5432", b'"caf\xe9 12"')
        self.app_config.write_bytes(text)
        port = sysconfreader.db_info("alarms")[0]["accessPort"]
        self.assertEqual(port, "caf\ufffd 12")

    def test_Answers_AreFreed(self):
        self.configure(lambda config: config["databases"].update(large="x" * (4 << 20)))
        self.assertEqual(len(sysconfreader.db_info("large")), 4 << 20)
        support.limit_memory(64 << 20)
        for _ in range(50):
            sysconfreader.db_info("large")

    def test_Functions_AreThoseOfTheToolsTable(self):
        listed = subprocess.run(
            [os.environ["SYSCONFCTL"], "show", "-o", "json", "--env-file", VIEWS[0]],
            stdout=subprocess.PIPE,
            check=True,
        )
        shown = {row["query"] for row in json.loads(listed.stdout)["answers"]}
        self.assertGreater(len(shown), 30)
        self.assertEqual(shown - set(functions()), set())
        self.assertIs(sysconfreader.local_service_ip, functions()["local-service-ip"])
        self.assertEqual(sysconfreader.local_service_ip.__name__, "local_service_ip")

    def test_Functions_DescribeTheirArguments(self):
        def signature(function):
            return str(inspect.signature(function))

        self.assertEqual(signature(sysconfreader.local_port), "()")
        self.assertEqual(signature(sysconfreader.db_type), "(name, index, /)")
        self.assertEqual(signature(sysconfreader.all_float_ip), "(*tag)")

    def check_prints(self, program, *lines):
        process = support.run(program, stdout=subprocess.PIPE)
        self.assertEqual(process.communicate()[0].splitlines(), list(lines))
        self.assertEqual(process.returncode, 0)

    def test_ReadmeProgram_PrintsTheAnswers(self):
        (program,) = support.programs("README.md")
        self.check_prints(
            program,
            "tenancy core",
            "service address 127.0.0.1",
            "southbound 203.0.113.20;;203.0.113.23;;;;;;;",
        )

    def test_FirstProgramOfThePage_PrintsTheAnswers(self):
        program = support.programs("docs/python.md")[0]
        self.check_prints(
            program,
            "127.0.0.1",
            "postgresql",
            "{'manager-1': ['198.51.100.100'], 'node-1': ['127.0.0.1'], "
            "'node-2': ['198.51.100.62']}",
        )
        self.node_list.unlink()
        self.check_prints(
            program.replace("local_service_ip", "local_maintenance_ip"),
            "no answer to local-maintenance-ip; node list: no such file",
        )

    def test_Attribute_ThatIsNoQuery_IsAnAttributeError(self):
        with self.assertRaisesRegex(AttributeError, "'sysconfreader'.*'local_ip'"):
            sysconfreader.local_ip

    def test_Index_MayBeANumber(self):
        self.assertEqual(sysconfreader.db_type("alarms", 0), "postgresql")

    def test_Reload_ReadsTheFilesAgain(self):
        self.assertEqual(sysconfreader.corba_port(), 31500)
        self.set_corba_port(4711)
        self.assertEqual(sysconfreader.corba_port(), 31500)
        sysconfreader.reload()
        self.assertEqual(sysconfreader.corba_port(), 4711)


class WheelTest(unittest.TestCase):
    def test_Wheel_IsBuiltOfflineInTheVersionOfTheLibrary(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(
                support.SOURCE / "bindings/python",
                f"{folder}/source",
                ignore=shutil.ignore_patterns("build", "*.egg-info"),
            )
            subprocess.run(
                ["/usr/bin/python3", "-m", "pip", "wheel", "--no-build-isolation", "--no-index"]
                + ["--no-deps", "--quiet", "--wheel-dir", folder, f"{folder}/source"],
                check=True,
            )
            (wheel,) = pathlib.Path(folder).glob("*.whl")
            version = os.environ["SYSCONF_VERSION"]
            self.assertEqual(wheel.name, f"sysconfreader-{version}-py3-none-any.whl")
            self.assertEqual(
                {name for name in zipfile.ZipFile(wheel).namelist() if "dist-info" not in name},
                {
                    f"sysconfreader/{file.name}"
                    for file in (support.SOURCE / "bindings/python/sysconfreader").iterdir()
                    if file.is_file()
                },
            )


if __name__ == "__main__":
    support.main()
