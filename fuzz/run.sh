#!/usr/bin/env bash
# Runs a map fuzzer for FUZZ_SECONDS (default 600): FUZZ_TARGET=maploader (default), the whole load
# path from archive bytes, or springmap, the .smf/.smt parsers alone. New crashes land in
# build-fuzz/artifacts; once fixed, copy them to tests/fuzz_regressions/TARGET (make test replays the maploader ones).
set -euo pipefail
cd "$(dirname "$0")/.."
maps=../shared/maps
target=${FUZZ_TARGET:-maploader}
corpus=build-fuzz/corpus-$target
mkdir -p "$corpus" build-fuzz/artifacts
if [ "$target" = maploader ]; then
  python3 fuzz/make_seeds.py "$corpus" "$maps"
  max_len=65536
elif [ -d "$maps" ]; then
  find "$maps" \( -iname '*.smf' -o -iname '*.smt' \) | while read -r f; do
    # The first 4 KiB of each file behind a zero-padding count that restores its full length.
    size=$(stat -c %s "$f")
    pad=$(( size > 4096 ? size - 4096 : 0 ))
    { printf "$(printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((pad & 255)) $((pad >> 8 & 255)) $((pad >> 16 & 255)) $((pad >> 24 & 255)))"
      head -c 4096 "$f"; } > "$corpus/head-$(basename "$f" | tr ' ' _)"
  done
fi
if [ -d "tests/fuzz_regressions/$target" ]; then cp "tests/fuzz_regressions/$target"/* "$corpus/" 2>/dev/null || true; fi
# Short allocation stacks and a smaller quarantine: a report still names the faulting line, and each
# input stops paying for deep stack walks on its thousands of allocations.
# One job: rereading the corpus folder would only run this job's own finds again.
export ASAN_OPTIONS=${ASAN_OPTIONS:-malloc_context_size=8:quarantine_size_mb=32}
exec build-fuzz/fuzz/fuzz_$target "$corpus" -max_total_time="${FUZZ_SECONDS:-600}" -rss_limit_mb=4096 \
  -max_len="${max_len:-8192}" -reload=0 -timeout=10 -artifact_prefix=build-fuzz/artifacts/ -print_final_stats=1
