# The command of ./dev that shows what the Python package does with a fleet; sourced by it.

check_arguments_of_fleet() {
  (($# <= 1)) || fail "fleet takes a number of modules, no more"
  (($#)) || return 0
  if [[ ! $1 =~ ^[1-9][0-9]{0,5}$ ]] || (($1 < 200 || $1 > 100000)); then
    fail "fleet takes a number of modules from 200 to 100000, not '$1'"
  fi
}

# Another number of modules than the page's is for trying: its page stays in build/.
run_fleet() {
  local usual=20000 count=${1-20000} folder=build/fleet page=build/fleet/fleet.md
  need_compilers release
  need dask-scheduler dask-worker
  heading "Build"
  configure release -DQO_BUILD_PYTHON=ON -DQO_BUILD_TOOLS=ON
  build release qo_python_package qo-cmc
  heading "A fleet of $count modules"
  mkdir -p "$folder"
  cp docs/fleet.md "$page"
  PYTHONPATH=build/release/python /usr/bin/python3 -B bench/fleet/run.py \
    "$count" build/release/bin/qo-cmc "$folder" "$page"
  # The old page stays until there is a whole new one.
  if ((count == usual)); then cp "$page" docs/fleet.md; fi
}
