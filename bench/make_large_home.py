#!/usr/bin/env python3
"""Builds a deterministic home folder for the Large & Old Files benchmark.

The bulk is a make_tree.py tree of small files under <home>/work; beside it the folders the
screen looks at: Downloads with old and new installers and documents, Pictures and Videos
with screenshots and screen recordings, and a few big files anywhere. Big files are
allocated with fallocate (nothing is written, so they cost no time, but they take their
space on disk as real big files do). The same options always give the same home; a marker
records them, so running again with the same options reuses it.
"""
import argparse
import os
import random
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from make_tree import build_once  # noqa: E402

MARKER = ".tw-bench-large-home.json"
DAY = 86400


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("home", help="folder to create (its content is replaced when the options differ)")
    parser.add_argument("--files", type=int, default=1_000_000, help="files in the bulk tree")
    parser.add_argument("--downloads", type=int, default=300, help="files in Downloads")
    parser.add_argument("--screenshots", type=int, default=200, help="screenshots and recordings")
    parser.add_argument("--big", type=int, default=3, help="big files (520 MB each)")
    parser.add_argument("--seed", type=int, default=1)
    return parser.parse_args()


def write(path, size, days_ago, rng):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.truncate(0)
        os.posix_fallocate(out.fileno(), 0, size)
    stamp = time.time() - days_ago * DAY - rng.randint(0, DAY)
    os.utime(path, (stamp, stamp))


def build(options):
    home = options.home
    here = os.path.dirname(os.path.abspath(__file__))
    subprocess.run([sys.executable, os.path.join(here, "make_tree.py"), os.path.join(home, "work"),
                    "--files", str(options.files), "--seed", str(options.seed)], check=True)
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
        write(os.path.join(home, rng.choice(["Videos", "vm", "work/dir0-1"]), f"big-{index}.img"), 520_000_000, 30, rng)


def main():
    options = parse_arguments()
    wanted = {key: value for key, value in vars(options).items() if key != "home"}
    build_once(options.home, MARKER, wanted, lambda: build(options))


if __name__ == "__main__":
    main()
