#!/usr/bin/env bash
# row_symbols.sh OBJECT...: an object of row kernels defines one constant and shares nothing. Of a
# weak symbol that several objects define the linker keeps one, and with it that object's
# instructions, which other machines may lack.
set -euo pipefail

(($# > 0))
failures=0
for object in "$@"; do
  symbols=$(nm --defined-only --extern-only --demangle "$object")
  weak=$(awk '$2 ~ /^[VvWwuC]$/' <<<"$symbols")
  if [[ -n $weak ]]; then
    printf '%s shares:\n%s\n' "$object" "$weak"
    failures=$((failures + 1))
  fi
  grep -q ' R \|  *D ' <<<"$symbols" || {
    printf '%s defines no table\n' "$object"
    failures=$((failures + 1))
  }
done
((failures == 0))
