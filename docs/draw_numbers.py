#!/usr/bin/env python3
"""Draws the pictures of numeric_conventions.md: draw_numbers.py [FOLDER], this one unless it is given.

What they show is computed here by the rules that the page states.
"""

import math
import pathlib
import sys
from xml.sax.saxutils import escape

STYLE = """    .box { fill: #ffffff; stroke: #57606a; stroke-width: 1.3 }
    .given { fill: #ddf4ff; stroke: #0969da; stroke-width: 1.3 }
    .result { fill: #dafbe1; stroke: #1a7f37; stroke-width: 1.3 }
    .way { fill: none; stroke: #57606a; stroke-width: 1.6 }
    .faint { fill: none; stroke: #8c959f; stroke-width: 1; stroke-dasharray: 4 4 }
    .head { fill: #57606a }
    text { fill: #1f2328 }
    .small { font-size: 12px; fill: #57606a }
    .name { font-family: ui-monospace, monospace; font-size: 12px; fill: #57606a }
    @media (prefers-color-scheme: dark) {
      .box { fill: #161b22; stroke: #8b949e }
      .given { fill: #0c2d4d; stroke: #4493f8 }
      .result { fill: #0f3d23; stroke: #3fb950 }
      .way { stroke: #9ea7b3 }
      .faint { stroke: #6e7681 }
      .head { fill: #9ea7b3 }
      text { fill: #e6edf3 }
      .small, .name { fill: #9ea7b3 }
    }"""


class Picture:
    def __init__(self, width, height, title, description):
        self.width, self.height = width, height
        self.title, self.description = title, description
        self.parts = []

    def text(self, x, y, words, kind="", anchor="start"):
        kind = f' class="{kind}"' if kind else ""
        self.parts.append(f'<text{kind} x="{x:g}" y="{y:g}" text-anchor="{anchor}">{escape(words)}</text>')

    def box(self, x, y, width, height, kind):
        self.parts.append(f'<rect class="{kind}" x="{x:g}" y="{y:g}" width="{width:g}" height="{height:g}"/>')

    def line(self, points, kind="way", arrow=False):
        path = "M" + " ".join(f"{x:g} {y:g}" for x, y in points)
        arrow = ' marker-end="url(#arrow)"' if arrow else ""
        self.parts.append(f'<path class="{kind}" d="{path}"{arrow}/>')

    def svg(self):
        body = "\n  ".join(self.parts)
        return f"""<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}" width="{self.width}"
     height="{self.height}" role="img" aria-labelledby="title description"
     font-family="system-ui, sans-serif" font-size="14">
  <title id="title">{escape(self.title)}</title>
  <desc id="description">{escape(self.description)}</desc>
  <style>
{STYLE}
  </style>
  <defs>
    <marker id="arrow" viewBox="0 0 10 10" refX="9" refY="5" markerWidth="7" markerHeight="7"
            orient="auto-start-reverse">
      <path class="head" d="M0 0 10 5 0 10z"/>
    </marker>
  </defs>
  {body}
</svg>
"""


def fixed_point():
    """One value in every format: where the point stands, and the integer that is stored."""
    value = 1.5
    formats = [("8.8", 16, 8), ("p10", 16, 10), ("12 fractional bits", 16, 12), ("16.16", 32, 16)]
    cell, left, row = 17, 160, 62
    picture = Picture(
        left + 32 * cell + 110, 30 + row * len(formats), "Fixed-point formats",
        "The number 1.5 in four formats: 384 in 8.8, 1536 with ten fractional bits, 6144 with twelve, "
        "98304 in 16.16. Integer bits stand left of the point, fractional bits right of it.")
    for number, (name, bits, fraction) in enumerate(formats):
        top = 24 + row * number
        stored = int(value * 2**fraction)
        picture.text(left - 14, top + 17, name, anchor="end")
        for bit in range(bits):
            shift = bits - 1 - bit
            x = left + cell * bit
            picture.box(x, top, cell, 24, "result" if shift < fraction else "given")
            picture.text(x + cell / 2, top + 17, str(stored >> shift & 1), "name", "middle")
        point = left + cell * (bits - fraction)
        picture.line([(point, top - 6), (point, top + 30)])
        picture.text(left + cell * bits + 12, top + 17, str(stored))
    return picture


def corner_aligned(output, in_side, out_side):
    return output * (in_side - 1) / (out_side - 1)


def left_aligned(output, in_side, out_side):
    return output * ((in_side << 16) // out_side + 1) >> 16


def far_edge(output, in_side, out_side):
    return math.ceil((output + 1) * in_side / out_side) - 1


def axis(picture, left, top, side, cell, kind):
    for sample in range(side):
        picture.box(left + cell * sample, top, cell, 26, kind)
        picture.text(left + cell * (sample + 0.5), top + 18, str(sample), "small", "middle")


def mapping_rules():
    """Which place of the source each output reads, by each rule."""
    in_side, out_side = 4, 7
    cell, left, height = 88, 215, 150
    picture = Picture(
        660, 10 + height * 4, "Mapping rules",
        "Four rows. Corner-aligned: the first and last outputs read the centres of the first and last "
        "source samples, the others lie evenly between. Left-aligned: each output copies the sample in "
        "which its left edge lies. Far edge: each copies the sample in which its right edge lies. "
        "Area: each output is the mean of the samples that it covers.")
    rows = [
        ("corner-aligned", "x (in - 1) / (out - 1)", corner_aligned),
        ("left-aligned", "floor(x in / out)", left_aligned),
        ("far edge", "ceil((x + 1) in / out) - 1", far_edge),
    ]
    for number, (name, formula, rule) in enumerate(rows):
        top = 20 + height * number
        picture.text(14, top + 45, name)
        picture.text(14, top + 65, formula, "name")
        axis(picture, left, top, in_side, cell, "given")
        picture.text(left + cell * in_side + 12, top + 18, "source", "small")
        # An output's own cell is as wide as what it covers of the source.
        out_cell = cell * in_side / out_side
        if rule is corner_aligned:
            out_cell = cell * (in_side - 1) / (out_side - 1)
        start = left + (cell / 2 - out_cell / 2 if rule is corner_aligned else 0)
        axis(picture, start, top + 84, out_side, out_cell, "result")
        picture.text(left + cell * in_side + 12, top + 102, "output", "small")
        for output in range(out_side):
            from_x = start + out_cell * (output + 0.5)
            to_x = left + cell * (rule(output, in_side, out_side) + 0.5)
            picture.line([(from_x, top + 84), (to_x, top + 28)], arrow=True)
    in_side, out_side, top = 7, 4, 20 + height * 3
    picture.text(14, top + 45, "area")
    picture.text(14, top + 65, "the mean of what", "name")
    picture.text(14, top + 81, "the output covers", "name")
    whole = cell * 4
    axis(picture, left, top, in_side, whole / in_side, "given")
    axis(picture, left, top + 84, out_side, whole / out_side, "result")
    picture.text(left + whole + 12, top + 18, "source", "small")
    picture.text(left + whole + 12, top + 102, "output", "small")
    for edge in range(out_side + 1):
        x = left + whole / out_side * edge
        picture.line([(x, top - 8), (x, top + 118)], "faint")
    return picture


def stored_p10(value):
    """The low 16 bits of 1024 times the value, truncated to a signed 32-bit integer."""
    return max(-2**31, min(2**31 - 1, math.trunc(1024 * value))) & 0xffff


def wrapping():
    """What a 16-bit store without a clamp makes of values that it cannot hold."""
    left, top, width, height = 70, 20, 560, 150
    low, high = -64, 192

    def at(value, stored):
        return (left + (value - low) / (high - low) * width, top + height * (1 - stored / 65536))

    picture = Picture(
        660, 220, "A 16-bit store without a clamp",
        "The stored integer over the value, for ten fractional bits. From 0 to below 64 it is 1024 times "
        "the value. At 64 it falls to 0 and rises again; below 0 it comes down from 65535.")
    (fits_left, fits_top), (fits_right, fits_bottom) = at(0, 65536), at(64, 0)
    picture.box(fits_left, fits_top, fits_right - fits_left, fits_bottom - fits_top, "result")
    for value in range(low, high, 64):
        picture.line([at(value, 0), at(value, 65536)], "faint")
        # On the negative side truncation is toward zero: one step later, too small to see.
        last = value + 64 - 1 / 1024
        picture.line([at(value, stored_p10(value)), at(last, stored_p10(last))])
    picture.line([at(low, 0), at(high, 0)])
    for value in range(low, high + 1, 64):
        picture.text(at(value, 0)[0], top + height + 20, str(value), "small", "middle")
    for stored in (0, 32768, 65535):
        picture.text(left - 10, at(0, stored)[1] + 5, str(stored), "small", "end")
    for value, words in ((-32, "wraps"), (32, "fits"), (128, "wraps")):
        picture.text(at(value, 0)[0], top + height + 42, words, "small", "middle")
    return picture


PICTURES = {
    "fixed_point.svg": fixed_point,
    "mapping_rules.svg": mapping_rules,
    "wrapping_store.svg": wrapping,
}

if __name__ == "__main__":
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else __file__)
    folder = folder if folder.is_dir() else folder.parent
    for file_name, draw in PICTURES.items():
        (folder / file_name).write_text(draw().svg(), encoding="utf-8")
