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

run_bench() {
  local tables=("${QO_ROWS-}") program=build/release/bin/qo_bench
  need_compilers release
  heading "Build"
  configure release -DQO_BUILD_BENCH=ON
  build release qo_bench
  if [[ -z ${QO_ROWS-} ]]; then mapfile -t tables < <("$program" --tables); fi
  heading "Times"
  for table in "${tables[@]}"; do
    QO_ROWS=$table "$program" "${1-}"
  done | tee build/release/performance.txt
  # A part of the rows, or of the tables, is no reason to throw the rest away.
  if [[ -z ${1-} && -z ${QO_ROWS-} ]]; then
    { performance_heading && cat build/release/performance.txt; } >docs/performance.md
  fi
}
