#!/usr/bin/env bash
# shading_outputs.sh WRITE_SHADING: two runs give the same bytes, every picture is a sound PNG, every
# page well-formed. Tools that are not installed are passed over with a word.
set -euo pipefail

write_shading=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$write_shading" "$folder/first"
LC_ALL=C.UTF-8 TZ=Asia/Tokyo "$write_shading" "$folder/second"
diff -r "$folder/first" "$folder/second"

if command -v pngcheck >/dev/null; then
  pngcheck -q "$folder"/first/*.png
else
  echo 'pngcheck is not installed: the pictures are not checked'
fi
if command -v python3 >/dev/null; then
  python3 - "$folder"/first/*.html <<'END'
import sys
import xml.etree.ElementTree as tree

for path in sys.argv[1:]:
    page = tree.parse(path).getroot()
    for element in page.iter():
        assert element.tag not in ("script", "link", "iframe", "object"), (path, element.tag)
        for name, value in element.attrib.items():
            assert not name.startswith("on"), (path, name)
            if name in ("href", "src"):
                assert value.startswith(("#", "data:image/png;base64,")), (path, value[:40])
END
else
  echo 'python3 is not installed: the pages are not parsed'
fi
