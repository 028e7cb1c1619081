"""The schema of a document's slots takes every document, and refuses what is none.

Arguments: the schema, and the program that prints documents.
"""

import copy
import json
import subprocess
import sys

from jsonschema import Draft202012Validator


def leaves(value, path=()):
    if isinstance(value, dict):
        for key, inner in value.items():
            yield from leaves(inner, path + (key,))
    elif isinstance(value, list):
        for index, inner in enumerate(value[:2]):
            yield from leaves(inner, path + (index,))
    else:
        yield path


def set_at(document, path, value):
    changed = copy.deepcopy(document)
    at = changed
    for key in path[:-1]:
        at = at[key]
    at[path[-1]] = value
    return changed


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    validator = Draft202012Validator(schema)
    printed = subprocess.run([sys.argv[2]], check=True, capture_output=True, text=True).stdout
    documents = [json.loads(line) for line in printed.splitlines()]
    assert len(documents) > 300, len(documents)

    filled = set()
    for document in documents:
        filled.update(key for key, value in document.items() if value is not None)
        for error in validator.iter_errors(document):
            sys.exit(f"{list(error.absolute_path)}: {error.message[:300]}")
    empty = set(schema["properties"]) - filled
    assert empty == {"unused_6", "unused_7"}, empty

    # Slot by slot: only those that one document fills are validated for it.
    refused = 0
    for document in documents[::7]:
        for slot, value in document.items():
            if value is None:
                continue
            of_slot = Draft202012Validator(
                {"$defs": schema["$defs"], **schema["properties"][slot]})
            assert of_slot.is_valid(value), slot
            assert not of_slot.is_valid({**value, "other": 1}), slot
            for key in value:
                less = {k: v for k, v in value.items() if k != key}
                assert not of_slot.is_valid(less), (slot, key)
            for path in leaves(value):
                for wrong in (-2147483649, True, "no hex", [[]], {"other": 1}):
                    if of_slot.is_valid(set_at(value, path, wrong)):
                        # What may be any text, any number, or true.
                        is_free = (wrong == "no hex" and path[-1] in ("name", "key", "value")
                                   or wrong == -2147483649 and is_float(document, slot, path)
                                   or wrong is True and path[-1] in FLAGS)
                        assert is_free, (slot, path, wrong)
                    else:
                        refused += 1
    assert refused > 1000, refused
    print(f"{len(documents)} documents are valid, {refused} changed ones are not")


FLAGS = ("derived", "blocks_in_lens_shading", "light_gains_in_lens_shading")


def is_float(document, slot, path):
    value = document[slot]
    for key in path:
        value = value[key]
    return isinstance(value, float) or str(value).startswith(("nan:", "inf", "-inf"))


main()
