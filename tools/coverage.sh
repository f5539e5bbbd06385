# Verb of ./dev: coverage.

# Tests that are slow with counters: those of what large files cost, or of very many numbers, reach
# what others reach, too. The sweep only asks that every run ends in a named way: a line that nothing
# else reaches has no test of what it does, and is to be seen as such.
slow_to_count='-*/Sweep.*:LoadWork.*:StreamWork.*:Valgrind.*:NumberText.TenMillion*'

# Reports also where tests fail, so that one run shows everything; the status is then 1. With --units
# it builds and runs only the tests that run no program, which takes a part of the time.
verb_coverage() {
  local status=0 counters target=all
  need "${coverage_packages[@]}"
  if [[ ${1:-} == --units ]]; then
    target=unit_tests
    set -- -E '^(run|sweep|layout|fuzz\.replay)' "${@:2}"
  fi
  build_everything coverage "$target"
  counters="$(mktemp -d)"
  place_counters "$counters"
  GTEST_FILTER="$slow_to_count" GCOV_PREFIX="$counters" run_tests coverage "$@" || status=1
  collect_counters "$counters"
  report_coverage
  if ((status != 0)); then
    fail "tests failed, so that more may be reached than is shown"
  fi
}

# Makes an empty file for the counters of each source in a directory that every user reaches: the
# tests run programs without privileges, too, which may not make any, nor see this repository.
place_counters() {
  local build="$root/build/coverage" notes file
  find "$build" -name '*.gcda' -delete
  chmod 755 "$1"
  (
    umask 0
    mkdir -p "$1$build"
    find "$build" -name '*.gcno' | while read -r notes; do
      file="$1${notes%.gcno}.gcda"
      mkdir -p "${file%/*}"
      : >"$file"
    done
  )
}

collect_counters() {
  find "$1" -name '*.gcda' -empty -delete
  cp -r "$1$root/build/coverage/." build/coverage/
  rm -rf -- "$1"
}

report_coverage() {
  local report=build/coverage/report
  say "gcovr"
  mkdir -p "$report"
  gcovr --root . --object-directory build/coverage --exclude-directories '.*/CompilerId.*' \
    -j "$jobs" --filter 'src/' --filter 'app/' --filter 'include/' \
    --exclude-unreachable-branches --exclude-throw-branches \
    --json "$report/coverage.json" --html-details "$report/index.html" >"$report/gcovr.log" 2>&1 ||
    fail "gcovr failed; see $report/gcovr.log"
  python3 tools/coverage_report.py "$report/coverage.json"
  say "line by line: $report/index.html"
}
