#!/usr/bin/env python3
"""Fails if README.md, CONTRIBUTING.md or a page in docs/ names or quotes something that is not in the tree.

It checks patches, links, and the C++ blocks that follow the name of their file. In code spans and shell blocks it
checks the names of files, folders, tests and presets.
"""
import glob
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCE = re.compile(r"\.(cpp|h|sh|py|md|cmake|json|ts|qrc|ui|inf|rules)$")
PRODUCT = re.compile(r"\.(exe|zip|deb|log)$")

os.chdir(ROOT)
files = [os.path.relpath(os.path.join(folder, name), ".") for folder, folders, names in os.walk(".")
         if not folder.startswith(("./build", "./.git")) for name in names]
presets = {preset["name"] for preset in json.loads(pathlib.Path("CMakePresets.json").read_text())["configurePresets"]}


def lines_of(text):
    return [line.strip() for line in text.strip().splitlines()]


def holds(file, block):
    """Whether the file contains the lines of @p block one after the other, whatever their indentation."""
    if not os.path.isfile(file):
        return False
    return "\n" + "\n".join(lines_of(block)) + "\n" in "\n" + "\n".join(lines_of(pathlib.Path(file).read_text())) + "\n"


def applies(patch):
    # The tree may lie inside another repository. GIT_CEILING_DIRECTORIES keeps git from searching that repository
    # for the files of the patch.
    environment = dict(os.environ, GIT_CEILING_DIRECTORIES=str(ROOT.parent))
    return subprocess.run(["git", "apply", "--check", "-"], input=patch, text=True, env=environment).returncode == 0


def exists(name):
    """Whether @p name is a file or folder, relative to the root or to any folder; the extension may be missing."""
    name = name.removeprefix("./").rstrip("/")
    return bool(glob.glob(name) or glob.glob(name + ".*") or any(("/" + file).endswith("/" + name) for file in files)
                or any("/" + name + "/" in "/" + file for file in files))


def names_file(word):
    return (re.fullmatch(r"[\w.@*/-]+", word) and not word.startswith(("/", "-", "build/", "*")) and
            not PRODUCT.search(word) and (SOURCE.search(word) or os.path.exists(word.split("/")[0]) and "/" in word))


def faults_of(page):
    text = pathlib.Path(page).read_text()
    for before, language, block in re.findall(r"((?:[^\n]+\n)*)\n?```(\w+)\n(.*?)```", text, re.S):
        named = re.findall(r"`([\w/]+\.(?:cpp|h))`", before)
        if language == "cpp" and named and not holds(named[-1], block):
            yield f"{named[-1]} does not hold the quoted block that starts with: {lines_of(block)[0]}"
        if language == "diff" and not applies(block):
            yield f"this patch does not apply: {lines_of(block)[0]}"
    prose = re.sub(r"```(?!sh).*?```", "", text, flags=re.S)
    code = re.findall(r"`([^`\n]+)`", prose) + re.findall(r"```sh\n(.*?)```", prose, re.S)
    for word in {word for span in code for word in span.split()}:
        if names_file(word) and not exists(word):
            yield f"there is no {word}"
    for link in re.findall(r"\]\((?!http)([^)#\s]+)", prose):
        if not (pathlib.Path(page).parent / link).exists():
            yield f"a link leads nowhere: {link}"
    for test in set(re.findall(r"\btst_\w+", prose)):
        if f"tests/{test}.cpp" not in files:
            yield f"there is no test {test}"
    for preset in set(re.findall(r"--preset (\w[\w-]*)", prose)) - presets:
        yield f"there is no preset {preset}"


pages = ["README.md", "CONTRIBUTING.md", *sorted(glob.glob("docs/**/*.md", recursive=True))]
faults = [f"{page}: {fault}" for page in pages for fault in faults_of(page)]
print(*faults, f"{len(pages)} pages, {len(faults)} faults", sep="\n")
sys.exit(1 if faults else 0)
