#!/usr/bin/env bash
# consumers.sh ROOT BUILD CMAKE C_COMPILER CXX_COMPILER VERSION [TOOLCHAIN EMULATOR...]: clients in C11
# and C++20 that find the installed library by CMake's package and by pkg-config, and a project of
# which it is a part. All paths hold a space, and the prefix is one that the build was not configured
# with. With a toolchain file they are cross-built, and run under the emulator.
set -euo pipefail

root=$1
build=$2
cmake=$3
cc=$4
cxx=$5
version=$6
settings=(-DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" ${7+-DCMAKE_TOOLCHAIN_FILE="$7"})
emulator=("${@:8}")

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
prefix="$work/the prefix"
sources="$work/the sources"
ln -s "$root/tests/library/consumers" "$sources"
ln -s "$root" "$work/the library"

# Words: 0, total size 24, 0, 0, 0, and their sum; no records.
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\30\0\0\0' >"$work/empty.vexb"

fail() {
  printf '%s\n' "$*"
  exit 1
}

# quietly COMMAND...
quietly() { "$@" >"$work/log" 2>&1 || fail "$(cat "$work/log")"; }

# expect_run PROGRAM: what each client prints
expect_run() {
  local said
  said=$("${emulator[@]}" "$1" "$work/empty.vexb") || fail "$1 ends with $?: $said"
  [[ $said == "$version 12" ]] || fail "$1 prints: $said"
}

quietly "$cmake" --install "$build" --prefix "$prefix"
if grep -rlF -e "$build" -e "$root" "$prefix" | grep -v '\.so$'; then
  fail 'installed files name the build'
fi
[[ ! -e $(find "$prefix" -name 'qo_nvm.h') ]] || fail 'the stand-ins are installed unasked'

configure=("$cmake" -S "$sources/package" -B "$work/package" "${settings[@]}"
  -DCMAKE_PREFIX_PATH="$prefix" -DWANTED_VERSION="$version")
if "${configure[@]}" >"$work/log" 2>&1; then fail 'a component that is not installed is found'; fi
quietly "$cmake" --install "$build" --prefix "$prefix" --component standins
quietly "${configure[@]}"
quietly "$cmake" --build "$work/package"
for client in client_c client_cpp; do expect_run "$work/package/$client"; done

PKG_CONFIG_LIBDIR=$(dirname "$(find "$prefix" -name qo_cmc_parser.pc)")
export PKG_CONFIG_LIBDIR
[[ $(pkg-config --modversion qo_cmc_parser) == "$version" ]] || fail 'pkg-config tells another version'
standins=$(dirname "$(find "$prefix" -name libqo_nvm.so)")
# A shell's words, in which pkg-config escapes the space.
declare -a flags
eval "flags=($(pkg-config --cflags --libs qo_cmc_parser))"
quietly "$cc" -std=c11 "$sources/client.c" "${flags[@]}" "-Wl,-rpath-link,$standins" -o "$work/by_name"
library=$(dirname "$(find "$prefix" -name libqo_cmc_parser.so)")
LD_LIBRARY_PATH=$library:$standins expect_run "$work/by_name"

# One set of row kernels: what is looked at here is not the library.
quietly "$cmake" -S "$sources/parent" -B "$work/parent" -DLIBRARY_SOURCE="$work/the library" \
  "${settings[@]}" -DQO_ROWS=base
quietly "$cmake" --build "$work/parent" --parallel 2
for client in client_c client_cpp; do expect_run "$work/parent/products/$client"; done
# What ./dev compilers expects of each compiler.
numbers=$(sed -n "s/^prints '\([^']*\)' .* tests\/compilers\/numbers\.c$/\1/p" "$root/tests/compilers/build.sh")
said=$("${emulator[@]}" "$work/parent/products/numbers") || fail "numbers ends with $?: $said"
[[ -n $numbers && $said == "$numbers" ]] || fail "the parent's flags change bits: $said, not $numbers"
DESTDIR=$work/of_parent quietly "$cmake" --install "$work/parent"
[[ $(find "$work/of_parent" -type f -printf '%f ') == 'client_c ' ]] ||
  fail "the parent installs: $(find "$work/of_parent" -type f)"
quietly "$cmake" -DQO_INSTALL=ON "$work/parent"
DESTDIR=$work/of_standins quietly "$cmake" --install "$work/parent" --component standins
[[ $(find "$work/of_standins" -name '*.so' -printf '%f\n' | sort | paste -sd ' ') == 'libqo_nvm.so libqo_vexb_parser.so' ]] ||
  fail "not the stand-ins alone: $(find "$work/of_standins" -name '*.so')"
for part in TESTS FUZZ BENCH BITS; do
  if "$cmake" -DQO_BUILD_"$part"=ON "$work/parent" >"$work/log" 2>&1; then
    fail "a part of another project has tests: QO_BUILD_$part"
  fi
  grep -F "QO_BUILD_$part: targets of tests" "$work/log" >/dev/null || fail "$(cat "$work/log")"
  quietly "$cmake" -DQO_BUILD_"$part"=OFF "$work/parent"
done
