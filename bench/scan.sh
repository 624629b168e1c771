#!/usr/bin/env bash
# Times `tidewarden scan` against du, gdu and ncdu on the same warm generated tree and
# compares peak memory with /usr/bin/time -v. The tree lives outside the repository and is
# reused between runs when its options are unchanged.
#
#   bench/scan.sh                 # 500,000 files under /tmp/tw-bench
#   TW_BENCH_FILES=50000 bench/scan.sh
#   TW_BENCH_RUNS=5 bench/scan.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
files="${TW_BENCH_FILES:-500000}"
runs="${TW_BENCH_RUNS:-10}"
tree="${TW_BENCH_DIR:-/tmp/tw-bench}/tree-$files"
results="${TW_BENCH_DIR:-/tmp/tw-bench}/results"
mkdir -p "$results"

. "$root/bench/release_build.sh"

python3 "$root/bench/make_tree.py" --files "$files" --seed 1 "$tree"

# tidewarden reads $HOME; give it a throwaway one.
fake_home=$(mktemp -d)
trap 'rm -rf "$fake_home"' EXIT
export HOME="$fake_home" XDG_DATA_HOME="$fake_home/.local/share" XDG_CONFIG_HOME="$fake_home/.config" \
  XDG_CACHE_HOME="$fake_home/.cache"

echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
echo "tree:    $tree ($(find "$tree" -mindepth 1 | wc -l) entries)"

# Warm the metadata cache so every tool reads the same cached tree.
du -s "$tree" >/dev/null
"$tidewarden" scan "$tree" --json >/dev/null

hyperfine --warmup 2 --runs "$runs" --export-json "$results/scan.json" \
  -n tidewarden "$tidewarden scan $tree --json" \
  -n du "du -s -B1 $tree" \
  -n gdu "gdu -n -p $tree" \
  -n ncdu "ncdu -0 -o - $tree >/dev/null"

peak() { /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F': ' '/Maximum resident set size/ {print $2}'; }
tw_kb=$(peak "$tidewarden" scan "$tree" --json)
gdu_kb=$(peak gdu -n -p "$tree")
du_kb=$(peak du -s -B1 "$tree")
ncdu_kb=$(peak sh -c 'ncdu -0 -o - "$1" >/dev/null' sh "$tree")

python3 - "$results/scan.json" "$tw_kb" "$gdu_kb" "$du_kb" "$ncdu_kb" <<'PY'
import json, sys
data = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
memory = dict(zip(["tidewarden", "gdu", "du", "ncdu"], map(int, sys.argv[2:6])))
ours = data["tidewarden"]["mean"]
print()
print(f"{'tool':<11} {'mean':>9} {'± sd':>8} {'peer/us':>8} {'peak RSS':>10}")
for name in ["tidewarden", "du", "gdu", "ncdu"]:
    r = data[name]
    print(f"{name:<11} {r['mean']:>8.3f}s {r['stddev']:>7.3f}s {r['mean'] / ours:>7.2f}x {memory[name] / 1024:>8.1f} MB")
print("\npeer/us above 1 means tidewarden was faster.")
PY
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
