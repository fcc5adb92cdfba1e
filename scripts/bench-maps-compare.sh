#!/usr/bin/env bash
# Compares, in one run and on the same archives, three ways to get a map out of an .sd7/.sdz:
#   ours   `quindle --info ARCHIVE`: the whole load (listing, mapinfo.lua, .smf, tiles), as a process
#   floor  `7z x -so ARCHIVE <exactly the entries ours read>` (p7zip from Debian): bare decompression
#   peer   npm spring-map-parser (latest), parseMap in a warm Node process, its default work
# on the fixture archives and on bigger ones packed here from the fixture folders: the bridge map as
# non-solid and solid 7z and as zip, Blank16, and the blueprint map with 12 MiB of texture ballast
# that no loader needs. Goals: ours <= 1.2x the floor; the peer >= 2x slower where it can read.
# p7zip and the npm package are installed here only, into the system and a scratch folder.
# Usage: scripts/bench-maps-compare.sh [build-dir]   (default: build); RUNS=N (default 15)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
quindle=$(pwd)/$build/src/quindle
maps=$(cd ../shared/maps && pwd)
scratch=${QUINDLE_BENCH_SCRATCH:-${TMPDIR:-/tmp}/quindle-bench-maps}
runs=${RUNS:-15}

if ! command -v 7z >/dev/null; then
  $([ "$(id -u)" = 0 ] || echo sudo) apt-get install -y -q p7zip-full >/dev/null
fi
mkdir -p "$scratch/npm" "$scratch/archives"
if [ ! -d "$scratch/npm/node_modules/spring-map-parser" ]; then
  (cd "$scratch/npm" && npm install --no-audit --no-fund --silent spring-map-parser@latest >/dev/null)
fi
peer_version=$(node -p "require('$scratch/npm/node_modules/spring-map-parser/package.json').version")

# pack NAME FOLDER 7z-OPTIONS...: packs a map folder once; later runs reuse it.
pack() {
  local out=$scratch/archives/$1 folder=$2
  shift 2
  [ -f "$out" ] || (cd "$folder" && 7z a "$@" "$out" . >/dev/null)
}
ballast=$scratch/blueprint_ballast.sdd
if [ ! -d "$ballast" ]; then
  cp -r "$maps/Map_Blueprint_V1.sdd" "$ballast"
  chmod -R u+w "$ballast"
  for i in $(seq 1 6); do
    python3 -c "import random,sys; random.seed($i); sys.stdout.buffer.write(random.randbytes(1 << 20))" \
      > "$ballast/maps/detail_$i.dds"
    cp "$maps/bridge.sdd/maps/bridge.smt" "$ballast/maps/splat_$i.dds" # compressible like real DXT1
  done
fi
pack bridge.sd7 "$maps/bridge.sdd" -t7z -ms=off
pack bridge_solid.sd7 "$maps/bridge.sdd" -t7z -ms=on
pack bridge.sdz "$maps/bridge.sdd" -tzip
pack blank16.sd7 "$maps/Blank16.sdd" -t7z -ms=off
pack blueprint_ballast.sd7 "$ballast" -t7z -ms=off
pack blueprint_ballast_solid.sd7 "$ballast" -t7z -ms=on
pack blueprint_ballast.sdz "$ballast" -tzip
archives=("$maps/map_blueprint_v1.sd7" "$maps/map_blueprint_v1.sdz" "$scratch"/archives/*)

cat > "$scratch/npm/time.js" <<'JS'
const { MapParser } = require("spring-map-parser");
(async () => {
  const [runs, ...paths] = process.argv.slice(2);
  const parser = new MapParser({ verbose: false });
  for (const path of paths) {
    try {
      await parser.parseMap(path); // warm-up
      const start = process.hrtime.bigint();
      for (let i = 0; i < Number(runs); ++i) await parser.parseMap(path);
      console.log(`${path} ${(Number(process.hrtime.bigint() - start) / 1e6 / Number(runs)).toFixed(2)}`);
    } catch (e) {
      console.log(`${path} failed`);
    }
  }
})();
JS
peer=$(mktemp)
(cd "$scratch/npm" && node time.js "$runs" "${archives[@]}" 2>/dev/null) > "$peer"

echo "$(nproc) cores; $runs runs each, median wall time of a process (ours, floor), mean in a warm process (peer)"
echo "floor: $(7z i 2>/dev/null | sed -n 2p | cut -c1-40); peer: spring-map-parser $peer_version"
python3 - "$quindle" "$runs" "$peer" "${archives[@]}" <<'PY'
import json, os, statistics, subprocess, sys, time

quindle, runs, peer_file, archives = sys.argv[1], int(sys.argv[2]), sys.argv[3], sys.argv[4:]
peer = dict(line.split() for line in open(peer_file) if line.strip())

def median_ms(command):
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)  # warm cache
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        times.append(time.perf_counter() - start)
    return statistics.median(times) * 1000

print(f"{'archive':30} {'MiB':>5} {'read':>5} {'ours ms':>8} {'floor ms':>9} {'ours/floor':>10} {'peer ms':>8} {'peer/ours':>9}")
missed = 0
for archive in archives:
    info = json.loads(subprocess.run([quindle, "--info", "--json", archive], capture_output=True, check=True).stdout)
    needed = info["filesRead"]
    ours = median_ms([quindle, "--info", archive])
    floor = median_ms(["7z", "x", "-so", archive] + needed)
    theirs = peer.get(archive, "failed")
    ratio = ours / floor
    line = f"{os.path.basename(archive):30} {os.path.getsize(archive) / 2**20:5.1f} {len(needed):5} {ours:8.1f} {floor:9.1f} {ratio:9.2f}x"
    missed += ratio > 1.2
    if theirs == "failed":
        line += f" {'failed':>8} {'-':>9}"
    else:
        line += f" {float(theirs):8.1f} {float(theirs) / ours:8.1f}x"
        missed += float(theirs) / ours < 2
    print(line)
print("goals met" if not missed else f"{missed} goal(s) missed")
PY
rm -f "$peer"
