#!/usr/bin/python3
"""Compares the schemas with the samples, and with the findings of `sysconfctl check` in mutants.

usage: schema_test.py SOURCE-DIRECTORY SYSCONFCTL

The validator is jsonschema, which is independent of the library and the tool.
"""

import copy
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

import jsonschema

SOURCE = pathlib.Path(sys.argv[1])
SYSCONFCTL = sys.argv[2]
SEED = 20261121
MUTANTS = 150

SCHEMAS = {
    "APP_CONF_FILE": "app-config",
    "APP_ROOT": "node-list",
    "TOLM_ROOT": "manager-node-list",
}
SUFFIXES = {
    "APP_CONF_FILE": "",
    "APP_ROOT": "/etc/sysconf/nodelist.json",
    "TOLM_ROOT": "/etc/sysconf/nodelists.json",
}
# Findings that a schema must reject too.
TYPE_ERRORS = {"wrong-type", "database-no-list", "database-entry", "usage-no-list"}


def schema(variable):
    path = SOURCE / "schema" / (SCHEMAS[variable] + ".schema.json")
    return json.loads(path.read_text()), path.as_uri()


def validator(variable):
    document, uri = schema(variable)
    resolver = jsonschema.RefResolver(uri, document)
    return jsonschema.Draft7Validator(
        document, resolver=resolver, format_checker=jsonschema.FormatChecker()
    )


class View:
    """A view of a sample: instance id and the three documents."""

    def __init__(self, path):
        self.name = path.parent.name + "/" + path.stem
        lines = [line for line in path.read_text().splitlines() if "=" in line and line[0] != "#"]
        values = dict(line.split("=", 1) for line in lines)
        self.instance = values["PROCESS_INSTANCE_ID"]
        self.documents = {
            variable: json.loads(
                pathlib.Path(str(path.parent / values[variable]) + suffix).read_text()
            )
            for variable, suffix in SUFFIXES.items()
        }


def views():
    return [View(path) for path in sorted((SOURCE / "samples").glob("*/*.env"))]


def findings(documents, instance):
    with tempfile.TemporaryDirectory() as folder:
        arguments = [SYSCONFCTL, "check", "-o", "json", "--local-address", "127.0.0.1"]
        for variable, document in documents.items():
            root = os.path.join(folder, variable)
            path = pathlib.Path(root + SUFFIXES[variable])
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(json.dumps(document))
            arguments += ["--set", variable + "=" + root]
        arguments += ["--set", "PROCESS_INSTANCE_ID=" + instance]
        run = subprocess.run(arguments, stdout=subprocess.PIPE, check=False)
        assert run.returncode in (0, 3), run
        return json.loads(run.stdout)["findings"]


def paths(value, path=()):
    if path:
        yield path
    if isinstance(value, dict):
        for name, member in value.items():
            yield from paths(member, path + (name,))
    elif isinstance(value, list):
        for index, element in enumerate(value):
            yield from paths(element, path + (index,))


def owner(document, path):
    for step in path[:-1]:
        document = document[step]
    return document


def mutants(view):
    """Yields (description, variable, document): each value deleted or given another type."""
    for variable, document in view.documents.items():
        for path in paths(document):
            # The library and check do not read other processes.
            if path[0] == "processes" and len(path) > 1 and path[1] != view.instance:
                continue
            old = owner(document, path)[path[-1]]
            for new in (None, True, 7, 1.5, "text", [], {}, ["text"], {"text": "text"}):
                if type(new) is not type(old):
                    mutant = copy.deepcopy(document)
                    owner(mutant, path)[path[-1]] = new
                    yield f"{view.name} {variable} {path} = {new!r}", variable, mutant
            mutant = copy.deepcopy(document)
            del owner(mutant, path)[path[-1]]
            yield f"{view.name} {variable} {path} deleted", variable, mutant


class SchemaTest(unittest.TestCase):
    def test_schemas_are_of_draft_7(self):
        for variable in SCHEMAS:
            document, _ = schema(variable)
            self.assertEqual(document["$schema"], "http://json-schema.org/draft-07/schema#")
            jsonschema.Draft7Validator.check_schema(document)

    def test_every_member_has_a_title_and_a_description(self):
        def walk(part):
            for named in list(part.get("properties", {}).values()) + [part]:
                if "$ref" not in named:
                    self.assertTrue(named.get("title") and named.get("description"), named)
            for child in part.get("properties", {}).values():
                walk(child)
            for child in part.get("definitions", {}).values():
                walk(child)
            for key in ("items", "additionalProperties"):
                if key in part:
                    walk(part[key])

        for variable in SCHEMAS:
            walk(schema(variable)[0])

    def test_samples_are_valid(self):
        for view in views():
            for variable, document in view.documents.items():
                errors = list(validator(variable).iter_errors(document))
                self.assertEqual(errors, [], view.name)

    def test_mutated_samples_are_rejected_like_by_check(self):
        print(f"seed {SEED}, {MUTANTS} of the mutants of each kind of file")
        random.seed(SEED)
        rejected = 0
        everything = [(view, *mutant) for view in views() for mutant in mutants(view)]
        for variable in SCHEMAS:
            candidates = [mutant for mutant in everything if mutant[2] == variable]
            judge = validator(variable)
            for view, what, _, document in random.sample(candidates, MUTANTS):
                valid = judge.is_valid(document)
                found = findings(dict(view.documents, **{variable: document}), view.instance)
                if not valid:
                    rejected += 1
                    self.assertTrue(found, "only the schema rejects " + what)
                wrong = [one for one in found if one["name"] in TYPE_ERRORS]
                if any(one["severity"] == "error" for one in wrong):
                    self.assertFalse(valid, f"only check rejects {what}: {wrong}")
        print(f"{rejected} of {MUTANTS * len(SCHEMAS)} rejected")
        self.assertGreater(rejected, MUTANTS)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
