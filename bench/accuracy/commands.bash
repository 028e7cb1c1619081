# The command of ./dev that measures accuracy; sourced by it.

run_accuracy() {
  local program=build/release/bin/qo_accuracy page=build/release/accuracy.md
  need_compilers release
  heading "Build"
  configure release -DQO_BUILD_TESTS=ON
  build release qo_accuracy
  heading "Accuracy"
  # The old page stays until there is a whole new one.
  "$program" | tee "$page"
  cp "$page" docs/accuracy.md
}
