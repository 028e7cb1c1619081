# The command of ./dev that compares bits; sourced by it.
#
# build/bits/<name>/ holds the library and the program that hashes its results, and nothing more, for
# one compiler, processor and level of optimisation. The level is that of the library, row kernels
# included.

bits_builds=({gcc,clang,aarch64-gcc,aarch64-clang}-O{0,2,3})

# build_bits NAME
build_bits() {
  local name=$1 level=${1##*-} tree=build/bits/$1 options=() commands
  case $name in
    gcc-*) options=(-DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++) ;;
    clang-*) options=(-DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14) ;;
    aarch64-gcc-*) options=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake") ;;
    aarch64-clang-*)
      options=(-DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64
        -DCMAKE_C_COMPILER=clang-14 -DCMAKE_C_COMPILER_TARGET=aarch64-linux-gnu
        -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_CXX_COMPILER_TARGET=aarch64-linux-gnu)
      ;;
  esac
  # A build tree that came along with a moved or copied checkout names the old place.
  if [[ -f $tree/CMakeCache.txt ]] &&
    ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$tree/CMakeCache.txt"; then
    rm -rf "$tree"
  fi
  # A build type of our own: Release would compile row kernels at a level of theirs.
  cmake -S . -B "$tree" --log-level=NOTICE "${options[@]}" -DCMAKE_BUILD_TYPE="$level" \
    -DCMAKE_C_FLAGS_"$level"="-$level -DNDEBUG" -DCMAKE_CXX_FLAGS_"$level"="-$level -DNDEBUG" \
    -DQO_BUILD_BITS=ON -DQO_INSTALL=OFF || return
  commands=$(grep -E '"command": .* -c [^ ]*/(base|cmc_parser|image_utils|lsc|rows)/' \
    "$tree/compile_commands.json")
  if grep -vE -- " -$level " <<<"$commands" || grep -E -- " -O[^ ]* .* -O" <<<"$commands"; then
    echo 'the library is compiled at another level; the lines above say where'
    return 1
  fi
  # shellcheck disable=SC2154  # of dev
  cmake --build "$tree" --parallel "$jobs" --target bits
}

# hash_bits NAME TABLE [FILE]: runs the program with a table of row kernels
hash_bits() {
  local emulator=()
  if [[ $1 == aarch64-* ]]; then emulator=(qemu-aarch64 -L /usr/aarch64-linux-gnu); fi
  QO_ROWS=$2 "${emulator[@]}" "build/bits/$1/bin/bits" "${@:3}"
}

# compare_bits NAME TABLE: a line of the result; fails when an item differs
compare_bits() {
  local log=build/log/bits-$1-$2.log status=0 result='not on this machine'
  hash_bits "$1" "$2" tests/bits/hashes.txt >"$log" 2>&1 || status=$?
  case $status in
    0) result='equal' ;;
    77) ;;
    1) result="differ: $(sed '$d' "$log" | cut -d ' ' -f 1 | paste -sd ' ')" ;;
    *) result="ends with $status: $log" ;;
  esac
  printf '%-18s %-8s %s\n' "$1" "$2" "$result"
  ((status == 0 || status == 77))
}

# run_bits [renew]
run_bits() {
  local name table tables failed=0
  need cmake make gcc g++ clang-14 clang++-14 aarch64-linux-gnu-g++ qemu-aarch64
  mkdir -p build/log
  for name in "${bits_builds[@]}"; do
    heading "Build: bits, $name"
    build_bits "$name" >"build/log/bits-$name.log" 2>&1 || {
      cat "build/log/bits-$name.log" >&2
      fail "$name does not build; the lines above are build/log/bits-$name.log"
    }
  done
  if (($#)); then
    hash_bits gcc-O2 base >build/bits/hashes.txt
    cp build/bits/hashes.txt tests/bits/hashes.txt
  fi
  heading 'Bits of all results, compared with tests/bits/hashes.txt'
  printf '%-18s %-8s %s\n' build table result
  for name in "${bits_builds[@]}"; do
    tables=(base avx2 avx512)
    if [[ $name == aarch64-* ]]; then tables=(base); fi
    for table in "${tables[@]}"; do
      compare_bits "$name" "$table" || failed=1
    done
  done
  ((failed == 0)) || fail "results differ; build/log/bits-*-TABLE.log say how"
}
