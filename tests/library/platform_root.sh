#!/usr/bin/env bash
# platform_root.sh ROOT CMAKE C_COMPILER CXX_COMPILER STACK: the stack's libraries are those of the
# folder that is named, also with a toolchain file that looks for libraries only in a root of its
# own. STACK is a folder that holds the three.
set -euo pipefail

root=$1
cmake=$2
cc=$3
cxx=$4
stack=$5

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
mkdir -p "$work/the stack" "$work/half/lib" "$work/target"
ln -s "$stack" "$work/the stack/lib"
ln -s "$stack/libqo_log.so" "$stack/libqo_nvm.so" "$work/half/lib"
cat >"$work/toolchain.cmake" <<END
set(CMAKE_C_COMPILER "$cc")
set(CMAKE_CXX_COMPILER "$cxx")
set(CMAKE_FIND_ROOT_PATH "$work/target")
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
END

# configure FOLDER
configure() {
  "$cmake" -S "$root" -B "$work/build" --fresh --toolchain "$work/toolchain.cmake" \
    -DQO_PLATFORM_ROOT="$1" >"$work/log" 2>&1
}

configure "$work/the stack" || {
  cat "$work/log"
  exit 1
}
for name in qo_log qo_vexb_parser qo_nvm; do
  grep -qxF "${name}_path:FILEPATH=$work/the stack/lib/lib$name.so" "$work/build/CMakeCache.txt" || {
    echo "$name is another library: $(grep "^${name}_path" "$work/build/CMakeCache.txt")"
    exit 1
  }
done

if configure "$work/half"; then
  echo 'a stack that lacks a library is taken'
  exit 1
fi
grep -q 'Could not find qo_vexb_parser_path' "$work/log" || {
  cat "$work/log"
  exit 1
}
