#!/usr/bin/env bash
# refusals.sh CONTAINER SHADING_AT...: what examples/shading_at.c answers where it cannot print gains.
set -euo pipefail

container=$1
shift
program=("$@")

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# expect STATUS MESSAGE ARGUMENT...: prints nothing, says why, and ends with that status
expect() {
  local wanted=$1 message=$2 status=0
  shift 2
  "${program[@]}" "$@" >"$work/said" 2>"$work/complaints" || status=$?
  if [[ $status != "$wanted" || -s $work/said ]] || ! grep -qF -e "$message" "$work/complaints"; then
    printf '%s: status %s, prints: %s\n' "$*" "$status" "$(cat "$work/said" "$work/complaints")"
    exit 1
  fi
}

# Words: 0, total size 24, 0, 0, 0, and their sum; no records.
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\30\0\0\0' >"$work/empty.vexb"
head -c 1000 "$container" >"$work/cut.vexb"

expect 2 usage
expect 2 usage 0.5 0.5
expect 2 usage 0.5 0.5 "$container" one two
for place in -0.1 1.1 nan '' 0.5x; do
  expect 2 usage "$place" 0.5 "$container"
  expect 2 usage 0.5 "$place" "$container"
done
expect 2 "$work/missing" 0.5 0.5 "$work/missing"
expect 2 "$work/missing" 0.5 0.5 "$container" "$work/missing"
expect 2 'cannot be read whole' 0.5 0.5 "$work"
expect 1 'not a valid container' 0.5 0.5 "$work/cut.vexb"
expect 1 'has no gains' 0.5 0.5 "$work/empty.vexb"
