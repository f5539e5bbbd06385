# The verb package of ./dev. Sourced, never run.

# Leaves the Debian packages, their source and the wheel in build/packages, made of what is committed.
verb_package() {
  local twice="" try="" out=build/packages argument commit
  for argument; do
    case "$argument" in
      --twice) twice=1 ;;
      --try) try=1 ;;
      *) fail "package: unknown argument \"$argument\"" ;;
    esac
  done
  [[ -z $try ]] || ((EUID == 0)) || fail "package --try fills a root of its own, which needs root"
  need "${package_packages[@]}"
  use_compiler_cache_of_user
  # What the first build has compiled would be no second time.
  [[ -z $twice ]] || export CCACHE_DISABLE=1
  rm -rf -- "$out"
  commit="$(git rev-parse HEAD)"
  make_packages "$commit" "$out" work
  [[ -z $twice ]] || compare_with_second "$commit" "$out"
  say "checking the packages"
  lintian --fail-on error "$out"/*.changes || fail "lintian finds errors"
  [[ -z $try ]] || try_packages "$out"
  say "the packages are in $out"
}

# Debhelper gives builds an empty home.
use_compiler_cache_of_user() {
  use_compiler_cache
  if command -v ccache >/dev/null; then
    export CCACHE_DIR="${CCACHE_DIR:-$(ccache --get-config cache_dir)}"
  fi
}

# Fills folder $2 with the packages of commit $1, built in its folder $3.
make_packages() {
  local out="$2" work="$2/$3" tree="$2/$3/tevinfo"
  mkdir -p "$tree"
  git archive "$1" | tar -x -C "$tree"
  say "building the packages in $work"
  # With Debian's programs, whatever else is installed.
  (cd "$tree" && PATH=/usr/sbin:/usr/bin:/sbin:/bin DEB_BUILD_OPTIONS=terse \
    dpkg-buildpackage --no-sign --jobs="$jobs") >"$work/build.log" 2>&1 || {
    tail -n 60 "$work/build.log" >&2
    fail "building the packages failed; all that it said is in $work/build.log"
  }
  find "$work" -maxdepth 1 -name 'tevinfo_*' -exec mv -t "$out" {} +
  mv "$work"/*.deb "$tree"/.pybuild/*/*.whl "$out"
  mv "$work/build.log" "$out"
  rm -rf -- "$work"
}

# Builds the packages again elsewhere. What records the build itself, the time of it among all, differs.
compare_with_second() {
  local out="$2" second="$2/second" file
  make_packages "$1" "$second" "a-folder/with-a-longer-name"
  for file in "$out"/*.{deb,dsc,tar.xz,whl}; do
    cmp "$file" "$second/${file##*/}" || fail "${file##*/} depends on where or when it is built"
  done
  rm -rf -- "$second"
  say "built twice, the packages are the same"
}

# Installs the packages in a root that has nothing else, and runs their tests there.
try_packages() {
  local out="$1" sources suite mirror test
  need debootstrap
  base="$(mktemp -d)"
  trap 'rm -rf --one-file-system -- "$base"' EXIT
  suite="$(. /etc/os-release && echo "$VERSION_CODENAME")"
  sources="$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | sort -u)"
  mirror="$(awk -v suite="$suite" '$3 == suite { print $2; exit }' <<<"$sources")"
  say "filling $base with $suite"
  unshare --mount debootstrap --variant=minbase "$suite" "$base" "$mirror" >"$out/try.log" ||
    fail "debootstrap failed; see $out/try.log"
  printf '%s\n' "$sources" >"$base/etc/apt/sources.list"
  mkdir "$base/packages"
  find "$out" -name '*.deb' ! -name '*-dbgsym_*' -exec cp -t "$base/packages" {} +
  dpkg-source --no-check --extract "$out"/*.dsc "$base/tree" >>"$out/try.log"
  say "installing the packages"
  install_in_root "cd /packages && apt-get install -y --no-install-recommends ./*.deb"
  install_in_root "apt-get install -y --no-install-recommends \
    $(sed -n 's/^Depends: //p' debian/tests/control | tr -d ',' | tr '\n' ' ')"
  sed -n 's/^Tests: //p' debian/tests/control | while read -r test; do
    say "trying debian/tests/$test"
    in_root "cd /tree && AUTOPKGTEST_TMP=\$(mktemp -d) debian/tests/$test" ||
      fail "debian/tests/$test failed"
  done
}

install_in_root() {
  in_root "export DEBIAN_FRONTEND=noninteractive; apt-get update && $1" >>"$out/try.log" 2>&1 ||
    { tail -n 30 "$out/try.log" >&2; fail "could not install the packages"; }
}

# Its own mounts end with it, and of the environment it sees only the way out.
in_root() {
  unshare --mount env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    ${http_proxy:+http_proxy="$http_proxy"} \
    sh -c 'mount -t proc proc "$0/proc" && exec chroot "$0" /bin/sh -c "$1"' "$base" "$1" </dev/null
}
