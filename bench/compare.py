#!/usr/bin/env python3
"""Fetches the same trees from the same nginx on loopback with kivsync, curl and aria2c, five
transfers at once each, in turn; prints wall time, CPU time and peak memory of each, and the ratios.
Needs nginx, curl, aria2c and GNU time (scripts/install-packages.sh bench), and some GB in the scratch folder.
"""
import argparse
import contextlib
import filecmp
import os
import pathlib
import random
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

KIB, MIB = 1024, 1024 * 1024
NGINX = """
daemon off; worker_processes 1; pid {scratch}/nginx.pid; error_log {scratch}/nginx.log;
events {{ worker_connections 256; }}
http {{
    access_log off; sendfile on; tcp_nopush on; keepalive_requests 1000000;
    client_body_temp_path {scratch}/t1; proxy_temp_path {scratch}/t2; fastcgi_temp_path {scratch}/t3;
    uwsgi_temp_path {scratch}/t4; scgi_temp_path {scratch}/t5;
    server {{ listen 127.0.0.1:{port}; root {root}; }}
}}
"""


def make_small(folder, count):
    numbers = random.Random(1)
    for index in range(count):
        path = folder / f"d{index // 100:03}" / f"file {index:05}.bin"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(numbers.randbytes(numbers.randint(1 * KIB, 16 * KIB)))


def make_large(folder, count, mebibytes):
    folder.mkdir(parents=True)
    block = random.Random(2).randbytes(4 * MIB)
    for index in range(count):
        with open(folder / f"large {index:02}.bin", "wb") as file:
            for number in range(mebibytes // 4):
                file.write(bytes([index, number]) + block[2:])


def files_below(folder):
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*")
                  if path.is_file() and path.name not in ("id.txt", "filelist.json"))


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@contextlib.contextmanager
def nginx(scratch, root):
    port = free_port()
    config = scratch / "nginx.conf"
    config.write_text(NGINX.format(scratch=scratch, root=root, port=port), encoding="utf-8")
    program = shutil.which("nginx", path=os.environ["PATH"] + ":/usr/sbin")
    user = [] if os.getuid() else ["-g", "user root;"]
    with subprocess.Popen([program, "-c", str(config), "-e", str(scratch / "nginx.log"), *user],
                          stderr=subprocess.DEVNULL) as server:
        try:
            wait_for(port, server)
            yield f"http://127.0.0.1:{port}"
        finally:
            server.terminate()


def wait_for(port, server):
    while server.poll() is None:
        with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1):
            return
        time.sleep(0.02)
    sys.exit("nginx didn't start")


def quoted(url):
    return urllib.request.quote(url, safe=":/")


def kivsync_command(options, url, target, _names, _scratch):
    return [options.kivsync, "--quiet", "--proxy", "direct", url, str(target)]


def curl_command(_options, url, target, names, scratch):
    config = scratch / "curl.conf"
    config.write_text("".join(f'url = "{quoted(url + "/" + name)}"\noutput = "{target / name}"\n'
                              for name in names), encoding="utf-8")
    return ["curl", "--silent", "--show-error", "--no-progress-meter", "--fail", "--create-dirs", "--noproxy", "*",
            "--parallel", "--parallel-max", "5", "--config", str(config)]


def aria2_command(_options, url, target, names, scratch):
    config = scratch / "aria2.list"
    config.write_text("".join(f"{quoted(url + '/' + name)}\n  out={name}\n" for name in names),
                      encoding="utf-8")
    return ["aria2c", "--quiet", "--no-conf", "--no-proxy=127.0.0.1", "--file-allocation=none",
            "-j5", "-x1", f"--dir={target}", f"--input-file={config}"]


TOOLS = {"kivsync": kivsync_command, "curl": curl_command, "aria2c": aria2_command}


def measure(command, scratch):
    """Seconds of wall time and of CPU time, and the peak of resident memory in MiB.

    GNU time starts the command: started by this process, it would count this one's memory as its
    own peak.
    """
    report = scratch / "report"
    begin = time.perf_counter()
    done = subprocess.run(["time", "-f", "%U %S %M", "-o", report, *command], check=False,
                          stdout=subprocess.DEVNULL)
    wall = time.perf_counter() - begin
    if done.returncode:
        sys.exit(f"{command[0]} ended with {done.returncode}")
    user, system, kibibytes = report.read_text(encoding="utf-8").split()
    return wall, float(user) + float(system), int(kibibytes) / KIB


def check_tree(served, target, names):
    _, differing, missing = filecmp.cmpfiles(served, target, names, shallow=False)
    if differing or missing:
        sys.exit(f"{target}: {len(differing)} files differ, {len(missing)} are missing")


def run_rounds(options, url, served, scratch):
    names = files_below(served)
    results = {tool: [] for tool in TOOLS}
    for number in range(options.rounds):
        for tool, make_command in TOOLS.items():
            target = scratch / "target"
            target.mkdir()
            os.sync()
            command = make_command(options, url, target, names, scratch)
            results[tool].append(measure(command, scratch))
            if number == 0:
                check_tree(served, target, names)
            shutil.rmtree(target)
    return results


def print_table(title, results):
    print(f"\n{title}\n{'':10}{'wall s':>9}{'(best)':>9}{'CPU s':>9}{'peak MiB':>10}"
          f"{'wall : kivsync':>16}")
    middles = {tool: [statistics.median(column) for column in zip(*rows)]
               for tool, rows in results.items()}
    for tool, (wall, cpu, peak) in middles.items():
        best = min(row[0] for row in results[tool])
        ratio = wall / middles["kivsync"][0]
        print(f"{tool:10}{wall:9.2f}{best:9.2f}{cpu:9.2f}{peak:10.1f}{ratio:16.2f}")
    return middles


def compare(options, scratch):
    root = scratch / "root"
    make_small(root / "small", options.small_files)
    make_large(root / "large", options.large_files, options.large_mib)
    for part in ("small", "large"):
        subprocess.run([options.kivpublish, "--quiet", root / part], check=True)
    os.sync()
    with nginx(scratch, root) as address:
        small = run_rounds(options, f"{address}/small", root / "small", scratch)
        print_table(f"{options.small_files} files of 1 to 16 KiB, median of {options.rounds}", small)
        large = run_rounds(options, f"{address}/large", root / "large", scratch)
        middles = print_table(f"{options.large_files} files of {options.large_mib} MiB, median of "
                              f"{options.rounds}", large)
    bound = 5 * options.large_mib
    print(f"kivsync's peak is {middles['kivsync'][2] / bound:.3f} of five times the largest file")


def main():
    # A request to end cleans up like Ctrl-C.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    source = pathlib.Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--bin", default=source / "build-bench/bin", type=pathlib.Path,
                        help="folder with kivsync and kivpublish (a Release build)")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--small-files", type=int, default=10000)
    parser.add_argument("--large-files", type=int, default=24)
    parser.add_argument("--large-mib", type=int, default=64)
    parser.add_argument("--scratch", help="where to put the trees (default: the system's place)")
    options = parser.parse_args()
    options.kivsync, options.kivpublish = str(options.bin / "kivsync"), options.bin / "kivpublish"
    with tempfile.TemporaryDirectory(prefix="kiv_bench_", dir=options.scratch) as name:
        # The worker of an nginx that root starts may not look into a private folder.
        os.chmod(name, 0o755)
        compare(options, pathlib.Path(name))


if __name__ == "__main__":
    main()
