# The command of ./dev that keeps the binary interface; sourced by it.

run_abi-baseline() {
  local kept=abi/qo_cmc_parser.x86_64.abi new=build/release/qo_cmc_parser.abi
  need_compilers release
  need abidw abidiff
  heading "Build: release"
  configure release -DQO_BUILD_TESTS=ON
  build release qo_cmc_described
  bash abi/describe.sh build/release/lib/described/libqo_cmc_parser.so include "$new"
  heading "What changes"
  # 4 and 8 in its status stand for changes.
  abidiff --harmless "$kept" "$new" || ((($? & 3) == 0)) || fail "$kept cannot be compared"
  cp "$new" "$kept"
}
