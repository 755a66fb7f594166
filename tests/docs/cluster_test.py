#!/usr/bin/python3
"""Runs the commands of docs/cluster.md that name this test, in one shell, against members of etcd.

usage: cluster_test.py SOURCE-DIRECTORY BUILD-DIRECTORY

The members get addresses and ports that no other process has. Times and the publisher are those
of the page in what is compared. Reports of killed jobs are left out: bash writes them at the end
of the command or of a later one.
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading

import checker
import pages

TEST = "elsewhere Docs.Cluster_CommandsOfThePage"
SKIPPED = 77
LIMIT = int(os.environ.get("LIMIT", "240"))
MARK = "----8<----"


def with_own_addresses(script):
    """Returns the script with loopback addresses and ports that no other process has."""
    process = os.getpid()
    network = f"127.{64 + process // 256 % 128}.{process % 256}"
    return re.sub(r"127\.0\.0\.([^:/,]+):23(79|80)\b", rf"{network}.\1:238\2", script)


def steps_of(page):
    """Returns pairs of commands and their output; None where the page shows none."""
    steps = []
    for block in page.blocks:
        if block.directive != TEST:
            continue
        if block.language == "sh":
            steps.append((block.text, None))
            continue
        for line in block.text.splitlines():
            if line.startswith("$ "):
                steps.append((line[2:] + "\n", ""))
            else:
                steps[-1] = (steps[-1][0], steps[-1][1] + line + "\n")
    return steps


def comparable(text):
    text = re.sub(r"(?m)^bash: line \d+: +\d+ Killed .*\n", "", text)
    text = re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", "0000-00-00T00:00:00Z", text)
    return re.sub(r"\(\S+@[^,]+,", "(operator@host,", text)


def run(source, build, steps):
    script = "".join(f"echo '{MARK}'\n{command}" for command, _ in steps)
    script = with_own_addresses(script)
    work = pathlib.Path(tempfile.mkdtemp())
    (work / "samples").symlink_to(source / "samples")
    environment = dict(
        os.environ,
        PATH=f"{build}/tools/sysconfsync:{build}/tools/sysconfctl:{os.environ['PATH']}",
        LD_LIBRARY_PATH=f"{build}/src",
        LC_ALL="C.UTF-8",
        COLUMNS="80",
    )
    shell = subprocess.Popen(
        ["bash", "-c", script],
        cwd=work,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        start_new_session=True,
    )
    guard = threading.Timer(LIMIT, os.killpg, (shell.pid, signal.SIGKILL))
    guard.start()
    printed, _ = shell.communicate()
    guard.cancel()
    shutil.rmtree(work)
    return printed.split(MARK + "\n")[1:]


def main():
    source, build = map(pathlib.Path, sys.argv[1:])
    if not shutil.which("etcd"):
        print("etcd is not installed")
        return SKIPPED
    steps = steps_of(pages.read(source / "docs/cluster.md"))
    printed = run(source, build, steps)
    complaints = [] if len(printed) == len(steps) else ["the shell ended early", *printed]
    for (command, wanted), text in zip(steps, printed):
        try:
            checker.Blocks.compare(command, comparable(wanted or ""), comparable(text))
        except checker.Wrong as wrong:
            complaints.append(str(wrong))
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    if len(steps) < 10:
        complaints.append("too few commands")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
