#!/usr/bin/env bash
# What remembering a scan (scan cache and snapshot) adds to a scan of a tree of about
# 2,000,000 entries, and what one background tick costs with every rule off.
#
#   bench/automation.sh                       # 1,980,000 empty files in 19,531 folders
#   TW_BENCH_FILES=200000 bench/automation.sh
#
# The tree holds names only, so it fits in memory: it goes to /dev/shm unless TW_BENCH_DIR
# says otherwise. A scan of memory is faster than one of a disk, which makes the share
# that remembering adds look bigger, not smaller.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-bench"
files="${TW_BENCH_FILES:-1980000}"
tree="${TW_BENCH_DIR:-/dev/shm}/tw-automation-tree-$files"

if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja -DTIDEWARDEN_BENCH=ON -DTIDEWARDEN_TESTS=OFF \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$build" --target automation_bench >/dev/null
python3 "$root/bench/make_tree.py" "$tree" --files "$files" --size-mix empty --hard-links 0 --sparse 0 --seed 1

echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
echo "tree:    $tree ($(find "$tree" -mindepth 1 | wc -l) entries)"
results=$(mktemp)
trap 'rm -f "$results"' EXIT
TW_BENCH_TREE="$tree" "$build/bench/automation_bench" --benchmark_format=json --benchmark_out="$results" \
  --benchmark_out_format=json >/dev/null
python3 - "$results" <<'PY'
import json, sys
runs = {b["name"].split("/")[0]: b for b in json.load(open(sys.argv[1]))["benchmarks"]}
def ms(name): return runs[name]["real_time"] * {"ms": 1, "us": 1e-3, "ns": 1e-6}[runs[name]["time_unit"]]
scan, both, remember, big, tick = (ms(n) for n in ("Scan", "ScanAndRemember", "Remember", "RememberBigTree", "TickAllRulesOff"))
print(f"scan                      {scan:10.1f} ms")
print(f"scan + remember           {both:10.1f} ms  ({(both / scan - 1) * 100:+.1f}%)")
print(f"remember alone            {remember:10.2f} ms  ({remember / scan * 100:.2f}% of the scan)")
print(f"remember, 19,531 big dirs {big:10.2f} ms  ({big / scan * 100:.2f}% of the scan)")
print(f"tick, all rules off       {tick * 1000:10.1f} us")
PY
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
