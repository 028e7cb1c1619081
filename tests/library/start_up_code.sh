#!/usr/bin/env bash
# start_up_code.sh OBJECT...: no object of the library runs code, or takes thread-local memory, when
# it is loaded.
set -euo pipefail

(($# > 0))
failures=0
for object in "$@"; do
  sections=$(readelf --wide --sections "$object")
  symbols=$(nm "$object")
  found=$(grep -Eo '\.(init_array|fini_array|ctors|dtors|preinit_array|tbss|tdata)[^ ]*' <<<"$sections" ||
    true)
  found+=$(grep -Eo '_GLOBAL__sub_[ID]_.*|__static_initialization.*|__cxx_global_var_init.*' \
    <<<"$symbols" || true)
  if [[ -n $found ]]; then
    printf '%s: %s\n' "$object" "$found"
    failures=$((failures + 1))
  fi
done
((failures == 0))
