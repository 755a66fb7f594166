#!/usr/bin/python3
"""Completion of sysconfctl in real shells.

usage: completion_test.py SOURCE-DIRECTORY SYSCONFCTL bash|zsh|fish

The lists of candidates come from the shell's completion function. The inserted text is tested in a
shell on a terminal, with Tab, and a sysconfctl that records its arguments.
"""

import json
import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1])
SYSCONFCTL = sys.argv[2]
SHELL = sys.argv[3]
SCRIPTS = SOURCE / "tools/completion"
TIMEOUT = 120  # seconds; longer than every step takes

# The first two letters identify each name.
HOSTILE = [
    "aa $(touch OWNED)",
    "ab`touch OWNED`",
    "ac;touch OWNED",
    "ad'it's quoted'",
    'ae"quoted"',
    "af\\back\\\\slash",
    "ag|touch OWNED&",
    "ah$HOME",
    "ai*?[a-z]",
    "aj!bang !!",
    "ak{x,y}",
    "al#hash #",
    "am:colon=equals@at",
    "anümlaut 漢字",
    "ao<in>OWNED",
    "ap~ ~root ^x^y^",
    "aq(sub)",
    "ar $'ansi\\n'",
    "as%1 -- -o",
    "at  two  blanks ",
]
UNSEEN = ["ba\nnewline", "bb\033[31m", "bc\ttab", "bd\u202eturned", "be\u200bzero", "-option"]


def deployment(folder):
    """Files with hostile names, and the environment of their process."""
    names = HOSTILE + UNSEEN
    nodes = {
        name: {
            "assignedToTenancy": name,
            "extAttr": {"hostType": "master"},
            "IPAddresses": [{"IP": "192.0.2.1", "usage": [name]}],
        }
        for name in names
    }
    config = {
        "databases": {name: [{"type": "x"}] for name in names},
        "processes": {name: {"nodeId": names[0]} for name in names},
    }
    lists = {"app": "nodelist.json", "tolm": "nodelists.json"}
    for root, name in lists.items():
        target = folder / root / "etc/sysconf" / name
        target.parent.mkdir(parents=True)
        target.write_text(json.dumps({"nodeList": nodes}))
    (folder / "app.json").write_text(json.dumps(config))
    return {
        "APP_CONF_FILE": str(folder / "app.json"),
        "PROCESS_INSTANCE_ID": names[0],
        "APP_ROOT": str(folder / "app"),
        "TOLM_ROOT": str(folder / "tolm"),
    }


def sample(name):
    return {"SAMPLE": str(SOURCE / "samples" / name)}


def environment(extra):
    kept = {"PATH", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}
    clean = {name: value for name, value in os.environ.items() if name in kept}
    clean.update({"LC_ALL": "C.UTF-8", "TERM": "xterm"})
    clean.update(extra)
    return clean


class Case(unittest.TestCase):
    def setUp(self):
        if shutil.which(SHELL) is None:
            self.fail(f"{SHELL} is not installed; scripts/test installs it")
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        (self.folder / "bin").mkdir()
        (self.folder / "home").mkdir()
        (self.folder / "work").mkdir()

    def environment(self, extra):
        result = environment(extra)
        result["HOME"] = str(self.folder / "home")
        result["PATH"] = f"{self.folder / 'bin'}:{result['PATH']}"
        return result

    def link(self):
        (self.folder / "bin/sysconfctl").symlink_to(SYSCONFCTL)

    def run_shell(self, script, extra, arguments=()):
        command = {"bash": ["bash", "--norc", "-c"], "zsh": ["zsh", "-f", "-c"],
                   "fish": ["fish", "--no-config", "-c"]}[SHELL]
        tail = [SHELL, *arguments] if SHELL != "fish" else list(arguments)
        done = subprocess.run([*command, script, *tail], env=self.environment(extra),
                              cwd=self.folder / "work", stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=TIMEOUT, check=False)
        self.assertEqual(done.stderr.decode(), "")
        return done.stdout.decode()

    # The candidates of the completion function for the last word of `sysconfctl WORD...`.

    def offered(self, words, extra):
        raw = {"bash": self.offered_by_bash, "zsh": self.offered_by_zsh,
               "fish": self.offered_by_fish}[SHELL](words, extra)
        begun = words[-1]
        return [text for text in raw if text.startswith(begun)]

    def offered_by_bash(self, words, extra):
        line = " ".join(["sysconfctl", *words])
        script = f"""source {SCRIPTS}/sysconfctl.bash
            COMP_LINE=$1 COMP_POINT=${{#1}}; shift
            COMP_WORDS=(sysconfctl "$@"); COMP_CWORD=$#
            _sysconfctl sysconfctl "${{COMP_WORDS[COMP_CWORD]}}" x
            ((${{#COMPREPLY[@]}})) && printf '%s\\0' "${{COMPREPLY[@]}}"; true"""
        output = self.run_shell(script, extra, [line, *words])
        lead = re.match(r".*[=:]|", words[-1]).group()
        return [lead + text for text in output.split("\0")[:-1]]

    def offered_by_zsh(self, words, extra):
        script = f"""words=(sysconfctl "$@"); CURRENT=$#words; PREFIX=$words[-1]
            _files() {{ print -rN -- FILES }}
            compset() {{ true }}
            compadd() {{ local list=${{@[-1]}}; print -rN -- "${{(@P)list}}" }}
            source {SCRIPTS}/_sysconfctl; true"""
        return self.run_shell(script, extra, words).split("\0")[:-1]

    def offered_by_fish(self, words, extra):
        script = f"source {SCRIPTS}/sysconfctl.fish; complete -C $argv[1]"
        output = self.run_shell(script, extra, [" ".join(["sysconfctl", *words])])
        return [line.split("\t")[0] for line in output.splitlines()]


class Offers(Case):
    def test_Commands_AreThoseOfTheHelp(self):
        self.link()
        help_text = subprocess.run([SYSCONFCTL, "--help"], capture_output=True, text=True,
                                   check=True).stdout
        commands = re.findall(r"^  ([a-z]+) ", help_text.split("Subcommands:")[1]
                              .split("Exit status")[0], re.MULTILINE)
        self.assertGreater(len(commands), 5)
        self.assertEqual(sorted(self.offered([""], {})), sorted(commands))
        self.assertEqual(self.offered(["exp"], {}), ["explain"])

    def test_Options_AreThoseOfTheHelpOfEachCommand(self):
        self.link()
        commands = self.offered([""], {})
        for words in [[], *[[command] for command in commands]]:
            help_text = subprocess.run([SYSCONFCTL, *words, "--help"], capture_output=True,
                                       text=True, check=True).stdout
            options = re.findall(r"^  (?:-\w,)?(--[a-z-]+)", help_text, re.MULTILINE)
            self.assertIn("--help", options)
            self.assertEqual(sorted(self.offered([*words, "--"], {})), sorted(options), words)

    def test_Formats_AreThoseThatTheCommandTakes(self):
        self.link()
        # The option -o of report takes a file; exec, help and version have no -o.
        for command in set(self.offered([""], {})) - {"exec", "help", "version", "report"}:
            formats = self.offered([command, "-o", ""], {})
            self.assertIn("json", formats)
            refused = subprocess.run([SYSCONFCTL, command, "-o", "x"], capture_output=True,
                                     text=True, check=False).stderr
            listed = ",".join(sorted(formats, key=refused.index))
            self.assertIn("x not in {" + listed + "}", refused)
            self.assertEqual(sorted(self.offered([command, "--output=js"], {})), ["--output=json"])
        self.assertEqual(sorted(self.offered(["show", "--color", ""], {})),
                         ["always", "auto", "never"])

    def test_Queries_AreAllOfThem(self):
        self.link()
        listed = json.loads(subprocess.run([SYSCONFCTL, "get", "--list", "-o", "json"],
                                           capture_output=True, check=True).stdout)
        names = [query["name"] for query in listed["queries"]]
        self.assertEqual(sorted(self.offered(["get", ""], {})), sorted(names))
        self.assertEqual(sorted(self.offered(["explain", ""], {})), sorted(names))
        self.assertEqual(self.offered(["explain", "--all", ""], {}), [])
        self.assertEqual(self.offered(["get", "wss-port", ""], {}), [])

    def test_Arguments_AreNamesOfTheDeployment(self):
        self.link()
        file = ["--env-file", str(SOURCE / "samples/two-tenancies/east-access-1.env")]
        rows = [
            (["nodes", ""], "west-collect-1"),
            (["nodes", "west-data-1", ""], "west-data-2"),
            (["get", "local-ip-by-usage", ""], "internal_service"),
            (["get", "local-node-ips", ""], "northbound"),
            (["get", "all-float-ip", "service", ""], "service2"),
            (["get", "local-node-ips-by-tag", "a", "b", ""], "southbound11"),
            (["get", "ip-addresses", ""], "assignedToTenancy"),
            (["explain", "ip-addresses", "assignedToTenancy", ""], "west"),
            (["explain", "db-type", ""], "inventory"),
            (["explain", "db-type", "inventory", ""], "0"),
            (["check", "--local-address", ""], "198.51.100.204"),
            (["who", ""], "west-collect-1"),
            (["who", ""], "southbound11"),
            (["diff", "a.env", "b.env", ""], "local-port"),
            (["exec", "--only", ""], "local-port"),
            (["show", "--set", ""], "APP_ROOT="),
        ]
        for words, expected in rows:
            self.assertIn(expected, self.offered([*file, *words], {}), words)
        # With the environment of the shell, and with variables that the line sets.
        environment_of_sample = deployment(self.folder)
        self.assertIn("ah$HOME" if SHELL != "bash" else "ah\\$HOME",
                      self.offered(["nodes", ""], environment_of_sample))
        self.assertEqual(self.offered(["--set", "APP_ROOT=/nowhere", "--set", "TOLM_ROOT=/nowhere",
                                       "nodes", ""], environment_of_sample), [])

    def test_DamagedEnvironment_OffersNothingSilently(self):
        self.link()
        (self.folder / "broken.json").write_text('{"nodeList": ')
        for extra in ({}, {"APP_CONF_FILE": str(self.folder / "broken.json")},
                      {"APP_CONF_FILE": "/", "APP_ROOT": "/dev/null", "TOLM_ROOT": "\n"}):
            for words in (["nodes", ""], ["get", "db-type", ""], ["get", "all-float-ip", ""]):
                self.assertEqual(self.offered(words, extra), [])
        self.assertEqual(self.offered(["--env-file", "/nowhere", "nodes", ""], {}), [])
        self.assertEqual(self.offered(["frobnicate", ""], {}), [])

    def test_NoTool_OffersNothingSilently(self):
        if SHELL == "fish":
            self.assertEqual(self.offered_by_fish(["nodes", ""], {}), [])
        else:
            self.assertEqual(self.offered(["nodes", ""], {}), [])


class Terminal:
    """An interactive shell on a terminal, with its input and output."""

    def __init__(self, command, env, folder):
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, env)
        self.seen = b""

    def send(self, text):
        os.write(self.terminal, text.encode())

    def wait(self, text):
        """Returns after the text has arrived, and drops the output up to it."""
        while text.encode() not in self.seen:
            ready, _, _ = select.select([self.terminal], [], [], TIMEOUT)
            try:
                more = os.read(self.terminal, 65536) if ready else b""
            except OSError:
                more = b""
            if not more:
                raise AssertionError(f"no {text!r} in {self.seen!r}")
            self.seen += more
        self.seen = self.seen.split(text.encode(), 1)[1]

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


class Types(Case):
    """A hostile name that Tab completes reaches the command as one word, verbatim."""

    def terminal(self):
        record = self.folder / "record"
        stub = self.folder / "bin/sysconfctl"
        stub.write_text(f"""#!/bin/sh
if [ "$1" = __complete ]; then exec {SYSCONFCTL} "$@"; fi
printf '%s\\0' "$@" >{record}
printf 'RECOR%s\\n' DED
""")
        stub.chmod(0o755)
        env = self.environment(deployment(self.folder))
        start = {
            "bash": f"PS1='READ''Y> '; set -o histexpand; source {SCRIPTS}/sysconfctl.bash",
            "zsh": f"PS1='READ''Y> '; fpath=({SCRIPTS} $fpath); autoload -U compinit; compinit -uD",
            "fish": f"source {SCRIPTS}/sysconfctl.fish; function fish_prompt; "
                    "echo -n READ'Y> '; end",
        }[SHELL]
        command = {"bash": ["bash", "--norc", "--noprofile", "-i"], "zsh": ["zsh", "-f", "-i"],
                   "fish": ["fish", "--no-config", "-i"]}[SHELL]
        terminal = Terminal(command, env, self.folder / "work")
        self.addCleanup(terminal.close)
        terminal.send(start + "\r")
        terminal.wait("READY> ")
        return terminal, record

    def typed(self, terminal, record, line, after=""):
        terminal.send(line + "\t" + after + "\r")
        terminal.wait("RECORDED")
        terminal.wait("READY> ")
        return record.read_text().split("\0")[:-1]

    def test_HostileNames_AreInsertedWholeAndNeverRun(self):
        terminal, record = self.terminal()
        for name in HOSTILE:
            # The quoting code is the same for all commands.
            others = [["get", "db-type"], ["explain", "all-float-ip"]] if "OWNED" in name else []
            for before in [["nodes"], *others]:
                line = " ".join(["sysconfctl", *before, name[:2]])
                expected = name.lower() if before[-1] == "all-float-ip" else name
                self.assertEqual(self.typed(terminal, record, line), [*before, expected])
        self.assertEqual(os.listdir(self.folder / "work"), [])

    def test_OpenQuotes_AreKept(self):
        terminal, record = self.terminal()
        quotes = {"bash": ["'", '"', "$'"], "zsh": ["'", '"'], "fish": ["'", '"']}[SHELL]
        # For bash the tool quotes the candidates; the other shells do it themselves.
        for name in HOSTILE if SHELL == "bash" else HOSTILE[:6]:
            for quote in quotes:
                got = self.typed(terminal, record, f"sysconfctl nodes {quote}{name[:2]}")
                self.assertEqual(got, ["nodes", name], quote)
        self.assertEqual(os.listdir(self.folder / "work"), [])

    def test_FilesAndValuesAfterAnEqualsSign_AreInserted(self):
        terminal, record = self.terminal()
        (self.folder / "work/one file.env").write_text("")
        for lead, words in (("--env-file o", ["--env-file", "one file.env"]),
                            ("--env-file=o", ["--env-file=one file.env"]),
                            ("--output=ta", ["--output=table"]),
                            ("--set APP_ROOT=o", ["--set", "APP_ROOT=one file.env"]),
                            ("--set PROCESS_INSTANCE_ID=ab",
                             ["--set", "PROCESS_INSTANCE_ID=ab`touch OWNED`"])):
            self.assertEqual(self.typed(terminal, record, "sysconfctl show " + lead),
                             ["show", *words])
        # No space is inserted between the name and the value.
        self.assertEqual(self.typed(terminal, record, "sysconfctl show --set PROCESS_I", "x"),
                         ["show", "--set", "PROCESS_INSTANCE_ID=x"])
        self.assertEqual(os.listdir(self.folder / "work"), ["one file.env"])

    def test_UnseenNames_AreNotInserted(self):
        terminal, record = self.terminal()
        for name in UNSEEN[:-1]:
            self.assertEqual(self.typed(terminal, record, "sysconfctl nodes " + name[:2]),
                             ["nodes", name[:2]])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
