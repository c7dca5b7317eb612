#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""test_injected_faults.py [--full] [--show] TOOL LIBRARY DEVICE - short runs of every command, in
each of which one allocation or system call fails, or a signal arrives before it.

In any case the run ends with the right output, or with a message and exit status 1. It does not
crash, and leaves no half-written file under its final name, no other file, and no open descriptor.
After a signal the outputs are all old or all new. libsoxr, libsndfile and libasound do not check
every allocation: the resulting crashes inside them are counted separately. Without --full only a
sample of the calls fails: the first of each case, and every n-th of the others. --show lists the
messages.
"""

import collections
import concurrent.futures
import errno
import os
import pathlib
import resource
import signal
import subprocess
import sys
import tempfile

options = [argument for argument in sys.argv[1:] if argument.startswith("--")]
tool, library, device = [os.path.abspath(path) for path in sys.argv[1:] if path not in options]
FIRST, OTHERS = (10**9, 0) if "--full" in options else (12, 40)
OLD = b"old\n"
MESSAGE = b"ezossl: "
INTERRUPTED = 130
OF_OTHERS = ("libsoxr", "libsndfile", "libasound", "libFLAC")
CRASH_OF_OTHERS = "a crash in a library"

# Arguments, outputs, file for standard input.
CASES = [
    ("track x.wav -s 5 -b 4 -q -f csv -o o", "o", None),
    ("track x.wav -s 5 -b 4 -f jsonl -o o --plot p.svg --histogram h.svg", "o p.svg h.svg", None),
    ("x.flac -s 5 -b 4", "", None),
    ("track 44100.wav -s 5 -b 4 -f csv -o o -v", "o", None),
    ("track x.wav x.flac -s 5 -b 4 -q -f csv -j 2", "", None),
    ("track - -s 5 -b 4 -f csv", "", "x.wav"),
    ("simulate -a 10 -d 0.1 -s 5 -o o.wav", "o.wav o.truth.csv", None),
    ("simulate -a 10,20 -i x.wav --room 2x2x2 --rt60 0.1 --distance 0.3 -s 5 -o o.flac --truth t",
     "o.flac t", None),
    ("check second.wav -s 5", "", None),
    ("geometry -s 5", "", None),
    ("live -l", "", None),
    ("live -D x -s 5 -b 4 -d 0.06 -f jsonl", "", None),
    ("live -D x -s 5 -b 4 -d 0.06 -q -o log -f csv --record r.wav", "log r.wav", None),
    ("demo", "", None),
]  # fmt: skip

# Numbers of system calls on x86-64, and the errors that are tried.
READ, WRITE, POLL, IOCTL, FSYNC, RENAME, OPENAT, SYNC_FILE_RANGE = 0, 1, 7, 16, 74, 82, 257, 277
ERRORS = [(READ, errno.EIO), (READ, errno.EINTR), (WRITE, errno.ENOSPC), (WRITE, errno.EINTR),
          (OPENAT, errno.EMFILE), (POLL, errno.ENOMEM), (POLL, errno.EINTR), (IOCTL, errno.EIO),
          (FSYNC, errno.EIO), (RENAME, errno.EIO)]  # fmt: skip
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


class Run:
    """One run in a folder with old outputs, and what is there afterwards."""

    def __init__(self, folder, case, limit=None, drips=False, **fault):
        arguments, outputs, source = case
        outputs = outputs.split()
        for output in outputs:
            pathlib.Path(folder, output).write_bytes(OLD)
        pathlib.Path(folder, "report").unlink(missing_ok=True)
        before = set(os.listdir(folder)) | {"report"}
        feed = open(os.path.join(folder, source), "rb").read() if source else b""
        variables = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "LD_PRELOAD": library,
                     "ALSA_CONFIG_PATH": folder + "/alsa.conf", "FAIL_REPORT": "report",
                     "TMPDIR": folder}
        process = subprocess.Popen([tool, *arguments.split()], cwd=folder,
                                   env=variables | fault, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   preexec_fn=limit and (lambda: resource.setrlimit(*limit)))
        try:
            for at in range(len(feed) if drips else 0):
                os.write(process.stdin.fileno(), feed[at:at + 1])
            self.out, self.err = process.communicate(b"" if drips else feed, timeout=20)
        except subprocess.TimeoutExpired:
            process.kill()
            self.out, self.err = process.communicate()
            self.err += b"(the run never ends)"
        self.status = process.returncode
        self.fault = fault.get("FAIL_CALL")
        found = {path.name: path.read_bytes() for path in pathlib.Path(folder).iterdir()}
        self.files = [found.get(output) for output in outputs]
        self.are_old = self.files == [OLD] * len(outputs)
        self.extra = found.keys() - before
        for name in self.extra:
            os.unlink(os.path.join(folder, name))
        words = (found.get("report") or b"0 0 -1").decode().split()
        self.calls, self.descriptors, self.call = map(int, words[:3])
        self.place = "".join(words[3:])


def is_growing(case):  # output of live sound has the time of day, and is valid in parts
    return case[0].startswith("live -D")


def runs_of(folder, case):
    """For every fault its name, the run, a run without it, and the signal that was sent."""
    clean = Run(folder, case)
    for most in range(4, 16):
        run = Run(folder, case, (resource.RLIMIT_NOFILE, (most, most)))
        yield f"{most} descriptors", run, clean, 0
    for most in (0, 1, 50, 300, 1000):
        run = Run(folder, case, (resource.RLIMIT_FSIZE, (most, most)), FAIL_REPORT="")
        yield f"files of {most} bytes", run, clean, 0
    for n in (1, 2, 5) if is_growing(case) else ():
        run = Run(folder, case, FAIL_CALL="clock", FAIL_AT=str(n))
        yield f"clock set back at reading {n}", run, clean, 0
    if case[2]:
        yield "slow pipe", Run(folder, case, drips=True), clean, 0
    kinds = [("malloc", errno.ENOMEM, 0), ("json", errno.ENOMEM, 0), ("sys", errno.EIO, 0)]
    kinds += [(f"sys:{call}", error, 0) for call, error in ERRORS]
    kinds += [("sys", 0, sent) for sent in SIGNALS]
    for call, error, sent in kinds:
        fault = {"FAIL_CALL": call, "FAIL_ERRNO": str(error), "FAIL_SIGNAL": str(int(sent))}
        clean = Run(folder, case, FAIL_AT="0", **fault)
        assert clean.status == 0 and not clean.extra, (case, clean.status, clean.err)
        for n in chosen(clean.calls):
            run = Run(folder, case, FAIL_AT=str(n), **fault)
            what = os.strerror(error) if error else sent.name
            yield f"{call} {n} of {clean.calls}: {what} in call {run.call}", run, clean, sent


def is_part(out, case, whole):
    """Whether it is a valid part: the rows of either of two inputs, or the last rows of one, may be
    missing."""
    if "-j 2" not in case[0]:
        return whole.startswith(out)
    names = {row.split(b",")[0] for row in out.splitlines()}
    return out.splitlines() == [row for row in whole.splitlines() if row.split(b",")[0] in names]


def keeps_its_beginning(run, clean):
    """Whether live output has whole rows, and the recording the first samples that were captured.
    What could not be opened is as it was."""
    log, recording = run.files
    rows = log.splitlines(True) if log != OLD else []
    header = clean.files[0].splitlines(True)[0]
    are_whole = all(row.count(b",") == header.count(b",") and row[-1:] == b"\n" for row in rows)
    data = clean.files[1].index(b"data") + 8
    return are_whole and (recording == OLD or (recording[:4] == b"RIFF" and
                                               clean.files[1][data:].startswith(recording[data:])))


def fault_of(run, clean, case, sent):
    """What is wrong with a run; None if nothing is."""
    if run.fault == "malloc" and os.path.basename(run.place).startswith(OF_OTHERS):
        return CRASH_OF_OTHERS
    if run.extra:
        return f"leaves {run.extra}"
    if run.status >= 0 and run.descriptors > clean.descriptors:
        return f"leaves {run.descriptors - clean.descriptors} descriptors open"
    if sent and run.status == -sent and run.are_old:
        return None  # too early or too late for a handler
    if sent and run.status == INTERRUPTED:
        return None if run.are_old else "is neither old nor new"
    if run.fault and "--record" in case[0] and not keeps_its_beginning(run, clean):
        return "lacks the beginning"
    if run.status == clean.status:
        if is_growing(case):  # ends early after a signal
            is_whole = sent or [*map(len, run.files)] == [*map(len, clean.files)]
            return None if is_whole else "lacks lines"
        return None if (run.files, run.out) == (clean.files, clean.out) else "has other output"
    if run.status != 1 or (sent and b"was ended by signal" not in run.err):
        return "ends in a wrong way"
    if MESSAGE not in run.err and run.call != WRITE:
        return "has no message"
    if is_growing(case):
        return None
    if not run.are_old:
        return "is half-written"
    return None if is_part(run.out, case, clean.out) else "prints something else"


def chosen(count):
    step = 1 if not OTHERS else max(1, (count - FIRST) // OTHERS)
    return [*range(1, min(FIRST, count) + 1), *range(FIRST + 1, count + 1, step)]


def set_up(folder):
    for name, seconds in (("x.wav", 0.1), ("x.flac", 0.1), ("second.wav", 1)):
        scene = f"simulate -s 5 --no-truth -a 30 -d {seconds} -o {name}"
        subprocess.run([tool, *scene.split()], cwd=folder, check=True, stderr=subprocess.DEVNULL)
    wav = bytearray(pathlib.Path(folder, "x.wav").read_bytes())
    wav[24:28] = (44100).to_bytes(4, "little")
    pathlib.Path(folder, "44100.wav").write_bytes(wav)
    pathlib.Path(folder, "alsa.conf").write_text(
        f'pcm_type.faulty {{ lib "{device}" }}\npcm.x {{ type faulty }}\n')


def sweep(case):
    """All faults of one command: those that ended wrongly, and how the others ended."""
    found = []
    ends = collections.Counter()
    with tempfile.TemporaryDirectory() as folder:
        set_up(folder)
        for name, run, clean, sent in runs_of(folder, case):
            ends[run.status, run.err.strip().split(b"\n")[-1][:150]] += 1
            wrong = fault_of(run, clean, case, sent)
            if wrong == CRASH_OF_OTHERS:
                ends[wrong] += 1
            elif wrong:
                found.append(f"{case[0]}: {name}: {wrong}: status {run.status}, {run.err[-300:]}")
    return found, ends


def count_calls(arguments, output, call):
    """How often a run makes this system call; None where system calls cannot be trapped."""
    with tempfile.TemporaryDirectory() as folder:
        set_up(folder)
        run = Run(folder, (arguments, output, None), FAIL_CALL=f"sys:{call}", FAIL_AT="0")
        return None if run.status == 77 else run.calls


def main():
    live = "live -D x -s 5 -d 3.5 -q --record r.wav"
    times = count_calls(live, "r.wav", SYNC_FILE_RANGE)
    if times is None:
        print("LEFT OUT: system calls cannot be trapped here")
        return 77
    assert times == 3  # every second
    # Once the file, before it gets its name, and once the folder, afterwards.
    assert count_calls("track x.wav -s 5 -b 4 -q -o o", "o", FSYNC) == 2
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        results = list(pool.map(sweep, CASES))
    found = [fault for faults, _ in results for fault in faults]
    ends = sum((of_case for _, of_case in results), collections.Counter())
    crashes = ends.pop(CRASH_OF_OTHERS, 0)
    print(*found, sep="\n", end="\n" if found else "")
    if "--show" in options:
        for (status, text), count in sorted(ends.items()):
            print(f"{count:6d}  {status:4d}  {text.decode(errors='replace')}")
    print(f"{sum(ends.values())} runs with one fault each, {len(found)} ended wrongly;",
          f"{crashes} crashes in other libraries without memory")
    return 1 if found else 0


sys.exit(main())
