# shellcheck shell=bash
# Completion of tev for bash.

# Sets COMPREPLY to those of the given words that begin with the word at the cursor.
_tev_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

_tev_files() {
  compopt -o filenames 2>/dev/null  # fails outside of a completion
  mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
}

_tev() {
  local word="${COMP_WORDS[COMP_CWORD]}" command="${COMP_WORDS[1]}" options=''
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _tev_words 'blocks cdf check help info tree --help --version'
    return
  fi
  case "$command" in
    cdf) ;;
    blocks | check | info) options='--files0-from --json --jsonl --no-progress --output --progress' ;;
    tree) options='--attributes --depth --files0-from --json --jsonl --no-progress --output --progress' ;;
    *) return ;;
  esac
  if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --depth ]]; then
    return
  fi
  if [[ $word == -* ]]; then
    _tev_words "$options --help --version"
  else
    _tev_files
  fi
}

complete -F _tev tev
