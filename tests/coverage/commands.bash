# The command of ./dev that counts lines and branches; sourced by it.

# The tests of these folders run the library; the others would only take longer.
run_coverage() {
  local folder folders=(base cmc_parser image_utils lsc rows) tree=build/coverage
  need_compilers coverage
  need gcovr python3
  heading "Build: coverage"
  configure coverage -DQO_BUILD_TESTS=ON -DQO_BUILD_TOOLS=OFF -DQO_BUILD_BENCH=OFF
  for folder in "${folders[@]/#/tests/}" fuzz; do
    # shellcheck disable=SC2154  # of dev
    make -C "$tree/$folder" --no-print-directory --jobs "$jobs"
  done
  heading "Tests: coverage"
  find "$tree" -name '*.gcda' -delete  # counts of earlier runs
  for folder in "${folders[@]/#/tests/}" fuzz; do
    ctest --test-dir "$tree/$folder" --parallel "$jobs" --output-on-failure --no-tests=error
  done
  heading "Coverage"
  # Exceptions are switched off, and what compilers add for them is no branch of ours.
  gcovr --root . "$tree" "${folders[@]/#/--filter=}" -j "$jobs" \
    --exclude-throw-branches --exclude-unreachable-branches --json "$tree/coverage.json"
  python3 tests/coverage/summary.py "$tree/coverage.json"
}
