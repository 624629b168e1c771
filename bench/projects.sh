#!/usr/bin/env bash
# Times `tidewarden projects --json` on a generated tree of code projects against the
# shell way of finding dependency folders (find node_modules, then du -s each one), on
# the same warm tree, and prints how many times faster tidewarden is.
#
#   bench/projects.sh [path/to/tidewarden] [generator options...]
#
# The tree lives in /tmp/tw-bench-projects (outside the repository) and is kept between
# runs. npkill is not compared: it has no non-interactive listing mode (its only batch
# mode, --delete-all, deletes or, with --dry-run, sleeps a random time per folder).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
binary=${1:-$here/../build-tests/src/tidewarden}
shift || true
root=/tmp/tw-bench-projects

command -v hyperfine >/dev/null || { echo "hyperfine is needed (apt-get install hyperfine)" >&2; exit 1; }
[ -x "$binary" ] || { echo "no tidewarden binary at $binary" >&2; exit 1; }
binary=$(cd "$(dirname "$binary")" && pwd)/$(basename "$binary")

python3 "$here/make_projects_tree.py" --root "$root" "$@"
home="$root/home"
export HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" XDG_CACHE_HOME="$home/.cache"
unset TIDEWARDEN_SNAPSHOT

files=$(find "$home" -type f | wc -l)
modules=$(find "$home" -name node_modules -prune | wc -l)
echo "Tree: $files files, $modules node_modules folders"

# What each way reports, so the figures can be compared and not only the times.
"$binary" projects --json >"$root/tidewarden.json"
python3 - "$root/tidewarden.json" <<'EOF'
import json, sys
out = json.load(open(sys.argv[1]))
items = [item for group in out["groups"] for item in group["items"]]
modules = [item for item in items if item["name"].endswith("node_modules")]
print(f"tidewarden: {len(out['groups'])} projects, {len(items)} items "
      f"({len(modules)} node_modules, {sum(i['size'] for i in modules) // 1024} KiB), "
      f"{out['total']} freeable bytes in all")
EOF
shell_way="find '$home' -name node_modules -prune -print0 | xargs -0 du -s"
echo "shell: $(eval "$shell_way" | awk '{n++; s+=$1} END {print n " node_modules, " s " KiB"}')"

hyperfine --warmup 2 --runs "${RUNS:-10}" --export-json "$root/hyperfine.json" \
  --command-name tidewarden "'$binary' projects --json >/dev/null" \
  --command-name "find + du" "$shell_way >/dev/null"

python3 - "$root/hyperfine.json" <<'EOF'
import json, sys
results = {r["command"]: r["mean"] for r in json.load(open(sys.argv[1]))["results"]}
ours = results["tidewarden"]
for name, mean in results.items():
    if name != "tidewarden":
        print(f"tidewarden {ours:.3f} s vs {name} {mean:.3f} s: {mean / ours:.2f}x")
EOF
