#!/usr/bin/env python3
"""Builds a reproducible tree for timing duplicate finders.

Looks like a developer's folder: many small sources, a fair number of medium assets and
some large binaries, spread over nested projects. About a fifth of the files are extra
copies (groups of 2 to 5, placed in different projects), some pairs agree in their first
64 KiB and differ later, and some files are hard-linked.

Usage: make_dedupe_tree.py TARGET [--files N] [--seed S]
"""
import argparse
import os
import random
import sys

KIB = 1024
MIB = 1024 * KIB


def file_size(rng):
    roll = rng.random()
    if roll < 0.80:
        return int(rng.lognormvariate(8.0, 1.2)) % (30 * KIB) + 1  # sources, configs
    if roll < 0.995:
        return rng.randint(32 * KIB, 72 * KIB)  # assets, objects
    return rng.randint(1 * MIB, 3 * MIB)  # archives, media, binaries


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("target")
    parser.add_argument("--files", type=int, default=60_000)
    parser.add_argument("--seed", type=int, default=7)
    args = parser.parse_args()
    rng = random.Random(args.seed)

    projects = [f"project-{p:02d}" for p in range(24)]
    folders = []
    for project in projects:
        for depth in range(rng.randint(20, 60)):
            parts = [project] + [f"{rng.choice(['src', 'lib', 'assets', 'build', 'node_modules', 'vendor', 'test'])}{rng.randint(0, 9)}" for _ in range(rng.randint(1, 5))]
            folders.append(os.path.join(*parts))

    def place():
        return os.path.join(args.target, rng.choice(folders), f"f{rng.getrandbits(40):010x}{rng.choice(['.js', '.o', '.png', '.bin', '.json', '.txt', ''])}")

    written = total = copies = later = links = 0
    originals = []

    def write(path, data):
        nonlocal written, total
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as out:
            out.write(data)
        written += 1
        total += len(data)

    unique_target = int(args.files * 0.78)
    while written < unique_target:
        data = rng.randbytes(file_size(rng))
        path = place()
        write(path, data)
        originals.append((path, len(data)))

    # Extra copies: about a fifth of all files, in groups of 2 to 5.
    while written < int(args.files * 0.98):
        source, size = rng.choice(originals)
        with open(source, "rb") as data_in:
            data = data_in.read()
        for _ in range(rng.randint(1, 4)):
            write(place(), data)
            copies += 1

    # Pairs that agree on their first 64 KiB and differ later.
    while written < int(args.files * 0.995):
        size = rng.randint(80 * KIB, 400 * KIB)
        data = bytearray(rng.randbytes(size))
        write(place(), bytes(data))
        data[rng.randint(64 * KIB, size - 1)] ^= 0x5A
        write(place(), bytes(data))
        later += 1

    while written + links < args.files:
        source, _ = rng.choice(originals)
        target = place()
        os.makedirs(os.path.dirname(target), exist_ok=True)
        if not os.path.exists(target):
            os.link(source, target)
            links += 1

    print(f"{written + links} files ({links} hard links), {total / MIB:.0f} MiB, "
          f"{copies} extra copies, {later} pairs differing after 64 KiB", file=sys.stderr)


if __name__ == "__main__":
    main()
