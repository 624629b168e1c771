#!/usr/bin/env bash
# Times `tidewarden ai --json` against `du -s` of the same model stores (a Hugging Face hub
# cache and an Ollama store from make_model_stores.py) on a warm cache, and compares peak
# memory. du only adds up blocks; tidewarden also reads every manifest, ref and link and
# counts which blobs each model alone holds.
#
#   bench/ai.sh                     # 200 models under /tmp/tw-bench/ai-home-200
#   TW_BENCH_MODELS=1000 TW_BENCH_RUNS=20 bench/ai.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
models="${TW_BENCH_MODELS:-200}"
runs="${TW_BENCH_RUNS:-20}"
home="${TW_BENCH_DIR:-/tmp/tw-bench}/ai-home-$models"
results="${TW_BENCH_DIR:-/tmp/tw-bench}/results"
mkdir -p "$results"

. "$root/bench/release_build.sh"

python3 "$root/bench/make_model_stores.py" "$home" --models "$models" --seed 1
export HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" XDG_CACHE_HOME="$home/.cache"
unset TIDEWARDEN_SNAPSHOT HF_HOME HF_HUB_CACHE OLLAMA_MODELS
stores="$home/.cache/huggingface/hub $home/.ollama/models"

echo "machine: $(nproc) processors, load average $(cut -d' ' -f1-3 /proc/loadavg)"
"$tidewarden" ai --json >"$results/ai.json"
python3 - "$results/ai.json" <<'PY'
import json, sys
out = json.load(open(sys.argv[1]))
items = [item for group in out["groups"] for item in group["items"]]
print(f"tidewarden: {len(out['groups'])} groups, {len(items)} items, "
      f"{sum(i['size'] or 0 for i in items) // 1024} KiB in items, {out['selected']} bytes pre-selected")
PY
echo "du:         $(du -s -B1024 -c $stores | tail -1 | cut -f1) KiB in the two stores"

du -s $stores >/dev/null  # warm
hyperfine --warmup 3 --runs "$runs" --export-json "$results/ai-hyperfine.json" \
  -n tidewarden "$tidewarden ai --json >/dev/null" \
  -n "du -s" "du -s -B1 $stores >/dev/null"

peak() { /usr/bin/time -v "$@" 2>&1 >/dev/null | awk -F': ' '/Maximum resident set size/ {print $2}'; }
tw_kb=$(peak "$tidewarden" ai --json)
du_kb=$(peak du -s -B1 $stores)

python3 - "$results/ai-hyperfine.json" "$tw_kb" "$du_kb" <<'PY'
import json, sys
data = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
memory = {"tidewarden": int(sys.argv[2]), "du -s": int(sys.argv[3])}
ours = data["tidewarden"]["mean"]
print(f"\n{'tool':<11} {'mean':>9} {'± sd':>8} {'peer/us':>8} {'peak RSS':>10}")
for name in ["tidewarden", "du -s"]:
    r = data[name]
    print(f"{name:<11} {r['mean'] * 1000:>7.1f}ms {r['stddev'] * 1000:>6.1f}ms {r['mean'] / ours:>7.2f}x "
          f"{memory[name] / 1024:>8.1f} MB")
print("\npeer/us above 1 means tidewarden was faster.")
PY
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
