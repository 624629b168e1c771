#!/usr/bin/env bash
# Times tidewarden carrying out removals against the plain tools, on fresh copies of the
# same generated data before every run (hyperfine --prepare):
#   trash     `trash empty --yes` of a Trash of 15,000 items made by trash-put, against
#             trash-cli's `trash-empty` and `rm -rf` of the Trash's files/ and info/
#   projects  `projects clean --selected --yes` of 300 node_modules (every project idle,
#             so every one is selected), against `rm -rf` of the very same folders
# Usage: bench/apply.sh [trash|projects|all]
# Environment: BENCH_DIR (work folder, default /tmp/tw-bench-apply), RUNS (default 5),
# TW_BENCH_ITEMS (Trash items, default 15000), TIDEWARDEN (a binary instead of build-release's).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
if [ -n "${TIDEWARDEN:-}" ]; then tidewarden=$TIDEWARDEN; else source "$root/bench/release_build.sh"; fi
work=${BENCH_DIR:-/tmp/tw-bench-apply}
runs=${RUNS:-5}
what=${1:-all}
mkdir -p "$work"

use_home() {
  export HOME=$1 XDG_CONFIG_HOME=$1/.config XDG_DATA_HOME=$1/.local/share XDG_CACHE_HOME=$1/.cache
  unset TIDEWARDEN_SNAPSHOT
}

peak_memory() {  # the peak resident size of a command in MiB, after its prepare step
  eval "$1"
  /usr/bin/time -f "%M" -o "$work/time.txt" bash -c "$2" >/dev/null 2>&1 || true
  echo $(($(tail -1 "$work/time.txt") / 1024))
}

ratios() {  # each peer's mean over ours, from a hyperfine JSON export
  python3 - "$1" <<'PY'
import json, sys
results = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
ours = results.pop("tidewarden")
spread = lambda r: f" ± {r['stddev']:.3f}" if r.get("stddev") is not None else ""
for name, r in results.items():
    print(f"tidewarden {ours['mean']:.3f} s{spread(ours)} vs {name} {r['mean']:.3f} s{spread(r)}:"
          f" tidewarden takes {ours['mean'] / r['mean']:.2f}x its time")
PY
}

# A Trash made once by trash-put (small files, and folders of a few files), copied back
# in place before every run.
trash() {
  local items=${TW_BENCH_ITEMS:-15000}
  local home=$work/trash-home template=$work/trash-template-$items
  use_home "$home"
  if [ ! -d "$template" ]; then
    rm -rf "$home" && mkdir -p "$home/junk"
    python3 - "$home/junk" "$items" <<'PY'
import os, random, sys
folder, count = sys.argv[1], int(sys.argv[2])
rng = random.Random(3)
for index in range(count):
    if index % 10 == 0:
        os.makedirs(f"{folder}/dir-{index}")
        for part in range(5):
            with open(f"{folder}/dir-{index}/part-{part}", "wb") as out:
                out.write(rng.randbytes(rng.randint(100, 8000)))
    else:
        with open(f"{folder}/file-{index}.txt", "wb") as out:
            out.write(rng.randbytes(rng.randint(100, 16000)))
PY
    (cd "$home/junk" && find . -mindepth 1 -maxdepth 1 -print0 | xargs -0 trash-put)
    cp -a "$XDG_DATA_HOME/Trash" "$template"
  fi
  local trashDir=$XDG_DATA_HOME/Trash
  local prepare="rm -rf '$trashDir' && cp -a '$template' '$trashDir' && sync"
  echo "== trash: $(ls "$template/files" | wc -l) items, $(du -sh "$template" | cut -f1)"
  hyperfine --runs "$runs" --prepare "$prepare" --export-json "$work/trash.json" \
    -n tidewarden "'$tidewarden' trash empty --yes >/dev/null" \
    -n trash-empty "trash-empty >/dev/null" \
    -n "rm -rf" "rm -rf '$trashDir/files' '$trashDir/info'"
  ratios "$work/trash.json"
  echo "peak memory (MiB): tidewarden $(peak_memory "$prepare" "'$tidewarden' trash empty --yes")" \
    "trash-empty $(peak_memory "$prepare" "trash-empty")" \
    "rm -rf $(peak_memory "$prepare" "rm -rf '$trashDir/files' '$trashDir/info'")"
  eval "$prepare"
  "$tidewarden" trash empty --yes >/dev/null
  echo "left in the Trash after tidewarden: $(find "$trashDir" -mindepth 2 | wc -l) entries"
}

# 300 npm projects, every one idle for 100 days so that every node_modules is selected.
projects() {
  local tree=$work/projects
  python3 "$root/bench/make_projects_tree.py" --root "$tree" --npm 300 --min-files 100 --max-files 400 \
    --cargo 0 --python 0
  find "$tree/home/code" -path '*/.git/index' -exec touch -d '100 days ago' {} +
  local home=$work/projects-home
  use_home "$home"
  local prepare="rm -rf '$home' && cp -a '$tree/home' '$home' && sync"
  eval "$prepare"
  "$tidewarden" projects --selected --json >"$work/selected.json"
  python3 - "$work/selected.json" "$work/selected.txt" <<'PY'
import json, sys
out = json.load(open(sys.argv[1]))
paths = [item["path"] for group in out["groups"] for item in group["items"]]
open(sys.argv[2], "w").write("".join(p + "\0" for p in paths))
print(f"== projects: {len(paths)} selected folders, "
      f"{sum(1 for p in paths if p.endswith('node_modules'))} of them node_modules, {out['total']} bytes")
PY
  hyperfine --runs "$runs" --prepare "$prepare" --export-json "$work/projects.json" \
    -n tidewarden "'$tidewarden' projects clean --selected --yes >/dev/null" \
    -n "rm -rf" "xargs -0 rm -rf < '$work/selected.txt'"
  ratios "$work/projects.json"
  echo "peak memory (MiB): tidewarden $(peak_memory "$prepare" "'$tidewarden' projects clean --selected --yes")" \
    "rm -rf $(peak_memory "$prepare" "xargs -0 rm -rf < '$work/selected.txt'")"
}

case $what in
  trash) trash ;;
  projects) projects ;;
  all) trash; projects ;;
  *) echo "usage: $0 [trash|projects|all]" >&2; exit 2 ;;
esac
