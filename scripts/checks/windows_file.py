#!/usr/bin/env python3
"""Fails if a program or library for Windows needs a file that Windows doesn't bring, exports
anything but what it promises, or doesn't tell its version.
Usage: windows_file.py OBJDUMP FILE VERSION [--needs=FILE]... [--exports=PATTERN]...
  --needs=FILE        a file of our own that it may need besides those of Windows
  --exports=PATTERN   a pattern of names with `*`; each must have a name, and each name a pattern
"""
import fnmatch
import pathlib
import re
import subprocess
import sys

# What is part of every Windows since 7, and what the libraries call there.
OF_WINDOWS = {"advapi32.dll", "bcrypt.dll", "crypt32.dll", "kernel32.dll", "msvcrt.dll",
              "shell32.dll", "ws2_32.dll"}


def needed_files(dump):
    return re.findall(r"^\s*DLL Name: (\S+)", dump, re.MULTILINE)


def exported_names(dump):
    table = dump.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    return re.findall(r"^\s*\[ *\d+\] (\S+)$", table, re.MULTILINE)


def told_version(content):
    """The text under "ProductVersion" in the version resource, or None."""
    key = "ProductVersion\0".encode("utf-16-le")
    begin = content.find(key)
    if begin < 0:
        return None
    text = content[begin + len(key):][:64].decode("utf-16-le", "replace").lstrip("\0")
    return text.partition("\0")[0]


def judge(dump, content, version, needs, patterns):
    allowed = OF_WINDOWS | {name.lower() for name in needs}
    names = exported_names(dump)
    findings = [f"needs {name}" for name in needed_files(dump) if name.lower() not in allowed]
    findings += [f"exports {name}" for name in names
                 if not any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)]
    findings += [f"lacks an export {pattern}" for pattern in patterns
                 if not fnmatch.filter(names, pattern)]
    if not needed_files(dump):
        findings.append("can't be read")
    if told_version(content) != version:
        findings.append(f"tells the version {told_version(content)} instead of {version}")
    return findings


def main():
    objdump, path, version, *options = sys.argv[1:]
    values = {"--needs": [], "--exports": []}
    for option in options:
        name, _, value = option.partition("=")
        values[name].append(value)
    dump = subprocess.run([objdump, "-p", path], text=True, capture_output=True, check=True).stdout
    findings = judge(dump, pathlib.Path(path).read_bytes(), version, values["--needs"],
                     values["--exports"])
    print("\n".join([*(f"{path}: {finding}" for finding in findings),
                     f"windows file: {len(findings)} findings"]))
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
