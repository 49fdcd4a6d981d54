"""The JSON Schemas: sound, true to what the tool writes, and strict."""

import copy
import json
import random
import subprocess
import sys
import unittest

import documents
from documents import Deployment, arguments

try:
    from jsonschema import Draft202012Validator
except ImportError:
    Draft202012Validator = None

RECORDS = ("HoldState", "OperationResult", "DetectionResult", "HoldRequest")
FORMS = ("", ".exact")
SEED = 20250304
RECORDS_OF_EACH_KIND = 1500

# The keys that may be missing, wherever they stand.
OPTIONAL_KEYS = {"holdState", "lastHeartbeatAt", "lastRestoreReason", "leaseID", "pid",
                 "selectedCameraID", "sourceCameraID", "startedAt"}
# The keys whose objects have keys of any name.
FREE_OBJECTS = {"correlationSnapshot"}
INTEGER_KEYS = {"pid", "priority"}
DATE_KEYS = {"lastHeartbeatAt", "startedAt"}
WORDS = {"controlMode": {"sigstop", "sigtermDebug"}, "domain": {"system", "gui"},
         "kind": {"builtIn", "externalUSB", "continuity", "unknown"}}


def schema(record, form=""):
    path = arguments.sources / "share" / "blindfold" / "schemas" / f"{record}{form}.json"
    return json.loads(path.read_text())


def random_records():
    """Pairs of record name and JSON value, written by the tool's own encoder."""
    output = subprocess.run([arguments.random_records, str(SEED), str(RECORDS_OF_EACH_KIND)],
                            stdout=subprocess.PIPE, encoding="utf-8", check=True).stdout
    for line in output.removesuffix("\n").split("\n"):
        record, value = line.split(" ", 1)
        yield record, json.loads(value)


def places(value, key=None, free=False):
    """Every value within the value, itself left out: its container, its index or key there, the
    nearest key above it, and whether its container has keys of any name."""
    children = value.items() if isinstance(value, dict) else enumerate(value)
    for index, child in list(children):
        name = index if isinstance(index, str) and not free else key
        yield value, index, name, free
        if isinstance(child, (dict, list)):
            yield from places(child, name, name in FREE_OBJECTS and isinstance(child, dict))


def json_type(value):
    names = {bool: "boolean", int: "number", float: "number", str: "string", list: "array",
             dict: "object", type(None): "null"}
    return names[type(value)]


def break_at(chance, container, index, name, free):
    """Makes the value at the place one that the tool never writes."""
    value = container[index]
    of_another_type = [each for each in (None, True, 7, 0.5, "text", [], {}, [None])
                       if json_type(each) != json_type(value)]
    ways = [lambda: container.__setitem__(index, chance.choice(of_another_type))]
    if isinstance(container, dict) and not free and index not in OPTIONAL_KEYS:
        ways.append(lambda: container.pop(index))
    if name in INTEGER_KEYS or name in FREE_OBJECTS and free:
        ways.append(lambda: container.__setitem__(index, chance.choice((0.5, 2**63, -2**63 - 1))))
    if name in WORDS and isinstance(value, str):
        wrong = (value.upper(), " " + value, value[:-1], "", "virtual")
        ways.append(lambda: container.__setitem__(
            index, chance.choice([word for word in wrong if word not in WORDS[name]])))
    if name in DATE_KEYS:
        ways.append(lambda: container.__setitem__(index, chance.choice(
            (value.replace("Z", ".5Z"), value.replace("Z", "+00:00"), value.replace("T", " "),
             value[:-1], ""))))
    chance.choice(ways)()


class SchemasTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if Draft202012Validator is None:
            raise unittest.SkipTest("not installed: python3-jsonschema")
        cls.validators = {(record, form): Draft202012Validator(schema(record, form))
                          for record in RECORDS for form in FORMS}
        cls.records = list(random_records())

    def accepts(self, record, value, form=""):
        return self.validators[record, form].is_valid(value)

    def test_every_schema_is_sound(self):
        for record in RECORDS:
            for form in FORMS:
                with self.subTest(record + form):
                    Draft202012Validator.check_schema(schema(record, form))

    def test_every_field_has_a_description(self):
        def descriptions(value):
            if isinstance(value, dict):
                for field in value.get("properties", {}).values():
                    yield field.get("description", "")
                for child in value.values():
                    yield from descriptions(child)
        for record in RECORDS:
            found = list(descriptions(schema(record)))
            self.assertTrue(found)
            for description in found:
                self.assertRegex(description, r"^[A-Z`].*\.$")

    def test_what_every_command_prints_is_accepted(self):
        commands = (("HoldState", "status"), ("DetectionResult", "detect"),
                    ("OperationResult", "hold-built-in"), ("HoldState", "status"),
                    ("OperationResult", "renew", "none"), ("DetectionResult", "detect"),
                    ("OperationResult", "mute"), ("OperationResult", "unmute"),
                    ("OperationResult", "release"), ("HoldState", "status"),
                    ("OperationResult", "restore"))
        with Deployment() as deployment:
            deployment.start_helper("--record", "messages")
            for record, *words in commands:
                value = json.loads(deployment.run("blindfoldctl", *words).stdout)
                for form in FORMS:
                    self.validators[record, form].validate(value)
            messages = (deployment.directory / "messages").read_text().splitlines()
        (request,) = (message.split("\t")[2] for message in messages if "hold:" in message)
        for form in FORMS:
            self.validators["HoldRequest", form].validate(json.loads(request))

    def test_a_result_is_accepted_as_its_own_kind_only(self):
        with Deployment() as deployment:
            deployment.start_helper()
            result = json.loads(deployment.run("blindfoldctl", "mute").stdout)
        self.assertEqual(["OperationResult"],
                         [record for record in RECORDS if self.accepts(record, result)])

    def test_random_records_are_accepted(self):
        self.assertEqual(len(RECORDS) * RECORDS_OF_EACH_KIND, len(self.records))
        for record, value in self.records:
            for form in FORMS:
                self.assertTrue(self.accepts(record, value, form), (record, form, value))

    def test_broken_records_are_refused(self):
        chance = random.Random(SEED)
        for record, value in self.records:
            broken = copy.deepcopy(value)
            break_at(chance, *chance.choice(list(places(broken))))
            for form in FORMS:
                self.assertFalse(self.accepts(record, broken, form), (record, form, broken))

    def test_a_value_that_is_no_object_is_refused(self):
        for record in RECORDS:
            for value in (None, True, 1, "", []):
                self.assertFalse(self.accepts(record, value))

    def test_an_additional_field_is_a_later_release_or_a_misspelling(self):
        chance = random.Random(SEED)
        for record, value in self.records:
            extended = copy.deepcopy(value)
            objects = [extended] + [
                container[index] for container, index, name, _ in places(extended)
                if isinstance(container[index], dict) and name not in FREE_OBJECTS]
            chance.choice(objects)["micmuted"] = True
            self.assertTrue(self.accepts(record, extended), (record, extended))
            self.assertFalse(self.accepts(record, extended, ".exact"), (record, extended))


class ReferenceTest(unittest.TestCase):
    def test_the_documents_are_what_the_tables_say(self):
        subprocess.run([arguments.record_reference, "--check", arguments.sources],
                       check=True, stderr=sys.stderr)

    def test_a_document_that_is_not_is_named(self):
        finished = subprocess.run([arguments.record_reference, "--check", "/nonexistent"],
                                  check=False, stderr=subprocess.PIPE, text=True)
        self.assertEqual(1, finished.returncode)
        self.assertIn("docs/output.md is not current", finished.stderr)
        self.assertEqual(1 + len(RECORDS) * len(FORMS), len(finished.stderr.splitlines()))


if __name__ == "__main__":
    documents.main()
