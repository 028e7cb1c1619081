#!/usr/bin/env bash
# exported_symbols.sh LIBRARY VERSION_SCRIPT: the library exports every name that the version script
# lists, and no other; each is a plain function, without a version. The linker ignores a listed name
# that nobody defines.
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

# Data would be copied into clients with its size; a function that is chosen when it is loaded runs
# code then. Clients were linked to names without a version, and would not find others.
others=$(readelf --wide --dyn-syms "$library" |
  awk '$7 ~ /^[0-9]+$/ && $5 != "LOCAL" && ($4 != "FUNC" || $5 != "GLOBAL" ||
      $6 != "DEFAULT" || $8 ~ /@/)')
if [[ -n $others ]]; then printf 'not plain functions:\n%s\n' "$others"; fi
[[ -z $missing$surplus$others ]]
