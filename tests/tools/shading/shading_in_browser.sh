#!/usr/bin/env bash
# shading_in_browser.sh WRITE_SHADING: a browser opens the pages without a word on its console and
# draws them. Exit code 77 where there is no browser.
set -euo pipefail

write_shading=$1
command -v chromium >/dev/null || exit 77
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$write_shading" "$folder/out"

for name in sample hostile_name not_valid; do
  chromium --headless --no-sandbox --disable-gpu --user-data-dir="$folder/profile" \
    --enable-logging=stderr --host-resolver-rules='MAP * ~NOTFOUND' --window-size=1380,1500 \
    --screenshot="$folder/$name.png" "file://$folder/out/$name.html" 2>"$folder/log" ||
    { cat "$folder/log"; exit 1; }
  if grep -E 'CONSOLE|ERR_NAME_NOT_RESOLVED' "$folder/log"; then
    echo "$name.html: the browser complains"
    exit 1
  fi
  [[ -s $folder/$name.png ]] || { echo "$name.html was not drawn"; exit 1; }
done
