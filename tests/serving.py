# SPDX-License-Identifier: MIT
"""serving.py - runs TOOL, also with --serve, and waits for conditions, for several tests."""

import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

TOOL = os.path.abspath(sys.argv[1])
FOLDER = tempfile.TemporaryDirectory()
PATIENCE = 60  # seconds, also on a busy machine under an emulator


def wait_until(condition, state=lambda: None):
    """Waits until `condition` gives something, and returns it; `state` tells why it never did."""
    end = time.monotonic() + PATIENCE
    while not (found := condition()):
        assert time.monotonic() < end, state()
        time.sleep(0.02)
    return found


def run_tests(names, *arguments):
    for name, test in list(names.items()):
        if name.startswith("test_"):
            begun = time.monotonic()
            test(*arguments)
            print(f"{name}: {time.monotonic() - begun:.1f} s", flush=True)


def contents(file):
    """Opens the file again, because reading `file` would move the position of the tool."""
    return pathlib.Path(f"/proc/self/fd/{file.fileno()}").read_text()


def run(*arguments, before=()):
    return subprocess.run([*before, TOOL, *arguments], cwd=FOLDER.name, timeout=PATIENCE, text=True,
                          stdin=subprocess.DEVNULL, capture_output=True)


class Served:
    """`TOOL ARGUMENTS --serve ADDRESS` in FOLDER; ends with the block."""

    def __init__(self, arguments, address="0"):
        self.out = tempfile.TemporaryFile("w+")
        self.err = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(
            [TOOL, *arguments.split(), f"--serve={address}"], cwd=FOLDER.name,
            stdin=subprocess.PIPE, stdout=self.out, stderr=self.err)
        found = wait_until(lambda: re.search(r"http://.*:(\d+)/", self.said())
                           or self.process.poll() is not None, self.said)
        assert found is not True, self.said()
        self.url, self.port = found[0], int(found[1])

    def feed(self, samples):
        """Writes samples to standard input as fast as the tool takes them."""
        self.process.stdin.write(samples)
        self.process.stdin.flush()

    def said(self):
        return contents(self.err)

    def printed(self):
        return contents(self.out)

    def interrupt(self):
        """Waits for the end; returns the seconds that it took, and the exit status."""
        begun = time.monotonic()
        self.process.send_signal(signal.SIGINT)
        status = self.process.wait(PATIENCE)
        return time.monotonic() - begun, status

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        if failure[0]:
            print(self.said())
