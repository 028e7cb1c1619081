#!/usr/bin/env bash
# imported_symbols.sh LIBRARY: the library calls the C heap, plain memory and string functions, and
# the stack, and nothing else: no file, no thread, no output, no mathematics library, no C++ runtime.
set -euo pipefail

library=$1

allowed='^(
  calloc|malloc|free|
  bcmp|memchr|memcmp|memcpy|memmove|memset|strlen|strnlen|
  __memcpy_chk|__memmove_chk|__memset_chk|__stack_chk_fail|__stack_chk_guard|
  qo_log|qo_vexb_parse_record|qo_nvm_parse|qo_nvm_deinit|
  __cxa_finalize|__gmon_start__|_ITM_deregisterTMCloneTable|_ITM_registerTMCloneTable
)$'
allowed=$(tr -d ' \n' <<<"$allowed")

imported=$(nm -D --undefined-only --format=posix "$library" | cut -d' ' -f1 | sed 's/@.*//')
[[ -n $imported ]]
surplus=$(grep -Ev "$allowed" <<<"$imported" || true)
if [[ -n $surplus ]]; then printf 'not to be called from the library:\n%s\n' "$surplus"; fi
[[ -z $surplus ]]
