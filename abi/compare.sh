#!/usr/bin/env bash
# compare.sh BASELINE LIBRARY HEADERS: the interface that the library has is the one that is kept.
# What clients cannot notice counts too, so that the baseline is always today's.
set -euo pipefail

command -v abidiff >/dev/null || {
  echo 'skipped: abidiff is not installed'
  exit 77
}
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# Described first: of a library itself abidiff sees no change inside a type that headers limit.
bash "$(dirname -- "$0")/describe.sh" "$2" "$3" "$work/new.abi"
sed "s/layout-offset-in-bits='3904'/layout-offset-in-bits='3912'/" "$work/new.abi" >"$work/moved.abi"
! abidiff --harmless "$1" "$work/moved.abi" >/dev/null || {
  echo 'a slot that is moved by a byte goes unnoticed'
  exit 1
}
abidiff --harmless "$1" "$work/new.abi" || {
  echo 'The binary interface is another than the one kept in abi/. docs/binary_interface.md says what'
  echo 'may change in which version; ./dev abi-baseline keeps the new one.'
  exit 1
}
