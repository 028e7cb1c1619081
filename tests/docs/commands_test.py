"""Every block of commands on the pages, run in a checkout whose build is this one.

What takes minutes is not done again: in the checkout stand a `cmake` and a `./dev` that look whether
presets, options, targets and commands exist, and then take what this build has made.
"""

import os
import re
import shutil
import unittest

import client
import pages

# Blocks that take the Python package, which this build may not have made.
HAS_PYTHON = "QO_PYTHON_PACKAGE" in os.environ
OF_PYTHON = re.compile(r"QO_BUILD_PYTHON|PYTHONPATH")

CMAKE = """#!/usr/bin/env bash
# cmake, as far as the pages use it. Options are looked up in the build's cache, targets in its list.
set -euo pipefail
fail() { printf 'cmake: %s\\n' "$*" >&2; exit 1; }
preset_folder() {
  grep -qF "\\"name\\": \\"$1\\"" CMakePresets.json || fail "no preset $1"
  printf 'build/%s' "$1"
}
if [[ $1 == --install ]]; then
  [[ -e $2 ]] || fail "$2 was not configured"
  exec "$REAL_CMAKE" --install "$REAL_BUILD" "${@:3}"
fi
verb=configure folder='' targets=()
while (($#)); do
  case $1 in
    --build)
      verb=build
      if [[ ${2-} != -* ]]; then folder=$2; shift; fi
      ;;
    -B) folder=$2; shift ;;
    --preset) folder=$(preset_folder "$2"); shift ;;
    --target) targets+=("$2"); shift ;;
    --toolchain) [[ -f $2 ]] || fail "no $2"; shift ;;
    -D*)
      option=${1#-D}
      grep -qE "^${option%%=*}:" "$REAL_BUILD/CMakeCache.txt" || fail "no option ${option%%=*}"
      ;;
    *) fail "what is $1?" ;;
  esac
  shift
done
[[ $folder == build/* ]] || fail "in $folder?"
if [[ $verb == configure ]]; then
  mkdir -p build
  ln -sfn "$REAL_BUILD" "$folder"
else
  [[ -e $folder ]] || fail "$folder was not configured"
  known=$("$REAL_CMAKE" --build "$REAL_BUILD" --target help)
  for target in "${targets[@]}"; do
    grep -qx "... $target" <<<"$known" || fail "no target $target"
  done
fi
"""

DEV = """#!/usr/bin/env bash
# ./dev, as far as the pages use it.
set -euo pipefail
"$REAL_ROOT/dev" help | grep -E "^  $1( |\\$)" >/dev/null || { echo "no command $1"; exit 1; }
if [[ $1 == demo ]]; then
  mkdir -p build
  ln -sfn "$REAL_BUILD" build/release
  build/release/bin/qo-cmc sample build/sample
fi
"""


class Commands(client.ClientTest):
    def checkout(self, name):
        """An own folder with all that a checkout has, but nothing built."""
        folder = self.work / name
        folder.mkdir()
        for entry in pages.ROOT.iterdir():
            if entry.name not in {"build", "dev", ".git"}:
                (folder / entry.name).symlink_to(entry)
        (folder / "dev").write_text(DEV)
        # Names that the pages use for what the reader has.
        shutil.copy(self.work / "sample.vexb", folder / "FILE.vexb")
        shutil.copy(self.work / "sample.nvm", folder / "FILE.nvm")
        shutil.copy(pages.ROOT / "examples/parse_container.c", folder)
        tools = folder / "tools_first"
        tools.mkdir()
        (tools / "cmake").write_text(CMAKE)
        (tools / "sudo").write_text('#!/bin/sh\nexec "$@"\n')
        (tools / "cc").write_text(f'#!/bin/sh\nexec {os.environ["QO_CC"]} "$@"\n')
        for program in [folder / "dev", *tools.iterdir()]:
            program.chmod(0o755)
        return folder

    def surroundings(self, folder):
        """`/usr/local` is a folder of the test's, and the stack is there: its stand-ins."""
        system = folder / "system"
        libraries = system / self.library.relative_to(self.prefix)
        local = system / "usr/local" / self.library.relative_to(self.prefix)
        return {
            **os.environ,
            "PATH": f"{folder / 'tools_first'}:{os.environ['PATH']}",
            "REAL_ROOT": str(pages.ROOT),
            "REAL_BUILD": str(pages.BUILD),
            "REAL_CMAKE": pages.CMAKE,
            "DESTDIR": str(system),
            "CPATH": str(system / "usr/local/include"),
            "LIBRARY_PATH": f"{local}:{libraries}",
            "PKG_CONFIG_LIBDIR": str(local / "pkgconfig"),
            "LD_LIBRARY_PATH": str(self.standins),
        }

    def test_commands_do_what_their_page_says(self):
        count = 0
        for page in pages.PAGES:
            blocks = [
                block
                for block in pages.all_blocks("sh")
                if block.page == page and (HAS_PYTHON or not OF_PYTHON.search(block.text))
            ]
            if not blocks:
                continue
            folder = self.checkout("_".join(page.relative_to(pages.ROOT).with_suffix("").parts))
            for block in blocks:
                with self.subTest(block.place):
                    count += 1
                    # A page's blocks follow each other, as a reader would go through them.
                    printed = self.run_tool(
                        "bash", "-euo", "pipefail", "-c", block.text,
                        cwd=folder, env=self.surroundings(folder),
                    )  # fmt: skip
                    if block.output is not None:
                        self.assertEqual(block.output, printed)
        self.assertGreater(count, 0)

    def test_commands_that_do_not_exist_are_noticed(self):
        folder = self.checkout("checkout_of_mistakes")
        for command in [
            "cmake --preset resize",
            "cmake -B build/package -DQO_BUILD_TOYS=ON",
            "cmake --build build/package",
            "cmake --install build/package",
            "cmake -B build/package && cmake --build build/package --target qo-cnc",
            "./dev tset",
            "qo-cnc check FILE.vexb",
        ]:
            with self.subTest(command), self.assertRaises(AssertionError):
                self.run_tool(
                    "bash", "-euo", "pipefail", "-c", command,
                    cwd=folder, env=self.surroundings(folder),
                )  # fmt: skip


if __name__ == "__main__":
    unittest.main()
