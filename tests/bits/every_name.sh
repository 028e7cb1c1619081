#!/usr/bin/env bash
# every_name.sh EXPORTS HASHES: every exported function has an item, but for those that only release;
# there are a million samples at least, and no routine has few of them.
set -euo pipefail

exports=$1 hashes=$2

failures=0
report() {
  printf '%s\n' "$*"
  failures=$((failures + 1))
}

names=$(sed -n '/global:/,/local:/s/^ *\([a-z_0-9]*\);$/\1/p' "$exports")
[[ $(wc -l <<<"$names") -ge 34 ]] || report "too few names in $exports"
while read -r name; do
  if [[ $name == *deinit* ]]; then continue; fi
  # Results of the routines, in the items NAME and NAME.*.
  samples=$(awk -v name="$name" '
    $1 == name || index($1, name ".") == 1 { sum += $3 } END { print sum + 0 }' "$hashes")
  case $name in
    # Their results are whole parses, few and large.
    qo_* | cmc_parse) least=1 ;;
    *) least=20000 ;;
  esac
  ((samples >= least)) || report "$name has $samples samples in $hashes, not $least"
done <<<"$names"
total=$(awk '{ sum += $3 } END { print sum + 0 }' "$hashes")
((total >= 1000000)) || report "$total samples in $hashes are fewer than a million"

((failures == 0))
