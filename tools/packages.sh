# The Debian packages that the verbs of ./dev need, and their installation where they are missing.
# Sourced, never run.

build_packages=(g++ cmake ninja-build zlib1g-dev libboost-dev libcli11-dev nlohmann-json3-dev
  libhdf5-dev libsqlite3-dev libssl-dev libcairo2-dev libjs-three)
# A browser without a display and its driver, and what runs scripts without one.
browser_packages=(chromium chromium-driver python3-selenium nodejs fonts-dejavu-core)
test_packages=("${build_packages[@]}" "${browser_packages[@]}" libgtest-dev valgrind python3
  python3-jsonschema python3-numpy python3-h5py python3-meshio python3-vtk9 python3-pil)
python_packages=("${test_packages[@]}" python3-dev pybind11-dev python3-pytest python3-build
  python3-wheel python3-setuptools python3-dask python3-distributed openssl
  slurm-wlm munge)
package_packages=("${build_packages[@]}" python3-dev pybind11-dev python3-wheel python3-setuptools dpkg-dev
  debhelper dh-python pybuild-plugin-pyproject lintian)
asan_packages=("${test_packages[@]}" clang libclang-rt-14-dev)
coverage_packages=("${test_packages[@]}" gcovr)
format_packages=(clang-format)
lint_packages=("${asan_packages[@]}" clang-tidy clang-format)
counts_packages=("${test_packages[@]}")
bench_packages=("${counts_packages[@]}" hdf5-tools netcdf-bin libnetcdf-dev libfmt-dev
  libbenchmark-dev hyperfine linux-perf python3-dev pybind11-dev)

# Prints those of the given packages that are not installed.
missing_packages() {
  if command -v dpkg-query >/dev/null; then
    missing_by_dpkg "$@"
  else
    missing_by_probe "$@"
  fi
}

missing_by_dpkg() {
  local installed package
  installed="$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)"
  for package in "$@"; do
    grep -qxF "installed $package" <<<"$installed" || printf '%s\n' "$package"
  done
}

missing_by_probe() {
  local package
  for package in "$@"; do
    has_parts_of "$package" || printf '%s\n' "$package"
  done
}

# Whether what the Debian package of that name brings is there.
has_parts_of() {
  case "$1" in
    ninja-build) command -v ninja >/dev/null ;;
    clang) command -v clang++ >/dev/null ;;
    zlib1g-dev) has_header zlib.h ;;
    libboost-dev) has_header boost/version.hpp ;;
    libgtest-dev) has_header gtest/gtest.h ;;
    libcli11-dev) has_header CLI/CLI.hpp ;;
    nlohmann-json3-dev) has_header nlohmann/json.hpp ;;
    python3-jsonschema) python3 -c 'import jsonschema' 2>/dev/null ;;
    python3-numpy) python3 -c 'import numpy' 2>/dev/null ;;
    python3-dev)
      python3 -c 'import os, sysconfig; os.stat(sysconfig.get_path("include") + "/Python.h")' \
        2>/dev/null
      ;;
    pybind11-dev) has_header_file pybind11/pybind11.h ;;
    python3-pytest | python3-build | python3-wheel | python3-setuptools | python3-meshio | \
      python3-h5py | python3-dask | python3-distributed)
      python3 -c "import ${1#python3-}" 2>/dev/null
      ;;
    python3-vtk9) python3 -c 'import vtkmodules' 2>/dev/null ;;
    libclang-rt-14-dev) has_clang_runtime ;;
    slurm-wlm) command -v slurmctld >/dev/null ;;
    hdf5-tools) command -v h5dump >/dev/null ;;
    netcdf-bin) command -v ncdump >/dev/null ;;
    libhdf5-dev) has_header hdf5.h || has_header hdf5/serial/hdf5.h ;;
    libsqlite3-dev) has_header sqlite3.h ;;
    libssl-dev) has_header openssl/evp.h ;;
    libjs-three) [[ -f /usr/share/javascript/three/three.min.js ]] ;;
    chromium-driver) command -v chromedriver >/dev/null ;;
    python3-selenium) python3 -c 'import selenium' 2>/dev/null ;;
    python3-pil) python3 -c 'import PIL' 2>/dev/null ;;
    nodejs) command -v node >/dev/null ;;
    fonts-dejavu-core) [[ -d /usr/share/fonts/truetype/dejavu ]] ;;
    libcairo2-dev) has_header cairo/cairo.h ;;
    libnetcdf-dev) has_header netcdf.h ;;
    libfmt-dev) has_header fmt/format.h ;;
    libbenchmark-dev) has_header benchmark/benchmark.h ;;
    *) command -v "$1" >/dev/null ;;
  esac
}

has_header() {
  printf '#include <%s>\n' "$1" | g++ -std=c++20 -x c++ -fsyntax-only - 2>/dev/null
}

# The same without compiling it: it may need headers from elsewhere.
has_header_file() {
  printf '#if !__has_include(<%s>)\n#error\n#endif\n' "$1" |
    g++ -x c++ -fsyntax-only - 2>/dev/null
}

has_clang_runtime() {
  local runtime
  runtime="$(clang++ -print-file-name=libclang_rt.asan-x86_64.a 2>/dev/null)" && [[ -f $runtime ]]
}

# Installs those of the given packages that are missing.
need() {
  local missing
  mapfile -t missing < <(missing_packages "$@")
  if ((${#missing[@]} > 0)); then
    install_packages "${missing[@]}"
  fi
}

install_packages() {
  local as_root=()
  command -v apt-get >/dev/null ||
    fail "missing: $* (there is no apt-get; please install them by other means)"
  if ((EUID != 0)); then
    command -v sudo >/dev/null || fail "missing: $* (installing them needs root or sudo)"
    as_root=(sudo)
  fi
  say "installing $*"
  # A source that does not answer must not stop the rest; the installation decides.
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update >&2 ||
    say "apt-get update failed; going on with the lists that are there"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "$@" >&2 || fail "could not install: $*"
}
