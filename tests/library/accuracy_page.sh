#!/usr/bin/env bash
# accuracy_page.sh PAGE PROGRAM...: the page is what the program prints, here and with this compiler.
# The library gives the same bits everywhere, so that a difference is a change of the library, of
# what is measured, or of a machine that computes otherwise.
set -euo pipefail

page=$1
shift

printed=$(mktemp)
trap 'rm -f "$printed"' EXIT
"$@" >"$printed"

# A program that ends early would compare well with a page that it wrote itself.
(($(grep -c '^## ' "$printed") == 7)) || {
  echo "${*: -1}: some of the seven sections are missing"
  exit 1
}
diff --unified "$page" "$printed" || {
  echo "$page is not what ${*: -1} prints; ./dev accuracy writes it"
  exit 1
}
