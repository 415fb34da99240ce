#!/usr/bin/env python3
"""Shows that each check can fail, and that it lets pass what it should: sample trees with the
findings that they must give. Usage: self_test.py [--require-clang]; without the flag, the parts
that need clang-format or clang-tidy are left out where these aren't installed.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import arrows
import banned
import exported_symbols
import file_sizes
import headers_alone
import promises
import source_tree
import windows_file

HERE = pathlib.Path(__file__).resolve().parent
REQUIRE_CLANG = "--require-clang" in sys.argv

# For each sample: the files of the tree, and "path:line" of each finding that it must give.
ARROWS = {
    "each room may use what its arrow points to": ({
        "src/foundation/a.h": "#include <vector>\n#include \"foundation/b.h\"",
        "src/foundation/b.h": "",
        "src/networking/n.h": "#include \"foundation/a.h\"\n#include <curl/curl.h>",
        "src/interface/i.h": "#include \"networking/n.h\"\n#include \"foundation/a.h\"",
        "src/http/h.h": "#include \"interface/i.h\"\n#include \"networking/n.h\"",
        "src/sync/s.cpp": "#include \"http/h.h\"\n#include <json/json.h>",
    }, []),
    "a room may not look up": ({
        "src/sync/s.h": "", "src/http/h.h": "#include \"sync/s.h\"",
        "src/interface/driver.cpp": "#include <string>\n#include \"http/h.h\"\n"
                                    "#include \"../sync/s.h\"",
        "src/foundation/a.cpp": "#include \"interface/i.h\"", "src/interface/i.h": "",
        "src/networking/n.cpp": "#  include \"interface/i.h\"  // why",
        "src/sync/t.cpp": "#include \"networking/x.h\"", "src/networking/x.h": "",
    }, ["src/foundation/a.cpp:1", "src/http/h.h:1", "src/interface/driver.cpp:2",
        "src/interface/driver.cpp:3", "src/networking/n.cpp:1", "src/sync/t.cpp:1"]),
    "comments and texts include nothing": ({
        "src/foundation/a.cpp": "// #include \"sync/s.h\"\n/*\n#include \"sync/s.h\"\n*/\n"
                                "const char* t = R\"(\n#include \"sync/s.h\"\n)\";",
    }, []),
    "libraries stay in their rooms": ({
        "src/http/h.cpp": "#include <curl/curl.h>\n#include <json/value.h>",
        "src/interface/i.cpp": "#include <windows.h>\n#include <Windows.h>\n#include <unistd.h>",
        "src/foundation/win32/files.cpp": "#include <fcntl.h>\n#include <sys/stat.h>",
        "host/main.cpp": "#include <CLI/CLI.hpp>\n#include <json/json.h>\n#include <dlfcn.h>",
        "host/platform_posix.cpp": "#include <dlfcn.h>",
        "host/platform_windows.cpp": "#include <windows.h>",
        "tests/networking/t.cpp": "#include <curl/curl.h>",
        "tests/host/t.cpp": "#include <json/json.h>\n#include <unistd.h>\n#include \"p.h\"",
        "host/p.h": "",
        "tests/http/t.cpp": "#include <curl/curl.h>\n#include <json/json.h>",
    }, ["host/main.cpp:3", "src/http/h.cpp:1", "src/http/h.cpp:2", "src/interface/i.cpp:1",
        "src/interface/i.cpp:2", "src/interface/i.cpp:3", "tests/http/t.cpp:1",
        "tests/http/t.cpp:2"]),
    "hosts see what is installed": ({
        "src/interface/downloader_interface.h": "#include <cstdint>\n#include \"foundation/a.h\"",
        "src/interface/message_sink.h": "", "src/foundation/a.h": "#include \"foundation/b.h\"",
        "src/foundation/b.h": "", "src/foundation/hidden.h": "", "src/sync/s.h": "",
        "host/options.h": "",
        "host/main.cpp": "#include \"options.h\"\n#include \"interface/message_sink.h\"\n"
                         "#include \"foundation/b.h\"\n#include \"foundation/hidden.h\"\n"
                         "#include \"sync/s.h\"",
    }, ["host/main.cpp:4", "host/main.cpp:5"]),
    "public headers need the standard library only": ({
        "src/interface/downloader_interface.h": "#include \"interface/impl.h\"",
        "src/interface/impl.h": "",
        "src/interface/message_sink.h": "#include \"foundation/a.h\"",
        "src/foundation/a.h": "#include <cstdint>\n#include <stdio.h>\n#include <sys/types.h>",
    }, ["src/foundation/a.h:2", "src/foundation/a.h:3", "src/interface/downloader_interface.h:1"]),
    "every name leads to a file, every folder is a room": ({
        "src/foundation/a.cpp": "#include \"a.h\"\n#include \"foundation/gone.h\"",
        "src/foundation/a.h": "", "src/attic/a.h": "",
        "src/http/h.cpp": "#include \"../../tests/support/server.h\"",
        "tests/support/server.h": "", "tests/http/h_test.cpp": "#include \"support/server.h\"",
    }, ["src/attic/a.h:1", "src/foundation/a.cpp:2", "src/http/h.cpp:1"]),
}

BANNED = {
    "files are opened in the seam and in programs": ({
        "src/foundation/a.cpp": "auto f = fopen(p, m);\nint g = ::open(p, 0);\nif (open(p)) {}\n"
                                "return open (p);\nauto h = std::fopen(p, m);",
        "src/foundation/b.cpp": "#include <fstream>\nstd::filesystem::path p;\nstd::ifstream s;",
        "src/foundation/win32/files.cpp": "int f = ::open(p, 0);",
        "tests/a.cpp": "std::filesystem::path p; auto f = fopen(n, m);",
        "host/a.cpp": "#include <filesystem>\nstd::ofstream s;",
    }, ["src/foundation/a.cpp:1", "src/foundation/a.cpp:2", "src/foundation/a.cpp:3",
        "src/foundation/a.cpp:4", "src/foundation/a.cpp:5", "src/foundation/b.cpp:1",
        "src/foundation/b.cpp:2", "src/foundation/b.cpp:3"]),
    "methods of such names, comments and texts are no calls": ({
        "src/foundation/a.cpp": "ErrorChain open(const Key& base);\nkey.open(base);\n"
                                "ErrorChain RegistryKey::open(const Key& base) {}\nk->open(b);\n"
                                "// fopen(p, m)\n/* sprintf(b, f) */ const char* t = \"atoi(x)\";\n"
                                "const char* r = R\"x(strcpy(a, b))x\";\nint reopen(int);\n"
                                "const char quote = '\"'; int n = 1'000; // strcat(a, b)\n"
                                "PFileStream::Open(p); snprintf(b, n, f);",
    }, []),
    "unbounded calls are nowhere": ({
        "src/foundation/win32/a.cpp": "sprintf(b, f);\nstd::strcpy(a, b);",
        "tests/a.cpp": "int n = atoi(t);", "host/a.cpp": "::strcat(a, b);",
        "bench/a.cpp": "auto s = 'x'; /* fine */ vsprintf(b, f, a);",
    }, ["bench/a.cpp:1", "host/a.cpp:1", "src/foundation/win32/a.cpp:1",
        "src/foundation/win32/a.cpp:2", "tests/a.cpp:1"]),
    "libcurl stays in networking": ({
        "src/networking/a.cpp": "CURL* c = curl_easy_init();",
        "src/http/a.cpp": "// curl_easy_init\nauto* c = curl_easy_init();\nCURLcode k;",
    }, ["src/http/a.cpp:2", "src/http/a.cpp:3"]),
    "nothing sleeps": ({
        "tests/a.cpp": "std::this_thread::sleep_for(1s);\nusleep(5);\nsleep(1);\n"
                       "condition.wait_for(lock, 1s);\nusing std::this_thread::sleep_for;\n"
                       "if (idle) {\n    sleep();\n}",
    }, ["tests/a.cpp:1", "tests/a.cpp:2", "tests/a.cpp:3"]),
    "the library is a guest": ({
        "src/sync/a.cpp": "std::printf(f);\nstd::cerr << 1;\nstd::abort();\nexit(1);\n"
                          "std::terminate();\nsink.abort();\nsignal(SIGPIPE, SIG_IGN);",
        "host/a.cpp": "std::printf(f); std::exit(1);",
    }, ["src/sync/a.cpp:1", "src/sync/a.cpp:2", "src/sync/a.cpp:3", "src/sync/a.cpp:4",
        "src/sync/a.cpp:5", "src/sync/a.cpp:7"]),
    "the platform is a file": ({
        "src/foundation/paths.cpp": "#ifdef _WIN32\n#endif\n#  if defined(A) && __linux__\n#endif\n"
                                    "#if defined(__GNUC__)\n#endif // _WIN32",
        "src/foundation/text_tools.h": "#ifdef _WIN32\n#endif",
        "src/foundation/win32/win32.h": "#ifdef _WIN32\n#endif",
        "src/networking/a.cpp": "#ifndef _WIN32\n#endif",
        "src/interface/downloader_interface.h": "#if defined(_WIN32)\n#endif",
        "host/platform_posix.cpp": "#ifdef __linux__\n#endif", "host/a.cpp": "#elif __APPLE__",
    }, ["host/a.cpp:1", "src/foundation/paths.cpp:1", "src/foundation/paths.cpp:3"]),
    "names that Windows headers take": ({
        "src/http/a.cpp": "#include \"interface/i.h\"\nint far = 1;\nbool small;\nint nearest;\n"
                          "const char* t = \"interface\"; // far",
    }, ["src/http/a.cpp:2", "src/http/a.cpp:3"]),
    "nothing is left open": ({"src/http/a.cpp": "\n// TODO: later"}, ["src/http/a.cpp:2"]),
}

FILE_SIZES = {
    "four hundred lines are enough": ({
        "src/http/a.cpp": "\n" * 400, "src/http/b.cpp": "\n" * 401, "tests/a.cpp": "\n" * 500,
    }, ["src/http/b.cpp:1"]),
}

HEADERS = {
    "a header brings what it needs": ({
        "src/foundation/good.h": "#pragma once\n#include <string>\ninline std::string s;",
        "src/foundation/bad.h": "#pragma once\ninline std::string s;",
        "src/foundation/warns.h": "#pragma once\ninline short cut(long n) { return n; }",
        "src/foundation/only_windows.h": "#pragma once\n#include <no_such_header.h>",
        "tests/support/twice.h": "struct S {};",
        "src/foundation/seen_first.h": "#pragma once\ninline std::string t;",
        "src/foundation/seen_first.cpp": "#include \"foundation/seen_first.h\"",
        "src/foundation/seen_later.h": "#pragma once\ninline std::string u;",
        "src/foundation/seen_later.cpp": "#include <string>\n#include \"seen_later.h\"",
    }, ["src/foundation/bad.h:1", "src/foundation/seen_later.h:1", "src/foundation/warns.h:1",
        "tests/support/twice.h:1"]),
}

PROMISES = {
    "names that are there, and rows that have some": ({
        "docs/promises.md": "| promise | held by |\n|---|---|\n"
                            "| holds | `Suite.Name`, `fuzz/target`, `house.check` |\n"
                            "| gone | `Suite.Name`, `Suite.Gone`, `fuzz/gone` |\n"
                            "| empty | none |\n\nText with `other.names`.\n",
        "tests/a_test.cpp": "TEST(Suite, Name) {}",
        "tests/house/CMakeLists.txt": "kiv_add_house_test(check x.py)",
        "fuzz/target.cpp": "int LLVMFuzzerTestOneInput();",
    }, ["docs/promises.md:4", "docs/promises.md:5"]),
    "the page itself": ({"src/a.cpp": ""}, ["docs/promises.md:1"]),
}


def make_tree(root, files):
    for path, text in files.items():
        target = pathlib.Path(root) / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text + "\n" if path.endswith((".h", ".cpp")) and text.strip() else text,
                          "utf-8")


def place(finding):
    return ":".join(finding.split(":")[:2])


class SampleTrees(unittest.TestCase):
    def judge(self, check, samples):
        for name, (files, expected) in samples.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as root:
                make_tree(root, files)
                found = sorted({place(finding) for finding in check(root)})
                self.assertEqual(found, sorted(expected))

    def test_arrows(self):
        self.judge(arrows.check, ARROWS)

    def test_banned(self):
        self.judge(banned.check, BANNED)

    def test_file_sizes(self):
        self.judge(file_sizes.check, FILE_SIZES)

    def test_promises(self):
        self.judge(promises.check, PROMISES)

    def test_headers_alone(self):
        self.judge(lambda root: headers_alone.check(root, [compiler()]), HEADERS)

    def test_a_tree_without_sources_is_a_failure(self):
        for script in ("arrows.py", "banned.py", "file_sizes.py"):
            with self.subTest(script), tempfile.TemporaryDirectory() as root:
                done = run(sys.executable, "-B", HERE / script, root)
                self.assertEqual((done.returncode, "no sources" in done.stdout), (1, True))

    def test_line_numbers_survive_the_blanking(self):
        code = source_tree.code_only('a /* x\n y */ b\nR"(\n")" "t\\"//" c // d\ne')
        self.assertEqual(code.count("\n"), 4)
        self.assertEqual(code.split(), ["a", "b", '"', '"', "c", "e"])


class ExportedSymbols(unittest.TestCase):
    def test_exactly_the_named_ones(self):
        source = 'extern "C" {{ __attribute__((visibility("{}"))) void two() {{}}\nvoid one() {{}} }}'
        for visibility, expected, finding in (("hidden", ["one"], None),
                                              ("default", ["one"], "exports two"),
                                              ("hidden", ["one", "two"], "lacks two")):
            with self.subTest(expected=expected), tempfile.TemporaryDirectory() as root:
                library = f"{root}/lib.so"
                subprocess.run([compiler(), "-shared", "-fPIC", "-x", "c++", "-", "-o", library],
                               input=source.format(visibility), text=True, check=True)
                findings = exported_symbols.check(library, expected)
                self.assertEqual(findings, [f"{library}: {finding}"] if finding else [])


class WindowsFile(unittest.TestCase):
    DUMP = """
    DLL Name: KERNEL32.dll
    DLL Name: Own.dll

[Ordinal/Name Pointer] Table
\t[   0] begin
\t[   1] endOfAll
"""
    CONTENT = "ProductVersion\0\x001.2.3\0".encode("utf-16-le")

    def test_samples(self):
        for version, needs, patterns, expected in (
                ("1.2.3", ["own.dll"], ["begin", "end*"], []),
                ("1.2.3", [], ["begin", "end*"], ["needs Own.dll"]),
                ("1.2.3", ["Own.dll"], ["begin"], ["exports endOfAll"]),
                ("1.2.3", ["Own.dll"], ["*", "x"], ["lacks an export x"]),
                ("1.2", ["Own.dll"], ["*"], ["tells the version 1.2.3 instead of 1.2"])):
            with self.subTest(expected):
                self.assertEqual(
                    windows_file.judge(self.DUMP, self.CONTENT, version, needs, patterns), expected)
        self.assertEqual(windows_file.judge("", b"", "1", [], []),
                         ["can't be read", "tells the version None instead of 1"])


class ClangChecks(unittest.TestCase):
    def need(self, tool):
        if shutil.which(tool):
            return
        self.assertFalse(REQUIRE_CLANG, f"{tool} isn't installed")
        self.skipTest(f"{tool} isn't installed")

    def test_format(self):
        self.need("clang-format")
        style = (HERE.parents[1] / ".clang-format").read_text("utf-8")
        for text, expected in (("int a = 1;", 0), ("int  a=1;", 1)):
            with self.subTest(text), tempfile.TemporaryDirectory() as root:
                make_tree(root, {"src/a.cpp": text})
                pathlib.Path(root, ".clang-format").write_text(style, "utf-8")
                self.assertEqual(run(HERE / "clang-format.sh", root).returncode, expected)

    def test_tidy(self):
        self.need("clang-tidy")
        long_body = "".join(f"    total += {n};\n" for n in range(60))
        nested = "for (int i = 0; i < n; ++i) if (i) { %s }"
        knot = "return;"
        for _ in range(5):
            knot = nested % knot
        for name, text, expected in (
                ("plain", "int twice(int n) {\n    return 2 * n;\n}", None),
                ("too long", f"int sum() {{\n    int total = 0;\n{long_body}    return total;\n}}",
                 "readability-function-size"),
                ("too knotted", f"void knot(int n) {{\n    {knot}\n}}",
                 "readability-function-cognitive-complexity"),
                ("name", "int Twice(int n) {\n    return 2 * n;\n}",
                 "readability-identifier-naming"),
                ("bug", "#include <utility>\n#include <vector>\nunsigned long size() {\n"
                        "    std::vector<int> a;\n    auto b = std::move(a);\n"
                        "    return a.size() + b.size();\n}", "bugprone-use-after-move"),
                ("compiler's warning", "short cut(long n) {\n    return n;\n}",
                 "clang-diagnostic-implicit-int-conversion"),
                ("compiler's own", "int last(int n) { int a[n]; return a[n - 1]; }",
                 "clang-diagnostic-vla")):
            with self.subTest(name), tempfile.TemporaryDirectory() as root:
                make_tree(root, {"src/a.cpp": text, "build/compile_commands.json": json.dumps([{
                    "directory": root, "file": "src/a.cpp",
                    "command": "c++ -std=c++20 -Wall -Wconversion -c src/a.cpp"}])})
                shutil.copy(HERE.parents[1] / ".clang-tidy", root)
                done = run(HERE / "clang-tidy.sh", f"{root}/build")
                self.assertEqual(done.returncode != 0, expected is not None, done.stdout)
                self.assertIn(expected or "no findings", done.stdout)


def compiler():
    return os.environ.get("CXX", "c++")


def run(*command):
    return subprocess.run([str(part) for part in command], text=True, capture_output=True,
                          check=False)


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--require-clang"])
