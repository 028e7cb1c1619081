"""Every public name has an example, and every example is true."""

import doctest
import importlib
import inspect
import pkgutil
import types

import numpy as np
import pytest

import qo_cmc

# What others give, or what gives bytes that stand in everybody's examples.
WITHOUT_EXAMPLE = {"RecordReference", "RecordRow", "Report", "sample_container", "sample_nvm"}


def modules():
    """The package and its modules; those for the command line are asked by their own tests."""
    for found in pkgutil.iter_modules(qo_cmc.__path__):
        if found.name != "__main__":
            yield importlib.import_module(f"qo_cmc.{found.name}")
    yield qo_cmc


def documented(module):
    """Names and docstrings of what a module defines, members of its classes included."""
    yield module.__name__, module.__doc__
    for name, value in vars(module).items():
        if name.startswith("_") or isinstance(value, types.ModuleType):
            continue
        if not callable(value) or getattr(value, "__module__", None) not in (
                module.__name__, "qo_cmc"):
            continue
        yield f"{module.__name__}.{name}", inspect.getdoc(value)
        if inspect.isclass(value):
            for member, found in vars(value).items():
                text = getattr(found, "__doc__", None)
                if not member.startswith("_") and isinstance(text, str):
                    yield f"{module.__name__}.{name}.{member}", inspect.cleandoc(text)


PARSER = doctest.DocTestParser()
EXAMPLES = [(name, text) for module in modules() for name, text in documented(module)
            if text and PARSER.get_examples(text)]


@pytest.mark.parametrize("name,text", EXAMPLES, ids=[name for name, _ in EXAMPLES])
def test_an_example_is_true(name, text):
    test = PARSER.get_doctest(text, {"qo_cmc": qo_cmc, "np": np}, name, name, 0)
    report = []
    doctest.DocTestRunner().run(test, out=report.append)
    assert not report, "".join(report)


def test_every_public_function_and_class_has_an_example():
    public = [name for name in qo_cmc.__all__ if callable(getattr(qo_cmc, name))]
    assert public
    missing = {name for name in public
               if not PARSER.get_examples(inspect.getdoc(getattr(qo_cmc, name)) or "")}
    assert missing == WITHOUT_EXAMPLE
