#!/usr/bin/env python3
"""Fails on a header that doesn't compile as the only include of a file, or lacks #pragma once.
Usage: headers_alone.py ROOT COMPILER [FLAG...]
"""
import concurrent.futures
import os
import re
import subprocess
import sys

import source_tree

FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion",
         "-Wshadow", "-Werror", "-x", "c++", "-"]


def headers(root):
    """The headers of the library, the hosts and the tests; those that only Windows can read, by
    their name, are left to its own builds."""
    found = source_tree.sources(root, ("src", "host", "tests"), (".h",))
    return [(path, text) for path, text in found if not re.search(r"_windows\.h$", path)]


def compile_alone(root, compiler, path, flags):
    command = [*compiler, "-Isrc", "-Itests", *flags, *FLAGS]
    done = subprocess.run(command, input=f'#include "{path}"\n', cwd=root, text=True,
                          capture_output=True, check=False)
    return f"{path}:1: doesn't compile alone\n{done.stderr}" if done.returncode else None


def check(root, compiler, flags=()):
    found = headers(root)
    findings = [f"{path}:1: lacks #pragma once" for path, text in found
                if not re.search(r"^#pragma once$", text, re.MULTILINE)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(
            lambda item: compile_alone(root, compiler, item[0], ["-I.", *flags]), found)
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
