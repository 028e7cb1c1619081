# The command of ./dev that builds the library with every compiler that it is for; sourced by it.
# Each build stands in build/compilers/<compiler>-<way>/.

# library_builds [REGEX]: "compiler way" of each build, or of those that it finds
library_builds() {
  local compiler way
  for compiler in gcc-11 gcc-12 clang-14 clang-15 clang-16; do
    for way in O0 Os release lto; do
      if [[ "$compiler $way" =~ ${1-} ]]; then printf '%s %s\n' "$compiler" "$way"; fi
    done
  done
}

check_arguments_of_compilers() {
  (($# <= 1)) || fail "compilers takes one regular expression; ./dev help lists the commands"
  [[ -n $(library_builds "$@") ]] || fail "no compiler, and no way to build, is named '$1'"
}

# run_compilers [REGEX]
run_compilers() {
  local builds build compilers compiler way tree library begun
  mapfile -t builds < <(library_builds "$@")
  mapfile -t compilers < <(printf '%s\n' "${builds[@]% *}" | uniq)
  need cmake ninja musl-gcc "${compilers[@]}"

  heading "Headers: ${compilers[*]} musl-gcc"
  for compiler in "${compilers[@]}"; do
    bash tests/library/public_headers.sh . "$compiler" \
      "$(sed 's/^gcc-/g++-/; s/^clang-/clang++-/' <<<"$compiler")"
  done
  bash tests/library/public_headers.sh . musl-gcc

  heading "Builds"
  printf '%-10s %-8s %8s %8s\n' compiler way bytes seconds
  for build in "${builds[@]}"; do
    read -r compiler way <<<"$build"
    tree=build/compilers/$compiler-$way library=$tree/lib/libqo_cmc_parser.so begun=$SECONDS
    # shellcheck disable=SC2154  # of dev
    quietly bash tests/compilers/build.sh "$compiler" "$way" "$tree" "$jobs"
    printf '%-10s %-8s %8s %8s\n' "$compiler" "$way" "$(size "$library" | awk 'END { print $4 }')" \
      $((SECONDS - begun))
  done
}
