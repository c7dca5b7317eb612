# SPDX-License-Identifier: MIT
"""The example archive.py on two workers against `ezossl track` over the same files."""

import contextlib
import csv
import os
import pathlib
import runpy
import subprocess
import sys
import time
import types

import pytest

distributed = pytest.importorskip("distributed")
EXAMPLE = pathlib.Path(__file__).resolve().parent.parent / "examples" / "archive.py"
TOOL = os.environ["EZOSSL_TOOL"]


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """Six recordings and a file that is not one, and a slow ezossl that logs who starts it."""
    monkeypatch.chdir(tmp_path)
    pathlib.Path("in/deep").mkdir(parents=True)
    pathlib.Path("bin").mkdir()
    for number in range(6):
        simulate(number, 15 * number)
    pathlib.Path("in/bad.wav").write_text("no sound")
    script = pathlib.Path("bin/ezossl")
    script.write_text(f"#!/bin/sh\necho $PPID >>'{tmp_path}/log'\nsleep 0.2\nexec '{TOOL}' \"$@\"\n")
    script.chmod(0o755)
    monkeypatch.setenv("PATH", f"{tmp_path}/bin:{os.environ['PATH']}")
    monkeypatch.delenv("LD_PRELOAD", raising=False)
    return tmp_path


def simulate(number, angle):
    subprocess.run([TOOL, "simulate", f"--angle={angle}", "-s5.8cm", "-d3", "--no-truth",
                    f"-oin/deep/{number}.wav"], check=True, stderr=subprocess.DEVNULL)


def start(*arguments):
    return subprocess.Popen([sys.executable, str(EXAMPLE), "in", "-s", "5.8cm", "-o", "out.csv",
                             *arguments], stderr=subprocess.PIPE, text=True)


def run(*arguments):
    process = start(*arguments)
    errors = process.communicate(timeout=60)[1]
    return process.returncode, errors


def logged(folder):
    log = folder / "log"
    return log.read_text().split() if log.exists() else []


def in_turn():
    files = sorted(map(str, pathlib.Path("in").rglob("?.wav")))
    return subprocess.run([TOOL, "track", "-q", "-f", "csv", "-s", "5.8cm", *files], check=True,
                          stdout=subprocess.PIPE).stdout


def test_a_killed_worker_and_a_killed_run_lose_nothing_and_repeat_nothing(folder):
    out = folder / "out.csv"
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as two:
        process = start("--scheduler", two.scheduler_address)
        while len(logged(folder)) < 3 and process.poll() is None:
            time.sleep(0.02)
        os.kill(int(logged(folder)[2]), 9)  # the worker that began the third recording
        errors = process.communicate(timeout=60)[1]
    assert process.returncode == 1 and "in/bad.wav: not a readable sound file" in errors, errors
    assert out.read_bytes() == in_turn()
    assert [row[0] for row in csv.reader(open("out.csv.failed"))] == ["file", "in/bad.wav"]
    started = len(logged(folder))
    assert len(set(logged(folder))) >= 2 and started > 7  # two workers, and the third one again

    # As if the next run had been killed while it wrote, and then a recording had been added.
    with out.open("ab") as rows, open("out.csv.done", "ab") as journal:
        rows.write(b"in/deep/6.wav,0.00")
        journal.write(b'["in/deep/6.w')
    simulate(6, -40)
    pathlib.Path("in/bad.wav").unlink()
    assert run("--workers", "2")[0] == 0
    assert out.read_bytes() == in_turn()
    assert len(logged(folder)) == started + 1

    simulate(6, 40)
    before = out.read_bytes()
    status, errors = run("--workers", "1")
    assert status == 1 and "6.wav: has changed since its rows were written" in errors
    assert out.read_bytes() == before
    assert "has other settings" in run("--", "-g", "-40")[1]
    out.write_bytes(before[:100])
    assert "is shorter than out.csv.done says" in run()[1]


def test_parquet_has_the_rows_of_csv(folder):
    try:
        from pyarrow import parquet
    except ImportError:
        status, errors = run("-o", "out.parquet")
        assert (status, logged(folder)) == (1, []) and "needs pyarrow" in errors
        pytest.skip("there is no pyarrow")
    assert run("-o", "out.parquet", "--workers", "2")[0] == 1
    table = parquet.read_table("out.parquet")
    assert table.num_rows == in_turn().count(b"\n") - 1
    assert table.column_names[1:4] == ["t_start", "t_end", "angle_deg"]


class Batches(list):
    schema = None


def test_parquet_follows_no_link_and_leaves_nothing_half_written(tmp_path, monkeypatch):
    @contextlib.contextmanager
    def open_csv(path):
        yield Batches(pathlib.Path(path).read_text())

    @contextlib.contextmanager
    def writer(path, _):
        with open(path, "w") as file:
            yield types.SimpleNamespace(write_batch=file.write)

    stand_in = types.SimpleNamespace(csv=types.SimpleNamespace(open_csv=open_csv),
                                     parquet=types.SimpleNamespace(ParquetWriter=writer))
    monkeypatch.setitem(sys.modules, "pyarrow", stand_in)
    monkeypatch.chdir(tmp_path)
    write_parquet = runpy.run_path(str(EXAMPLE))["write_parquet"]
    pathlib.Path("rows").write_text("of sound")
    pathlib.Path("folder").mkdir()
    os.symlink("planted", "out.parquet.part")
    write_parquet("rows", "out.parquet")
    with pytest.raises(OSError):
        write_parquet("rows", "folder")
    assert pathlib.Path("out.parquet").read_text() == "of sound"
    assert sorted(os.listdir()) == ["folder", "out.parquet", "out.parquet.part", "rows"]
