#!/usr/bin/env bash
# Times `tidewarden junk --json` on a generated fake home of about 200,000 files and
# compares the concurrent catalogue scan with the same work done one step after another.
#
#   bench/junk.sh [macos|linux] [files]
#
# The fake home is kept in $TMPDIR between runs (delete it to regenerate). Every run is
# against the fake home; the real one is never read.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
table=${1:-macos}
files=${2:-200000}
build="$root/build-bench"
home="${TMPDIR:-/tmp}/tw-junk-bench-$table-$files"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTIDEWARDEN_BENCH=ON -DTIDEWARDEN_TESTS=OFF >/dev/null
cmake --build "$build" --target tidewarden junk_scan

if [ ! -d "$home" ]; then
  mkdir -p "$home"
  python3 "$root/bench/make_junk_home.py" "$home" --files "$files" --table "$table"
fi
echo "fake home: $home ($(find "$home" -type f | wc -l) files)"

export HOME="$home" XDG_CACHE_HOME="$home/.cache" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share"
export TIDEWARDEN_JUNK_TABLE="$table" TIDEWARDEN_BENCH_HOME="$home"

hyperfine --warmup 2 --runs 15 --export-json "$build/junk-hyperfine.json" \
  "$build/src/tidewarden junk --json"
python3 - "$build/junk-hyperfine.json" <<'PY'
import json, sys
result = json.load(open(sys.argv[1]))["results"][0]
print(f"median wall time of junk --json: {result['median'] * 1000:.1f} ms")
PY

"$build/bench/junk_scan" --benchmark_repetitions=10 --benchmark_report_aggregates_only=true \
  --benchmark_out="$build/junk-scan.json" --benchmark_out_format=json
python3 - "$build/junk-scan.json" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["benchmarks"]
median = {r["run_name"].split("/")[0]: r["real_time"] for r in runs if r.get("aggregate_name") == "median"}
concurrent = median["BM_JunkScanConcurrent"]
sequential = median["BM_JunkScanSequential"]
print(f"median scan: concurrent {concurrent:.1f} ms, one after another {sequential:.1f} ms, "
      f"speed-up {sequential / concurrent:.2f}x")
PY
