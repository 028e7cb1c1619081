#!/usr/bin/env bash
# public_headers.sh ROOT C_COMPILER CXX_COMPILER: every public header compiles by itself, as C11 and as
# C++20, without a warning.
set -euo pipefail

root=$1
cc=$2
cxx=$3

cd -- "$root"
headers=(include/qo_cmc/*.h platform/include/*.h)
((${#headers[@]} >= 8))

failures=0
for header in "${headers[@]}"; do
  # Included as a client includes it; generating code finds more than checking syntax does.
  for language in c11 c++20; do
    if [[ $language == c11 ]]; then compile=("$cc" -x c); else compile=("$cxx" -x c++); fi
    # With a declaration after it: C has no empty translation units, and one header only has macros.
    if ! printf '#include "%s"\nint unit_is_not_empty;\n' "${header#*include/}" |
      "${compile[@]}" -std="$language" -Wall -Wextra -pedantic -Werror -c -o /dev/null \
        -Iinclude -Iplatform/include -; then
      printf '%s does not stand alone as %s\n' "$header" "$language"
      failures=$((failures + 1))
    fi
  done
done
((failures == 0))
