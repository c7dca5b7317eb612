#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tracks the sound in many recordings, on the processors of this machine or of a cluster.

archive.py 'recordings/**/*.flac' --spacing 5.8cm --output angles.csv
archive.py recordings -s 5.8cm -o angles.parquet --scheduler tcp://head:8786 -- --gate -60

A folder stands for the sound files in it. Every worker runs `ezossl track` and must see the
recordings under the same path. Arguments after -- are options of `ezossl track`.

The rows are those of `ezossl track -f csv`, in the order of the names. OUTPUT.done lists the
recordings that are in the output. If a run was interrupted in any way, start it again: it continues
where it stopped, and includes new recordings. OUTPUT.failed lists the recordings that failed, with
reasons; the next run tries them again.

Needs python3-distributed (Dask), and pyarrow for Parquet.
"""

import argparse
import collections
import csv
import fcntl
import glob
import importlib.util
import json
import os
import pathlib
import subprocess
import sys
import tempfile

import distributed

ENDINGS = (".wav", ".flac", ".ogg", ".opus", ".mp3", ".aiff", ".au", ".caf", ".w64", ".rf64")
AHEAD = 8  # recordings per processor that are being tracked, or wait for an earlier one


def track(path, options):
    """The reason for a failure or "", the header and the rows of a recording; runs on a worker."""
    command = ["ezossl", "track", "-q", "-f", "csv", *options, path]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True)
    if done.returncode != 0:
        reason = done.stderr.decode(errors="replace").strip()
        return reason or f"exit status {done.returncode}", b"", b""
    header, _, rows = done.stdout.partition(b"\n")
    return "", header, rows


def recordings(pattern):
    """The files that a folder, a glob or a name stands for, sorted."""
    if os.path.isdir(pattern):
        found = (str(path) for path in pathlib.Path(pattern).rglob("*"))
        return sorted(path for path in found if path.lower().endswith(ENDINGS))
    return sorted(path for path in glob.glob(pattern, recursive=True) if os.path.isfile(path))


def state_of(path):
    """Size and time of the file, which tell whether it has changed."""
    status = os.stat(path)
    return [status.st_size, status.st_mtime_ns]


class Archive:
    """The rows so far, and a journal of the recordings that they come from.

    A recording is in the archive once its line in the journal is complete. Rows after the last such
    line come from a run that was interrupted while it wrote them, and are cut off.
    """

    def __init__(self, path, settings):
        self._journal = open(path + ".done", "a+b")
        try:
            fcntl.flock(self._journal, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            sys.exit(f"{path}: another run is writing it")
        self._journal.seek(0)
        lines = self._journal.read().split(b"\n")[:-1]
        self.done, size = {}, 0
        if lines and json.loads(lines[0]) != settings:
            sys.exit(f"{path}: has other settings, {json.loads(lines[0])}; choose another output")
        for line in lines[1:]:
            name, state, size = json.loads(line)
            self.done[name] = state
        self._journal.truncate(sum(len(line) + 1 for line in lines))
        self._rows = open(path, "ab")
        if self._rows.tell() < size:
            sys.exit(f"{path}: is shorter than {path}.done says; remove both to start over")
        self._rows.truncate(size)
        if not lines:
            self._note(settings)

    def _note(self, entry):
        self._journal.write(json.dumps(entry).encode() + b"\n")
        self._journal.flush()
        os.fsync(self._journal.fileno())

    def add(self, path, state, header, rows):
        if self._rows.tell() == 0 and header:
            self._rows.write(header + b"\n")
        self._rows.write(rows)
        self._rows.flush()
        os.fsync(self._rows.fileno())
        self._note([path, state, self._rows.tell()])
        self.done[path] = state


def run(client, paths, options, archive):
    """Adds the recordings to the archive in their order; returns those that failed, with reasons."""
    failed = {}
    waiting = collections.deque()
    rest = collections.deque(paths)
    ahead = AHEAD * max(1, sum(client.nthreads().values()))
    while rest or waiting:
        while rest and len(waiting) < ahead:
            path = rest.popleft()
            try:
                state = state_of(path)
            except OSError as error:
                failed[path] = str(error)
                continue
            if path in archive.done:
                if archive.done[path] != state:
                    failed[path] = "has changed since its rows were written"
                continue
            waiting.append((path, state, client.submit(track, path, options, pure=False)))
        if waiting:
            path, state, future = waiting.popleft()
            try:
                reason, header, rows = future.result()
            except distributed.scheduler.KilledWorker:
                reason = "its process was killed several times; memory may be short"
            except OSError as error:  # of the worker
                reason = f"ezossl cannot be started: {error}"
            if reason:
                failed[path] = reason
            else:
                archive.add(path, state, header, rows)
        print(f"\r{len(archive.done)} done, {len(failed)} failed, {len(rest) + len(waiting)} left",
              end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return failed


def write_parquet(rows, path):
    from pyarrow import csv as arrow_csv, parquet

    # Others may be able to write to the folder, but must not redirect the file by a link.
    with tempfile.TemporaryDirectory(dir=os.path.dirname(path) or ".") as private:
        part = os.path.join(private, "part")
        with arrow_csv.open_csv(rows) as batches:
            with parquet.ParquetWriter(part, batches.schema) as writer:
                for batch in batches:
                    writer.write_batch(batch)
        with open(part, "rb") as file:
            os.fsync(file.fileno())
        os.replace(part, path)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("recordings", nargs="+", help="folders, globs or files")
    parser.add_argument("-s", "--spacing", required=True, help="as for ezossl: 5.8cm, 0.058m")
    parser.add_argument("-o", "--output", required=True, help="a .csv or .parquet file")
    parser.add_argument("--scheduler", help="address of a Dask scheduler; default: this machine")
    parser.add_argument("--workers", type=int, help="processes here; default: one per core")
    arguments = sys.argv[1:]
    options = []
    if "--" in arguments:
        options = arguments[arguments.index("--") + 1 :]
        arguments = arguments[: arguments.index("--")]
    asked = parser.parse_args(arguments)
    is_parquet = asked.output.endswith(".parquet")
    rows = asked.output + ".csv" if is_parquet else asked.output
    paths = [path for pattern in asked.recordings for path in recordings(pattern)]
    paths = list(dict.fromkeys(paths))
    if not paths:
        sys.exit(f"{' '.join(asked.recordings)}: no sound files there")
    if is_parquet and importlib.util.find_spec("pyarrow") is None:
        sys.exit(f"{asked.output}: needs pyarrow: pip install pyarrow; or choose a .csv file")
    options += ["-s", asked.spacing]
    archive = Archive(rows, options)
    if asked.scheduler:
        client = distributed.Client(asked.scheduler)
    else:
        client = distributed.Client(
            n_workers=asked.workers or os.cpu_count(), threads_per_worker=1, dashboard_address=None
        )
    with client:
        failed = run(client, paths, options, archive)
    with open(asked.output + ".failed", "w", newline="") as file:
        csv.writer(file).writerows([("file", "reason"), *failed.items()])
    for path, reason in failed.items():
        print(f"archive.py: {path}: {reason}", file=sys.stderr)
    if is_parquet:
        write_parquet(rows, asked.output)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
