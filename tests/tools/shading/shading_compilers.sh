#!/usr/bin/env bash
# shading_compilers.sh ROOT WRITE_SHADING: the other compiler's build draws the same pictures, pages
# and tables. Exit code 77 where there is no other build, or one that is older than a source.
set -euo pipefail

root=$1 this=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
compared=0
for preset in release clang debug; do
  other=$root/build/$preset/bin/write_shading
  [[ -x $other && ! $other -ef $this ]] || continue
  newer=$(find "$root"/{base,cmc_parser,include,lsc,platform,rows,tools,writer} \
    "$root/tests/tools/shading" -type f -newer "$other" -print -quit)
  [[ -z $newer ]] || continue
  if ((compared == 0)); then "$this" "$folder/this"; fi
  "$other" "$folder/$preset"
  diff -r "$folder/this" "$folder/$preset"
  compared=$((compared + 1))
done
((compared > 0)) || exit 77
