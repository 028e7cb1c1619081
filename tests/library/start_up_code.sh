#!/usr/bin/env bash
# start_up_code.sh OBJECT...: no object of the library runs code, or takes thread-local memory, when
# it is loaded.
set -euo pipefail

(($# > 0))
for object in "$@"; do [[ -r $object ]]; done
found=$(
  readelf --wide --sections "$@" | awk '
    /^File: / { object = $2 }
    match($0, /\.(init_array|fini_array|preinit_array|ctors|dtors|tbss|tdata)[^ ]*/) {
      print object ": " substr($0, RSTART, RLENGTH)
    }'
  nm --print-file-name "$@" |
    grep -E '_GLOBAL__sub_[ID]_|__static_initialization|__cxx_global_var_init' || true
)
if [[ -n $found ]]; then printf '%s\n' "$found"; fi
[[ -z $found ]]
