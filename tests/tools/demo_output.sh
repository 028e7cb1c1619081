#!/usr/bin/env bash
# demo_output.sh MAKE_SAMPLE INSPECT: what `./dev demo` shows. The sample is written and inspected;
# the inspector's sections are compared with the bytes of the container and with each other. Nothing
# here counts kinds or slots: a new one is compared as soon as the sample holds it.
set -euo pipefail

make_sample=$1
inspect=$2

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

failures=0
report() {
  printf '%s\n' "$*"
  failures=$((failures + 1))
}

# same WHAT EXPECTED_FILE ACTUAL_FILE
same() {
  [[ -s $2 ]] || report "nothing to compare: $1"
  diff "$2" "$3" || report "$1 differ"
}

# section TITLE FILE: the indented lines below the title, up to the next empty line
section() { awk -v title="$1" 'index($0, title) == 1 { on = 1; next } /^$/ { on = 0 } on' "$2"; }

# listing FILE: the lines of the list of records
listing() { section '    offset    id  version' "$1"; }

# slots FILE: the lines of slots, without those that describe their contents
slots() { section slots "$1" | grep -E '^  [^ ]' || true; }

"$make_sample" made >made_sample
"$inspect" made/sample.vexb --nvm made/sample.nvm --ledger >calibrated
"$inspect" made/sample.vexb >plain

# Records: offset, kind, version and size of each, as the container's bytes have them.
size=$(stat -c %s made/sample.vexb)
first=$(head -n 1 calibrated)
[[ $first == "made/sample.vexb: $size bytes" ]] || report "wrong size: $first"
od -An -v -w4 -tu4 made/sample.vexb | awk '
  { word[NR - 1] = $1 }
  END {
    for (at = 6; at < NR; at += word[at] / 4)
      print 4 * at, int(word[at + 1] / 65536), word[at + 1] % 256, word[at]
  }' >walked
listing calibrated | awk '{ print $1, $2, $3, $4 }' >listed
same 'records of the container and records listed' walked listed
if listing calibrated | grep -E 'refused|malformed|no memory|stops'; then
  report 'the sample holds records that are not taken'
fi

# Slots: all empty with an empty container, all filled with the sample, and one for every record
# that was kept or converted. Words of the container: 0, total size 24, 0, 0, 0, and their sum.
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\30\0\0\0' >empty.vexb
"$inspect" empty.vexb >empty
slots empty | awk '$2 == "-" && NF == 2 { print $1 }' >empty_slots
slots calibrated | awk '!($2 == "-" && NF == 2) { print $1 }' >filled_slots
same 'slots empty without records and slots filled by the sample' empty_slots filled_slots
listing calibrated | awk '
  BEGIN {
    split("1 general 2 module_properties 3 record_31 10 lsc_grid 11 lens_shading_ext " \
          "28 lens_shading 33 lens_shading_ext 722 others", pairs)
    for (i = 1; i in pairs; i += 2) slot[pairs[i]] = pairs[i + 1]
  }
  /another reader/ { next }
  $2 in slot { print slot[$2]; next }
  { print "record_" $2 }' | sort -u >wanted_slots
sort filled_slots >sorted_slots
same 'slots of the records and slots filled' wanted_slots sorted_slots

# Gains: the ratio is that of the two columns, up to their rounding; each site of the table moves,
# up and down. Without a calibration there is nothing to set side by side.
section gains calibrated | awk '
  function ends() {
    if (site && !(rises && falls)) { print "no rise and fall: site " site; bad = 1 }
  }
  /site/ { ends(); site = ++sites; rises = falls = 0; next }
  {
    before = $(NF - 2); after = $(NF - 1); ratio = $NF
    ++points
    if (before < 1 || after < 0.9) { print "not a gain: " $0; bad = 1 }
    error = ratio - after / before
    if (error > 0.0002 || error < -0.0002) { print "another ratio: " $0; bad = 1 }
    if (after > before) rises = 1
    if (after < before) falls = 1
  }
  END {
    ends()
    if (sites != 4 || points != 36) { print sites " sites, " points " points"; bad = 1 }
    exit bad
  }' || report 'gains before and after the calibration are not as they should be'
if grep -E '^gains|with the module|^ledger' plain; then
  report 'a calibration or a ledger is shown that nobody asked for'
fi

# Ledger: blocks after parsing, after the teardown, and once the client has released its own.
section ledger calibrated | awk '
  / blocks still allocated, / { blocks[++n] = $(NF - 5); bytes[n] = $(NF - 1) }
  END { exit !(n == 3 && blocks[1] > 1 && bytes[1] > bytes[2] && blocks[2] == 1 && bytes[2] > 0 &&
               blocks[3] == 0 && bytes[3] == 0) }' || {
  section ledger calibrated
  report 'the ledger does not end with one block, then none'
}

# Record 34 is synthesised where the container has none.
"$make_sample" --without-34 without >made_sample
"$inspect" without/sample.vexb >synthesised
listing synthesised | awk '$2 == 34 { found = 1 } END { exit found }' ||
  report 'record 34 is not left out'
slots synthesised | grep -E '^  record_34 +version' >/dev/null ||
  report 'record 34 is not synthesised'

# Refusals: a status, and a sentence that says why.
# refuses STATUS SENTENCE ARGUMENT...
refuses() {
  local wanted=$1 sentence=$2 status=0
  shift 2
  "$inspect" "$@" >refused 2>message || status=$?
  ((status == wanted)) || report "inspect $* ends with $status, not $wanted"
  grep -F -e "$sentence" message >/dev/null || report "inspect $* says: $(cat message)"
}
printf '\0\0\0\0\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\31\0\0\0' >wrong_sum.vexb
refuses 1 'checksum' wrong_sum.vexb
refuses 1 'shorter than' /dev/null
refuses 2 'cannot read missing.nvm' empty.vexb --nvm missing.nvm
refuses 2 'usage:'

((failures == 0))
