# The command of ./dev that times the library beside its peers; sourced by it.

# performance_heading: what the figures below it were measured with
performance_heading() {
  local compiler
  compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' build/release/CMakeCache.txt)
  cat <<END
# Performance

Written by \`./dev bench\`: do not edit. Times are nanoseconds of processor time for each sample of
output, medians of interleaved repetitions. A ratio is ours by the best peer's, or by that of the
one that the goal names: below 1 the library is ahead. The last but one column is ours by the
physical bound: the bytes that must be moved at the rate of a copy, or the arithmetic at the rate of
the table's vectors, whichever takes longer.

- Processor: $(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
- Date: $(date -u +%Y-%m-%d)
- Compiler: $("$compiler" --version | head -n 1)

END
}

# time_calls_through_python [REGEX]
time_calls_through_python() {
  local python
  python=$(sed -n 's/^QO_PYTHON:[A-Z]*=//p' build/release/CMakeCache.txt)
  PYTHONPATH=build/release/python:build/release/bench/python \
    "$python" -B bench/python/overhead.py "$@"
}

run_bench() {
  local tables=("${QO_ROWS-}") program=build/release/bin/qo_bench page=docs/performance.md
  local routines=build/release/performance.txt through_python=build/release/performance_python.txt
  need_compilers release
  heading "Build"
  configure release -DQO_BUILD_BENCH=ON -DQO_BUILD_PYTHON=ON
  build release qo_bench qo_python_c_calls
  if [[ -z ${QO_ROWS-} ]]; then mapfile -t tables < <("$program" --tables); fi
  heading "Times"
  for table in "${tables[@]}"; do
    QO_ROWS=$table "$program" "${1-}"
  done | tee "$routines"
  if [[ -n ${QO_ROWS-} ]]; then return; fi  # Python has the table that the library chooses
  time_calls_through_python "${1-}" | tee "$through_python"
  [[ -s $routines || -s $through_python ]] || fail "no row's name matches '${1-}'"
  # A part of the rows, or of the tables, is no reason to throw the rest away; but a whole part of the
  # page can be renewed alone: it is the last one, and says when it was measured.
  case ${1-} in
    '') { performance_heading && cat "$routines" "$through_python"; } >"$page" ;;
    python)
      sed '/^## Through Python$/,$d' "$page" | cat - "$through_python" >build/release/performance.md
      cp build/release/performance.md "$page"
      ;;
  esac
}
