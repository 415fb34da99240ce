#!/usr/bin/env python3
"""Starts Linux programs for tests that run as Windows programs under Wine, which can't watch them.

Prints the port of loopback that it listens on, then serves until it is killed. Each connection is
one program: it is killed when the connection ends, so it never outlives its test. The client sends
lines, UTF-8 and without a line end inside:

    word TEXT          the command, word by word; the first is looked up in the usual folders
    output FILE        where both outputs go
    start              answered by "started" or "failed REASON"
    signal NUMBER      at any time afterwards

and receives "ended CODE" when the program is gone: its exit code, or 128 and the signal's number.
"""
import shutil
import socket
import subprocess
import sys
import threading

FOLDERS = "/usr/local/bin:/usr/bin:/usr/sbin:/bin:/sbin"


class Program:
    """One connection and the program behind it."""

    def __init__(self, connection):
        self.connection = connection
        self.words = []
        self.output = "/dev/null"
        self.process = None

    def tell(self, text):
        try:
            self.connection.sendall((text + "\n").encode())
        except OSError:
            pass

    def start(self):
        program = shutil.which(self.words[0], path=FOLDERS) if self.words else None
        if not program:
            raise OSError(f"the program {' '.join(self.words[:1])} isn't installed")
        with open(self.output, "wb", buffering=0) as output:
            # Tied to this thread's life, also where all of this is killed.
            self.process = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", "--", program, *self.words[1:]],
                stdin=subprocess.DEVNULL, stdout=output, stderr=output)
        self.tell("started")
        threading.Thread(target=self.watch, daemon=True).start()

    def watch(self):
        code = self.process.wait()
        self.tell(f"ended {code if code >= 0 else 128 - code}")

    def obey(self, line):
        verb, _, text = line.rstrip("\n").partition(" ")
        if verb == "word":
            self.words.append(text)
        elif verb == "output":
            self.output = text
        elif verb == "start":
            self.start()
        elif verb == "signal" and self.process:
            self.process.send_signal(int(text))

    def serve(self):
        try:
            with self.connection, self.connection.makefile("r", encoding="utf-8",
                                                           newline="\n") as lines:
                for line in lines:
                    self.obey(line)
        except OSError as error:
            self.tell(f"failed {error}")
        finally:
            if self.process:
                self.process.kill()
                self.process.wait()


def main():
    listener = socket.create_server(("127.0.0.1", 0))
    print(listener.getsockname()[1], flush=True)
    while True:
        connection, _ = listener.accept()
        threading.Thread(target=Program(connection).serve, daemon=True).start()


if __name__ == "__main__":
    sys.exit(main())
