#!/usr/bin/env bash
# Times `tidewarden dedupe` against single-purpose peers on one generated tree:
#   scan   finding the sets on a warm local tree: jdupes -r, rdfind -dryrun, rmlint
#   share  sharing every copy on a loop-mounted XFS image (reflink) after a fresh copy of
#          the tree: duperemove -dr and jdupes -B -r; compares time and space returned
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
share() {
  mkdir -p "$mnt"
  if ! mountpoint -q "$mnt"; then
    rm -f "$image"
    truncate -s 4G "$image"
    mkfs.xfs -q -f -m reflink=1 "$image"
    mount -o loop "$image" "$mnt"
  fi
  trap 'umount "$mnt"; rm -f "$image"' EXIT
  printf '%-12s %10s %10s %14s\n' tool seconds "peak MiB" "space returned" | tee "$out/dedupe-share.txt"
  # jdupes -B also shares files below 32 KiB, which tidewarden leaves alone by design;
  # the "jdupes-32k" row holds it to the same floor.
  for tool in ${TOOLS:-tidewarden duperemove jdupes jdupes-32k}; do
    rm -rf "${mnt:?}"/*
    mkdir -p "$mnt/home"
    cp -a --reflink=never "$tree" "$mnt/home/tree"
    sync
    local before after
    before=$(df --output=avail -B1 "$mnt" | tail -1)
    case $tool in
      tidewarden) use_home "$mnt/home"
                  command=("$binary" dedupe clean --selected --yes --json) ;;
      duperemove) command=(duperemove -dr -q "$mnt/home/tree") ;;
      jdupes)     command=(jdupes -B -r -q "$mnt/home/tree") ;;
      jdupes-32k) command=(jdupes -B -r -q -X size+=:32k "$mnt/home/tree") ;;
    esac
    /usr/bin/time -f "%e %M" -o "$work/time.txt" "${command[@]}" > "$work/$tool.out" 2>&1 || true
    sync
    after=$(df --output=avail -B1 "$mnt" | tail -1)
    read -r seconds peak < <(tail -1 "$work/time.txt")
    printf '%-12s %10s %10d %11d MiB\n' "$tool" "$seconds" $((peak / 1024)) $(((after - before) / 1048576)) |
      tee -a "$out/dedupe-share.txt"
  done
}

case $what in
  scan) scan ;;
  share) share ;;
  all) scan; share ;;
  *) echo "usage: $0 [scan|share|all]" >&2; exit 2 ;;
esac
