#!/usr/bin/env bash
# dev_command.sh ROOT: what ./dev says before it builds anything: to wrong arguments, to a second
# command in the same checkout, and where it cannot work. Runs a copy of it in an empty checkout.
set -euo pipefail

root=$1

work=$(realpath "$(mktemp -d)")
trap 'rm -rf -- "$work"' EXIT
mkdir -p "$work/checkout/fuzz" "$work/bin"
cp "$root/dev" "$root/CMakePresets.json" "$root/debian-packages.txt" "$work/checkout"
cp "$root"/fuzz/*_fuzz.cpp "$work/checkout/fuzz"
(cd -- "$root" && find . -path ./build -prune -o -name commands.bash -print0 |
  xargs -0 cp --parents -t "$work/checkout")
cd -- "$work/checkout"

# A machine with little on it, and no packages to install.
for tool in basename bash cat dirname env find flock grep mkdir nproc paste readlink rm sed sort; do
  ln -s "$(command -v "$tool")" "$work/bin"
done
here() { PATH=$work/bin "$@"; }

failures=0
report() {
  printf '%s\n' "$*"
  failures=$((failures + 1))
}

# refuses SENTENCE ARGUMENT...: with the status 1 and one line, which holds the sentence.
refuses() {
  local sentence=$1 status=0
  shift
  here ./dev "$@" >"$work/output" 2>&1 || status=$?
  ((status == 1)) || report "./dev $* ends with $status"
  if [[ $(wc -l <"$work/output") != 1 ]] || ! grep -qF -e "$sentence" "$work/output"; then
    report "./dev $* says: $(cat "$work/output")"
  fi
}

here ./dev help | grep '^Usage: ./dev COMMAND$' >/dev/null || report 'no usage'
refuses "unknown command 'tset'" tset
refuses 'clean takes no argument' clean all
refuses "no preset is named 'resize'; there are: aarch64 asan clang debug fuzz msan release tsan valgrind." test resize
refuses "no preset is named 'base'" test base
refuses 'a preset and a regular expression, no more' test release a b
refuses "no fuzz target is named 'resize'; there are: " fuzz resize
refuses "no fuzz target is named 'resize'; there are: " corpus resize
refuses "a number of seconds, not 'long'" fuzz all long
refuses 'coverage takes no argument' coverage all
refuses 'accuracy takes no argument' accuracy all
refuses 'packages takes no argument' packages all
refuses 'release-check takes no argument' release-check all
refuses 'docs takes no argument' docs html
refuses 'fleet takes a number of modules, no more' fleet 500 600
refuses "fleet takes a number of modules from 200 to 100000, not 'all'" fleet all
refuses "fleet takes a number of modules from 200 to 100000, not '100'" fleet 100
refuses 'bits takes the word renew, or nothing' bits all
refuses 'abi-baseline takes no argument' abi-baseline all
refuses 'compilers takes one regular expression' compilers a b
refuses "no compiler, and no way to build, is named 'resize'" compilers resize
refuses 'defects takes one regular expression' defects a b
[[ ! -e build ]] || report 'wrong arguments make a build folder'
refuses "'cmake' is missing" demo

# Where build/ cannot be made, be it for a read-only disk or for a file of that name.
rm -rf build
touch build
refuses "cannot make $PWD/build" test release
rm build

# The second of two commands waits for the first, here this script, and does its work after it.
mkdir build
exec {turn}<.
flock "$turn"
here ./dev clean 2>"$work/said" &
second=$!
for ((i = 0; i < 600; ++i)); do
  if [[ -s $work/said ]]; then break; fi
  sleep 0.1
done
grep -q 'another ./dev is at work in this checkout; waiting' "$work/said" ||
  report "a second command says: $(cat "$work/said")"
[[ -d build ]] || report 'a second command does not wait'
here ./dev help >/dev/null  # would hang if it waited
QO_DEV_TURN=$PWD here ./dev clean  # started by the first one: neither waits for the other
[[ ! -d build ]] || report 'a command within a command does nothing'
mkdir build
flock --unlock "$turn"
wait "$second"
[[ ! -d build ]] || report 'a second command does nothing after its wait'

((failures == 0))
