#!/usr/bin/env bash
# describe.sh LIBRARY HEADERS OUTPUT: writes the binary interface that the library has: only what the
# headers declare, and nothing that depends on the machine, the folder or the order in which types
# are met.
set -euo pipefail

abidw --headers-dir "$2" --drop-private-types --exported-interfaces-only --no-corpus-path \
  --no-comp-dir-path --no-show-locs --no-elf-needed --type-id-style hash --out-file "$3" "$1"
# Without debugging information there are functions, and no types.
grep -q "<class-decl name='parsed_cmc'" "$3" || {
  echo "$1 does not describe its types"
  exit 1
}
