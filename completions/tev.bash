# shellcheck shell=bash
# Completion of tev for bash.

_tev_verbs='list info tree results values diff sets check blocks block cdf help'
_tev_common='--help --version --output --progress --no-progress'
_tev_json="$_tev_common --json --jsonl"

# Sets COMPREPLY to those of the given words that begin with the word at the cursor.
_tev_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

_tev_files() {
  compopt -o filenames 2>/dev/null  # fails outside of a completion
  mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
}

# Writes the names of a kind (geometry, part, result, set, step) that a model has, one per line. Those
# that JSON has to escape are left out.
_tev_names_in() {
  local list
  case "$2" in
    geometry)
      tev tree --json "$1" 2>/dev/null |
        sed -n '/^ *"kind": "Geometry",$/{n;s/^ *"name": "\([^\\]*\)",$/\1/p}' | sort -u
      return
      ;;
    part) list=parts ;;
    result) list=results ;;
    set) list=nodeSets ;;
    step)
      tev info --json "$1" 2>/dev/null | sed -n 's/^          "text": "\([^\\]*\)",$/\1/p'
      return
      ;;
  esac
  tev info --json "$1" 2>/dev/null |
    sed -n '/^      "'"$list"'": \[$/,/^      \]/s/^          "name": "\([^\\]*\)",$/\1/p' | sort -u
}

# Completes one of those names, quoted as the shell wants it.
_tev_names() {
  local word="${COMP_WORDS[COMP_CWORD]}" name
  while IFS= read -r name; do
    name=$(printf '%q' "$name")
    [[ $name == "$word"* ]] && COMPREPLY+=("$name")
  done < <(_tev_names_in "$1" "$2")
}

_tev() {
  local word="${COMP_WORDS[COMP_CWORD]}" verb="${COMP_WORDS[1]}"
  local before="${COMP_WORDS[COMP_CWORD - 1]}" model="${COMP_WORDS[2]}" options="$_tev_json"
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _tev_words "$_tev_verbs --help --version"
    return
  fi
  case "$before" in
    --depth) return ;;
    --part) _tev_names "$model" part; return ;;
    --result) _tev_names "$model" result; return ;;
    --step) _tev_names "$model" step; return ;;
  esac
  case "$verb" in
    help) _tev_words "$_tev_verbs"; return ;;
    cdf) options="--help --version" ;;
    block) options="$_tev_common --raw" ;;
    tree) options="$_tev_json --files0-from --depth --verbose --storage" ;;
    list) options="$_tev_json --files0-from --csv" ;;
    check) options="$_tev_json --files0-from --all --verbose" ;;
    info) options="$_tev_json --files0-from --stats" ;;
    blocks) options="$_tev_json --files0-from" ;;
    results | values | diff) options="$_tev_json --part --result --step" ;;
    sets) ;;
    *) return ;;
  esac
  if [[ $word == -* ]]; then
    _tev_words "$options"
  elif [[ $verb == cdf ]] && ((COMP_CWORD == 3)); then
    _tev_names "$model" geometry
  elif [[ $verb == sets ]] && ((COMP_CWORD == 3)); then
    _tev_names "$model" set
  else
    _tev_files
  fi
}

complete -F _tev tev
