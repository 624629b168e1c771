#!/usr/bin/env python3
"""Deterministic generator of local AI model stores inside a fake home folder.

Half of the models go into a Hugging Face hub cache (~/.cache/huggingface/hub) laid out as
huggingface_hub writes it: blobs named by hash, refs naming commits, snapshots of links
into the blobs; some repositories hold an older, detached revision and a few an unfinished
download, and every tenth links to another repository's tokenizer. The other half go into
an Ollama store (~/.ollama/models): manifests naming config and layer blobs, with the
template and licence layers shared between models, plus a few orphaned blobs.

    python3 bench/make_model_stores.py /tmp/tw-bench/ai-home --models 200 --seed 1

Sizes are small real files (so `du` and tidewarden both have blocks to count); the weights
are sparse files of a few MiB apparent size with one written block each.
"""
import argparse
import hashlib
import json
import os
import random
import shutil
import time

LONG_AGO = time.time() - 60 * 86400  # leftovers untouched for two months are pre-selected


def digest(*parts):
    return hashlib.sha256("/".join(map(str, parts)).encode()).hexdigest()


def write(path, size, sparse=False, fill=b"x"):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as out:
        if sparse:
            out.truncate(size)
            out.write(fill * 4096)
        else:
            out.write(fill * size)


def link(target, at):
    os.makedirs(os.path.dirname(at), exist_ok=True)
    os.symlink(os.path.relpath(target, os.path.dirname(at)), at)


def hugging_face(home, count, rng):
    hub = os.path.join(home, ".cache/huggingface/hub")
    tokenizers = []
    for index in range(count):
        org, name = f"org{index % 17}", f"model-{index}"
        repo = os.path.join(hub, f"models--{org}--{name}")
        blobs = os.path.join(repo, "blobs")
        files = {
            "config.json": (digest(repo, "config"), rng.randint(500, 4000), False),
            "tokenizer.json": (digest(repo, "tokenizer"), rng.randint(20_000, 200_000), False),
            "model.safetensors": (digest(repo, "weights"), rng.randint(2, 64) << 20, True),
        }
        for blob, size, sparse in files.values():
            write(os.path.join(blobs, blob), size, sparse)
        commit = digest(repo, "main")[:40]
        for file, (blob, _, _) in files.items():
            link(os.path.join(blobs, blob), os.path.join(repo, "snapshots", commit, file))
        write(os.path.join(repo, "refs/main"), 0)
        with open(os.path.join(repo, "refs/main"), "w") as ref:
            ref.write(commit)
        tokenizers.append(os.path.join(blobs, files["tokenizer.json"][0]))
        if index % 3 == 0:  # an older revision nothing points at any more
            old = digest(repo, "old")[:40]
            old_weights = digest(repo, "old-weights")
            write(os.path.join(blobs, old_weights), rng.randint(2, 32) << 20, True)
            os.utime(os.path.join(blobs, old_weights), (LONG_AGO, LONG_AGO))
            link(os.path.join(blobs, old_weights), os.path.join(repo, "snapshots", old, "model.safetensors"))
            link(os.path.join(blobs, files["config.json"][0]), os.path.join(repo, "snapshots", old, "config.json"))
        if index % 10 == 5:  # shares another model's tokenizer
            os.remove(os.path.join(repo, "snapshots", commit, "tokenizer.json"))
            link(tokenizers[index - 1], os.path.join(repo, "snapshots", commit, "tokenizer.json"))
        if index % 25 == 7:
            partial = os.path.join(blobs, digest(repo, "partial") + ".incomplete")
            write(partial, rng.randint(1, 8) << 20, True)
            os.utime(partial, (LONG_AGO, LONG_AGO))
    return hub


def ollama(home, count, rng):
    store = os.path.join(home, ".ollama/models")
    blob = lambda hex_: os.path.join(store, "blobs", "sha256-" + hex_)
    shared = [digest("template"), digest("licence"), digest("params")]
    for hex_, size in zip(shared, [1200, 12_000, 300]):
        write(blob(hex_), size)
    for index in range(count):
        name, tag = f"model{index % 40}", f"tag{index}"
        weights, config = digest("weights", index), digest("config", index)
        write(blob(weights), rng.randint(4, 128) << 20, True)
        write(blob(config), rng.randint(300, 800))
        manifest = {
            "schemaVersion": 2,
            "mediaType": "application/vnd.docker.distribution.manifest.v2+json",
            "config": {"mediaType": "application/vnd.docker.container.image.v1+json", "digest": "sha256:" + config,
                       "size": 1},
            "layers": [{"mediaType": "application/vnd.ollama.image.model", "digest": "sha256:" + h, "size": 1}
                       for h in [weights] + shared],
        }
        path = os.path.join(store, "manifests/registry.ollama.ai/library", name, tag)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as out:
            json.dump(manifest, out)
    for index in range(max(1, count // 20)):  # left behind by removed models
        write(blob(digest("orphan", index)), rng.randint(1, 16) << 20, True)
        os.utime(blob(digest("orphan", index)), (LONG_AGO, LONG_AGO))
    return store


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("home")
    parser.add_argument("--models", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    stamp = os.path.join(options.home, ".generated")
    wanted = f"{options.models} {options.seed} 2\n"  # the last number changes with the layout
    if os.path.exists(stamp) and open(stamp).read() == wanted:
        return
    shutil.rmtree(options.home, ignore_errors=True)
    rng = random.Random(options.seed)
    hugging_face(options.home, options.models // 2, rng)
    ollama(options.home, options.models - options.models // 2, rng)
    with open(stamp, "w") as out:
        out.write(wanted)


if __name__ == "__main__":
    main()
