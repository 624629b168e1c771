#!/usr/bin/env python3
"""Builds a fake home full of code projects for timing `tidewarden projects`.

npm projects with node_modules of many small files (some with a framework cache), Cargo
projects with target folders, Python projects with virtualenvs and tool caches, and plain
source trees around them. The same seed always builds the same tree; a tree that is
already there with the same settings is kept.
"""

import argparse
import json
import os
import random
import shutil
import time

DAY = 86400


def write(path, size, rng):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.write(rng.randbytes(size) if size else b"")


def git_activity(project, days_ago):
    os.makedirs(os.path.join(project, ".git"), exist_ok=True)
    for name in ("HEAD", "index"):
        with open(os.path.join(project, ".git", name), "w") as out:
            out.write("ref: refs/heads/main\n")
    when = time.time() - days_ago * DAY
    os.utime(os.path.join(project, ".git", "index"), (when, when))


def source_tree(project, rng, files=40):
    for index in range(files):
        depth = rng.randint(0, 3)
        folders = [f"mod{rng.randint(0, 5)}" for _ in range(depth)]
        write(os.path.join(project, "src", *folders, f"file{index}.js"), rng.randint(200, 4000), rng)


def npm_project(project, rng, min_files, max_files):
    write(os.path.join(project, "package.json"), 300, rng)
    source_tree(project, rng)
    target = rng.randint(min_files, max_files)
    written = 0
    package = 0
    while written < target:
        base = os.path.join(project, "node_modules", f"pkg-{package}")
        count = min(rng.randint(5, 40), target - written)
        write(os.path.join(base, "package.json"), rng.randint(200, 900), rng)
        for index in range(1, count):
            folder = rng.choice(("", "lib", "dist", "dist/esm"))
            write(os.path.join(base, folder, f"f{index}.js"), rng.randint(100, 3000), rng)
        written += count
        package += 1
    if rng.random() < 0.3:
        for index in range(60):
            write(os.path.join(project, ".next", "cache", f"chunk{index}.js"), rng.randint(1000, 20000), rng)


def cargo_project(project, rng):
    write(os.path.join(project, "Cargo.toml"), 200, rng)
    source_tree(project, rng, 20)
    for index in range(300):
        folder = rng.choice(("deps", "build", "incremental", ".fingerprint"))
        write(os.path.join(project, "target", "debug", folder, f"o{index}"), rng.randint(2000, 50000), rng)


def python_project(project, rng):
    write(os.path.join(project, "pyproject.toml"), 200, rng)
    source_tree(project, rng, 20)
    venv = os.path.join(project, ".venv")
    write(os.path.join(venv, "pyvenv.cfg"), 100, rng)
    for index in range(500):
        write(os.path.join(venv, "lib", "python3.12", "site-packages", f"p{index % 40}", f"m{index}.py"),
              rng.randint(200, 6000), rng)
    for index in range(20):
        write(os.path.join(project, ".pytest_cache", "v", f"c{index}"), 100, rng)


def build(root, args):
    rng = random.Random(args.seed)
    code = os.path.join(root, "home", "code")
    for number in range(args.npm):
        project = os.path.join(code, f"team{number % 10}", f"web-{number}")
        npm_project(project, rng, args.min_files, args.max_files)
        git_activity(project, rng.choice((2, 10, 40, 90)))
    for number in range(args.cargo):
        project = os.path.join(code, "rust", f"crate-{number}")
        cargo_project(project, rng)
        git_activity(project, rng.choice((1, 45)))
    for number in range(args.python):
        project = os.path.join(code, "python", f"svc-{number}")
        python_project(project, rng)
        git_activity(project, rng.choice((5, 60)))
    for name in ("Documents/notes", "Downloads/misc"):
        for index in range(200):
            write(os.path.join(root, "home", name, f"n{index}.txt"), rng.randint(100, 5000), rng)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", default="/tmp/tw-bench-projects")
    parser.add_argument("--npm", type=int, default=300)
    parser.add_argument("--min-files", type=int, default=1000)
    parser.add_argument("--max-files", type=int, default=5000)
    parser.add_argument("--cargo", type=int, default=40)
    parser.add_argument("--python", type=int, default=40)
    parser.add_argument("--seed", type=int, default=7)
    args = parser.parse_args()

    settings = {key: getattr(args, key) for key in ("npm", "min_files", "max_files", "cargo", "python", "seed")}
    marker = os.path.join(args.root, "tree.json")
    if os.path.exists(marker):
        with open(marker) as existing:
            if json.load(existing) == settings:
                print(f"Keeping the tree in {args.root}")
                return
    shutil.rmtree(args.root, ignore_errors=True)
    started = time.time()
    build(args.root, settings_namespace(settings))
    with open(marker, "w") as out:
        json.dump(settings, out)
    print(f"Built {args.root} in {time.time() - started:.0f} s")


def settings_namespace(settings):
    return argparse.Namespace(**settings)


if __name__ == "__main__":
    main()
