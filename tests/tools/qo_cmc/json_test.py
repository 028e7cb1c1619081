"""The objects of --json: their keys, their schema, and what they say of hostile text."""

import json
import os
import re
import unittest

import jsonschema

import tool
from tool import container, general, record

SCHEMAS = {
    each.name: json.loads(each.read_text())
    for folder in ["tools/qo_cmc/schema", "tools/document"]
    for each in (tool.ROOT / folder).glob("*.schema.json")
}


def validator_of(verb):
    """By file name, as the installed schemas find each other."""
    whole = SCHEMAS["qo-cmc.schema.json"]
    store = {name: schema for name, schema in SCHEMAS.items()}
    store.update({schema["$id"]: schema for schema in SCHEMAS.values() if "$id" in schema})
    resolver = jsonschema.RefResolver(whole["$id"], whole, store=store)
    return jsonschema.Draft202012Validator(
        {"$ref": f"{whole['$id']}#/$defs/{verb}"}, resolver=resolver
    )


class Json(tool.ToolTest):
    def every_object(self):
        """(verb, object) of good and bad containers, with and without an NVM image."""
        sample = self.bytes_of("sample.vexb")
        self.file("empty", b"")
        self.file("text", b"no container at all, but long enough for one")
        self.file("cut", sample[:-7])
        self.file("none", container())
        self.file("name", container(general(b"\xff\x1b\n\\\"")))
        self.file("overrun", container(general(b"m"), record(14, 100, b"", size=1000)))
        self.file("garbage.nvm", b"garbage")
        names = ["empty", "text", "cut", "none", "name", "overrun"]
        for more in [[], ["--nvm", "sample.nvm"], ["--nvm", "garbage.nvm"], ["--nvm", "empty"]]:
            for each in self.run_tool("check", "--json", *more, "-", *names, stdin=sample).objects:
                yield "check", each
            for each in self.run_tool("dump", "--json", *more, *names).objects:
                yield "dump", each
        # The sample's tables take long to validate.
        yield "dump", self.run_tool(
            "dump", "--json", "sample.vexb", "--nvm", "sample.nvm"
        ).objects[0]
        for verb in ["records", "hex"]:
            for each in self.run_tool(verb, "--json", "sample.vexb", *names).objects:
                yield verb, each
        for kind in ["1", "3", "10", "14", "28", "34", "722"]:
            for verb in ["dump", "hex"]:
                yield verb, self.run_tool(
                    verb, "--json", "--record", kind, "sample.vexb"
                ).objects[0]
        for arguments in [
            ["sample.vexb", "sample.vexb"],
            ["sample.vexb", "name"],
            ["sample.vexb", "empty"],
            ["empty", "sample.vexb"],
            ["sample.vexb", "sample.vexb", "--nvm-b", "sample.nvm"],
        ]:
            yield "diff", self.run_tool("diff", "--json", *arguments).objects[0]

    def test_every_object_keeps_to_its_schema(self):
        verbs = set()
        for verb, each in self.every_object():
            verbs.add(verb)
            with self.subTest(f"{verb} {each['file']}"):
                validator_of(verb).validate(each)
        self.assertEqual({"check", "records", "dump", "hex", "diff"}, verbs)

    def test_the_schemas_are_schemas(self):
        self.assertTrue(SCHEMAS)
        for name, schema in SCHEMAS.items():
            with self.subTest(name):
                jsonschema.Draft202012Validator.check_schema(schema)

    def test_the_schema_refuses_what_has_other_keys(self):
        good = self.run_tool("check", "--json", "sample.vexb").objects[0]
        validator_of("check").validate(good)
        for change in [{"schema": 2}, {"valid": "yes"}, {"findings": None}, {"more": 1}]:
            with self.subTest(change), self.assertRaises(jsonschema.ValidationError):
                validator_of("check").validate({**good, **change})

    def test_every_slot_of_the_structure_is_there(self):
        header = (tool.ROOT / "include/qo_cmc/parsed_cmc.h").read_text()
        members = re.search(r"typedef struct parsed_cmc \{(.*)\} parsed_cmc;", header, re.S).group(1)
        members = re.sub(r"/\*.*?\*/", "", members, flags=re.S)
        while "{" in members:  # structures in structures, from the inside
            members = re.sub(r"\{[^{}]*\}", "", members)
        slots = re.findall(r"(\w+);", members)
        self.assertGreater(len(slots), 30)
        self.file("none", container())
        for name in ["sample.vexb", "none"]:
            dumped = self.run_tool("dump", "--json", name).objects[0]["slots"]
            self.assertEqual(slots, list(dumped))

    def test_keys_come_in_a_fixed_order(self):
        for verb, keys in {
            "check": [],
            "records": ["records"],
            "dump": ["slots"],
            "hex": ["spans"],
        }.items():
            each = self.run_tool(verb, "--json", "sample.vexb").objects[0]
            self.assertEqual(["schema", "file", "valid", "findings", *keys], list(each))
        self.file("bad", b"text")
        finding = self.run_tool("check", "--json", "bad").objects[0]["findings"][0]
        self.assertEqual(
            ["code", "severity", "message", "offset", "record", "field"], list(finding)
        )
        row = self.run_tool("records", "--json", "sample.vexb").objects[0]["records"][0]
        self.assertEqual(["index", "offset", "size", "id", "name", "version", "fate"], list(row))

    def test_lines_are_ascii(self):
        self.file("\u00fcn\u00ef", container(general("\u00fc\u009b".encode())))
        for verb in ["check", "records", "dump", "hex"]:
            result = self.run_tool(verb, "--json", "\u00fcn\u00ef")
            self.assertTrue(result.out.isascii())
            self.assertEqual("\u00fcn\u00ef", result.objects[0]["file"])

    def test_a_file_name_that_is_not_utf_8_keeps_its_bytes(self):
        name = os.fsencode(self.folder) + b"/\xff\xfe"
        with open(name, "wb") as file:
            file.write(container())
        each = self.run_tool("check", "--json", b"\xff\xfe").objects[0]
        self.assertEqual({"bytes": "fffe"}, each["file"])

    def test_text_that_is_not_utf_8_keeps_its_bytes(self):
        self.file("name", container(general(b"a\xff")))
        spans = self.run_tool("hex", "--json", "name").objects[0]["spans"]
        value = next(each["value"] for each in spans if each["name"] == "general.name")
        self.assertEqual({"bytes": "61ff"}, value)

    def test_hex_has_every_byte_once(self):
        spans = self.run_tool("hex", "--json", "sample.vexb").objects[0]["spans"]
        end = 0
        for each in spans:
            self.assertEqual(end, each["offset"])
            self.assertEqual(2 * each["size"], len(each["bytes"]))
            end += each["size"]
        self.assertEqual(self.bytes_of("sample.vexb").hex(), "".join(e["bytes"] for e in spans))

    def test_no_address_and_no_chance_is_in_the_output(self):
        for arguments in [
            ["check", "sample.vexb", "--nvm", "sample.nvm"],
            ["dump", "sample.vexb", "--nvm", "sample.nvm"],
            ["dump", "sample.vexb"],
        ]:
            outputs = {self.run_tool(*arguments, "--json").out for _ in range(5)}
            self.assertEqual(1, len(outputs))


if __name__ == "__main__":
    unittest.main()
