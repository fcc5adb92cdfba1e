#!/usr/bin/env bash
# Runs every benchmark binary and prints its figures.
set -euo pipefail
cd "$(dirname "$0")/.."
for b in build/bench/bench_*; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done
