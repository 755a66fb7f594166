"""Shared by the tests of the Python package. ctest runs each test in its own process."""

import ctypes
import json
import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["SYSCONF_SOURCE_DIRECTORY"])
SAMPLES = SOURCE / "samples"


def environment_of(view):
    """The variables of an env file, with absolute paths."""
    variables = {}
    for line in view.read_text().splitlines():
        if line and not line.startswith("#"):
            name, value = line.split("=", 1)
            absolute = name != "PROCESS_INSTANCE_ID"
            variables[name] = str(view.parent / value) if absolute else value
    return variables


def enumeration(header, name):
    """The values of an enum of the C header, without the prefix of their names."""
    body = re.search(rf"enum {name} {{(.*?)}};", header, re.DOTALL).group(1)
    return {key: int(value) for key, value in re.findall(r"SYSCONFREADER_(\w+) = (\d+)", body)}


def load_event_library(name):
    """Loads the library that the variable names, so that the reader finds it by its SONAME."""
    os.environ.pop("NO_EM_CLIENT")
    return ctypes.CDLL(os.environ[name])


def limit_memory(more):
    """Limits the memory of this process to so many bytes more than it has now."""
    pages = int(pathlib.Path("/proc/self/statm").read_text().split()[0])
    limit = pages * resource.getpagesize() + more
    resource.setrlimit(resource.RLIMIT_AS, (limit, resource.RLIM_INFINITY))


def programs(page):
    """The Python programs on a page of the documentation."""
    return re.findall(r"^```python\n(.*?)^```$", (SOURCE / page).read_text(), re.M | re.S)


def run(program, **options):
    return subprocess.Popen([sys.executable, "-u", "-c", program], text=True, **options)


class MasterTest(unittest.TestCase):
    """Runs as the master of a copy of the sample pair, without change events."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name) / "ha-pair"
        shutil.copytree(SAMPLES / "ha-pair", self.root)
        self.app_config = self.root / "node-1/etc/app.json"
        self.node_list = self.root / "node-1/etc/sysconf/nodelist.json"
        os.environ.update(environment_of(self.root / "master.env"), NO_EM_CLIENT="1")

    def configure(self, change):
        """Renames an app config file that change() has edited over the old one."""
        config = json.loads(self.app_config.read_text())
        change(config)
        following = self.app_config.with_suffix(".next")
        following.write_text(json.dumps(config))
        following.rename(self.app_config)

    def set_corba_port(self, port):
        self.configure(lambda config: config["processes"]["alarm-1"]["CORBA"].update(port=port))


def main():
    """Runs the test that the command line names."""
    if len(sys.argv) != 2:
        sys.exit("usage: FILE CLASS.test_NAME")
    unittest.main(verbosity=2)
