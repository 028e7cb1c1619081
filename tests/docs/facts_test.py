"""What pages say of the code, asked of the code: the slots, the pictures, the index."""

import os
import re
import runpy
import subprocess
import unittest

import pages

DOCS = pages.ROOT / "docs"


def table_rows(page, heading):
    """The cells of the rows of the first table below a heading."""
    text = page.read_text(encoding="utf-8").split(heading, 1)[1]
    rows = []
    for line in text.splitlines():
        if line.startswith("|"):
            rows.append([cell.strip() for cell in line.strip().strip("|").split("|")])
        elif rows:
            break
    return rows[2:]


class Facts(unittest.TestCase):
    def test_the_table_of_slots_is_that_of_the_header(self):
        checks = ["#include <qo_cmc/parsed_cmc.h>", "#include <stddef.h>"]
        numbers = []
        for row in table_rows(DOCS / "ownership.md", "## Every slot"):
            number, slot, kind = row[0], row[1].strip("`"), row[2].strip("`")
            numbers.append(int(number))
            checks.append(
                f"_Static_assert(offsetof(parsed_cmc, {slot}) / 8 + 1 == {number},"
                f' "{slot} is another slot");'
            )
            checks.append(
                f"_Static_assert(__builtin_types_compatible_p("
                f'__typeof__(((parsed_cmc*)0)->{slot}), {kind}), "{slot} has another type");'
            )
        checks.append(f"_Static_assert(sizeof(parsed_cmc) == 8 * {numbers[-1]}, \"slots are missing\");")
        self.assertEqual(list(range(1, numbers[-1] + 1)), sorted(set(numbers)))
        done = subprocess.run(
            [os.environ["QO_CC"], "-std=gnu11", "-fsyntax-only", f"-I{pages.ROOT}/include", "-xc", "-"],
            input="\n".join(checks) + "\n",
            stderr=subprocess.PIPE,
            text=True,
        )
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_the_slots_of_python_are_those_of_the_header(self):
        listed = set()
        for row in table_rows(DOCS / "python.md", "## Slots"):
            names = re.sub(
                r"`record_(\d+)` to `record_(\d+)`",
                lambda ends: " ".join(
                    f"`record_{number}`" for number in range(int(ends[1]), int(ends[2]) + 1)
                ),
                row[0],
            )
            listed.update(re.findall(r"`(\w+)`", names))
        slots = {
            row[1].strip("`").split(".")[0]
            for row in table_rows(DOCS / "ownership.md", "## Every slot")
        }
        self.assertEqual(slots - {"unused_6", "unused_7"}, listed)

    def test_the_toolkit_of_python_is_every_numeric_function(self):
        listed = set()
        for row in table_rows(DOCS / "python.md", "## The toolkit"):
            listed.update(re.findall(r"`(\w+)\(", row[0]))
        exported = set(
            re.findall(r"^ +(\w+);", (pages.ROOT / "cmake/exports.map").read_text(), re.M)
        )
        parser = (pages.ROOT / "include/qo_cmc/parser.h").read_text()
        numeric = {name for name in exported if not re.search(rf"\b{name}\(", parser)}
        self.assertEqual(numeric, listed)

    def test_the_table_of_kinds_has_every_kind(self):
        listed = set()
        for row in table_rows(DOCS / "container_format.md", "## Kinds"):
            listed.update(int(number) for number in row[0].split(","))
        kinds = (pages.ROOT / "cmc_parser/records/kinds.h").read_text()
        decoded = {int(number) for number in re.findall(r"^ *KIND\((\d+),", kinds, re.M)}
        self.assertEqual(decoded | {722}, listed)

    def test_pictures_are_as_their_script_draws_them(self):
        for name, draw in runpy.run_path(str(DOCS / "draw_numbers.py"))["PICTURES"].items():
            with self.subTest(name):
                self.assertEqual(draw().svg(), (DOCS / name).read_text(encoding="utf-8"))

    def test_every_page_stands_in_the_index_and_in_the_tree_of_the_site(self):
        index = (DOCS / "README.md").read_text(encoding="utf-8")
        tree = (DOCS / "layout.xml").read_text(encoding="utf-8")
        for page in DOCS.glob("*.md"):
            if page.name != "README.md":
                with self.subTest(page.name):
                    self.assertIn(f"]({page.name})", index)
                    self.assertIn(f'"@ref md_{page.stem}"', tree)

    def test_links_lead_to_files(self):
        for page in pages.PAGES:
            text = page.read_text(encoding="utf-8")
            for target in re.findall(r"\]\(([^)#\s]+)[^)]*\)", text):
                with self.subTest(page=page.name, target=target):
                    if "://" not in target:
                        self.assertTrue((page.parent / target).exists())


if __name__ == "__main__":
    unittest.main()
