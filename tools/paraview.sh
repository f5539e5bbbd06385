# What ./dev try-paraview runs. Sourced, never run.
#
# ParaView's Python package conflicts with VTK's, which the tests use, so it has a root of its own that
# debootstrap fills at the first call (1 GB, some minutes; as root). PARAVIEW_ROOT says where.

verb_try-paraview() {
  local base="${PARAVIEW_ROOT:-$root/build/paraview}" work
  ((EUID == 0)) || fail "try-paraview fills a root of its own, which needs root"
  need debootstrap
  build_products
  if [[ ! -e $base/ready ]]; then
    rm -rf -- "$base"
    mkdir -p "$base"
    say "filling $base with ParaView"
    debootstrap --variant=minbase --include=python3-paraview,tcl,xvfb,xauth,libgl1-mesa-dri bookworm "$base" >&2
    touch "$base/ready"
  fi
  work="$base/tmp/export"
  rm -rf -- "$work"
  mkdir -p "$work"
  build/bin/tev export examples/bracket.tev --cells 10=tetra10 -o "$work/bracket.xdmf"
  build/bin/tev export examples/heatsink.tev --cells auto -o "$work/heatsink.xdmf"
  cp tools/paraview_picture.py "$work/"
  chroot "$base" /bin/sh -c 'cd /tmp/export && HOME=/tmp exec xvfb-run -a python3 paraview_picture.py'
  mkdir -p docs/images
  cp "$work/bracket.png" docs/images/bracket-in-paraview.png
  say "the picture is docs/images/bracket-in-paraview.png"
}
