"""Holds JSON that the tool writes against docs/derkit.schema.json, more strictly than the schema itself: no other keys."""

import copy
import functools
import json
from pathlib import Path

import jsonschema

PATH = Path(__file__).parents[2] / "docs" / "derkit.schema.json"
SCHEMA = json.loads(PATH.read_text(encoding="utf-8"))


def without_other_keys(schema):
    """The schema allows what later versions add; tests do not."""
    strict = copy.deepcopy(schema)
    for definition in strict["$defs"].values():
        if "properties" in definition:
            definition["additionalProperties"] = False
    return strict


STRICT = without_other_keys(SCHEMA)


@functools.cache
def validator(kind):
    """Checks all objects of a kind: the branches for other kinds, which take long, are left out."""
    branches = [branch for branch in STRICT["allOf"] if branch["then"]["$ref"].endswith(f"/{kind}")]
    return jsonschema.Draft202012Validator({**STRICT, "allOf": branches})


def check_object(found):
    error = jsonschema.exceptions.best_match(validator(found.get("object")).iter_errors(found))
    if error is not None:
        raise AssertionError(f"not what docs/derkit.schema.json says: {error.json_path}: {error.message}: {found}")


def check_output(text):
    """Checks the lines that a run with --json wrote."""
    for line in text.splitlines():
        check_object(json.loads(line))
