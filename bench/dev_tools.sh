#!/usr/bin/env bash
# Times `tidewarden toolchains|ide|simulators --json` on a generated home (50 versions per
# version manager, IDE and emulator, 20 projects pinning some of them) against `du -s` of
# the very folders each screen reads, on the same warm tree, and prints each screen's
# mean time, du's, their ratio and both peak memories. Beside them: each screen's provider
# loaded in one process as the window loads it, without the program's start and the JSON.
#
#   bench/dev_tools.sh                         # 50 versions, 20 projects, 10 runs
#   TW_BENCH_VERSIONS=100 TW_BENCH_RUNS=5 bench/dev_tools.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs="${TW_BENCH_RUNS:-10}"
versions="${TW_BENCH_VERSIONS:-50}"
tree="${TW_BENCH_DIR:-/tmp/tw-bench}/dev-tools-$versions"
results="${TW_BENCH_DIR:-/tmp/tw-bench}/results"
mkdir -p "$results"

command -v hyperfine >/dev/null || { echo "hyperfine is needed (apt-get install hyperfine)" >&2; exit 1; }
source "$root/bench/release_build.sh"
cmake -S "$root" -B "$build" -DTIDEWARDEN_BENCH=ON >/dev/null
cmake --build "$build" --target dev_tool_providers >/dev/null

python3 "$root/bench/make_dev_tools_home.py" --root "$tree" --versions "$versions" --projects 20
home="$tree/home"
export HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" XDG_CACHE_HOME="$home/.cache"
for variable in NVM_DIR FNM_DIR VOLTA_HOME PYENV_ROOT RBENV_ROOT RUSTUP_HOME CARGO_HOME SDKMAN_DIR GOMODCACHE GOPATH \
  FVM_HOME FVM_CACHE_PATH ANDROID_HOME ANDROID_SDK_ROOT ANDROID_AVD_HOME GRADLE_USER_HOME TIDEWARDEN_SNAPSHOT; do
  unset "$variable"
done

# The folders each screen reads, for du.
declare -A folders=(
  [toolchains]="$home/.nvm $home/.local/share/fnm $home/.volta $home/.pyenv $home/.rbenv $home/.rustup $home/.sdkman \
$home/go/pkg/mod $home/sdk $home/fvm $home/Android/Sdk/ndk"
  [ide]="$home/.config/JetBrains $home/.cache/JetBrains $home/.local/share/JetBrains $home/.vscode/extensions \
$home/.config/Code $home/.gradle"
  [simulators]="$home/.android/avd $home/Android/Sdk/system-images"
)

echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
echo "home:    $home ($(find "$home" -type f | wc -l) files)"
peak() { /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F': ' '/Maximum resident set size/ {print $2}'; }
report=()
for screen in toolchains ide simulators; do
  # Warm the cache, and show that both count the same bytes.
  du_kb=$(du -s -c -k ${folders[$screen]} | awk 'END {print $1}')
  "$tidewarden" "$screen" --json >"$results/$screen.json"
  python3 - "$results/$screen.json" "$screen" "$du_kb" <<'PY'
import json, sys
out = json.load(open(sys.argv[1]))
items = [item for group in out["groups"] for item in group["items"]]
size = sum(item["size"] or 0 for item in items)
print(f"{sys.argv[2]}: {len(out['groups'])} groups, {len(items)} items, {size // 1024} KiB offered "
      f"(du: {sys.argv[3]} KiB in its folders), {sum(item['selected'] for item in items)} pre-selected")
PY
  hyperfine --warmup 2 --runs "$runs" --export-json "$results/$screen-hyperfine.json" \
    -n tidewarden "$tidewarden $screen --json" -n du "du -s -k ${folders[$screen]}" >/dev/null
  report+=("$screen" "$(peak "$tidewarden" "$screen" --json)" "$(peak du -s -k ${folders[$screen]})")
done

"$build/bench/dev_tool_providers" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
  --benchmark_out="$results/providers.json" --benchmark_out_format=json >/dev/null 2>&1

python3 - "$results" "${report[@]}" <<'PY'
import json, sys
folder, rest = sys.argv[1], sys.argv[2:]
providers = {r["run_name"].split("/")[0]: r["real_time"] / 1000
             for r in json.load(open(f"{folder}/providers.json"))["benchmarks"] if r.get("aggregate_name") == "mean"}
print(f"\n{'screen':<11} {'tidewarden':>11} {'du -s':>9} {'du/us':>6} {'peak RSS us':>12} {'du':>8}"
      f" {'provider':>9} {'du/provider':>11}")
for index in range(0, len(rest), 3):
    screen, ours_kb, du_kb = rest[index], int(rest[index + 1]), int(rest[index + 2])
    data = {r["command"]: r for r in json.load(open(f"{folder}/{screen}-hyperfine.json"))["results"]}
    ours, du, provider = data["tidewarden"]["mean"], data["du"]["mean"], providers[screen]
    print(f"{screen:<11} {ours * 1000:>9.1f}ms {du * 1000:>7.1f}ms {du / ours:>5.2f}x "
          f"{ours_kb / 1024:>10.1f}MB {du_kb / 1024:>6.1f}MB {provider * 1000:>7.1f}ms {du / provider:>10.2f}x")
print("\ndu/us above 1 means tidewarden was faster; the screens should stay under 300 ms.")
print("provider: the screen loaded in one process, as the window loads it (mean of 5 repetitions).")
PY
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
