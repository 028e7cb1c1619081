"""Reads a recipe or a layer's configuration as bitbake's grammar has it, and executes nothing."""

import ast
import re
import subprocess
import textwrap

ASSIGNMENT = re.compile(
    r"""(?:export\s+)?
    (?P<name>[A-Za-z0-9_.+:${}/~-]+?)
    (?:\[(?P<flag>[A-Za-z0-9_.+-]+)\])?
    \s*(?P<operator>\?\?=|\?=|:=|\+=|=\+|\.=|=\.|=)\s*
    (?P<quote>["'])(?P<value>.*)(?P=quote)""",
    re.VERBOSE | re.DOTALL,
)
FUNCTION = re.compile(r"(?P<kind>(?:(?:python|fakeroot)\s+)*)(?P<name>[A-Za-z0-9_.+:${}-]*)\s*\(\s*\)\s*{")
STATEMENT = re.compile(
    r"(?:inherit|require|include|export|unset|addtask|deltask|addhandler|EXPORT_FUNCTIONS)\s+\S.*"
)
EXPRESSION = re.compile(r"\${@((?:{[^{}]*}|[^{}])+)}")
# Since overrides are written with a colon, these would name variables that nobody reads.
OLD_OVERRIDE = re.compile(r"_(?:append|prepend|remove|class-[a-z]+)\b")


class Fault(Exception):
    """What bitbake would refuse, or pass over in silence."""


def _check_shell(body, where):
    said = subprocess.run(
        ["bash", "-n"], input=body, capture_output=True, text=True, check=False
    )
    if said.returncode:
        raise Fault(f"{where}: {said.stderr}")


def _check_python(source, where, mode="exec"):
    try:
        ast.parse(source, mode=mode)
    except SyntaxError as error:
        raise Fault(f"{where}: {error}") from error


def _logical_lines(text):
    """(number, line) with continued lines joined."""
    number, joined, start = 0, "", 0
    for line in text.split("\n"):
        number += 1
        start = start if joined else number
        if line.endswith("\\"):
            if line.startswith("#"):
                raise Fault(f"line {number}: a comment swallows the line after it")
            joined += line[:-1]
            continue
        yield start, joined + line
        joined = ""
    if joined:
        raise Fault(f"line {start}: the file ends in a continued line")


def _assignment(match, where, variables):
    name, value = match["name"], match["value"]
    if re.search(rf"(?<!\\){match['quote']}", value):
        raise Fault(f"{where}: a quote inside of quotes")
    if OLD_OVERRIDE.search(name):
        raise Fault(f"{where}: {name} is written as overrides no longer are")
    if value.count("${") > value.count("}"):
        raise Fault(f"{where}: a reference without an end")
    for expression in EXPRESSION.findall(value):
        _check_python(expression.strip(), where, "eval")
    key = name if match["flag"] is None else f"{name}[{match['flag']}]"
    if match["operator"] in ("=", ":=", "=+", "=."):
        variables[key] = value
    elif match["operator"] in ("+=", ".="):
        variables[key] = f"{variables.get(key, '')} {value}".strip()
    else:
        variables.setdefault(key, value)


def read(text):
    """The variables that a text assigns, and the classes it inherits; Fault where it cannot be read."""
    variables, classes = {}, []
    lines = _logical_lines(text)
    for number, line in lines:
        where = f"line {number}: {line.strip()[:60]}"
        if not line.strip() or line.startswith("#"):
            continue
        if match := FUNCTION.fullmatch(line.rstrip()):
            body = []
            for _, inner in lines:
                if inner.rstrip() == "}":
                    break
                body.append(inner)
            else:
                raise Fault(f"{where}: a function without an end")
            source = "\n".join(body) + "\n"
            if "python" in match["kind"]:
                _check_python(textwrap.dedent(source), where)
            else:
                _check_shell(source, where)
        elif line[0].isspace():
            raise Fault(f"{where}: indented outside of a function")
        elif match := ASSIGNMENT.fullmatch(line.rstrip()):
            _assignment(match, where, variables)
        elif STATEMENT.fullmatch(line.rstrip()):
            word, *rest = line.split()
            if word == "inherit":
                classes += rest
        else:
            raise Fault(f"{where}: no statement")
    return variables, classes
