#!/usr/bin/env bash
# no_fused_arithmetic.sh OBJDUMP LIBRARY: no product is fused into the sum after it, which would
# round once where the rule rounds twice. Every instruction of the library is looked at.
set -euo pipefail

objdump=$1
library=$2

code=$("$objdump" --disassemble --no-show-raw-insn "$library")
# The disassembler is one for this architecture: it shows plain products or sums somewhere.
grep -Eq '[[:space:]](v?mulp?s[sd]|fmul)[[:space:]]' <<<"$code"
fused=$(grep -E '[[:space:]](vf(n?m(add|sub)|maddsub|msubadd)[0-9a-z]*|fn?m(add|sub|la|ls)[a-z0-9]*)[[:space:]]' \
  <<<"$code" || true)
if [[ -n $fused ]]; then head -n 20 <<<"$fused"; fi
[[ -z $fused ]]
