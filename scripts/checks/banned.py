#!/usr/bin/env python3
"""Fails on calls and words that this code doesn't use, and names what to use instead."""
import re
import sys

import source_tree

NO_PLACE = ()
EVERYWHERE = tuple(f"{folder}/" for folder in source_tree.FOLDERS)
SEAM = ("src/foundation/win32/", "tests/foundation/win32/")
PLATFORM_SEAMS = SEAM + ("src/foundation/text_tools.h", "src/networking/", "tests/networking/",
                         "src/interface/downloader_interface.h", "host/platform_")
PROGRAMS = ("host/", "demo/", "tests/", "bench/", "fuzz/")

_KEYWORDS = {"return", "co_return", "co_await", "else", "case", "throw", "and", "or", "not", "do"}


def calls(*names):
    """Finds calls of these functions: bare, with a leading "::", or with "std::". Methods that
    bear the name, and declarations of such, are not meant."""
    pattern = re.compile(r"\b(?:" + "|".join(names) + r")\s*\(")

    def is_call(before):
        before = before.rstrip()
        if before.endswith("::"):
            scope = re.search(r"([\w>]*)\s*::$", before).group(1)
            return scope in ("", "std") or scope in _KEYWORDS
        if before.endswith((".", "->", "~", "&", "*")):
            return False
        word = re.search(r"(\w+|>)$", before)
        return word is None or word.group(1) in _KEYWORDS

    def find(code):
        return [match.start() for match in pattern.finditer(code)
                if is_call(code[max(0, match.start() - 80):match.start()])]
    return find


def words(pattern):
    compiled = re.compile(pattern, re.MULTILINE)
    return lambda code: [match.start() for match in compiled.finditer(code)]


_SYSTEMS = (r"_WIN32|_WIN64|WIN32|WIN64|__linux__|__linux|linux|__unix__|__unix|unix|__APPLE__|"
            r"__MACH__|__FreeBSD__|__CYGWIN__|__MINGW32__|__MINGW64__|__ANDROID__")

# (what is banned, how it is found, where it is looked for, where it may stand, what to use)
RULES = (
    ("opening files by hand",
     calls("fopen", "freopen", "fdopen", "tmpfile", "open", "openat", "creat", "_wfopen", "_open"),
     EVERYWHERE, SEAM + PROGRAMS, "Brelt::PFileStream, or the calls of foundation/win32/"),
    ("std::filesystem and file streams",
     words(r"\bstd\s*::\s*(?:filesystem|basic_[io]?fstream|[io]?fstream|basic_filebuf|filebuf)\b"
           r"|^[ \t]*#[ \t]*include[ \t]*<(?:filesystem|fstream)>"),
     EVERYWHERE, SEAM + PROGRAMS, "Brelt::PFileStream and foundation/paths.h"),
    ("unbounded text functions",
     calls("sprintf", "vsprintf", "strcpy", "strcat", "wcscpy", "wcscat", "strtok", "gets"),
     EVERYWHERE, NO_PLACE, "Brelt::copyBounded, formatBounded or StringBuilder"),
    ("number parsing that can't fail",
     calls("atoi", "atol", "atoll", "atof"), EVERYWHERE, NO_PLACE, "std::from_chars"),
    ("libcurl", words(r"\b(?:curl_|CURL)\w*"), EVERYWHERE, ("src/networking/", "tests/networking/"),
     "networking/norvel_networking.h"),
    ("sleeping",
     # What sleeps takes a time; a method that is called `sleep()` is another thing.
     calls(r"sleep(?=\s*\(\s*[^\s)])", "usleep", "nanosleep", "Sleep", "sleep_for", "sleep_until",
           r"this_thread\s*::\s*sleep_for", r"this_thread\s*::\s*sleep_until"),
     ("src/", "tests/", "fuzz/"), NO_PLACE, "waiting for a condition"),
    ("printing or ending the process in the library",
     calls("printf", "vprintf", "fprintf", "vfprintf", "puts", "fputs", "putchar", "perror",
           "abort", "exit", "_exit", "_Exit", "quick_exit", "terminate", "signal", "sigaction",
           "setlocale", "setenv", "putenv", "unsetenv"),
     ("src/",), NO_PLACE, "the sink, or an ErrorChain: the library is a guest"),
    ("streams of the console in the library",
     words(r"\bstd\s*::\s*(?:cout|cerr|clog|cin)\b|^[ \t]*#[ \t]*include[ \t]*<iostream>"),
     ("src/",), NO_PLACE, "the sink, or an ErrorChain: the library is a guest"),
    ("a platform's #if",
     words(r"^[ \t]*#[ \t]*(?:if|ifdef|ifndef|elif|elifdef|elifndef)\b[^\n]*\b(?:"
           + _SYSTEMS + r")\b"),
     EVERYWHERE, PLATFORM_SEAMS, "a file for each platform, picked by CMake"),
    ("names that Windows headers define as macros",
     words(r"^(?![ \t]*#[ \t]*include)[^\n]*\b(?:interface|small|near|far|ERROR)\b"),
     EVERYWHERE, NO_PLACE, "another name"),
)


def check(root):
    findings = []
    for path, text in source_tree.sources(root):
        code = source_tree.code_only(text)
        for what, find, looked_for, allowed, instead in RULES:
            if not path.startswith(looked_for) or (allowed and path.startswith(allowed)):
                continue
            for offset in find(code):
                line = source_tree.line_of(code, offset)
                findings.append(f"{path}:{line}: {what}; use {instead}")
        for match in re.finditer(r"\b(?:TODO|FIXME)\b", text):
            line = source_tree.line_of(text, match.start())
            findings.append(f"{path}:{line}: an open end; finish it, or file it where it is seen")
    return findings


if __name__ == "__main__":
    sys.exit(source_tree.run("banned", check))
