#!/usr/bin/env python3
"""Fills a fake home folder with about N files spread over every Smart Clean location.

usage: make_junk_home.py HOME [--files N] [--table macos|linux] [--seed S]

The shares roughly follow a developer's machine: package caches and app caches hold most
files, logs and the Trash fewer, Downloads a handful of installers. Most files are small
and a third are empty, so the tree is large in entries rather than in bytes.
"""

import argparse
import os
import random

# (location, share of the files, how many top-level entries, nesting depth)
MACOS = [
    ("Library/Caches", 0.20, 80, 3),
    ("Library/Application Support/{app}/Cache", 0.08, 30, 1),
    ("Library/Application Support/{app}/Default/Code Cache", 0.05, 30, 2),
    ("Library/Application Support/{app}/GPUCache", 0.02, 30, 0),
    ("Library/Application Support/{app}/Data", 0.05, 30, 3),  # walked, never offered
    ("Library/Logs", 0.03, 40, 1),
    ("Library/Developer/Xcode/DerivedData", 0.15, 20, 4),
    ("Library/Developer/Xcode/iOS DeviceSupport", 0.04, 6, 3),
    ("Library/Developer/CoreSimulator/Caches", 0.01, 4, 2),
    (".npm/_cacache", 0.12, 16, 2),
    (".cargo/registry/src", 0.08, 60, 3),
    (".cargo/registry/cache", 0.01, 1, 0),
    (".gradle/caches", 0.05, 10, 3),
    (".m2/repository", 0.03, 30, 3),
    (".cache", 0.05, 40, 2),
    (".Trash", 0.03, 50, 2),
]

LINUX = [
    (".cache", 0.30, 80, 3),
    (".config/{app}/Cache", 0.08, 30, 1),
    (".config/{app}/Default/Code Cache", 0.05, 30, 2),
    (".config/{app}/GPUCache", 0.02, 30, 0),
    (".config/{app}/Data", 0.05, 30, 3),
    (".npm/_cacache", 0.15, 16, 2),
    (".cargo/registry/src", 0.12, 60, 3),
    (".cargo/registry/cache", 0.02, 1, 0),
    (".gradle/caches", 0.08, 10, 3),
    (".m2/repository", 0.08, 30, 3),
    (".local/share/Trash/files", 0.05, 50, 2),
]

INSTALLERS = {
    "macos": ["Xcode.xip", "Docker.dmg", "Python.pkg", "Tool.mpkg", "ubuntu.iso", "notes.txt", "archive.pkg.zip"],
    "linux": ["code.deb", "tool.rpm", "Editor.AppImage", "ubuntu.iso", "notes.txt", "archive.pkg.zip"],
}


def write(path, rng):
    size = 0 if rng.random() < 0.33 else rng.randint(1, 6000)
    with open(path, "wb") as out:
        out.write(b"x" * size)


def fill(folder, count, entries, depth, rng):
    """Spreads `count` files over `entries` top-level entries, each nested `depth` deep."""
    if count <= 0:
        return 0
    made = 0
    per_entry = max(1, count // entries)
    for entry in range(entries):
        if made >= count:
            break
        base = os.path.join(folder, f"entry-{entry:03d}")
        for index in range(min(per_entry, count - made)):
            parts = [f"d{(index >> (3 * level)) % 8}" for level in range(depth)]
            target = os.path.join(base, *parts)
            os.makedirs(target, exist_ok=True)
            write(os.path.join(target, f"f{index:06d}.bin"), rng)
            made += 1
    return made


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("home")
    parser.add_argument("--files", type=int, default=200_000)
    parser.add_argument("--table", choices=["macos", "linux"], default="macos")
    parser.add_argument("--seed", type=int, default=7)
    args = parser.parse_args()
    rng = random.Random(args.seed)
    layout = MACOS if args.table == "macos" else LINUX
    total = 0
    for location, share, entries, depth in layout:
        count = int(args.files * share)
        if "{app}" in location:
            apps = 10
            for app in range(apps):
                folder = os.path.join(args.home, location.format(app=f"App{app:02d}"))
                total += fill(folder, count // apps, max(1, entries // apps), depth, rng)
        else:
            total += fill(os.path.join(args.home, location), count, entries, depth, rng)
    downloads = os.path.join(args.home, "Downloads")
    os.makedirs(downloads, exist_ok=True)
    for name in INSTALLERS[args.table]:
        write(os.path.join(downloads, name), rng)
        total += 1
    print(f"{total} files in {args.home} ({args.table} locations)")


if __name__ == "__main__":
    main()
