#!/usr/bin/env bash
# example.sh EXPECTED PROGRAM...: the program succeeds, prints what stands in EXPECTED, and has
# nothing to complain of.
set -euo pipefail

expected=$1
shift

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

if ! "$@" >"$work/said" 2>"$work/complaints"; then
  printf '%s\n' 'it fails:'
  cat "$work/complaints"
  exit 1
fi
diff -u "$expected" "$work/said"
diff -u /dev/null "$work/complaints"
