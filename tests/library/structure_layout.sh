#!/usr/bin/env bash
# structure_layout.sh ROOT CLANG: cmc_parser/binary_interface.cpp, which every compiler of every
# architecture has to accept, asserts each public structure's size, the place and type of each
# member, and each enumerator's value. The list of what there is, in C, is Clang's; so are the places
# on both architectures.
set -euo pipefail

root=$1
clang=$2

[[ -x $clang ]] || {
  echo 'skipped: Clang is not installed'
  exit 77
}
cd -- "$root"
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
mkdir "$work/libc"
echo 'void* memcpy(void*, const void*, __SIZE_TYPE__);' >"$work/libc/string.h"
for header in include/qo_cmc/*.h platform/include/*.h; do
  printf '#include "%s"\n' "${header#*include/}"
done >"$work/headers.c"

# look TARGET OPTION...: what Clang says of the headers, with no C library but the one line above
look() {
  "$clang" --target="$1" -std=c11 -fsyntax-only -ffreestanding -nostdlibinc -isystem "$work/libc" \
    -Iinclude -Iplatform/include "${@:2}" "$work/headers.c"
}

# places TARGET: "structure.member offset type" for each member, "structure size" for each structure.
# A structure without a name counts with its members, as C finds them.
places() {
  look "$1" -Xclang -fdump-record-layouts-complete | awk '
    NF == 0 { next }
    /^\*\*\*/ { structure = "" }
    structure == "" && / \| (struct|union) / {
      structure = $NF
      if ($0 ~ /__|\(/) structure = "-"  # a compiler'"'"'s own; one without a name comes as a member
      split("", prefix)
      skipped_at = 99
      next
    }
    structure == "" || structure == "-" { next }
    /\[sizeof=/ {
      sub(/.*\[sizeof=/, "")
      sub(/,.*/, "")
      print structure, $0
      next
    }
    {
      offset = $1
      sub(/^ *[0-9]+ \|/, "")
      match($0, /^ */)
      depth = RLENGTH
      sub(/^ */, "")
      if (depth > skipped_at) next  # the inside of a structure that has a name
      skipped_at = 99
      if (/\((anonymous|unnamed) at /) {
        name = ""
        if (/\(unnamed at /) name = $NF "."
        prefix[depth + 2] = prefix[depth] name
        next
      }
      if (/^(struct|union) /) {
        skipped_at = depth
        sub(/^(struct|union) /, "")
      }
      name = $NF
      sub(/ [^ ]+$/, "")
      gsub(/ /, "")
      print structure "." prefix[depth] name, offset, $0
    }'
}

# The NVM library knows the rest of its object, and with it the size.
read_of_calibration() { grep -Ev '^calibration(_grid)? |^(calibration|calibration_grid|lsc_calibration_set)\.unread_'; }

# asserted: the same lines, as they are asserted
asserted() {
  tr '\n' ' ' <cmc_parser/binary_interface.cpp | sed 's/;/;\n/g' | sed -nE '
    s/.*QO_ASSERT_SIZE\(([0-9]+), ([a-z_0-9]+)\);/\2 \1/p
    s/.*QO_ASSERT_AT\(([0-9]+), ([a-z_0-9]+), ([a-z_0-9.]+), (.*)\);/\2.\3 \1 \4/p
    s/.*QO_ASSERT_SLOT\(([0-9]+), ([a-z_0-9.]+), (.*)\);/parsed_cmc.\2 8*\1-8 \3/p' |
    awk '{
      name = $1
      offset = $2
      if (split(offset, slot, /[*-]/) == 3) offset = slot[1] * slot[2] - slot[3]
      $1 = $2 = ""
      gsub(/ /, "")
      print name, offset ($0 == "" ? "" : " " $0)
    }'
}

failures=0
asserted | sort >"$work/asserted"
for target in x86_64-linux-gnu aarch64-linux-gnu; do
  places "$target" | read_of_calibration | sort >"$work/places"
  (($(grep -c '^parsed_cmc\.' "$work/places") >= 62)) || {
    echo "what $clang says of the headers could not be read"
    exit 1
  }
  if ! diff "$work/asserted" "$work/places" >"$work/differences"; then
    printf '%s: asserted (<), and what the headers say (>):\n' "$target"
    cat "$work/differences"
    failures=$((failures + 1))
  fi
done

look x86_64-linux-gnu -Xclang -ast-dump |
  sed -nE "s/.*EnumConstantDecl.* ([A-Za-z_0-9]+) 'int'\$/\1/p" | sort >"$work/enumerators"
grep -qx QO_CMC_OK "$work/enumerators"
sed -nE 's/^QO_ASSERT_VALUE\([0-9]+, ([A-Za-z_0-9]+)\);/\1/p' cmc_parser/binary_interface.cpp |
  sort | diff - "$work/enumerators" || {
  echo 'not the enumerators whose values are asserted'
  failures=$((failures + 1))
}
((failures == 0))
