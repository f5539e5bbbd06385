# Verbs of ./dev: lint, format.

# The files of the given patterns under the given folders, each ended by a NUL. Usage:
# sources '<folder> ...' <pattern>...
sources() {
  local folder folders=() names=() pattern
  for folder in $1; do
    if [[ -d $folder ]]; then folders+=("$folder"); fi
  done
  shift
  for pattern in "$@"; do
    names+=(-o -name "$pattern")
  done
  if ((${#folders[@]} > 0)); then
    find "${folders[@]}" -type f \( "${names[@]:1}" \) -print0 | sort -z
  fi
}

own_files() { sources 'include src app python tests bench fuzz' '*.h' '*.cpp'; }

check_format() {
  say "clang-format"
  own_files | xargs -0 -r clang-format --dry-run -Werror
}

# One line for each finding, headers by their place in the repository; a header's findings come once
# for each source that includes it.
check_tidy() {
  local log=build/tidy.log
  say "clang-tidy"
  if tools/tidy_batches.py build |
    xargs -r -d '\n' -n 1 -P "$jobs" clang-tidy --quiet -p build/tidy >"$log" 2>/dev/null; then
    return 0
  fi
  grep -E ': (error|warning): ' "$log" |
    sed -E "s#^$root/##; s#^build/layers/[a-z]+/#include/#" | sort -u >&2 ||
    say "clang-tidy itself failed; see $log"
  return 1
}

verb_format() {
  need "${format_packages[@]}"
  own_files | xargs -0 -r clang-format -i
}

# All checks run, so that one run shows everything; any finding makes the status 1.
verb_lint() {
  local status=0
  need "${lint_packages[@]}"
  check_format || status=1
  # The exit status of a subshell: configuring ends the script when it fails.
  (build_everything release products) || status=1
  (build_everything asan check_headers) || status=1
  check_tidy || status=1
  if ((status != 0)); then
    fail "lint found faults"
  fi
  say "lint: no findings"
}
