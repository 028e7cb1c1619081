#!/usr/bin/env bash
# build.sh COMPILER WAY TREE JOBS: builds the library with one compiler, in one of the ways below, and
# looks at it as its clients and the loader do.
set -euo pipefail

compiler=$1
way=$2
tree=$3
jobs=$4

case $compiler in
  gcc-*) cxx=g++-${compiler#gcc-} ;;
  clang-*) cxx=clang++-${compiler#clang-} ;;
esac

case $way in
  # assert() is out here too: what it calls would be imported.
  O0) options=(-DCMAKE_BUILD_TYPE=Debug '-DCMAKE_C_FLAGS_DEBUG=-O0 -DNDEBUG' '-DCMAKE_CXX_FLAGS_DEBUG=-O0 -DNDEBUG') ;;
  Os) options=(-DCMAKE_BUILD_TYPE=MinSizeRel) ;;
  release) options=(-DCMAKE_BUILD_TYPE=Release) ;;
  lto)
    options=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON)
    # GNU's linker reads what Clang leaves for it only with a plugin of the same version.
    if [[ $compiler == clang-* ]]; then
      linker=-fuse-ld=lld-${compiler#clang-}
      options+=("-DCMAKE_SHARED_LINKER_FLAGS=$linker" "-DCMAKE_EXE_LINKER_FLAGS=$linker")
    fi
    ;;
esac

cmake -S . -B "$tree" -G Ninja --log-level=NOTICE -DCMAKE_C_COMPILER="$compiler" \
  -DCMAKE_CXX_COMPILER="$cxx" "${options[@]}"
cmake --build "$tree" --parallel "$jobs" --target qo_cmc_parser

library=$tree/lib/libqo_cmc_parser.so
looks=tests/library
set -x
bash "$looks/exported_symbols.sh" "$library" cmake/exports.map
bash "$looks/dynamic_section.sh" "$library"
bash "$looks/imported_symbols.sh" "$library"
bash "$looks/no_fused_arithmetic.sh" objdump "$library"

# prints EXPECTED COMPILER SOURCE WORD...: what the client prints that is compiled by that compiler
prints() {
  local expected=$1 said
  "$2" -Wall -Wextra -Werror -Iinclude "$3" -o "$tree/client" "-L$tree/lib" -lqo_cmc_parser \
    "-Wl,-rpath,$PWD/$tree/lib" "-Wl,-rpath-link,$tree/lib/platform"
  shift 3
  said=$("$tree/client" "$@")
  [[ $said == "$expected" ]]
}
# Words: 0, total size 24, 0, 0, 0, and their sum; no records.
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\30\0\0\0' >"$tree/empty.vexb"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$tree/CMakeCache.txt")
prints "$version 12" "$compiler" "$looks/consumers/client.c" "$tree/empty.vexb"
prints "$version 12" "$cxx" "$looks/consumers/client.cpp" "$tree/empty.vexb"
prints '0 4974f4a231376ca8' "$compiler" tests/compilers/numbers.c
