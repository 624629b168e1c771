#!/usr/bin/env bash
# Times `tidewarden dedupe` against single-purpose peers on one generated tree:
#   scan   finding the sets on a warm local tree: jdupes -r, rdfind -dryrun, rmlint
#   share  sharing every copy on a loop-mounted XFS image (reflink), a fresh copy of the data
#          before every run: duperemove -dr, jdupes -B -r and jdupes held to tidewarden's
#          32 KiB floor, on the generated tree and on two copies of /usr/share; compares
#          time, peak memory and space returned, and checks that sharing changed no file
# Usage: bench/dedupe_bench.sh [scan|share|all]
# Environment: TIDEWARDEN (binary), BENCH_DIR (work folder, default /tmp/tw-bench),
# RUNS (hyperfine runs, default 3), TOOLS (the sharing tools to time). Sharing needs root for the loop mount.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
binary=${TIDEWARDEN:-$root/build-tests/src/tidewarden}
work=${BENCH_DIR:-/tmp/tw-bench}
runs=${RUNS:-3}
out=$root/bench/out
what=${1:-all}
mkdir -p "$out"

home=$work/home
tree=$home/tree
if [ ! -d "$tree" ]; then
  python3 "$root/bench/make_dedupe_tree.py" "$tree"
fi

# Tidewarden reads its roots from a fake home: the tree is its only project folder.
use_home() {
  export HOME=$1 XDG_CONFIG_HOME=$1/.config XDG_DATA_HOME=$1/.local/share XDG_CACHE_HOME=$1/.cache
}

# Peers write their result files by replacing them, so they are never given /dev/null
# as an output file (as root that would swap the device for a regular file).
peak_memory() {  # prints the peak resident size of a command in MiB
  /usr/bin/time -f "%M" -o "$work/time.txt" "$@" >/dev/null 2>&1 || true
  echo $(( $(tail -1 "$work/time.txt") / 1024 ))
}

scan() {
  use_home "$home"
  echo "== scan: $(find "$tree" -type f | wc -l) files, $(du -sh "$tree" | cut -f1) on disk"
  hyperfine --warmup 1 --runs "$runs" --export-markdown "$out/dedupe-scan.md" \
    -n tidewarden "$binary dedupe --json > /dev/null" \
    -n jdupes "jdupes -r -q '$tree' > /dev/null" \
    -n rdfind "rdfind -dryrun true -outputname '$work/rdfind.txt' '$tree' > /dev/null" \
    -n rmlint "rmlint -T df -o fdupes:stdout '$tree' > /dev/null"
  echo "peak memory (MiB): tidewarden $(peak_memory "$binary" dedupe --json)" \
    "jdupes $(peak_memory jdupes -r -q "$tree")" \
    "rdfind $(peak_memory rdfind -dryrun true -outputname "$work/rdfind.txt" "$tree")" \
    "rmlint $(peak_memory rmlint -T df -o fdupes:stdout "$tree")"
}

image=$work/xfs.img
mnt=$work/xfs
# A tree of real files: two copies of /usr/share, so every file in it has a twin.
real_tree() {
  local target=$work/usr-share
  if [ ! -d "$target/b" ]; then
    rm -rf "$target" && mkdir -p "$target"
    cp -a /usr/share "$target/a" 2>/dev/null || true
    cp -a "$target/a" "$target/b"
  fi
  echo "$target"
}

# What must not change when copies share their blocks: every file's bytes, size, mode,
# owner and modification time.
fingerprint() {
  (cd "$1" && find . -type f -printf '%p %s %m %U %G %T@\n' | sort && find . -type f -print0 | sort -z |
    xargs -0 md5sum) | md5sum | cut -d' ' -f1
}

share_command() {  # the command line of one sharing tool on $mnt/home/tree
  case $1 in
    tidewarden) echo "HOME='$mnt/home' XDG_CONFIG_HOME='$mnt/home/.config' XDG_DATA_HOME='$mnt/home/.local/share'" \
                     "XDG_CACHE_HOME='$mnt/home/.cache' '$binary' dedupe clean --selected --yes --json" ;;
    duperemove) echo "duperemove -dr -q '$mnt/home/tree'" ;;
    jdupes)     echo "jdupes -B -r -q '$mnt/home/tree'" ;;
    # The smallest file tidewarden shares takes 32 KiB on disk: 28,673 bytes or more.
    jdupes-32k) echo "jdupes -B -r -q -X size+=:28673 '$mnt/home/tree'" ;;
  esac
}

share_tree() {  # $1: a name for the data, $2: the tree to copy in fresh before every run
  local name=$1 source=$2 tools=${TOOLS:-tidewarden duperemove jdupes jdupes-32k}
  local prepare="rm -rf '$mnt/home' && mkdir -p '$mnt/home' && cp -a --reflink=never '$source' '$mnt/home/tree' && sync"
  echo "== share ($name): $(find "$source" -type f | wc -l) files, $(du -sh "$source" | cut -f1)"
  local args=()
  for tool in $tools; do args+=(-n "$tool" "$(share_command "$tool") > /dev/null 2>&1"); done
  hyperfine --runs "$runs" --prepare "$prepare" --export-json "$out/dedupe-share-$name.json" "${args[@]}"
  printf '%-12s %10s %14s %s\n' tool "peak MiB" "space returned" "files unchanged" | tee "$out/dedupe-share-$name.txt"
  for tool in $tools; do
    eval "$prepare"
    local before after same=""
    before=$(df --output=avail -B1 "$mnt" | tail -1)
    [ "$tool" = tidewarden ] && same=$(fingerprint "$mnt/home/tree")
    /usr/bin/time -f "%M" -o "$work/time.txt" bash -c "$(share_command "$tool")" > "$work/$tool.out" 2>&1 || true
    sync
    after=$(df --output=avail -B1 "$mnt" | tail -1)
    if [ -n "$same" ]; then [ "$(fingerprint "$mnt/home/tree")" = "$same" ] && same=yes || same=NO; fi
    printf '%-12s %10d %10d MiB %s\n' "$tool" $(($(tail -1 "$work/time.txt") / 1024)) \
      $(((after - before) / 1048576)) "$same" | tee -a "$out/dedupe-share-$name.txt"
  done
  python3 - "$out/dedupe-share-$name.json" <<'PY'
import json, sys
results = {r["command"]: r["mean"] for r in json.load(open(sys.argv[1]))["results"]}
ours = results.pop("tidewarden", None)
for name, mean in results.items():
    if ours:
        print(f"tidewarden {ours:.3f} s vs {name} {mean:.3f} s: tidewarden takes {ours / mean:.2f}x its time")
PY
}

share() {
  mkdir -p "$mnt"
  if ! mountpoint -q "$mnt"; then
    rm -f "$image"
    truncate -s 6G "$image"
    mkfs.xfs -q -f -m reflink=1 "$image"
    mount -o loop "$image" "$mnt"
  fi
  trap 'umount "$mnt"; rm -f "$image"' EXIT
  share_tree generated "$tree"
  share_tree usr-share "$(real_tree)"
}

case $what in
  scan) scan ;;
  share) share ;;
  all) scan; share ;;
  *) echo "usage: $0 [scan|share|all]" >&2; exit 2 ;;
esac
