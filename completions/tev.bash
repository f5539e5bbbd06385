# shellcheck shell=bash
# Completion of tev for bash.

# Sets COMPREPLY to those lines of standard input that begin with the word at the cursor, quoted as the
# shell wants it.
_tev_reply() {
  local word="${COMP_WORDS[COMP_CWORD]}" line shown
  while IFS= read -r line; do
    if [[ $word == [\"\']* ]]; then
      [[ $line == "${word:1}"* ]] && COMPREPLY+=("$line")
    else
      printf -v shown '%q' "$line"
      [[ $shown == "$word"* ]] && COMPREPLY+=("$shown")
    fi
  done
}

_tev_files() {
  compopt -o filenames 2>/dev/null  # fails outside of a completion
  mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
}

_tev_verbs() {
  tev help | sed -n '/^Verbs:/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p'
  echo help
}

# The options of a verb, as its help has them.
_tev_options() {
  tev "$1" --help 2>/dev/null | sed -n 's/^ *\(-[A-Za-z],\)\{0,1\}\(--[a-z0-9-]*\).*/\2/p'
}

# Writes the names of a kind (geometry, part, result, set, step) that a model has, one on each line. Those
# that JSON has to escape are left out.
_tev_names() {
  local list key=name
  case "$2" in
    geometry)
      tev tree --json -- "$1" 2>/dev/null |
        sed -n '/^ *"kind": "Geometry",$/{n;s/^ *"name": "\([^\\]*\)",$/\1/p}' | sort -u
      return
      ;;
    part) list=parts ;;
    result) list=results ;;
    set) list=nodeSets ;;
    step) list=steps key=text ;;
  esac
  tev info --json -- "$1" 2>/dev/null |
    sed -n '/^      "'"$list"'": \[$/,/^      \]/s/^          "'"$key"'": "\([^\\]*\)",$/\1/p' | awk '!seen[$0]++'
}

_tev() {
  local verb="${COMP_WORDS[1]}" before="${COMP_WORDS[COMP_CWORD - 1]}" model='' word
  local -i i arguments=0
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _tev_reply < <(_tev_verbs; printf '%s\n' --help --version)
    return
  fi
  # The model is the first argument.
  for ((i = 2; i < COMP_CWORD; i++)); do
    word="${COMP_WORDS[i]}"
    case "$word" in
      -o | --output | --files0-from | --depth | --part | --result | --step | -j | --jobs | --format | \
        --rtol | --atol | --cells) i+=1 ;;
      -?*) ;;
      *)
        ((arguments++ == 0)) && model="${word//\\/}" && model="${model/#\~\//$HOME/}"
        ;;
    esac
  done
  case "$before" in
    --part | --result | --step)
      # Where these come first, the model may stand behind them.
      ((COMP_CWORD + 1 < ${#COMP_WORDS[@]})) && model="${model:-${COMP_WORDS[${#COMP_WORDS[@]} - 1]}}"
      _tev_reply < <(_tev_names "$model" "${before#--}")
      return
      ;;
    --format) _tev_reply < <(printf '%s\n' csv npy); return ;;
    --cells) _tev_reply < <(printf '%s\n' auto); return ;;
    --depth | --rtol | --atol | -j | --jobs) return ;;
    -o | --output | --files0-from) _tev_files; return ;;
  esac
  if [[ $verb == help ]]; then
    _tev_reply < <(_tev_verbs)
  elif [[ ${COMP_WORDS[COMP_CWORD]} == -* ]]; then
    _tev_reply < <(_tev_options "$verb")
  elif [[ $verb == cdf ]] && ((arguments == 1)); then
    _tev_reply < <(_tev_names "$model" geometry)
  elif [[ $verb == sets ]] && ((arguments == 1)); then
    _tev_reply < <(_tev_names "$model" set)
  else
    _tev_files
  fi
}

complete -F _tev tev
