#!/usr/bin/env python3
"""Builds a fake home full of developer tools for timing the toolchains, ide and
simulators screens.

Every version manager of the Linux table holds --versions versions (nvm, fnm, Volta,
pyenv, rbenv, rustup, SDKMAN!, Go toolchains and SDKs, fvm, Android NDKs), each a folder
of --files small files with its program last run between a day and a year ago; JetBrains
IDEs, VS Code extensions, workspace data and Gradle distributions come in the same
numbers, and so do Android virtual devices and system images. --projects projects under
~/code pin some of the versions. The same seed always builds the same home; a home that
is already there with the same settings is kept.
"""

import argparse
import json
import os
import random
import shutil
import time

DAY = 86400
HOST = "-x86_64-unknown-linux-gnu"


def write(path, size, rng):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        out.write(rng.randbytes(size))


def text(path, contents):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as out:
        out.write(contents)


def version_folder(folder, program, files, rng):
    """A tool version: its program, last run 1 to 365 days ago, and `files` more files."""
    write(os.path.join(folder, program), rng.randint(2000, 20000), rng)
    for index in range(files - 1):
        sub = rng.choice(("lib", "lib/core", "include", "share/doc", "bin"))
        write(os.path.join(folder, sub, f"f{index}"), rng.randint(100, 8000), rng)
    when = time.time() - rng.randint(1, 365) * DAY
    os.utime(os.path.join(folder, program), (when, when))


def toolchains(home, count, files, rng):
    managers = [
        (".nvm/versions/node", lambda i: f"v{4 + i}.{i % 7}.0", "bin/node"),
        (".local/share/fnm/node-versions", lambda i: f"v{4 + i}.{i % 5}.1", "installation/bin/node"),
        (".volta/tools/image/node", lambda i: f"{4 + i}.{i % 3}.2", "bin/node"),
        (".pyenv/versions", lambda i: f"3.{i}.{i % 9}", "bin/python"),
        (".rbenv/versions", lambda i: f"2.{i}.{i % 4}", "bin/ruby"),
        (".rustup/toolchains", lambda i: f"1.{30 + i}.0{HOST}", "bin/rustc"),
        (".sdkman/candidates/java", lambda i: f"{8 + i}.0.{i % 3}-tem", "bin/java"),
        ("go/pkg/mod/golang.org", lambda i: f"toolchain@v0.0.1-go1.{i}.{i % 6}.linux-amd64", "bin/go"),
        ("sdk", lambda i: f"go1.{i}.{i % 5}", "bin/go"),
        ("fvm/versions", lambda i: f"3.{i}.{i % 8}", "bin/flutter"),
        ("Android/Sdk/ndk", lambda i: f"{20 + i}.1.{9000000 + i}", "ndk-build"),
    ]
    for folder, name, program in managers:
        for index in range(count):
            version_folder(os.path.join(home, folder, name(index)), program, files, rng)
    text(os.path.join(home, ".nvm/alias/default"), "node\n")
    text(os.path.join(home, ".pyenv/version"), "3.12\n")
    text(os.path.join(home, ".rustup/settings.toml"), f'default_toolchain = "1.70.0{HOST}"\n')
    os.symlink("20.0.2-tem", os.path.join(home, ".sdkman/candidates/java/current"))


def ide(home, count, files, rng):
    products = ["IntelliJIdea", "PyCharm", "WebStorm", "GoLand", "CLion"]
    for index in range(count):
        product = products[index % len(products)]
        version = f"{2015 + index // len(products)}.{1 + index % 3}"
        for base in (".config/JetBrains", ".cache/JetBrains", ".local/share/JetBrains"):
            folder = os.path.join(home, base, product + version)
            for file in range(files // 3):
                write(os.path.join(folder, rng.choice(("options", "index", "plugins/p")), f"f{file}"),
                      rng.randint(200, 8000), rng)
    extensions = os.path.join(home, ".vscode/extensions")
    installed = []
    for index in range(count):
        name = f"pub{index % 10}.ext{index % 10}-1.{index // 10}.0"
        for file in range(files // 2):
            write(os.path.join(extensions, name, "out", f"f{file}.js"), rng.randint(200, 8000), rng)
        if index // 10 == (count - 1) // 10:
            installed.append({"identifier": {"id": name.split("-")[0]}, "relativeLocation": name})
    text(os.path.join(extensions, "extensions.json"), json.dumps(installed))
    text(os.path.join(extensions, ".obsolete"), json.dumps({f"pub0.ext0-1.0.0": True}))
    for index in range(count):
        storage = os.path.join(home, ".config/Code/User/workspaceStorage", f"{index:032x}")
        target = os.path.join(home, "code", f"p{index}" if index % 2 else f"gone{index}")
        text(os.path.join(storage, "workspace.json"), json.dumps({"folder": "file://" + target}))
        write(os.path.join(storage, "state.vscdb"), rng.randint(2000, 40000), rng)
    for index in range(count):
        dist = f"gradle-{index // 10 + 4}.{index % 10}-bin"
        version_folder(os.path.join(home, ".gradle/wrapper/dists", dist, "abc123", dist[:-4]), "bin/gradle", files, rng)
        write(os.path.join(home, ".gradle/caches", dist[7:-4], "generated", "x"), rng.randint(2000, 20000), rng)


def simulators(home, count, files, rng):
    sdk = os.path.join(home, "Android/Sdk")
    images = []
    for index in range(count):
        image = f"system-images/android-{21 + index % 15}/tag{index // 15}/x86_64"
        images.append(image)
        for file in range(files // 3):
            write(os.path.join(sdk, image, f"f{file}.img"), rng.randint(2000, 20000), rng)
    avd = os.path.join(home, ".android/avd")
    for index in range(count):
        folder = os.path.join(avd, f"Device_{index}.avd")
        text(os.path.join(avd, f"Device_{index}.ini"), f"path={folder}\n")
        text(os.path.join(folder, "config.ini"),
             f"avd.ini.displayname=Device {index}\nimage.sysdir.1={images[index % (count // 2 or 1)]}/\n")
        write(os.path.join(folder, "userdata-qemu.img"), rng.randint(20000, 80000), rng)
        for snapshot in range(2):
            write(os.path.join(folder, "snapshots", f"snap{snapshot}", "ram.bin"), rng.randint(2000, 20000), rng)


def projects(home, count, rng):
    for index in range(count):
        project = os.path.join(home, "code", f"p{index}")
        os.makedirs(os.path.join(project, ".git"), exist_ok=True)
        text(os.path.join(project, "package.json"), "{}\n")
        text(os.path.join(project, ".nvmrc"), f"{4 + index}\n")
        text(os.path.join(project, ".python-version"), f"3.{index}\n")
        text(os.path.join(project, "rust-toolchain"), f"1.{30 + index}.0\n")
        text(os.path.join(project, "go.mod"), f"module p{index}\n\ngo 1.{index}\n")
        text(os.path.join(project, "gradle/wrapper/gradle-wrapper.properties"),
             f"distributionUrl=https\\://services.gradle.org/distributions/gradle-{index // 10 + 4}.{index % 10}-bin.zip\n")
        write(os.path.join(project, "src", "main.js"), rng.randint(200, 4000), rng)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", required=True)
    parser.add_argument("--versions", type=int, default=50)
    parser.add_argument("--projects", type=int, default=20)
    parser.add_argument("--files", type=int, default=60)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    settings = vars(options)
    stamp = os.path.join(options.root, "settings.json")
    if os.path.exists(stamp) and json.load(open(stamp)) == settings:
        return
    shutil.rmtree(options.root, ignore_errors=True)
    home = os.path.join(options.root, "home")
    rng = random.Random(options.seed)
    toolchains(home, options.versions, options.files, rng)
    ide(home, options.versions, options.files, rng)
    simulators(home, options.versions, options.files, rng)
    projects(home, options.projects, rng)
    text(os.path.join(home, ".config/Tidewarden/settings.json"), json.dumps({"projectRoots": [home + "/code"]}))
    text(stamp, json.dumps(settings))


if __name__ == "__main__":
    main()
