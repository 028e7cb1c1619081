# The command of ./dev that makes Debian packages; sourced by it.

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
