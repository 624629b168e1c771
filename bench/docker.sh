#!/usr/bin/env bash
# Times `tidewarden docker --json` against `docker system df -v` on an engine of its own,
# and against the bare `GET /system/df` round trip (curl on the socket) that both are built
# on: tidewarden should add no more than one inspect per stopped container and its own
# sorting to that round trip. Needs root, dockerd (Debian docker.io) and busybox-static.
#
#   sudo bench/docker.sh             # 40 images, 30 stopped containers, 10 volumes
#   TW_BENCH_IMAGES=100 TW_BENCH_CONTAINERS=100 sudo bench/docker.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
images="${TW_BENCH_IMAGES:-40}"
containers="${TW_BENCH_CONTAINERS:-30}"
volumes="${TW_BENCH_VOLUMES:-10}"
runs="${TW_BENCH_RUNS:-20}"
results="${TW_BENCH_DIR:-/tmp/tw-bench}/results"
mkdir -p "$results"
[ "$(id -u)" -eq 0 ] || { echo "starting a Docker engine of its own needs root" >&2; exit 1; }

. "$root/bench/release_build.sh"

# The engine: short paths (socket paths are limited to 108 bytes), stopped by its own pid.
engine=$(mktemp -d "${TMPDIR:-/tmp}/twbd-XXXXXX")
socket="$engine/sock"
stop_engine() {
  if [ -f "$engine/pid" ]; then
    local pid
    pid=$(cat "$engine/pid")
    kill "$pid" 2>/dev/null || true
    for _ in $(seq 300); do kill -0 "$pid" 2>/dev/null || break; sleep 0.2; done
  fi
  { grep -o "$engine/[^ ]*" /proc/mounts || true; } | sort -r | while read -r point; do umount -l "$point"; done
  rm -rf "$engine" "$fake_home"
}
fake_home=$(mktemp -d "${TMPDIR:-/tmp}/twbh-XXXXXX")
trap stop_engine EXIT
echo '{}' >"$engine/daemon.json"
dockerd --data-root "$engine/root" --exec-root "$engine/exec" --host "unix://$socket" --pidfile "$engine/pid" \
  --bridge none --iptables=false --shutdown-timeout 1 --config-file "$engine/daemon.json" >"$engine/log" 2>&1 &
for _ in $(seq 300); do curl -sf --unix-socket "$socket" http://localhost/_ping >/dev/null && break; sleep 0.2; done
export DOCKER_HOST="unix://$socket" DOCKER_CONFIG="$engine/cli"
docker=/usr/bin/docker

echo "populating: $images images, $containers stopped containers, $volumes volumes"
mkdir -p "$engine/image/bin" && cp /bin/busybox "$engine/image/bin/" && ln -s busybox "$engine/image/bin/sh"
for i in $(seq "$images"); do
  head -c $((i * 20000)) /dev/zero >"$engine/image/payload"
  tar -C "$engine/image" -c . | $docker import - "bench/image-$i:1" >/dev/null
done
for i in $(seq "$containers"); do $docker create --network none --name "stopped-$i" "bench/image-$(( (i % images) + 1 )):1" /bin/busybox true >/dev/null; done
for i in $(seq "$volumes"); do $docker volume create "data-$i" >/dev/null; done
mkdir -p "$engine/context" && printf 'FROM bench/image-1:1\nCOPY blob /blob\n' >"$engine/context/Dockerfile"
head -c 1000000 /dev/urandom >"$engine/context/blob"
DOCKER_BUILDKIT=1 $docker build -q -t bench/cached:1 "$engine/context" >/dev/null

export HOME="$fake_home" XDG_DATA_HOME="$fake_home/.local/share" XDG_CONFIG_HOME="$fake_home/.config" \
  XDG_CACHE_HOME="$fake_home/.cache" XDG_RUNTIME_DIR="$fake_home/run"
echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
"$tidewarden" docker --json >"$results/docker.json"
python3 -c 'import json,sys; o=json.load(open(sys.argv[1])); print("tidewarden:", {g["id"]: len(g["items"]) for g in o["groups"]})' \
  "$results/docker.json"

hyperfine --warmup 3 --runs "$runs" --export-json "$results/docker-hyperfine.json" \
  -n tidewarden "$tidewarden docker --json >/dev/null" \
  -n "docker system df -v" "$docker system df -v >/dev/null" \
  -n "GET /system/df" "curl -s --unix-socket $socket 'http://localhost/system/df?verbose=1' >/dev/null"

peak() { /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F': ' '/Maximum resident set size/ {print $2}'; }
tw_kb=$(peak "$tidewarden" docker --json)
cli_kb=$(peak $docker system df -v)

python3 - "$results/docker-hyperfine.json" "$tw_kb" "$cli_kb" <<'PY'
import json, sys
data = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
memory = {"tidewarden": int(sys.argv[2]), "docker system df -v": int(sys.argv[3])}
ours = data["tidewarden"]["mean"]
print(f"\n{'tool':<22} {'mean':>9} {'± sd':>8} {'peer/us':>8} {'peak RSS':>10}")
for name in ["tidewarden", "docker system df -v", "GET /system/df"]:
    r = data[name]
    rss = f"{memory[name] / 1024:>8.1f} MB" if name in memory else ""
    print(f"{name:<22} {r['mean'] * 1000:>7.1f}ms {r['stddev'] * 1000:>6.1f}ms {r['mean'] / ours:>7.2f}x {rss:>10}")
extra = (ours - data["GET /system/df"]["mean"]) * 1000
print(f"\ntidewarden takes {extra:.1f} ms beyond one /system/df round trip (curl's own start-up included there).")
print("peer/us above 1 means tidewarden was faster.")
PY
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
