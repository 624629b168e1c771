#!/usr/bin/env bash
# Times `tidewarden large --json` on a generated home of a million files against
# `tidewarden scan HOME --json` (the same walk without sorting into groups: large must stay
# within 1.1x of it) and `find HOME -size +500M` (the shell way to find big files), on the
# same warm home, and compares peak memory.
#
#   bench/large.sh                        # 1,000,000 files under /tmp/tw-bench-large
#   TW_BENCH_FILES=100000 TW_BENCH_RUNS=3 bench/large.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
files="${TW_BENCH_FILES:-1000000}"
runs="${TW_BENCH_RUNS:-10}"
home="${TW_BENCH_DIR:-/tmp/tw-bench-large}/home-$files"
results="${TW_BENCH_DIR:-/tmp/tw-bench-large}/results"
mkdir -p "$results"

command -v hyperfine >/dev/null || { echo "hyperfine is needed (apt-get install hyperfine)" >&2; exit 1; }
source "$root/bench/release_build.sh"

python3 "$root/bench/make_large_home.py" --files "$files" "$home"
export HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" XDG_CACHE_HOME="$home/.cache"
unset TIDEWARDEN_SNAPSHOT

echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
echo "home:    $home ($(find "$home" -mindepth 1 | wc -l) entries)"

# Warm the metadata cache, and show that the ways agree on the big files.
"$tidewarden" scan "$home" --json >/dev/null
"$tidewarden" large --json >"$results/large.json"
find "$home" -size +500M | sort >"$results/find.txt"
python3 - "$results/large.json" "$results/find.txt" <<'PY'
import json, sys
out = json.load(open(sys.argv[1]))
groups = {group["id"]: group for group in out["groups"]}
big = sorted(item["id"] for item in groups.get("big", {"items": []})["items"])
found = [line.rstrip("\n") for line in open(sys.argv[2])]
print("large:   " + ", ".join(f"{g['id']} {len(g['items'])}" for g in out["groups"]) +
      f"; {sum(1 for g in out['groups'] for i in g['items'] if i['selected'])} ticked")
print(f"big files: large {len(big)}, find {len(found)}, {'the same' if big == found else 'DIFFERENT'}")
PY

hyperfine --warmup 2 --runs "$runs" --export-json "$results/large-hyperfine.json" \
  -n large "$tidewarden large --json" \
  -n scan "$tidewarden scan $home --json" \
  -n find "find $home -size +500M"

peak() { /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F': ' '/Maximum resident set size/ {print $2}'; }
large_kb=$(peak "$tidewarden" large --json)
scan_kb=$(peak "$tidewarden" scan "$home" --json)
find_kb=$(peak find "$home" -size +500M)

python3 - "$results/large-hyperfine.json" "$large_kb" "$scan_kb" "$find_kb" <<'PY'
import json, sys
data = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
memory = dict(zip(["large", "scan", "find"], map(int, sys.argv[2:5])))
ours = data["large"]["mean"]
print()
print(f"{'command':<7} {'mean':>9} {'± sd':>8} {'/ large':>8} {'peak RSS':>10}")
for name in ["large", "scan", "find"]:
    r = data[name]
    print(f"{name:<7} {r['mean']:>8.3f}s {r['stddev']:>7.3f}s {r['mean'] / ours:>7.2f}x {memory[name] / 1024:>8.1f} MB")
print(f"\nlarge takes {ours / data['scan']['mean']:.2f}x the time of scan (at most 1.1x wanted); "
      f"find takes {data['find']['mean'] / ours:.2f}x the time of large.")
PY
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
