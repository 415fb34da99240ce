#!/usr/bin/env python3
"""Fails if a shared library exports anything but the named symbols, or lacks one of them.
Usage: exported_symbols.py LIBRARY SYMBOL...
"""
import subprocess
import sys


def check(library, expected):
    done = subprocess.run(["nm", "-D", "--defined-only", library], text=True, capture_output=True,
                          check=True)
    exported = {line.split()[-1] for line in done.stdout.splitlines() if line.strip()}
    findings = [f"{library}: exports {name}" for name in sorted(exported - set(expected))]
    findings += [f"{library}: lacks {name}" for name in sorted(set(expected) - exported)]
    return findings


def main():
    library, expected = sys.argv[1], sys.argv[2:]
    findings = check(library, expected)
    print("\n".join([*findings, f"exported symbols: {len(findings)} findings"]))
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
