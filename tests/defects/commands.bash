# The command of ./dev that plants defects; sourced by it.

run_defects() {
  need_compilers asan
  need clang-14 clang++-14 python3
  python3 -B tests/defects/plant.py "$@"
}
