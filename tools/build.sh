# Verbs of ./dev: build, demo, clean.

verb_build() { build_products; }

verb_demo() {
  build_products
  build/bin/TevInfo examples/bracket.tev
}

verb_clean() { rm -rf -- build; }
