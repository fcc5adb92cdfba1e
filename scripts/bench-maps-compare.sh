#!/usr/bin/env bash
# Times the npm registry's spring-map-parser (latest, installed into a scratch folder that is never
# committed) and Quindle's loader on the same archives, tiles skipped on both sides, and prints the
# ratio. Usage: scripts/bench-maps-compare.sh [build-dir]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
maps=$(cd ../shared/maps && pwd)
scratch=${QUINDLE_NPM_SCRATCH:-${TMPDIR:-/tmp}/quindle-bench-npm}
runs=${RUNS:-10}

mkdir -p "$scratch"
if [ ! -d "$scratch/node_modules/spring-map-parser" ]; then
  (cd "$scratch" && npm install --no-audit --no-fund --silent spring-map-parser@latest >/dev/null)
fi
version=$(node -p "require('$scratch/node_modules/spring-map-parser/package.json').version")

cat > "$scratch/time.js" <<'JS'
const { MapParser } = require("spring-map-parser");
(async () => {
  const [runs, ...paths] = process.argv.slice(2);
  const parser = new MapParser({ verbose: false, skipSmt: true });
  for (const path of paths) {
    const name = path.split("/").pop();
    try {
      await parser.parseMap(path); // warm-up
      const start = process.hrtime.bigint();
      for (let i = 0; i < Number(runs); ++i) await parser.parseMap(path);
      const ms = Number(process.hrtime.bigint() - start) / 1e6 / Number(runs);
      console.log(`${name} ${ms.toFixed(2)}`);
    } catch (e) {
      console.log(`${name} failed`);
    }
  }
})();
JS

archives=(map_blueprint_v1.sd7 map_blueprint_v1.sdz)
echo "spring-map-parser $version, $runs runs each (header, heights, minimap; tiles skipped)"
declare -A theirs
while read -r name ms; do theirs[$name]=$ms; done < <(cd "$scratch" && node time.js "$runs" "${archives[@]/#/$maps/}" 2>/dev/null)

json=$(mktemp)
"$build/bench/bench_maps" --benchmark_filter='LoadMap/map_blueprint_v1_sd[7z]/1$' --benchmark_format=json \
  --benchmark_min_time=0.5 > "$json" 2>/dev/null
for archive in "${archives[@]}"; do
  key=${archive//./_}
  ours=$(python3 -c "import json,sys; b=[x for x in json.load(open('$json'))['benchmarks'] if '$key/1' in x['name']][0]; print(b['real_time'] * {'ms':1,'us':1e-3,'ns':1e-6}[b['time_unit']])")
  if [ "${theirs[$archive]:-failed}" = failed ]; then
    printf '%-24s ours %8.2f ms   spring-map-parser could not parse it\n' "$archive" "$ours"
  else
    printf '%-24s ours %8.2f ms   spring-map-parser %8.2f ms   ratio %.1fx\n' "$archive" "$ours" "${theirs[$archive]}" \
      "$(python3 -c "print(${theirs[$archive]} / $ours)")"
  fi
done
rm -f "$json"
