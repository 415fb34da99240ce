#!/usr/bin/env python3
"""Fails on an #include that runs against the arrows between the rooms (see CONTRIBUTING.md),
on a library's header outside the room that owns the library, and on a public header that needs
more than the standard library.
"""
import posixpath
import re
import sys

import source_tree

# What the rooms of src/ may include from src/.
ROOMS = {
    "foundation": {"foundation"},
    "networking": {"networking", "foundation"},
    "interface": {"interface", "networking", "foundation"},
    "http": {"http", "interface", "networking", "foundation"},
    "sync": {"sync", "http", "interface", "foundation"},
}

# Where headers of a library or a system may be included. A folder of tests has the rights of the
# room that it mirrors.
LIBRARIES = (
    (r"curl/", ("src/networking/",)),
    (r"json/", ("src/sync/", "host/")),
    (r"(?i:windows|winsock2|ws2tcpip|winreg|winnls|fileapi|shlobj)\.h$",
     ("src/foundation/win32/", "src/networking/", "host/platform_windows.cpp", "tests/")),
    (r"(?:sys|arpa|netinet|net)/|(?:unistd|fcntl|dirent|dlfcn|pthread|poll|netdb|termios|glob|"
     r"fnmatch|strings|spawn|pwd|ifaddrs|langinfo)\.h$",
     ("src/foundation/win32/", "src/networking/", "host/platform_posix.cpp",
      "tests/", "bench/", "fuzz/")),
    (r"CLI/", ("host/",)),
    (r"httplib\.h$", ("demo/", "tests/", "bench/")),
    (r"gtest/|gmock/", ("tests/",)),
    (r"benchmark/", ("bench/",)),
)

PUBLIC = ("src/interface/downloader_interface.h", "src/interface/message_sink.h")


def resolve(path, name, files):
    """The file of the tree that `#include "name"` in `path` means, or None."""
    roots = [posixpath.dirname(path), "src"]
    if not path.startswith("src/"):
        roots.append(path.split("/")[0])
    if path.startswith("fuzz/"):
        roots.append("tests")
    if path.startswith("tests/host/"):
        roots.append("host")
    if path.startswith("tests/support/"):
        roots.append("tests/support/posix")  # or its twin for Windows, as CMake picks
    for root in roots:
        candidate = posixpath.normpath(posixpath.join(root, name))
        if candidate in files:
            return candidate
    return None


def public_headers(files):
    """The headers that are installed, and all that they include."""
    closure, waiting = set(), [path for path in PUBLIC if path in files]
    while waiting:
        path = waiting.pop()
        if path in closure:
            continue
        closure.add(path)
        for _, name, quoted in source_tree.includes(files[path]):
            target = resolve(path, name, files) if quoted else None
            if target:
                waiting.append(target)
    return closure


def judge_inside(path, target, public):
    """Why `path` may not include `target`, a file of the tree; None if it may."""
    top = path.split("/")[0]
    if top == "src":
        room = path.split("/")[1]
        if not target.startswith("src/"):
            return "the library includes nothing from outside src/"
        if room in ROOMS and target.split("/")[1] not in ROOMS[room]:
            return f"{room} may not include {target.split('/')[1]}"
    if top == "host" and not target.startswith("host/") and target not in public:
        return "host may include public headers only"
    return None


def judge_library(path, name):
    mirrored = re.sub(r"^tests/", "src/", path)
    for pattern, places in LIBRARIES:
        if re.match(pattern, name):
            mirrored_host = re.sub(r"^tests/host/", "host/", path)
            if not any(where.startswith(place) for place in places
                       for where in (path, mirrored, mirrored_host)):
                return f"only in {', '.join(places)}"
    return None


def judge(path, name, quoted, files, public):
    target = resolve(path, name, files) if quoted else None
    if quoted and target is None:
        return "no such file beside it or under src/"
    if target:
        if path in public and not (target in PUBLIC or target.startswith("src/foundation/")):
            return "a public header includes public headers and foundation only"
        return judge_inside(path, target, public)
    if path in public and not re.fullmatch(r"[a-z_0-9]+", name):
        return "a public header needs the standard library only"
    return judge_library(path, name)


def check(root):
    files = dict(source_tree.sources(root))
    public = public_headers(files)
    findings = []
    for path, text in files.items():
        parts = path.split("/")
        if parts[0] == "src" and parts[1] not in ROOMS:
            findings.append(f"{path}:1: src/ has no room '{parts[1]}'")
        for line, name, quoted in source_tree.includes(text):
            reason = judge(path, name, quoted, files, public)
            if reason:
                findings.append(f"{path}:{line}: {name}: {reason}")
    return findings


if __name__ == "__main__":
    sys.exit(source_tree.run("arrows", check))
