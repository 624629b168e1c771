#!/usr/bin/env python3
"""Builds a deterministic home folder for the Large & Old Files benchmark.

The bulk is a make_tree.py tree of small files under <home>/work (kept between runs while
its options are the same); beside it, made afresh each time, the folders the screen looks
at: Downloads with old and new installers and documents, Pictures and Videos with
screenshots and screen recordings, and a few big files. Big files are allocated with
fallocate (nothing is written, so they cost no time, but they take their space on disk as
real big files do). The same options always give the same home.
"""
import argparse
import os
import random
import shutil
import subprocess
import sys
import time

DAY = 86400


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("home", help="folder to create or refresh")
    parser.add_argument("--files", type=int, default=1_000_000, help="files in the bulk tree")
    parser.add_argument("--downloads", type=int, default=300, help="files in Downloads")
    parser.add_argument("--screenshots", type=int, default=200, help="screenshots and recordings")
    parser.add_argument("--big", type=int, default=3, help="big files")
    # Above 500 MB and above 500 MiB, so that find -size +500M (MiB) and the screen (MB) agree.
    parser.add_argument("--big-bytes", type=int, default=600_000_000)
    parser.add_argument("--seed", type=int, default=1)
    return parser.parse_args()


def write(path, size, days_ago, rng):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.truncate(0)
        os.posix_fallocate(out.fileno(), 0, size)
    stamp = time.time() - days_ago * DAY - rng.randint(0, DAY)
    os.utime(path, (stamp, stamp))


EXTRAS = ["Downloads", "Pictures", "Videos", "vm", "Documents"]


def build_extras(options):
    home = options.home
    for folder in EXTRAS:
        shutil.rmtree(os.path.join(home, folder), ignore_errors=True)
    rng = random.Random(options.seed)
    kinds = ["iso", "deb", "zip", "tar.gz", "pdf", "png", "mp4", "odt"]
    for index in range(options.downloads):
        kind = rng.choice(kinds)
        write(os.path.join(home, "Downloads", f"download-{index:04d}.{kind}"), rng.randint(1, 48) << 20,
              rng.choice([1, 10, 45, 100, 200, 400]), rng)
    for index in range(options.screenshots):
        folder, name = rng.choice([("Pictures/Screenshots", f"Screenshot from 2024-01-01 10-{index:04d}.png"),
                                   ("Videos/Screencasts", f"Screencast from 2024-01-01 10-{index:04d}.webm")])
        write(os.path.join(home, folder, name), rng.randint(1, 6) << 20, rng.choice([3, 20, 40, 90]), rng)
    for index in range(options.big):
        folder = rng.choice(["Videos", "vm", "Documents/archive"])
        write(os.path.join(home, folder, f"big-{index}.img"), options.big_bytes, 30, rng)


def main():
    options = parse_arguments()
    here = os.path.dirname(os.path.abspath(__file__))
    os.makedirs(options.home, exist_ok=True)
    subprocess.run([sys.executable, os.path.join(here, "make_tree.py"), os.path.join(options.home, "work"),
                    "--files", str(options.files), "--seed", str(options.seed)], check=True)
    build_extras(options)


if __name__ == "__main__":
    main()
