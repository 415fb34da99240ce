#!/usr/bin/env python3
"""Fails on a header that doesn't compile as the only include of a file, or lacks #pragma once.
A header that some source file includes first has been compiled alone by the build itself.
Usage: headers_alone.py ROOT COMPILER [FLAG...]
"""
import concurrent.futures
import os
import re
import subprocess
import sys

import arrows
import source_tree

FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion",
         "-Wshadow", "-Werror", "-x", "c++", "-"]


def only_for_windows(path):
    return re.search(r"_windows\.(?:h|cpp)$|/windows/", path) is not None


def headers(root):
    """The headers of the library, the hosts and the tests; those that only Windows can read, by
    their name, are left to its own builds."""
    found = source_tree.sources(root, ("src", "host", "tests"), (".h",))
    return [(path, text) for path, text in found if not only_for_windows(path)]


def compiled_by_the_build(root):
    """The headers that stand first in a source file."""
    files = dict(source_tree.sources(root))
    first = set()
    for path, text in source_tree.sources(root, ("src", "host", "tests")):
        named = source_tree.includes(text)
        if path.endswith(".cpp") and named and named[0][2] and not only_for_windows(path):
            first.add(arrows.resolve(path, named[0][1], files))
    return first


def compile_alone(root, compiler, path, flags):
    command = [*compiler, "-Isrc", "-Itests", *flags, *FLAGS]
    done = subprocess.run(command, input=f'#include "{path}"\n', cwd=root, text=True,
                          capture_output=True, check=False)
    return f"{path}:1: doesn't compile alone\n{done.stderr}" if done.returncode else None


def check(root, compiler, flags=()):
    found = headers(root)
    findings = [f"{path}:1: lacks #pragma once" for path, text in found
                if not re.search(r"^#pragma once$", text, re.MULTILINE)]
    done = compiled_by_the_build(root)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(lambda path: compile_alone(root, compiler, path, ["-I.", *flags]),
                           [path for path, _ in found if path not in done])
        findings += [result for result in results if result]
    return findings


def main():
    root, compiler, flags = sys.argv[1], sys.argv[2], sys.argv[3:]
    count = len(headers(root))
    findings = check(root, [compiler], flags) if count else [f"{root}: holds no headers"]
    print("\n".join([*findings, f"headers alone: {count} headers, {len(findings)} findings"]))
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
