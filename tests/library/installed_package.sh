#!/usr/bin/env bash
# installed_package.sh ROOT BUILD CMAKE C_COMPILER STACK: a packager's view. The build is installed
# into an empty system root; the example is compiled against nothing but that, by pkg-config and by
# plain flags, and run. STACK is the folder of the stack's three libraries. The README shows the
# example as it is.
set -euo pipefail

root=$1
build=$2
cmake=$3
cc=$4
stack=$5

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

fail() {
  echo "$*"
  exit 1
}

DESTDIR=$work/system "$cmake" --install "$build" >/dev/null
package=$(find "$work/system" -name qo_cmc_parser.pc)
library=$(find "$work/system" -name libqo_cmc_parser.so)
[[ -f $package ]] || fail 'no qo_cmc_parser.pc is installed'
[[ -f $library ]] || fail 'no libqo_cmc_parser.so is installed'
! readelf --dynamic "$library" | grep -E 'RPATH|RUNPATH' || fail 'the installed library has a run path'
diff -r "$root/include/qo_cmc" "$(dirname "$(find "$work/system" -name parser.h)")" ||
  fail 'the installed headers are others'
pages=$(dirname "$(find "$work/system" -name CONTRIBUTING.md)")
diff -r "$root/examples" "$pages/examples" || fail 'other examples are installed'
mkdir "$work/docs"
cp "$root"/docs/*.{md,png,svg} "$work/docs"
diff -r "$work/docs" "$pages/docs" || fail 'other pages are installed'

flags=(-std=c11 -Wall -Wextra -pedantic -Werror "-Wl,-rpath-link,$stack")
example=$root/examples/parse_container.c

# shellcheck disable=SC2016  # Markdown's backquotes
sed -n '/^```c$/,/^```$/{/^```/!p}' "$root/README.md" | diff "$example" - ||
  fail 'the README shows another example'

# Word splitting is what pkg-config's output is made for; the system root holds no space.
export PKG_CONFIG_SYSROOT_DIR=$work/system PKG_CONFIG_LIBDIR=${package%/*}
read -ra package_flags < <(pkg-config --cflags --libs qo_cmc_parser)
"$cc" "${flags[@]}" "$example" "${package_flags[@]}" -o "$work/by_pkg_config"

headers=$(dirname "$(dirname "$(find "$work/system" -name parser.h)")")
"$cc" "${flags[@]}" "-I$headers" "$example" "-L${library%/*}" -lqo_cmc_parser -o "$work/by_plain_flags"

# Words: 0, total size 24, 0, 0, 0, and their sum; no records.
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\30\0\0\0' >"$work/empty.vexb"
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\31\0\0\0' >"$work/wrong_sum.vexb"
export LD_LIBRARY_PATH=${library%/*}:$stack
for program in by_pkg_config by_plain_flags; do
  "$work/$program" "$work/empty.vexb" || fail "$program refuses a container without records"
  if "$work/$program" "$work/wrong_sum.vexb" 2>"$work/message"; then
    fail "$program accepts a container whose checksum is wrong"
  fi
  grep -q 'not a valid container' "$work/message" || fail "$program says: $(cat "$work/message")"
done

# With an absolute folder of libraries the files for packages name one prefix for the headers. Nothing
# has to be built to see that no other is taken.
said=$work/said
"$cmake" -S "$root" -B "$work/absolute" -DCMAKE_C_COMPILER="$cc" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_INSTALL_PREFIX="$work/the prefix" -DCMAKE_INSTALL_LIBDIR="$work/libraries" >"$said" 2>&1 ||
  fail "$(cat "$said")"
install=("$cmake" --install "$work/absolute" --component development)
if "${install[@]}" --prefix "$work/another" >"$said" 2>&1; then fail 'another prefix is taken'; fi
grep -q 'CMAKE_INSTALL_LIBDIR is absolute' "$said" || fail "refused with: $(cat "$said")"
"${install[@]}" >"$said" 2>&1 || fail "$(cat "$said")"
unset PKG_CONFIG_SYSROOT_DIR
headers=$(PKG_CONFIG_LIBDIR=$work/libraries/pkgconfig pkg-config --variable=includedir qo_cmc_parser)
[[ -f $headers/qo_cmc/parser.h ]] || fail "pkg-config finds no headers in '$headers'"
