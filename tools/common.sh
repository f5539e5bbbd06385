# What the verbs of ./dev share: words to the user, builds and test runs. Sourced, never run.

say() { printf '== %s\n' "$*" >&2; }

fail() {
  printf 'dev: %s\n' "$*" >&2
  exit 1
}

# Where a compiler cache is installed, builds use it: what a commit has not changed costs little then.
use_compiler_cache() {
  if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER-ccache}"
    # Without this nothing that is built with a precompiled header is found again.
    export CCACHE_SLOPPINESS="${CCACHE_SLOPPINESS-pch_defines,time_macros}"
  fi
}

# The build directory of a preset.
build_dir() {
  if [[ $1 == release ]]; then echo build; else echo "build/$1"; fi
}

# Configures a preset; further arguments go to cmake. A build directory that belongs to another
# place of the sources (a moved clone) starts anew.
configure() {
  local preset="$1" dir cache
  shift
  dir="$(build_dir "$preset")"
  cache="$dir/CMakeCache.txt"
  if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
    rm -rf -- "$dir"
  fi
  mkdir -p "$dir"
  use_compiler_cache
  cmake --preset "$preset" "$@" >"$dir/configure.log" 2>&1 || {
    cat "$dir/configure.log" >&2
    fail "configuring the preset '$preset' failed"
  }
}

# Builds targets (all where none is given) of a preset. Progress goes to standard error.
build_preset() {
  local preset="$1"
  shift
  say "building $(build_dir "$preset")"
  cmake --build "$(build_dir "$preset")" --parallel "$jobs" --target "${@:-all}" >&2
}

# Libraries and programs without the tests, so that GoogleTest is not needed. A build directory
# that has the tests keeps them.
build_products() {
  need "${build_packages[@]}"
  if grep -qsxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" build/CMakeCache.txt; then
    configure release
  else
    configure release -DTEVINFO_BUILD_TESTS=OFF
  fi
  build_preset release products
}

build_everything() {
  configure "$1" -DTEVINFO_BUILD_TESTS=ON
  build_preset "$@"
}

run_tests() {
  local preset="$1"
  shift
  ctest --test-dir "$(build_dir "$preset")" --parallel "$jobs" --output-on-failure \
    --no-tests=error "$@"
}
