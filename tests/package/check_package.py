#!/usr/bin/env python3
"""Installs a build, moves the installation, and uses it as an outsider does: builds the host of the
README by find_package and by pkg-config, and lets both bring down what the installed kivpublish has
published; the installed kivsync finds nothing left to do.
Usage: check_package.py SOURCE-FOLDER BUILD-FOLDER COMPILER
"""
import functools
import http.server
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile
import threading


def run(*command, **settings):
    """Runs a command; its output, or the end of this program with that output."""
    done = subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False, stdin=subprocess.DEVNULL,
                          **settings)
    if done.returncode:
        sys.exit(f"{' '.join(map(str, command))}\nended with {done.returncode}:\n{done.stdout}")
    return done.stdout.strip()


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class Server:
    def __init__(self, folder):
        handler = functools.partial(QuietHandler, directory=str(folder))
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        self.url = f"http://127.0.0.1:{self.server.server_port}/lib"
        self.thread = threading.Thread(target=self.server.serve_forever)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


def install(build, work):
    """An installation that no longer lies where it was put."""
    run("cmake", "--install", build, "--prefix", work / "first")
    prefix = work / "moved here"
    (work / "first").rename(prefix)
    return prefix


def build_by_cmake(source, compiler, prefix, work):
    run("cmake", "-G", "Ninja", "-S", source / "tests/package/outside_host", "-B", work / "cmake",
        f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={compiler}",
        f"-DHOST_SOURCE={source / 'docs/examples/minimal_host.cpp'}")
    run("cmake", "--build", work / "cmake")
    library = pathlib.Path((work / "cmake/library_file").read_text(encoding="utf-8"))
    return work / "cmake/minimal_host", library


def build_by_pkg_config(source, compiler, prefix, work):
    folder = next(prefix.rglob("kivdownloader.pc")).parent
    environment = {**os.environ, "PKG_CONFIG_PATH": str(folder)}

    def ask(*arguments):
        return run("pkg-config", *arguments, "kivdownloader", env=environment)
    # A blank in the prefix comes out escaped, as for a shell.
    flags = shlex.split(ask("--cflags"))
    host = work / "minimal_host"
    run(compiler, "-std=c++20", *flags, source / "docs/examples/minimal_host.cpp", "-o", host,
        "-ldl")
    return host, pathlib.Path(shlex.split(ask("--variable=library"))[0])


def tree(folder):
    return {path.relative_to(folder).as_posix(): path.read_bytes()
            for path in folder.rglob("*") if path.is_file()}


def publish_sample(prefix, folder):
    (folder / "maps").mkdir(parents=True)
    (folder / "maps/a b.tx").write_text("content", encoding="utf-8")
    (folder / "empty").touch()
    run(prefix / "bin/kivpublish", folder)
    wanted = tree(folder)
    del wanted["filelist.json"]
    return wanted


def sync(host, library, url, target, wanted):
    run(host, url, target, env={"LD_LIBRARY_PATH": str(library.parent)})
    if tree(target) != wanted:
        sys.exit(f"{host} left {sorted(tree(target))} and not {sorted(wanted)}")


def main():
    source, build, compiler = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
    with tempfile.TemporaryDirectory(prefix="kiv_package_") as name:
        work = pathlib.Path(name)
        prefix = install(build, work)
        wanted = publish_sample(prefix, work / "served/lib")
        with Server(work / "served") as server:
            for make in (build_by_cmake, build_by_pkg_config):
                host, library = make(source, compiler, prefix, work)
                sync(host, library, server.url, work / make.__name__, wanted)
            run(prefix / "bin/kivsync", "--check", server.url, work / "build_by_cmake", env={})
    print("the installed package serves hosts outside the tree")


if __name__ == "__main__":
    main()
