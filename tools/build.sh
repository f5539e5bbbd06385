# Verbs of ./dev: build, demo, screenshots, clean.

verb_build() { build_products; }

verb_demo() {
  build_products
  build/bin/TevInfo examples/bracket.tev
}

verb_screenshots() {
  need "${browser_packages[@]}" python3-pil
  build_products
  /usr/bin/python3 tools/screenshots.py build/bin/tev
}

verb_clean() { rm -rf -- build; }
