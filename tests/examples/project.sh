#!/usr/bin/env bash
# project.sh ROOT BUILD SAMPLE CMAKE C_COMPILER: examples/ as the project that users build, against
# the installed library; its programs print what those of this build do.
set -euo pipefail

root=$1
build=$2
sample=$3
cmake=$4
cc=$5

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
prefix="$work/the prefix"

fail() {
  printf '%s\n' "$*"
  exit 1
}

# quietly COMMAND...
quietly() { "$@" >"$work/log" 2>&1 || fail "$(cat "$work/log")"; }

# run EXPECTED PROGRAM ARGUMENT...
run() {
  local expected=$root/tests/examples/expected/$1.txt program=$work/built/$2
  shift 2
  "$program" "$@" | diff -u "$expected" - || fail "${program##*/} prints something else"
}

# A copy: nothing of the tree is found by where the project stands.
cp -r "$root/examples" "$work/examples"
configure=("$cmake" -S "$work/examples" -B "$work/built" -DCMAKE_C_COMPILER="$cc"
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS='-Wall -Wextra -pedantic -Werror')

for component in runtime development; do
  quietly "$cmake" --install "$build" --prefix "$prefix" --component "$component"
done
quietly "${configure[@]}"
grep -qF 'gain_tables takes qo_nvm.h' "$work/log" || fail 'it does not say what it leaves out'

quietly "$cmake" --install "$build" --prefix "$prefix" --component standins
quietly "${configure[@]}"
quietly "$cmake" --build "$work/built"
run records parse_container "$sample/sample.vexb"
run for_the_module shading_at 0.25 0.5 "$sample/sample.vexb" "$sample/sample.nvm"
run grids resample_grid
run tables gain_tables
