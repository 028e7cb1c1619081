#!/usr/bin/env bash
# reproducible.sh ROOT LIBRARY CMAKE SETTING...: the library once more, from sources in a folder with a
# longer name and built in one beside them, not in them, is the same to the byte. SETTINGs are those of
# the first build.
set -euo pipefail

root=$1
library=$2
cmake=$3
shift 3

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
sources="$work/the very same sources in a folder whose name is longer than that of most others"
mkdir "$sources"
# Files only: their order in a folder, and their times, are not those of the first.
cd -- "$root"
find CMakeLists.txt base cmake cmc_parser image_utils include lsc platform rows CHANGELOG.md packaging \
  -type f -print0 | sort --zero-terminated --reverse |
  xargs -0 cp --parents --target-directory="$sources"

# A cache of compiled files would hand out the first build's own.
export CCACHE_DISABLE=1
{
  "$cmake" -S "$sources" -B "$work/build" "$@"
  "$cmake" --build "$work/build" --parallel 2 --target qo_cmc_parser
} >"$work/log" 2>&1 || {
  cat "$work/log"
  exit 1
}
cmp "$library" "$work/build/lib/libqo_cmc_parser.so" || {
  diff <(readelf --wide --all "$library") \
    <(readelf --wide --all "$work/build/lib/libqo_cmc_parser.so") | head -n 40
  exit 1
}
