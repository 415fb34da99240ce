#!/usr/bin/env python3
"""Fails where docs/promises.md names a test, a fuzz target or a check that isn't there, and on a
promise that names none.
"""
import pathlib
import re
import sys

import source_tree

PAGE = "docs/promises.md"
_TEST = re.compile(r"^\s*TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", re.MULTILINE)
_HOUSE_TEST = re.compile(r"kiv_add_house_test\(\s*(\w+)")


def known_names(root):
    """Everything that may stand in the page."""
    names = set()
    for path, text in source_tree.sources(root, ("tests", "fuzz")):
        if path.startswith("tests/"):
            names.update(f"{suite}.{test}" for suite, test in _TEST.findall(text))
        elif "LLVMFuzzerTestOneInput" in text and path.endswith(".cpp"):
            names.add(path.removesuffix(".cpp"))
    for cmake in (pathlib.Path(root) / "tests").rglob("CMakeLists.txt"):
        names.update(f"house.{name}" for name in _HOUSE_TEST.findall(cmake.read_text("utf-8")))
    return names


def rows(page):
    """(line, names) of each row of the tables, without their heads."""
    for number, line in enumerate(page.splitlines(), 1):
        if line.startswith("|") and not line.startswith(("|---", "| promise |")):
            yield number, re.findall(r"`([^`]+)`", line.split("|")[2])


def check(root):
    page = pathlib.Path(root) / PAGE
    if not page.is_file():
        return [f"{PAGE}:1: isn't there"]
    names = known_names(root)
    findings = []
    for line, held_by in rows(page.read_text("utf-8")):
        if not held_by:
            findings.append(f"{PAGE}:{line}: names no test")
        findings += [f"{PAGE}:{line}: there is no {name}" for name in held_by if name not in names]
    return findings


if __name__ == "__main__":
    sys.exit(source_tree.run("promises", check))
