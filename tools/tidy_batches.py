#!/usr/bin/env python3
"""Writes what clang-tidy is to look at: a few sources that include the product's sources of one folder.

Nearly all of the time that clang-tidy takes for a source goes into the headers of libraries, which
the sources of a folder share. The verbs of the companion, which have no header of their own, name
their parts alike: each gets a namespace, after all headers that any of them includes.

usage: tidy_batches.py BUILD, a build directory with compile_commands.json. The batches and their
compile_commands.json go to BUILD/tidy; prints the batches, a line each, the largest first.
"""
import json
import os
import re
import sys


def product_sources(root):
    for top in ("src", "app", "python"):
        for folder, _, names in os.walk(os.path.join(root, top)):
            yield from (os.path.join(folder, name) for name in names if name.endswith(".cpp"))


def is_verb(text):
    return re.search(r"^Verb \w+Verb\(\) \{", text, re.MULTILINE) is not None


def batches_of(sources):
    batches = {}
    for source in sorted(sources):
        folder, _ = os.path.split(source)
        has_header = not folder.endswith("app/tev") or os.path.exists(source[:-4] + ".h")
        key = folder if has_header else source[:-4]
        with open(source, encoding="utf-8") as file:
            key = os.path.join(folder, "verbs") if is_verb(file.read()) else key
        batches.setdefault(key, []).append(source)
    return batches


def text_of(sources):
    """Of a batch: one line for each source, and the headers first where they are verbs."""
    lines = [f'#include "{source}"  // NOLINT(bugprone-suspicious-include)\n' for source in sources]
    texts = []
    for source in sources:
        with open(source, encoding="utf-8") as file:
            texts.append(file.read())
    if not all(is_verb(text) for text in texts):
        return "".join(lines)
    headers = sorted(set(re.findall(r"^#include .*\n", "".join(texts), re.MULTILINE)))
    wrapped = [f"namespace verb{i} {{\n{line}}}\n" for i, line in enumerate(lines)]
    return "".join(headers + wrapped)


def main():
    build = os.path.abspath(sys.argv[1])
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        commands = {entry["file"]: entry for entry in json.load(file)}
    folder = os.path.join(build, "tidy")
    os.makedirs(folder, exist_ok=True)
    database = []
    sizes = {}
    for key, sources in batches_of(product_sources(root)).items():
        model = next((commands[source] for source in sources if source in commands), None)
        if model is None:
            continue  # the package for Python is built on demand
        path = os.path.join(folder, os.path.relpath(key, root).replace("/", "-") + ".cpp")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text_of(sources))
        command = model["command"].replace(model["file"], path)
        # Precompiled for another compiler.
        command = re.sub(r" -Winvalid-pch -include \S+cmake_pch\.hxx", "", command)
        database.append({"directory": model["directory"], "command": command, "file": path})
        sizes[path] = sum(os.path.getsize(source) for source in sources)
    with open(os.path.join(folder, "compile_commands.json"), "w", encoding="utf-8") as file:
        json.dump(database, file)
    print("\n".join(sorted(sizes, key=sizes.get, reverse=True)))


if __name__ == "__main__":
    main()
