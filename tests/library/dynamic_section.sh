#!/usr/bin/env bash
# dynamic_section.sh LIBRARY: what the loader is told. The library needs the stack's three libraries
# and the C library only, an old one too; it is bound at once and then read-only, has no executable
# data, and guards its stack.
set -euo pipefail

library=$1
failures=0

fail() {
  printf '%s: %s\n' "${library##*/}" "$*"
  failures=$((failures + 1))
}

dynamic=$(readelf --wide --dynamic "$library")
segments=$(readelf --wide --program-headers "$library")

value_of() { sed -n "s/.*($1).*\[\(.*\)\].*/\1/p" <<<"$dynamic"; }

# On AArch64 the loader itself holds the stack guard.
loader='^ld-linux-aarch64\.so\.1$'
needed=$(value_of NEEDED | grep -v "$loader" | sort | tr '\n' ' ' || true)
[[ $needed == 'libc.so.6 libqo_log.so libqo_nvm.so libqo_vexb_parser.so ' ]] || fail "needs: $needed"

soname=$(value_of SONAME)
[[ $soname == libqo_cmc_parser.so ]] || fail "soname: '$soname'"

# AArch64 starts at 2.17.
newest=$(readelf --wide --version-info "$library" | grep -Eo 'Name: GLIBC_[0-9.]+' |
  sed 's/.*_//' | sort --version-sort | tail -n 1)
[[ -n $newest && $(printf '%s\n' "$newest" 2.17 | sort --version-sort | tail -n 1) == 2.17 ]] ||
  fail "needs glibc '$newest'"

grep -Eq '\(FLAGS\).*BIND_NOW|\(BIND_NOW\)' <<<"$dynamic" || fail 'binds lazily'
grep -Eq '\(FLAGS_1\).*NOW' <<<"$dynamic" || fail 'binds lazily (FLAGS_1)'
! grep -q 'TEXTREL' <<<"$dynamic" || fail 'has text relocations'

grep -q 'GNU_RELRO' <<<"$segments" || fail 'has no read-only-after-relocation segment'
stack=$(grep 'GNU_STACK' <<<"$segments") || fail 'does not say that its stack is not executable'
! grep -Eq 'RWE|R E +0x[0-9a-f]+$' <<<"$stack" || fail 'asks for an executable stack'
! grep -Eq ' RWE ' <<<"$segments" || fail 'has a segment that is writable and executable'

nm -D --undefined-only "$library" | grep -q ' __stack_chk_fail\(@\|$\)' || fail 'does not guard its stack'

((failures == 0))
