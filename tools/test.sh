# Verbs of ./dev: test, python, wheel, asan, sweep, mutants.

# With the Python package, which is tested as users have it: in the Release build.
build_with_python() {
  need "${python_packages[@]}"
  configure release -DTEVINFO_BUILD_TESTS=ON -DTEVINFO_BUILD_PYTHON=ON
  build_preset release
}

verb_test() {
  build_with_python
  run_tests release "$@"
}

# The interpreter with the package of this build, whose Python files are those of python/tev.
verb_python() {
  need "${python_packages[@]}"
  configure release -DTEVINFO_BUILD_TESTS=ON -DTEVINFO_BUILD_PYTHON=ON
  build_preset release python_environment
  exec build/python/venv/bin/python "$@"
}

# Leaves the wheel in build/wheel. The same sources give the same bytes.
verb_wheel() {
  local copy=build/wheel/python
  need "${python_packages[@]}"
  configure release -DTEVINFO_BUILD_PYTHON=ON
  build_preset release tev_python
  rm -rf -- build/wheel
  mkdir -p build/wheel
  cp -r python "$copy"
  TEVINFO_BUILD="$root/build" \
    SOURCE_DATE_EPOCH="${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || echo 315532800)}" \
    /usr/bin/python3 -m build --wheel --no-isolation --outdir build/wheel "$copy" >&2
  rm -rf -- "$copy"
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
