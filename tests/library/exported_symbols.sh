#!/usr/bin/env bash
# exported_symbols.sh LIBRARY VERSION_SCRIPT: the library exports every name that the version script
# lists, and no other. The linker ignores a listed name that nobody defines.
set -euo pipefail

library=$1
version_script=$2

# Between "global:" and "local:", without comments: one name each up to its semicolon.
listed=$(tr '\n' ' ' <"$version_script" | sed -e 's:/\*[^*]*\*/: :g' -e 's/.*global://' -e 's/local:.*//' |
  tr -d '[:blank:]' | tr ';' '\n' | sed '/^$/d' | sort)
exported=$(nm -D --defined-only --format=posix "$library" | cut -d' ' -f1 | sort)

[[ $(wc -l <<<"$listed") -ge 33 ]] || {
  echo "$version_script: its list could not be read"
  exit 1
}

missing=$(comm -23 <(echo "$listed") <(echo "$exported"))
surplus=$(comm -13 <(echo "$listed") <(echo "$exported"))
if [[ -n $missing ]]; then printf 'listed but not exported:\n%s\n' "$missing"; fi
if [[ -n $surplus ]]; then printf 'exported but not listed:\n%s\n' "$surplus"; fi
[[ -z $missing$surplus ]]
