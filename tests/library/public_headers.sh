#!/usr/bin/env bash
# public_headers.sh ROOT C_COMPILER [CXX_COMPILER]: every public header compiles by itself, in each
# language that clients are written in and that there is a compiler for, without a warning.
set -euo pipefail

root=$1
cc=$2
cxx=${3-}

cd -- "$root"
headers=(include/qo_cmc/*.h platform/include/*.h)
((${#headers[@]} >= 8))

# A language, and what its clients may switch off.
languages=(c11 c17)
if [[ -n $cxx ]]; then languages+=(c++17 c++20 'c++20 -fno-exceptions -fno-rtti'); fi

failures=0
for header in "${headers[@]}"; do
  # What is installed must not need what is not.
  folders=(-Iinclude)
  if [[ $header == platform/* ]]; then folders+=(-Iplatform/include); fi
  # Included as a client includes it; generating code finds more than checking syntax does.
  for language in "${languages[@]}"; do
    read -ra options <<<"-std=$language"
    if [[ $language == c++* ]]; then compile=("$cxx" -x c++); else compile=("$cc" -x c); fi
    # With a declaration after it: C has no empty translation units, and one header only has macros.
    if ! printf '#include "%s"\nint unit_is_not_empty;\n' "${header#*include/}" |
      "${compile[@]}" "${options[@]}" -Wall -Wextra -pedantic-errors -Werror -c -o /dev/null \
        "${folders[@]}" -; then
      printf '%s does not stand alone as %s\n' "$header" "$language"
      failures=$((failures + 1))
    fi
  done
done
((failures == 0))
