# Verbs of ./dev: test, asan, sweep, mutants.

verb_test() {
  need "${test_packages[@]}"
  build_everything release
  run_tests release "$@"
}

# Compiled by clang++, so that the tests pass with both compilers.
verb_asan() {
  need "${asan_packages[@]}"
  build_everything asan
  run_tests asan "$@"
}

# First the quick one, then the one that sees more.
verb_sweep() {
  local preset
  need "${asan_packages[@]}"
  for preset in release asan; do
    build_everything "$preset"
    TEVINFO_SWEEP=all run_tests "$preset" --timeout 7200 --verbose -R '^sweep\.' "$@"
  done
}

verb_mutants() {
  need "${test_packages[@]}"
  use_compiler_cache
  tools/mutants.py "$@"
}
