#!/usr/bin/env python3
"""Fails if the README shows another host than docs/examples/ holds, or a document links to a file
that isn't there. Usage: check_readme.py SOURCE-FOLDER
"""
import pathlib
import re
import sys


def shown(source):
    """The lines of a file as a code block of the README has them."""
    return "".join(f"    {line}" if line.strip() else line
                   for line in source.read_text(encoding="utf-8").splitlines(keepends=True))


def dead_links(document):
    text = document.read_text(encoding="utf-8")
    return [f"{document}: no {link}" for link in re.findall(r"\]\(([^)#:]+)\)", text)
            if not (document.parent / link).exists()]


def check(root):
    readme = root / "README.md"
    findings = [found for document in (readme, *sorted((root / "docs").glob("*.md")))
                for found in dead_links(document)]
    if shown(root / "docs/examples/minimal_host.cpp") not in readme.read_text(encoding="utf-8"):
        findings.append(f"{readme}: its host differs from docs/examples/minimal_host.cpp")
    return findings


if __name__ == "__main__":
    FINDINGS = check(pathlib.Path(sys.argv[1]))
    print("\n".join(FINDINGS or ["documents: no findings"]))
    sys.exit(1 if FINDINGS else 0)
