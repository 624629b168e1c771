#!/usr/bin/env bash
# Times two builds of tidewarden against each other on the same generated data, side by
# side in one hyperfine run per command: a folder scan, the projects screen and the
# duplicate finder's listing. Use it to show that a change kept the speed.
#
#   bench/compare_builds.sh BEFORE_BINARY AFTER_BINARY
#
# TW_BENCH_FILES (scan tree size, default 100000), RUNS (default 5). The data lives under
# /tmp/tw-bench (outside the repository) and is reused between runs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
before=$(realpath "$1")
after=$(realpath "$2")
files=${TW_BENCH_FILES:-100000}
runs=${RUNS:-5}
work=/tmp/tw-bench
mkdir -p "$work/results"

tree="$work/tree-$files"
python3 "$here/make_tree.py" --files "$files" --seed 1 "$tree" >/dev/null
python3 "$here/make_projects_tree.py" --root "$work/projects" >/dev/null
[ -d "$work/dedupe-home/tree" ] || python3 "$here/make_dedupe_tree.py" "$work/dedupe-home/tree" >/dev/null

use_home() {
  export HOME=$1 XDG_CONFIG_HOME=$1/.config XDG_DATA_HOME=$1/.local/share XDG_CACHE_HOME=$1/.cache
}
unset TIDEWARDEN_SNAPSHOT

echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
compare() {  # name, home, arguments...
  local name=$1 home=$2
  shift 2
  use_home "$home"
  "$before" "$@" >/dev/null
  "$after" "$@" >/dev/null
  hyperfine --warmup 1 --runs "$runs" --export-json "$work/results/compare-$name.json" \
    -n before "$before $* >/dev/null" -n after "$after $* >/dev/null" >/dev/null
  python3 - "$name" "$work/results/compare-$name.json" <<'EOF'
import json, sys
results = {r["command"]: r for r in json.load(open(sys.argv[2]))["results"]}
b, a = results["before"], results["after"]
print(f"{sys.argv[1]:10} before {b['mean']:.3f} s ± {b['stddev']:.3f}, after {a['mean']:.3f} s ± {a['stddev']:.3f}:"
      f" {b['mean'] / a['mean']:.2f}x (above 1: the new build is faster)")
EOF
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
compare scan "$scratch" scan "$tree" --json
compare projects "$work/projects/home" projects --json
compare dedupe "$work/dedupe-home" dedupe --json
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
