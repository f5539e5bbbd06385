# Verbs of ./dev: fuzz, and fuzz-one, which fuzz calls for each fuzzer.

# Each fuzzer starts from the corpus, keeps what it learns in the build directory, and leaves a file
# for whatever it finds.
verb_fuzz() {
  local seconds="${1:-60}" status=0
  need "${asan_packages[@]}"
  build_everything asan fuzzers
  fuzz_targets | xargs -r -P "$jobs" -I TARGET "$root/dev" fuzz-one TARGET "$seconds" || status=1
  fuzz_targets | while read -r target; do
    say "$target: $(grep -E '^Done|SUMMARY' "build/fuzz/$target.log" || echo 'did not end')"
  done
  if ((status != 0)); then
    fail "a fuzzer found something: see build/fuzz/"
  fi
}

fuzz_targets() { find fuzz/targets -name '*.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort; }

verb_fuzz-one() {
  local target="$1" seconds="$2"
  mkdir -p "build/fuzz/$target"
  cp -n fuzz/corpus/* "build/fuzz/$target/"
  "build/asan/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=300 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="build/fuzz/$target-" \
    "build/fuzz/$target" >"build/fuzz/$target.log" 2>&1
}
