#!/usr/bin/env python3
"""Runs clang-tidy over sources of a build, and remembers those that it found clean.

Usage: tidycached.py BUILD_FOLDER SOURCE... [-- ARGUMENT...], the arguments for the compiler.

A source is checked again when clang-tidy's version, .clang-tidy, the compiler's arguments, or one byte of a file that
the source includes has changed. Exit status 1 if clang-tidy finds something.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
import time

CACHE = pathlib.Path(os.environ.get("UPDATER_TIDY_CACHE") or pathlib.Path.home() / ".cache/zefo-vynt-tidy")
DAYS_KEPT = 30


def files_read(compiler_arguments, folder):
    """The source and all files that it includes, as clang lists them; None if it does not compile."""
    rule = subprocess.run(["clang++", *compiler_arguments, "-M", "-MT", "rule"], cwd=folder, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    if rule.returncode != 0:
        return None
    return shlex.split(rule.stdout.replace("\\\n", " "))[1:]


def compiler_arguments(command, extra):
    """The arguments of a compile command, without the compiler and the names of its outputs."""
    words = shlex.split(command)[1:]
    arguments = []
    skip = 0
    for word in words:
        if skip:
            skip -= 1
        elif word in ("-o", "-MF", "-MT"):
            skip = 1
        elif word not in ("-c", "-MD"):
            arguments.append(word)
    return arguments + extra


def key_of(entry, common, extra):
    arguments = compiler_arguments(entry["command"], extra)
    files = files_read(arguments, entry["directory"])
    if files is None:
        return None
    key = hashlib.sha256(common)
    key.update(" ".join(arguments).replace(os.getcwd(), "").encode())
    for file in files:
        key.update(hashlib.sha256((pathlib.Path(entry["directory"]) / file).read_bytes()).digest())
    return key.hexdigest()


def is_clean(build, source, extra):
    words = ["clang-tidy", "-p", build, "--quiet", *("--extra-arg=" + argument for argument in extra), source]
    result = subprocess.run(words, text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    if result.stdout:
        print(result.stdout, end="", flush=True)
    return result.returncode == 0


def main():
    words = sys.argv[1:]
    extra = words[words.index("--") + 1:] if "--" in words else []
    build, *sources = words[:words.index("--")] if "--" in words else words
    entries = {os.path.relpath(entry["file"]): entry
               for entry in json.loads(pathlib.Path(build, "compile_commands.json").read_text())}
    version = subprocess.run(["clang-tidy", "--version"], stdout=subprocess.PIPE, check=True).stdout
    common = version + pathlib.Path(".clang-tidy").read_bytes()
    CACHE.mkdir(parents=True, exist_ok=True)
    oldest = time.time() - DAYS_KEPT * 24 * 3600
    for mark in CACHE.iterdir():
        if mark.stat().st_mtime < oldest:
            mark.unlink()

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        keys = dict(zip(sources, pool.map(lambda source: key_of(entries[source], common, extra), sources)))
        unknown = []
        for source, key in keys.items():
            if key and (CACHE / key).exists():
                (CACHE / key).touch()
            else:
                unknown.append(source)
        print(f"clang-tidy: {len(sources)} sources of {build}, {len(unknown)} to check", flush=True)
        # Checks recently changed sources first.
        unknown.sort(key=os.path.getmtime, reverse=True)

        def check(source):
            clean = is_clean(build, source, extra)
            if clean and keys[source]:
                (CACHE / keys[source]).touch()
            return clean
        sys.exit(0 if all(list(pool.map(check, unknown))) else 1)


main()
