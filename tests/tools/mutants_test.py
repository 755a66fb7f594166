#!/usr/bin/python3
"""What `sysconfctl check` says of mutated samples, beside what the mutation does to the answers.

usage: mutants_test.py SOURCE-DIRECTORY SYSCONFCTL

Each mutant is one change at one place: a member deleted, renamed by one letter, retyped, repeated
with another value; a list emptied or cut to its first element. The bounds are the figures of the
last lines.
"""

import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(sys.argv[1])
SYSCONFCTL = sys.argv[2]
SEED = 20261121
MUTANTS = int(os.environ.get("MUTANTS", "500"))
REPORTED_AT_LEAST = 0.98
PLACED_AT_LEAST = 0.95
SUFFIXES = {
    "APP_CONF_FILE": "",
    "APP_ROOT": "/etc/sysconf/nodelist.json",
    "TOLM_ROOT": "/etc/sysconf/nodelists.json",
}


class Node:
    """A value of a document that is written with one member or element on each line."""

    def __init__(self, value):
        if isinstance(value, dict):
            self.members = [[name, Node(member)] for name, member in value.items()]
            self.kind = "object"
        elif isinstance(value, list):
            self.members = [[None, Node(element)] for element in value]
            self.kind = "array"
        else:
            self.members = []
            self.kind = "scalar"
            self.text = json.dumps(value)


def write(node, lines, indent, mark):
    """Appends the node's text to the last line; returns the lines of the marked member."""
    if node.kind == "scalar":
        lines[-1] += node.text
        return set()
    marked = set()
    lines[-1] += "{" if node.kind == "object" else "["
    for index, member in enumerate(node.members):
        name, value = member
        lines.append("  " * (indent + 1) + (json.dumps(name) + ": " if name is not None else ""))
        first = len(lines)
        marked |= write(value, lines, indent + 1, mark)
        marks = mark if isinstance(mark, tuple) else (mark,)
        if any(one is member or one is value for one in marks):
            marked |= set(range(first, len(lines) + 1))
        lines[-1] += "," if index + 1 < len(node.members) else ""
    lines.append("  " * indent + ("}" if node.kind == "object" else "]"))
    return marked


def places(node, path=()):
    for index, (name, value) in enumerate(node.members):
        yield node, index, path + (index if name is None else name,)
        yield from places(value, path + (index if name is None else name,))


def renamed(name):
    return (name[:-1] + ("x" if name[-1:] != "x" else "y")) if name else "x"


def mutations(owner, index):
    """Pairs of a description and of what becomes of the owner's members, with what is marked."""
    name, value = owner.members[index]
    rest = owner.members[:index], owner.members[index + 1 :]

    def put(*members):
        return rest[0] + list(members) + rest[1]

    yield "deleted", put(), owner
    for new in (None, True, 7, "text", [], {}):
        made = Node(new)
        if made.kind != value.kind or (
            made.kind == "scalar" and type(json.loads(made.text)) is not type(json.loads(value.text))
        ):
            member = [name, made]
            yield f"retyped to {json.dumps(new)}", put(member), member
    if name is not None:
        member = [renamed(name), value]
        yield "renamed", put(member), owner
        # Both places are right: the one that counts and the one that does not.
        member = [name, Node("other")]
        yield "repeated", put([name, value], member), (member, value)
    if value.kind == "array" and value.members:
        emptied = Node([])
        member = [name, emptied]
        yield "emptied", put(member), member
        if len(value.members) > 1:
            cut = Node([])
            cut.members = value.members[:1]
            member = [name, cut]
            yield "cut to its first element", put(member), member


class View:
    def __init__(self, path):
        self.name = path.parent.name + "/" + path.stem
        lines = [line for line in path.read_text().splitlines() if "=" in line and line[0] != "#"]
        values = dict(line.split("=", 1) for line in lines)
        self.instance = values["PROCESS_INSTANCE_ID"]
        self.texts = {}
        self.documents = {}
        for variable, suffix in SUFFIXES.items():
            text = pathlib.Path(str(path.parent / values[variable]) + suffix).read_text()
            self.texts[variable] = text
            self.documents[variable] = Node(json.loads(text))


def run(folder, texts, instance, arguments):
    command = [SYSCONFCTL] + arguments + ["--set", "PROCESS_INSTANCE_ID=" + instance]
    for variable, text in texts.items():
        root = os.path.join(folder, variable)
        path = pathlib.Path(root + SUFFIXES[variable])
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        command += ["--set", variable + "=" + root]
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)


def answers(folder, texts, instance):
    shown = json.loads(run(folder, texts, instance, ["show", "-o", "json"]).stdout)
    return [{k: v for k, v in one.items() if k != "error"} for one in shown["answers"]]


def findings(folder, texts, instance):
    return json.loads(run(folder, texts, instance, ["check", "-o", "json"]).stdout)["findings"]


def identity(finding):
    return finding["name"], finding.get("pointer"), finding["text"]


def everything(views):
    for view in views:
        for variable, document in view.documents.items():
            for owner, index, path in places(document):
                for what, members, mark in mutations(owner, index):
                    yield view, variable, owner, path, what, members, mark


def main():
    random.seed(SEED)
    views = [View(path) for path in sorted((SOURCE / "samples").glob("*/*.env"))]
    changed = reported = placed = unfounded = 0
    with tempfile.TemporaryDirectory() as folder:
        before = {view: answers(folder, view.texts, view.instance) for view in views}
        known = {
            view: {identity(one) for one in findings(folder, view.texts, view.instance)}
            for view in views
        }
        for view, variable, owner, path, what, members, mark in random.sample(
            list(everything(views)), MUTANTS
        ):
            label = f"{view.name} {variable} /{'/'.join(map(str, path))} {what}"
            kept = owner.members
            owner.members = members
            lines = [""]
            marked = write(view.documents[variable], lines, 0, mark)
            owner.members = kept
            if mark is owner:
                # What is missing is told where it would be, or at what it is missing in.
                marked |= {1, 2} if len(path) == 1 else set()
            texts = dict(view.texts, **{variable: "\n".join(lines) + "\n"})
            found = findings(folder, texts, view.instance)
            new = [one for one in found if identity(one) not in known[view]]
            if answers(folder, texts, view.instance) == before[view]:
                errors = [one for one in new if one["severity"] == "error"]
                if errors:
                    unfounded += 1
                    print("no answer changes, yet an error:", label, errors[0]["text"])
                continue
            changed += 1
            if not new:
                print("not reported:", label)
                continue
            reported += 1
            own = os.path.join(folder, variable) + SUFFIXES[variable]
            if any(one.get("file") == own and one.get("line") in marked for one in new):
                placed += 1
            else:
                print("elsewhere:", label, [(one.get("line"), one["text"]) for one in new], sorted(marked)[:3])
    print(f"seed {SEED}: {MUTANTS} mutants, {changed} change an answer")
    print(f"reported: {reported}, {reported / changed:.1%}, at least {REPORTED_AT_LEAST:.0%}")
    print(f"at the right place: {placed}, {placed / reported:.1%}, at least {PLACED_AT_LEAST:.0%}")
    print(f"errors where no answer changes: {unfounded}, at most 0")
    good = reported / changed >= REPORTED_AT_LEAST and placed / reported >= PLACED_AT_LEAST
    return 0 if good and unfounded == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
