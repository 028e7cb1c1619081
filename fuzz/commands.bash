# The commands of ./dev that run fuzz targets; sourced by it.
#
# build/fuzz/corpus/<target>/ is where a fuzzer works: it starts from the target's seeds and from
# fuzz/corpus/<target>/, keeps what it finds between runs, and loses it with build/.

# What the library logs is thrown away, not what sanitizers say.
fuzzer_options=(-max_len=65536 -rss_limit_mb=2048 -dict=build/fuzz/container.dict
  -print_final_stats=1 -close_fd_mask=3)

fuzz_targets() { basename --suffix=.cpp --multiple fuzz/*_fuzz.cpp; }

# fuzz_targets_named TARGET|all
fuzz_targets_named() {
  [[ $1 != all ]] || {
    fuzz_targets
    return
  }
  fuzz_targets | grep -xF -e "$1" ||
    fail "no fuzz target is named '$1'; there are: $(fuzz_targets | paste -sd ' ')"
}

# fuzz_replays TARGET...: the tests that replay targets, all but these, as a regular expression
fuzz_replays() {
  local left_out=("$@")
  fuzz_targets | grep -vxF "${left_out[@]/#/-e}" -e none | paste -sd '|' |
    sed 's/.*/^(&)_replay\\./'
}

# build_fuzzers TARGET...
build_fuzzers() {
  local programs=() target
  for target; do programs+=("$target" "${target}_replay"); done
  need cmake make clang-14 clang++-14
  heading "Build: fuzz"
  configure fuzz -DQO_BUILD_TOOLS=ON
  build fuzz container_dictionary "${programs[@]}"
  build/fuzz/bin/container_dictionary >build/fuzz/container.dict
}

# fuzzer TARGET ARGUMENT...: leaks are contract for some malformed records (the tests count
# them), and an allocation that is too large is null, as it is without a sanitizer. No input of
# 64 KiB, container and NVM image together, may take the library a second; the tool draws pictures.
fuzzer() {
  local program=build/fuzz/bin/$1 longest=1
  if [[ $1 == verbs_fuzz ]]; then longest=5; fi
  shift
  ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 \
    UBSAN_OPTIONS=print_stacktrace=1 "$program" "${fuzzer_options[@]}" -timeout=$longest "$@"
}

# fuzz_target SECONDS RUNS TARGET
fuzz_target() {
  local target=$3 work=build/fuzz/corpus/$3 found=build/fuzz/findings/$3 seeds=build/fuzz/seeds/$3
  local log=build/log/$3.log input
  rm -rf "$seeds" "$log"  # of an earlier run the table would show figures as if they were this one's
  mkdir -p "$work" "$found" "$seeds" "fuzz/corpus/$target" build/log
  "build/fuzz/bin/${target}_replay" --write "$seeds" >/dev/null
  # Of earlier findings those remain that still are.
  for input in "$found"/*; do
    if [[ -f $input ]] && fuzzer "$target" "$input" >"$log" 2>&1; then rm "$input"; fi
  done
  fuzzer "$target" -max_total_time="$1" -runs="$2" -artifact_prefix="$found/" \
    "$work" "$seeds" "fuzz/corpus/$target" >"$log" 2>&1 || {
    tail -n 30 "$log" >&2
    printf '%s failed: inputs that make it fail are in %s, the whole log is %s\n' \
      "$target" "$found" "$log" >&2
    return 1
  }
  # An earlier finding that still is one need not have been found again.
  for input in "$found"/*; do
    if [[ -f $input ]]; then
      printf '%s still fails with %s\n' "$target" "$input" >&2
      return 1
    fi
  done
}

# last_number LOG PATTERN: the number that PATTERN marks in the last line that has it
last_number() { if [[ -f $1 ]]; then sed -n "s/$2/\\1/p" "$1" | tail -n 1; fi; }

# fuzz_table TARGET...: edges are those that any input has reached, of the library, of the
# target and, in targets of the tool, of the tool.
fuzz_table() {
  local target log
  printf '\n%-20s %12s %10s %8s %9s\n' target executions 'a second' edges findings
  for target; do
    log=build/log/$target.log
    printf '%-20s %12s %10s %8s %9s\n' "$target" \
      "$(last_number "$log" '^stat::number_of_executed_units: *\([0-9]*\)$')" \
      "$(last_number "$log" '^stat::average_exec_per_sec: *\([0-9]*\)$')" \
      "$(last_number "$log" '^#[0-9]*[[:space:]].* cov: \([0-9]*\) .*')" \
      "$(find "build/fuzz/findings/$target" -type f | wc -l)"
  done
}

# fuzz_each SECONDS RUNS TARGET...: two at once
fuzz_each() {
  local seconds=$1 runs=$2 target running=0 failed=0
  shift 2
  heading "Fuzzing, $seconds s each"
  for target; do
    if ((running == 2)); then
      wait -n || failed=1
      running=$((running - 1))
    fi
    fuzz_target "$seconds" "$runs" "$target" &
    running=$((running + 1))
  done
  for ((; running > 0; running--)); do wait -n || failed=1; done
  fuzz_table "$@"
  return $failed
}

# run_fuzz [TARGET|all [SECONDS]]
run_fuzz() {
  local targets
  targets=$(fuzz_targets_named "${1-all}")
  mapfile -t targets <<<"$targets"
  build_fuzzers "${targets[@]}"
  fuzz_each "${2-60}" 10000000 "${targets[@]}"
}

# run_corpus [TARGET|all]: of what fuzzers found, the fewest inputs that reach all its edges; none
# above 4 KiB, for the repository's sake, and because seeds are what asks for much. A file with a
# name of its own, and not libFuzzer's, is a finding.
run_corpus() {
  local targets target folder kept small
  targets=$(fuzz_targets_named "${1-all}")
  mapfile -t targets <<<"$targets"
  build_fuzzers "${targets[@]}"
  heading "Corpora"
  for target in "${targets[@]}"; do
    kept=build/fuzz/kept/$target small=build/fuzz/small/$target
    rm -rf "$kept" "$small"
    mkdir -p "$kept" "$small" "build/fuzz/corpus/$target" "fuzz/corpus/$target"
    # One after the other: cp refuses to write twice what both folders hold.
    for folder in "fuzz/corpus/$target" "build/fuzz/corpus/$target"; do
      find "$folder" -type f -size -9 -exec cp -t "$small" {} +
    done
    quietly fuzzer "$target" -set_cover_merge=1 -use_counters=0 "$kept" "$small"
    # What was found once keeps its name, and stays though others reach as much.
    find "fuzz/corpus/$target" -type f -regextype posix-extended \
      ! -regex '.*/[0-9a-f]{40}' -exec cp -t "$kept" {} +
    rm -rf "fuzz/corpus/$target"
    cp -r "$kept" "fuzz/corpus/$target"
    printf '%-20s %5s inputs, %s bytes\n' "$target" "$(find "$kept" -type f | wc -l)" \
      "$(find "$kept" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum + 0 }')"
  done
}
