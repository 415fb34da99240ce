#!/usr/bin/env python3
"""Fails on a source file of more than 400 lines: it holds more than one idea."""
import sys

import source_tree

LIMIT = 400


def check(root):
    findings = []
    for path, text in source_tree.sources(root, ("src", "host")):
        lines = len(text.splitlines())
        if lines > LIMIT:
            findings.append(f"{path}:1: {lines} lines, more than {LIMIT}")
    return findings


if __name__ == "__main__":
    sys.exit(source_tree.run("file sizes", check))
