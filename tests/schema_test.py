#!/usr/bin/env python3
"""The JSON Schemas against the samples, the router's documents, and documents changed at random.

    schema_test.py PROJECT [MUTATION_TEST]

MUTATION_TEST is the checker's mutation test: it writes changed documents and the rules that the checker finds broken.
"""

import glob
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

PROJECT = sys.argv.pop(1) if len(sys.argv) > 1 else "."
MUTATION_TEST = sys.argv.pop(1) if len(sys.argv) > 1 else None

# Rules that look at one declaration alone, so that a schema sees them too. (A schema takes 1.0 for an integer and has
# no words for the order of two bounds; it does not see paths, templates' texts, or what the host adds.)
SEEN_BY_SCHEMA = {
    "not-an-object", "key-length", "not-a-definition", "missing-help", "help-value", "prompt-value", "prompt-variant",
    "condition-type", "alias-arguments", "alias-commands", "second-argument", "value-arguments", "missing-name",
    "enumeration", "privilege-entry", "privilege-level",
}
# Of these a schema sees some cases.
PARTLY_SEEN = {"unknown-type", "facet-range", "help-template", "prompt-no-variant", "exit-description"}
# The checker lets these load, with a warning; the schema refuses them.
REFUSED_BY_SCHEMA_ALONE = {"unread-member", "ignored-member", "ignored-value", "ignored-facet", "condition-later",
                           "unmatched-privilege", "unread-privilege", "privilege-without-effect"}


def schema(name):
    with open(os.path.join(PROJECT, "schema", name + ".schema.json"), encoding="utf-8") as file:
        return json.load(file)


VALIDATORS = {name: jsonschema.Draft202012Validator(schema(name)) for name in ("definition", "privileges")}


def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def validator_of(path):
    return VALIDATORS["privileges" if path.endswith("privileges.json") else "definition"]


def samples(pattern):
    paths = sorted(glob.glob(os.path.join(PROJECT, pattern)))
    assert paths or "router" in pattern, pattern
    return paths


def without_description(value, place):
    """Places in a schema that name a member but do not describe it."""
    if isinstance(value, list):
        return [found for index, item in enumerate(value) for found in without_description(item, f"{place}/{index}")]
    if not isinstance(value, dict):
        return []
    found = []
    if value.get("type") == "object" and "description" in value:
        for name, member in value.get("properties", {}).items():
            if "description" not in member and "$ref" not in member:
                found.append(f"{place}/{name}")
    for name, member in value.items():
        found += without_description(member, f"{place}/{name}")
    return found


class SchemaTest(unittest.TestCase):
    def test_schemas_are_schemas_that_describe_every_member(self):
        for name, validator in VALIDATORS.items():
            jsonschema.Draft202012Validator.check_schema(validator.schema)
            self.assertEqual(without_description(validator.schema, name), [])

    def test_schema_and_reference_have_the_members_of_the_library_s_table(self):
        with open(os.path.join(PROJECT, "cli_engine/language_table.hpp"), encoding="utf-8") as file:
            table = file.read()
        with open(os.path.join(PROJECT, "docs/definitions.md"), encoding="utf-8") as file:
            reference = file.read()
        rows = re.findall(r'\{"(#\w+)", (.*), ReadAs::k(\w+)\}', table)
        self.assertEqual(len(rows), table.count('{"#'))
        types = set(re.findall(r'\{"(\w+)", BASETYPE', table)) | {"key", "container"}
        schema_of = VALIDATORS["definition"].schema["$defs"]
        for kind, readers in (("definition", "Mode|Alias|Command|Definition"),
                              ("argument", "Key|Group|Value|Text|Number|Argument")):
            members = {name: read_as for name, by, read_as in rows if re.search(f"kBy({readers})", by)}
            properties = schema_of[kind]["properties"]
            self.assertEqual(properties.keys(), members.keys())
            part = reference.split(f"\n### A{'n' * (kind[0] == 'a')} {kind}\n")[1].split("\n### ")[0]
            listed = [name for row in re.findall(r"^\| (`#.*?) \|", part, re.M) for name in re.findall(r"#\w+", row)]
            self.assertEqual(sorted(listed), sorted(members))
            for name, read_as in members.items():
                if "type" in properties[name] and read_as != "Any":
                    self.assertEqual(properties[name]["type"], {"Text": "string"}.get(read_as, read_as.lower()), name)
        part = reference.split("\n### Types\n")[1].split("\n### ")[0]
        rows = re.findall(r"^\| (`.*?) \|", part, re.M)
        self.assertEqual({name for row in rows for name in re.findall(r"`(\w+)`", row)} | {"key", "container"}, types)

    def test_good_samples_are_accepted(self):
        for path in samples("schema/samples/good/*.json") + samples("examples/router/*.json"):
            with self.subTest(path):
                validator_of(path).validate(read(path))

    def test_bad_samples_are_refused(self):
        for path in samples("schema/samples/bad/*.json"):
            with self.subTest(path):
                self.assertFalse(validator_of(path).is_valid(read(path)))

    @unittest.skipUnless(MUTATION_TEST, "needs the checker's mutation test")
    def test_schema_agrees_with_checker_on_changed_documents(self):
        count = os.environ.get("SCHEMA_MUTATIONS", "400")
        with tempfile.TemporaryDirectory() as folder:
            environment = {**os.environ, "CHECK_MUTATIONS": count, "CHECK_KEEP": folder, "CHECK_SAMPLES_ONLY": "1"}
            subprocess.run([MUTATION_TEST], cwd=PROJECT, env=environment, check=True, stdout=subprocess.DEVNULL)
            compared = sum(self.compare(path) for path in sorted(glob.glob(folder + "/*.rules")))
        self.assertGreater(compared, int(count) // 4)

    def compare(self, rules_path):
        with open(rules_path, encoding="utf-8") as file:
            rules = set(file.read().split())
        if rules & {"json", "repeated-member"}:
            return False
        stem = rules_path.removesuffix(".rules")
        try:
            documents = [stem + ".json", stem + ".privileges.json"]
            accepted = all(validator_of(path).is_valid(read(path)) for path in documents)
        except RecursionError:
            return False
        if rules & SEEN_BY_SCHEMA:
            self.assertFalse(accepted, f"{stem}: {rules}")
        elif not rules & (PARTLY_SEEN | REFUSED_BY_SCHEMA_ALONE):
            self.assertTrue(accepted, f"{stem}: {rules}")
        return True


if __name__ == "__main__":
    unittest.main()
