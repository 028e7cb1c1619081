# shellcheck shell=bash
# Completion of qo-cmc for bash.

# _qo_cmc_words WORD WORDS: those of WORDS that start with WORD
_qo_cmc_words() { mapfile -t COMPREPLY < <(compgen -W "$2" -- "$1"); }

_qo_cmc_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_qo_cmc() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options
  if ((COMP_CWORD == 1)); then
    _qo_cmc_words "$word" "check records dump hex shading diff pack sample --help --version -h"
    return
  fi
  case $previous in
    --color)
      _qo_cmc_words "$word" "auto always never"
      return
      ;;
    --checksum)
      _qo_cmc_words "$word" "1 2"
      return
      ;;
    --nvm | --nvm-a | --nvm-b | -o | --output)
      _qo_cmc_files "$word"
      return
      ;;
    --record | -j | --jobs)
      return
      ;;
  esac
  if [[ $word != -* ]]; then
    _qo_cmc_files "$word"
    return
  fi
  case ${COMP_WORDS[1]} in
    check) options="-h --help -j --jobs --nvm --allow-warnings --json --color" ;;
    records) options="-h --help -j --jobs --json --color" ;;
    dump) options="-h --help -j --jobs --nvm --record --full --json --color" ;;
    hex) options="-h --help -j --jobs --record --json --color" ;;
    shading) options="-h --help --nvm -o --output" ;;
    diff) options="-h --help --nvm-a --nvm-b --json --color" ;;
    pack) options="-h --help -o --output --checksum" ;;
    sample) options="-h --help" ;;
    *) return ;;
  esac
  _qo_cmc_words "$word" "$options"
}

complete -F _qo_cmc qo-cmc
