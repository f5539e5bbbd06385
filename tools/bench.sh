# Verbs of ./dev: bench, counts, verify-numbers.

# Programs of a Release build and what they are compared with.
build_benchmarks() {
  need "${bench_packages[@]}"
  configure bench
  build_preset bench "$@"
}

verb_bench() {
  build_benchmarks benchmarks
  bench/run.py "$@"
}

verb_verify-numbers() {
  build_benchmarks bench_verify_numbers
  bench/verify_numbers.py "$@"
}

verb_counts() {
  need "${counts_packages[@]}"
  build_everything release products bench_models
  bench/counts.py "$@"
}
