#!/usr/bin/env bash
# include_directions.sh ROOT: dependencies point one way. For each folder of the library, the files
# that it may include; everything not named is refused, and so is a path relative to the includer.
set -euo pipefail

cd -- "$1"
failures=0

# allow FOLDER PATTERN: every #include "..." in the folder matches the pattern.
allow() {
  local folder=$1 pattern=$2 lines
  [[ -d $folder ]] || {
    echo "no folder $folder"
    exit 1
  }
  lines=$(grep -rnE --include='*.h' --include='*.cpp' --include='*.c' \
    '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$folder" |
    grep -vE "include[[:space:]]*\"($pattern)\"" || true)
  if [[ -n $lines ]]; then
    printf '%s/ may not include:\n%s\n' "$folder" "$lines"
    failures=$((failures + 1))
  fi
}

name='[a-z0-9_.]+'
# The numeric folders know nothing of containers and records.
allow base "base/$name"
allow rows "base/$name|rows/$name"
allow image_utils "base/$name|rows/$name|image_utils/$name|qo_cmc/(image_utils|status)\.h"
allow lsc "base/$name|rows/$name|image_utils/$name|lsc/$name|qo_cmc/(image_utils|lens_shading|lsc|status)\.h|qo_nvm\.h"
allow cmc_parser \
  "base/$name|rows/$name|image_utils/$name|lsc/$name|cmc_parser/(records/)?$name|qo_cmc/$name|qo_(log|nvm|vexb_parser)\.h"
allow include/qo_cmc "$name"
allow platform/include "qo_cmc/$name"
allow platform/standin "qo_cmc/$name|qo_(log|nvm|vexb_parser)\.h"

# Tools stand apart from the tests.
# The list of kinds is the library's; a builder for each is the writer's.
allow writer "writer/$name|qo_cmc/$name|cmc_parser/records/kinds\.h"
# What a tool says of a container is the library's own verdict, so that it looks inside.
allow tools \
  "tools/[a-z_]+/$name|writer/$name|cmc_parser/(records/)?$name|lsc/colour_cells\.h|base/$name|qo_cmc/$name|qo_(log|nvm)\.h"

# The library's headers of the interface stay among themselves too. One has functions in it, which
# copy bytes.
if grep -nE '#[[:space:]]*include[[:space:]]*<' include/qo_cmc/*.h platform/include/*.h |
  grep -vE '<std(int|def)\.h>|^include/qo_cmc/unaligned\.h:[0-9]+:#include <string\.h>'; then
  echo 'a public header includes more than <stdint.h> and <stddef.h>'
  failures=$((failures + 1))
fi
((failures == 0))
