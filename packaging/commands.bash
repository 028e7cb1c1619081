# The commands of ./dev for those who hand the library on; sourced by it.

# In a build tree of their own, because the folders that things are installed in belong to a
# configuration, and with symbols.
run_packages() {
  local output=$PWD/build/packages version
  need_compilers release
  need cpack dpkg-shlibdeps file gzip lintian
  heading "Build: debian"
  configure debian
  cmake --build build/debian --parallel "${jobs:?}"
  version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/debian/CMakeCache.txt)

  heading "Packages"
  mkdir -p build/log
  rm -rf build/packages  # those of earlier versions
  # What is not written for others to read stays so in a package.
  (umask 022 && quietly cpack --config build/debian/CPackConfig.cmake -B "$output")
  rm -rf build/packages/_CPack_Packages
  ls -l build/packages

  heading "lintian"
  # An inspector may not look into root's own files; these are the project's.
  lintian --allow-root --fail-on error,warning build/packages/*.deb 2>&1 | tee build/log/lintian.log
  # Of what it cannot read it says no more than that.
  ! grep -e '^Skipping' -e '^No packages selected' build/log/lintian.log || fail 'lintian skips packages'

  heading "Installation in a throw-away root"
  bash tests/packaging/throw_away_root.sh "$PWD" "$output" "$PWD/build/debian/lib/platform" \
    "${CC:-cc}" "$version"
  echo "installed, run, and removed: version $version"
}

# What looks at the tree, in the order of how soon it ends; each is a command of ./dev.
release_checks=(check demo docs test asan 'test aarch64' packages bits compilers msan tsan valgrind
  coverage defects 'fuzz all 600')

# release_words VERSION: what says which version this is says the same
release_words() {
  local version=$1 recipe=packaging/yocto/meta-qo-cmc-parser/recipes-multimedia/qo-cmc-parser
  [[ -z $(git status --porcelain) ]] || fail "something here is not committed"
  [[ -z $(git tag --list "v$version") ]] || fail "version $version is tagged already"
  grep -qE "^## \\[$version\\] - [0-9]{4}-[0-9]{2}-[0-9]{2}$" CHANGELOG.md ||
    fail "CHANGELOG.md has no heading '## [$version] - DATE'"
  [[ -f $recipe/qo-cmc-parser_$version.bb ]] || fail "no recipe is named for version $version"
}

# Nothing is left out after a failure: all that has to be mended is told at once.
run_release-check() {
  local version check log begun failed=0
  need git
  version=$(sed -n 's/^#define QO_CMC_VERSION_[A-Z]* \([0-9]*\).*/\1/p' include/qo_cmc/version.h |
    paste -sd .)
  heading "Version $version"
  release_words "$version"
  mkdir -p build/log
  for check in "${release_checks[@]}"; do
    log=build/log/release-${check// /-}.log begun=$SECONDS
    # shellcheck disable=SC2086  # a command and its arguments
    if ./dev $check >"$log" 2>&1; then
      printf 'passed %6d s  ./dev %s\n' $((SECONDS - begun)) "$check"
    else
      printf 'FAILED %6d s  ./dev %s: %s\n' $((SECONDS - begun)) "$check" "$log"
      failed=1
    fi
  done
  [[ -z $(git status --porcelain) ]] || fail "the commands changed files of the checkout"
  ((failed == 0)) || fail "version $version is not ready"
  printf 'Version %s may be tagged\n' "$version"
}
