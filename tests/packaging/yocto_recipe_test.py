"""The Yocto layer: its syntax, and whether what it says of this project is so."""

import fnmatch
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import bitbake_syntax

ROOT = pathlib.Path(os.environ["QO_ROOT"])
LAYER = ROOT / "packaging/yocto/meta-qo-cmc-parser"
CONF = LAYER / "conf/layer.conf"

# Where bitbake puts a file by itself: the first package, in this order, one of whose patterns it
# matches. Of the files that this project can install.
FOLDERS = {"libdir": "/usr/lib", "includedir": "/usr/include", "datadir": "/usr/share"}
PATTERNS = {
    "dev": ["{includedir}/*", "{FILES_SOLIBSDEV}", "{libdir}/pkgconfig/*", "{libdir}/cmake/*"],
    "doc": ["{datadir}/doc/*", "{datadir}/man/*"],
    "": ["{libdir}/lib*{SOLIBS}"],
}


def version(text):
    return tuple(int(part) for part in text.split("."))


class YoctoRecipe(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        recipes = list(LAYER.glob("recipes-*/*/*.bb"))
        assert len(recipes) == 1, recipes
        cls.recipe = recipes[0]
        cls.variables, cls.classes = bitbake_syntax.read(cls.recipe.read_text())
        cls.conf, _ = bitbake_syntax.read(CONF.read_text())

    def test_the_recipe_is_named_for_a_version_that_is_not_behind(self):
        name, _, number = self.recipe.stem.partition("_")
        self.assertEqual("qo-cmc-parser", name)
        self.assertGreaterEqual(version(number), version(os.environ["QO_VERSION"]))

    def test_what_bitbake_asks_of_a_recipe_is_there(self):
        for name in ("SUMMARY", "LICENSE", "SRC_URI", "SRCREV", "S"):
            with self.subTest(name):
                self.assertTrue(self.variables[name].strip())
        self.assertEqual(["cmake", "pkgconfig"], self.classes)
        self.assertEqual("CLOSED", self.variables["LICENSE"])  # or it wants a licence's checksum

    def test_the_layer_finds_its_recipe(self):
        (collection,) = self.conf["BBFILE_COLLECTIONS"].split()
        for name in ("BBFILE_PATTERN", "BBFILE_PRIORITY", "LAYERSERIES_COMPAT"):
            self.assertIn(f"{name}_{collection}", self.conf)
        patterns = self.conf["BBFILES"].replace("${LAYERDIR}", str(LAYER)).split()
        self.assertTrue(any(fnmatch.fnmatch(str(self.recipe), each) for each in patterns), patterns)

    def test_the_sources_are_those_that_the_layer_lies_in(self):
        (up,) = re.findall(r"'([./]+)'", self.variables["QO_CMC_PARSER_REPOSITORY"])
        self.assertEqual(ROOT.resolve(), (self.recipe.parent / up).resolve())

    def test_its_options_are_the_projects(self):
        cache = (pathlib.Path(os.environ["QO_BUILD"]) / "CMakeCache.txt").read_text()
        known = set(re.findall(r"^(QO_[A-Z_]+):", cache, re.MULTILINE))
        asked = set(re.findall(r"-D(QO_[A-Z_]+)=", " ".join(self.variables.values())))
        self.assertEqual({"QO_PLATFORM_ROOT", "QO_WERROR", "QO_BUILD_TOOLS"}, asked)
        self.assertLessEqual(asked, known)

    def test_the_stacks_recipes_are_asked_for_by_the_names_of_its_libraries(self):
        stack = self.variables["DEPENDS:append:class-target"]
        self.assertTrue(stack.startswith(" "), "an appended word sticks to the one before")
        self.assertEqual(["qo-log", "qo-nvm", "qo-vexb-parser"], stack.split())

    def test_each_installed_file_falls_to_its_package(self):
        names = {**FOLDERS, **self.variables}
        with tempfile.TemporaryDirectory() as folder:
            for component in ("runtime", "development", "docs"):
                subprocess.run(
                    [os.environ["QO_CMAKE"], "--install", os.environ["QO_BUILD"],
                     "--prefix", f"{folder}/usr", "--component", component],
                    stdout=subprocess.DEVNULL, check=True,
                )  # fmt: skip
            places = {}
            for each in pathlib.Path(folder).rglob("*"):
                path = f"/{each.relative_to(folder)}".replace("/usr/lib64/", "/usr/lib/")
                path = re.sub(r"^/usr/lib/[a-z0-9_]+-linux-gnu/", "/usr/lib/", path)
                if each.is_file():
                    places[path] = next(
                        (
                            package
                            for package, patterns in PATTERNS.items()
                            for pattern in patterns
                            if fnmatch.fnmatch(path, pattern.format(**names))
                        ),
                        "none",
                    )
        self.assertEqual({"", "dev", "doc"}, set(places.values()), places)
        self.assertEqual(
            ["/usr/lib/libqo_cmc_parser.so"],
            [path for path, package in places.items() if package == ""],
        )
        self.assertEqual("dev", places["/usr/include/qo_cmc/parser.h"])


class Syntax(unittest.TestCase):
    def test_what_bitbake_reads_is_read(self):
        variables, classes = bitbake_syntax.read(
            'inherit cmake\n# a comment\nA = "1 \\\n  2"\nA:append:class-target = " 3"\n'
            "B[flag] ?= 'x'\nC += \"${@d.getVar('A')}\"\n\n"
            "do_install:append () {\n    if true; then\n        :\n    fi\n}\n"
            "python do_more() {\n    d.setVar('A', {})\n}\n"
        )
        self.assertEqual(["cmake"], classes)
        self.assertEqual("1   2", variables["A"])
        self.assertEqual({"A", "A:append:class-target", "B[flag]", "C"}, set(variables))

    def test_what_bitbake_refuses_is_refused(self):
        for text in (
            'A = "1\n',
            "A = 1\n",
            'A = "a "quoted" word"\n',
            ' A = "1"\n',
            'A == "1"\n',
            'A_append = "1"\n',
            'DEPENDS_class-target = "1"\n',
            'A = "${B"\n',
            'A = "${@d.getVar(}"\n',
            "inherit\n",
            "imherit cmake\n",
            "# swallows \\\nA = \"1\"\n",
            "A = \"1 \\\n",
            "do_install() {\n    if true; then\n}\n",
            "do_install() {\n    :\n",
            "python do_more() {\n    if:\n}\n",
        ):
            with self.subTest(text), self.assertRaises(bitbake_syntax.Fault):
                bitbake_syntax.read(text)


if __name__ == "__main__":
    unittest.main()
