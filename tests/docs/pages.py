"""README.md and the pages of docs/, and the blocks of code on them."""

import os
import pathlib
import re

ROOT = pathlib.Path(os.environ["QO_ROOT"])
BUILD = pathlib.Path(os.environ["QO_BUILD"])
CMAKE = os.environ["QO_CMAKE"]

PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]

# A block that no test can run says so on the line before it, with the reason.
NOT_RUN = re.compile(r"<!-- not run: (.*) -->")


class Block:
    def __init__(self, page, line, language):
        self.page, self.line, self.language = page, line, language
        self.not_run = None  # the reason
        self.lines = []
        self.output = None  # what the page says that it prints

    @property
    def text(self):
        return "".join(line + "\n" for line in self.lines)

    @property
    def place(self):
        return f"{self.page.relative_to(ROOT)}:{self.line}"


def blocks_of(page):
    """The fenced blocks in their order; one of the language `output` belongs to the one before it."""
    blocks, block, before = [], None, ""
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        if block is not None:
            if line.startswith("```"):
                blocks.append(block)
                block = None
            else:
                block.lines.append(line)
        elif line.startswith("```"):
            block = Block(page, number, line[3:].strip())
            reason = NOT_RUN.fullmatch(before)
            block.not_run = reason and reason[1]
        before = line
    if block is not None:
        raise ValueError(f"{block.place}: the block does not end")
    for first, second in zip(blocks, blocks[1:]):
        if second.language == "output":
            first.output = second.text
    return blocks


def all_blocks(*languages):
    return [
        block
        for page in PAGES
        for block in blocks_of(page)
        if block.language in languages and block.not_run is None
    ]
