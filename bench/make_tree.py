#!/usr/bin/env python3
"""Builds a deterministic folder tree for scan benchmarks.

The same options and seed always give the same tree: folder shape, file names, sizes, hard
links and sparse files. A marker file in the tree's root records the options, so running
again with the same options reuses the tree and with other options rebuilds it.
"""
import argparse
import json
import os
import random
import shutil
import sys

MARKER = ".tw-bench-tree.json"

# (weight, smallest, largest) in bytes; sizes are drawn uniformly within the band.
SIZE_MIXES = {
    # Mostly small files, as in source trees and package caches, with a thin tail of large ones.
    "dev": [(20, 0, 0), (71.5, 1, 4096), (8, 4097, 32768), (0.45, 32769, 512 << 10), (0.05, 1 << 20, 4 << 20)],
    "tiny": [(50, 0, 0), (50, 1, 512)],
    # Names only: many entries at the cost of inodes, no data blocks.
    "empty": [(100, 0, 0)],
    "media": [(40, 1, 4096), (40, 1 << 20, 8 << 20), (20, 8 << 20, 32 << 20)],
}


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("root", help="folder to create (its content is replaced when the options differ)")
    parser.add_argument("--files", type=int, default=500_000, help="number of file names, hard links included")
    parser.add_argument("--depth", type=int, default=6, help="levels of folders below the root")
    parser.add_argument("--fanout", type=int, default=5, help="subfolders per folder")
    parser.add_argument("--size-mix", choices=sorted(SIZE_MIXES), default="dev")
    parser.add_argument("--hard-links", type=float, default=0.01, help="share of names that link an earlier file")
    parser.add_argument("--sparse", type=float, default=0.002, help="share of files that are sparse (1-64 MiB long)")
    parser.add_argument("--seed", type=int, default=1)
    return parser.parse_args()


def make_folders(root, depth, fanout):
    folders = [root]
    level = [root]
    for d in range(depth):
        next_level = []
        for parent in level:
            for i in range(fanout):
                folder = os.path.join(parent, f"dir{d}-{i}")
                os.mkdir(folder)
                next_level.append(folder)
        folders.extend(next_level)
        level = next_level
    return folders


def draw_size(rng, mix):
    weights = [band[0] for band in mix]
    _, low, high = rng.choices(mix, weights)[0]
    return rng.randint(low, high) if high > low else low


def write_file(path, size, fill):
    fd = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o644)
    try:
        remaining = size
        while remaining > 0:
            chunk = fill[: min(remaining, len(fill))]
            remaining -= os.write(fd, chunk)
    finally:
        os.close(fd)


def write_sparse(path, rng):
    fd = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o644)
    try:
        length = rng.randint(1, 64) << 20
        os.pwrite(fd, b"s" * 4096, rng.randrange(0, length - 4096))
        os.ftruncate(fd, length)
    finally:
        os.close(fd)


def build(options):
    rng = random.Random(options.seed)
    fill = bytes(rng.getrandbits(8) for _ in range(1 << 16))
    mix = SIZE_MIXES[options.size_mix]
    folders = make_folders(options.root, options.depth, options.fanout)
    made = []
    for index in range(options.files):
        folder = rng.choice(folders)
        path = os.path.join(folder, f"f{index:07d}.dat")
        if made and rng.random() < options.hard_links:
            os.link(rng.choice(made), path)
        elif rng.random() < options.sparse:
            write_sparse(path, rng)
            made.append(path)
        else:
            write_file(path, draw_size(rng, mix), fill)
            made.append(path)
        if index % 50_000 == 0 and index:
            print(f"  {index} files", file=sys.stderr)
    return len(folders)


def build_once(root, marker_name, wanted, build):
    """Runs build() into a fresh root unless the root's marker already records `wanted`."""
    marker = os.path.join(root, marker_name)
    try:
        with open(marker) as existing:
            if json.load(existing) == wanted:
                print(f"reusing {root}", file=sys.stderr)
                return False
    except (OSError, ValueError):
        pass
    if os.path.exists(root):
        shutil.rmtree(root)
    os.makedirs(root)
    print(f"building {root}", file=sys.stderr)
    build()
    with open(marker, "w") as out:
        json.dump(wanted, out)
    return True


def main():
    options = parse_arguments()
    wanted = {key: value for key, value in vars(options).items() if key != "root"}
    folders = []
    if build_once(options.root, MARKER, wanted, lambda: folders.append(build(options))):
        print(f"built {options.files} files in {folders[0]} folders", file=sys.stderr)


if __name__ == "__main__":
    main()
