# shellcheck shell=bash
# Completion of tev for bash.

# Sets words and cword to what COMP_WORDS and COMP_CWORD were if bash did not take words apart at "=", ":"
# and "@", which names of steps, parts and files have, and current to what the word has before the cursor.
_tev_words() {
  local rest="$COMP_LINE" word last=''
  local -i i after
  words=() cword=0
  for ((i = 0; i < ${#COMP_WORDS[@]}; i++)); do
    word="${COMP_WORDS[i]}"
    if [[ -n $last && -n $word && $rest == "$word"* && (-z ${word//[=:@]/} || -z ${last//[=:@]/}) ]]; then
      words[${#words[@]} - 1]+="$word"
    else
      words+=("$word")
    fi
    rest="${rest#*"$word"}" last="$word"
    if ((i == COMP_CWORD)); then
      cword=$((${#words[@]} - 1)) after=$((${#COMP_LINE} - ${#rest} - COMP_POINT))
      current="${words[cword]}"
      ((after > 0)) && current="${current:0:${#current} - after}"
    fi
  done
}

# Sets COMPREPLY to those lines of standard input that begin with the word at the cursor, quoted as the
# shell wants it and without what the line keeps.
_tev_reply() {
  local line shown typed="${current//\\/}"
  [[ $current == [\"\']* ]] && typed="${current:1}"
  while IFS= read -r line; do
    [[ $line == "$typed"* ]] || continue
    shown="${line#"${kept//\\/}"}"
    [[ $current == [\"\']* ]] || printf -v shown '%q' "$shown"
    COMPREPLY+=("$shown")
  done
}

_tev_files() {
  compopt -o filenames 2>/dev/null  # fails outside of a completion
  mapfile -t COMPREPLY < <(compgen -f -- "$current")
  COMPREPLY=("${COMPREPLY[@]#"$kept"}")
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

# Writes what a column of a table has in a catalogue, but for what CSV has to quote.
_tev_values() {
  tev query --csv -- "$1" "SELECT DISTINCT $2 FROM $3 WHERE $2 IS NOT NULL ORDER BY 1" 2>/dev/null |
    sed '1d; /^"/d'
}

_tev() {
  local verb before current kept model='' word
  local -a words
  local -i cword i arguments=0
  COMPREPLY=()
  _tev_words
  verb="${words[1]}" before="${words[cword - 1]}"
  if [[ $current == --*=* ]]; then
    before="${current%%=*}" current="${current#*=}"
  fi
  kept="${current%"$2"}"  # what bash replaces begins after the last "=", ":" or quote
  if ((cword == 1)); then
    _tev_reply < <(_tev_verbs; printf '%s\n' --help --version)
    return
  fi
  # The model is the first argument.
  for ((i = 2; i < cword; i++)); do
    word="${words[i]}"
    case "$word" in
      -o | --output | --files0-from | --depth | --part | --result | --step | -j | --jobs | --format | \
        --rtol | --atol | --cells | --component | --range | --size | --view | --colours | --max-size | --catalogue | --shard | --category | --above | --below) i+=1 ;;
      -?*) ;;
      *)
        ((arguments++ == 0)) && model="${word//[\\\"\']/}" && model="${model/#\~\//$HOME/}"
        ;;
    esac
  done
  case "$before" in
    --part | --result | --step)
      # Where these come first, the model may stand after them.
      ((cword + 1 < ${#words[@]})) && model="${model:-${words[${#words[@]} - 1]}}"
      if [[ $verb == find ]]; then
        _tev_reply < <(_tev_values "$model" name results)
      else
        _tev_reply < <(_tev_names "$model" "${before#--}")
      fi
      return
      ;;
    --category) _tev_reply < <(_tev_values "$model" category models); return ;;
    --format) _tev_reply < <(printf '%s\n' csv npy); return ;;
    --cells) _tev_reply < <(printf '%s\n' auto); return ;;
    --component) _tev_reply < <(printf '%s\n' magnitude); return ;;
    --view) _tev_reply < <(printf '%s\n' iso +x -x +y -y +z -z); return ;;
    --range) _tev_reply < <(printf '%s\n' all step); return ;;
    --colours) _tev_reply < <(printf '%s\n' viridis cividis); return ;;
    --size | --max-size) return ;;
    --depth | --rtol | --atol | -j | --jobs | --shard | --above | --below) return ;;
    -o | --output | --files0-from | --catalogue) _tev_files; return ;;
  esac
  if [[ $verb == help ]]; then
    _tev_reply < <(_tev_verbs)
  elif [[ $current == -* ]]; then
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
