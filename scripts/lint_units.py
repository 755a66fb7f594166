#!/usr/bin/env python3
"""lint_units.py COMPILE_COMMANDS FOLDER PATH...: what clang-tidy is to read, made from the commands
that compile the sources below the PATHs; each source once, however many targets have it.

clang-tidy takes far longer over the headers of the libraries than over a source. So the sources of
one folder become one unit that includes them all, as in a unity build. Sources that are programs
each of their own, such as tests, stay apart: their paths are given with a + in front.
"""

import json
import pathlib
import sys


def without_output(command, source):
    """The command up to what it writes and reads: flags only."""
    return command[: command.index(" -o ")] + f" -c {source}"


def main():
    commands, folder, *paths = sys.argv[1:]
    root, folder = pathlib.Path.cwd(), pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    units, taken = {}, set()
    for entry in json.loads(pathlib.Path(commands).read_text(encoding="utf-8")):
        source = pathlib.Path(entry["file"])
        if source in taken or not source.is_relative_to(root):
            continue
        name = str(source.relative_to(root))
        path = next((path for path in paths if name.startswith(path.lstrip("+") + "/")), None)
        if path is None:
            continue
        taken.add(source)
        unit = name if path.startswith("+") else str(pathlib.Path(name).parent)
        units.setdefault(unit, []).append((source, entry))
    database = []
    for unit, members in sorted(units.items()):
        source, entry = members[0]
        if len(members) > 1:
            source = folder.resolve() / (unit.replace("/", "-") + ".cpp")
            includes = [f'#include "{member}" // NOLINT\n' for member, _ in members]
            source.write_text("".join(sorted(includes)), encoding="utf-8")
        command = without_output(entry["command"], source)
        database.append({"directory": entry["directory"], "command": command, "file": str(source)})
    text = json.dumps(database, indent=1)
    (folder / "compile_commands.json").write_text(text, encoding="utf-8")


main()
