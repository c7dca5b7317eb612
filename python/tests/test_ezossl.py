# SPDX-License-Identifier: MIT
"""The module against the command-line tool EZOSSL_TOOL, on the library EZOSSL_LIBRARY."""

import csv
import io
import math
import os
import pathlib
import re
import subprocess
import sys
import threading
import tracemalloc
import wave

import numpy as np
import pytest

import ezossl
import ezossl.smoothing

PYTHON = pathlib.Path(__file__).resolve().parent.parent
TOOL = os.environ["EZOSSL_TOOL"]


def tool(*arguments):
    return subprocess.run([TOOL, *arguments], check=True, stdout=subprocess.PIPE, text=True,
                          stderr=subprocess.DEVNULL).stdout


def python(program, *arguments, **environment):
    """What a Python program prints to standard output and standard error."""
    return subprocess.run([sys.executable, "-c", program, *arguments], check=True, text=True,
                          capture_output=True, env={**os.environ, **environment})


def read(path):
    with wave.open(str(path)) as file:
        samples = np.frombuffer(file.readframes(file.getnframes()), np.int16)
        return samples.reshape(-1, 2), file.getframerate()


def write(path, samples, rate=16000):
    with wave.open(str(path), "wb") as file:
        file.setparams((2, 2, rate, 0, "NONE", ""))
        file.writeframes(samples.tobytes())


@pytest.fixture(scope="module")
def scene(tmp_path_factory):
    """A source that moves and pauses in a noisy room: blocks with every reason but one."""
    path = tmp_path_factory.mktemp("scene") / "scene.wav"
    tool("simulate", "--walk=-60,60", "-s", "5.8cm", "-r", "16000", "-d", "6", "--snr", "-3",
         "-o", str(path))
    samples = read(path)[0].copy()
    samples[20000:32000] //= 1024
    write(path, samples)
    return path


def lines(blocks):
    """The blocks in the form of the tool's CSV."""
    return [[f"{b.start:.6f}", f"{b.end:.6f}", "" if b.angle is None else str(b.angle),
             b.reason or "ok", str(b.frames_agreeing), str(b.frames_used), str(b.frames),
             f"{b.level:.2f}"]
            for b in blocks]


def table_of(output):
    """The same from the tool."""
    columns = ["t_start", "t_end", "angle_deg", "status", "frames_agreeing", "frames_used",
               "frames_total", "level_dbfs"]
    return [[row[name] for name in columns] for row in csv.DictReader(io.StringIO(output))]


RAW = {"smooth": None}


@pytest.mark.parametrize("rate, settings, options", [
    (16000, RAW, ["--raw-blocks"]),
    (16000, {**RAW, "temperature": -20, "gate": -40, "block": 40},
     ["--raw-blocks", "-t", "-20", "-g", "-40", "-b", "40"]),
    (16000, {**RAW, "spacing": 0.02}, ["--raw-blocks"]),  # with delays that it does not allow
    (8000, RAW, ["--raw-blocks"]),
    (48000, {**RAW, "spacing": 0.1}, ["--raw-blocks"]),
    (16000, {}, []),
    (16000, {"spacing": 0.02}, []),
    (16000, {"gate": -60}, ["-g", "-60"]),
    (16000, {"block": 13, "smooth": 0.3}, ["-b", "13", "--smooth", "0.3"]),  # segments are of 8
    (16000, {"block": 700}, ["-b", "700"]),  # longer than what votes
    (8000, {}, []),
    (48000, {"spacing": 0.1}, []),
])
def test_blocks_are_those_of_the_tool(scene, tmp_path, rate, settings, options):
    path = tmp_path / "scene.wav"
    samples = read(scene)[0]
    write(path, samples, rate)  # played at another speed
    settings = {"spacing": 0.058, **settings}
    expected = table_of(tool("track", str(path), "-f", "csv", "-q", "-r", str(rate), "-s",
                             f"{settings['spacing']}m", *options))
    frames = settings.get("block", 32 if settings.get("smooth", 1) is None else 2 * rate // 1000)
    assert len(expected) == len(samples) // 128 // frames
    assert lines(ezossl.track(samples, rate, **settings)) == expected
    assert lines(ezossl.track(samples / 32768, rate, **settings)) == expected
    if settings.get("gate") == -40:
        assert {row[3] for row in expected} >= {"ok", "quiet", "disagree"}


def test_chunks_streams_and_resets_give_the_same(scene):
    samples, rate = read(scene)
    whole = ezossl.track(samples, rate, 0.058)
    whole_swapped = ezossl.track(samples[:, ::-1], rate, 0.058)
    with ezossl.Localizer(rate, 0.058) as one, ezossl.Localizer(rate, 0.058) as other:
        assert one.block_seconds == whole[0].end == 0.256 and len(whole) == 23
        for _ in range(2):  # the second time after a reset
            found, swapped = [], []
            generator = np.random.default_rng(1)
            rest = samples
            while len(rest):
                count = generator.integers(0, 3000)
                found += one.process(rest[:count])
                swapped += other.process(rest[:count, ::-1])  # draws random numbers between
                rest = rest[count:]
            assert found == whole
            assert one.process(samples[:0]) == []
            assert swapped == whole_swapped
            one.reset()
            other.reset()
    with pytest.raises(ezossl.ClosedError, match="closed"):
        one.process(samples)
    results = {}
    threads = [threading.Thread(
        target=lambda i=i: results.update({i: ezossl.track(samples, rate, 0.058)}))
        for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(results[i] == whole for i in range(4))
    others = [ezossl.track(samples, rate, 0.058, seed=seed) for seed in range(2, 12)]
    assert any(blocks != whole for blocks in others)


def test_a_long_array_is_not_copied_and_has_every_block():
    noise = np.random.default_rng(1).integers(-8000, 8000, (400 * 4096, 2), dtype=np.int16)
    noise[2:, 1] = noise[:-2, 0]  # two samples later: asin(2 x 343 / 16000 / 0.086) = 29.9 degrees
    tracemalloc.start()
    blocks = ezossl.track(noise, 16000, 0.086)
    assert tracemalloc.get_traced_memory()[1] < noise.nbytes
    tracemalloc.stop()
    assert [b.angle for b in blocks] == [29] * 400
    assert blocks[-1].end == 400 * 0.256
    assert all(b.frames_agreeing == b.frames_used > 24 for b in blocks)


def test_frames_agree_that_are_near_the_median_of_their_block():
    noise = np.random.default_rng(1).integers(-8000, 8000, (40960, 1)).astype(np.int16)
    late, early = np.roll(noise, 2), np.roll(noise, -2)
    for frames_late, agreeing in ((8, range(20, 27)), (24, range(20, 27)), (16, range(14, 19))):
        is_late = np.arange(len(noise))[:, None] % 4096 < 128 * frames_late
        blocks = ezossl.track(np.hstack([noise, np.where(is_late, late, early)]), 16000, 0.086,
                              smooth=None)
        assert all(b.frames_agreeing in agreeing for b in blocks), (frames_late, blocks)


def test_tables():
    silent = ezossl.track(np.zeros((4096, 2)), 16000, 0.058)
    noise = np.random.default_rng(1).normal(0, 0.1, (4096, 1)) * [1, 1]
    blocks = silent + ezossl.track(noise, 16000, 0.058)
    table = ezossl.to_array(blocks)
    assert table["reason"].tolist() == ["quiet", ""]
    assert math.isnan(table["angle"][0]) and table["angle"][1] == 0
    assert table["level"][0] == -math.inf and abs(table["level"][1] + 20) < 0.5
    assert table["end"].tolist() == [0.256, 0.256] and table["frames"].tolist() == [32, 32]
    assert ezossl.to_array([]).shape == (0,)
    pandas = pytest.importorskip("pandas")
    assert list(ezossl.to_dataframe(blocks).columns) == list(table.dtype.names)
    assert isinstance(ezossl.to_dataframe([]), pandas.DataFrame)


GOOD = np.zeros((10, 2))


@pytest.mark.parametrize("error, base, message, arguments", [
    ("ShapeError", ValueError, "one microphone gives no", {"samples": np.zeros(10)}),
    ("ShapeError", ValueError, "samples.T", {"samples": np.zeros((2, 10))}),
    ("ShapeError", ValueError, "choose two", {"samples": np.zeros((10, 4))}),
    ("ShapeError", ValueError, "shape ()", {"samples": 1.0}),
    ("SampleTypeError", TypeError, ">> 16", {"samples": np.zeros((10, 2), np.int32)}),
    ("SampleTypeError", TypeError, "uint8", {"samples": np.zeros((10, 2), np.uint8)}),
    ("SampleValueError", ValueError, "not finite", {"samples": GOOD * np.nan}),
    ("SampleValueError", ValueError, "full scale is 1", {"samples": GOOD + 20000}),
    ("RateError", ValueError, "resample", {"rate": 44100}),
    ("SpacingError", ValueError, "0.058", {"spacing": 5.8}),
    ("SpacingError", ValueError, "metres", {"spacing": "5.8cm"}),
    ("SpacingError", ValueError, "metres", {"spacing": math.nan}),
    ("SettingError", ValueError, "temperature=-41", {"temperature": -41}),
    ("SettingError", ValueError, "gate=1 ", {"gate": 1}),
    ("SettingError", ValueError, "block=0", {"block": 0}),
    ("SettingError", ValueError, "integer", {"block": 32.0}),
    ("SettingError", ValueError, "gate='Auto'", {"gate": "Auto"}),
    ("SettingError", ValueError, "smooth=0.05 ", {"smooth": 0.05}),
    ("SettingError", ValueError, "seed=-1", {"seed": -1}),
])
def test_mistakes_have_names_and_advice(error, base, message, arguments):
    with pytest.raises(getattr(ezossl, error), match=re.escape(message)) as caught:
        ezossl.track(**{"samples": GOOD, "rate": 16000, "spacing": 0.058, **arguments})
    assert isinstance(caught.value, (ezossl.EzosslError, base))
    assert isinstance(caught.value, base) and isinstance(caught.value, ezossl.EzosslError)


@pytest.mark.parametrize("path, message", [
    ("/nowhere/libezossl.so.1", "set EZOSSL_LIBRARY"),
    ("libm.so.6", "is another library"),
])
def test_a_missing_library_says_what_to_do(path, message):
    program = "import ezossl\ntry: ezossl.Localizer(16000, 0.058)\n" \
              "except ezossl.LibraryNotFoundError as e: print(e)"
    assert message in python(program, EZOSSL_LIBRARY=path).stdout


def test_messages_and_the_environment_are_the_callers(tmp_path):
    program = """
import ctypes, os, sys, ezossl, numpy
with ezossl.Localizer(16000, 0.058, messages=len(sys.argv) > 1) as localizer:
    localizer.process(numpy.zeros((4096, 2)))
    localizer.reset()
getenv = ctypes.CDLL(None).getenv
getenv.restype = ctypes.c_char_p
print(getenv(b"DML_PATH"), file=sys.stderr)
"""
    quiet = tmp_path / "errors.json"
    quiet.write_text('{"debug_level": 1}')
    environment = {name: value for name, value in os.environ.items() if name != "DML_PATH"}
    run = {"check": True, "capture_output": True, "text": True}
    for arguments, level_file, printed in [([], None, False), (["x"], None, True),
                                           (["x"], quiet, False), ([], quiet, False)]:
        if level_file:
            environment["DML_PATH"] = str(level_file)
        done = subprocess.run([sys.executable, "-c", program, *arguments], env=environment, **run)
        assert bool(done.stdout) == printed, done.stdout
        assert done.stderr == (f"{str(level_file).encode()}\n" if level_file else "None\n")


def test_other_users_of_rand_keep_their_sequence():
    program = """
import ctypes, ezossl, numpy
libc = ctypes.CDLL(None)
noise = numpy.random.default_rng(1).normal(0, 0.1, (40960, 1)) * [1, 1]
def numbers(work):
    libc.srand(7)
    before = libc.rand()
    work()
    return before, libc.rand()
assert numbers(lambda: None) == numbers(lambda: ezossl.track(noise, 16000, 0.058))
"""
    python(program)


def test_pip_installs_all_of_it(tmp_path):
    pytest.importorskip("setuptools")
    source = tmp_path / "python"  # pip leaves files in the source
    subprocess.run(["cp", "-r", str(PYTHON), str(source)], check=True)
    subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-build-isolation",
                    "--no-deps", "--no-index", "--disable-pip-version-check", "--root-user-action",
                    "ignore", "--target", str(tmp_path / "site"), str(source)], check=True)
    files = {path.name for path in (tmp_path / "site" / "ezossl").iterdir()}
    assert files >= {path.name for path in (PYTHON / "ezossl").iterdir() if path.is_file()}
    program = "import ezossl, importlib.metadata as m; print(ezossl.__file__, m.version('ezossl'))"
    out = python(program, PYTHONPATH=str(tmp_path / "site")).stdout
    assert out == f"{tmp_path}/site/ezossl/__init__.py {ezossl.__version__}\n"
    assert ezossl.__version__ in tool("--version").split()


def example(name, *arguments):
    environment = {**os.environ, "PYTHONPATH": f"{PYTHON}:{PYTHON}/tests"}
    return subprocess.run([sys.executable, str(PYTHON / "examples" / name), *arguments], text=True,
                          capture_output=True, env=environment)


def test_the_microphone_example_prints_blocks_until_it_is_stopped():
    # The overflow comes with the seventh of 20 chunks of 1024: one block before it, three after.
    done = example("microphone.py", "0.086", "3")
    lines = [line.split() for line in done.stdout.splitlines()]
    assert [line[0] for line in lines] == ["0.26", "0.26", "0.51", "0.77"]
    assert [line[4:] for line in lines] == [["+29", "degrees"]] * 4
    assert (done.returncode, done.stderr) == (0, "sound was lost; starting a new block\n")
    for arguments, message in [(["5.8"], "0.058"), (["0.086", "absent"], "No input device"),
                               ([], "DEVICE")]:
        done = example("microphone.py", *arguments)
        assert done.returncode == 1 and message in done.stderr


def test_the_plot_example_draws(scene, tmp_path):
    pytest.importorskip("matplotlib")
    figure = tmp_path / "angles.svg"
    done = example("plot.py", str(scene), "0.058", str(figure))
    decided = sum(b.angle is not None for b in ezossl.track(*read(scene), 0.058))
    assert done.stdout == f"{decided} of 23 blocks have an angle\n", done.stderr
    text = figure.read_text()
    points = text[text.index('id="PathCollection_1"'):]
    assert points[:points.index("</g>\n   </g>")].count("<use ") == decided
    done = example("plot.py", "absent.wav", "0.058", str(figure))
    assert done.returncode == 1 and "absent.wav: " in done.stderr


def test_float_samples_are_clamped_and_not_wrapped():
    noise = np.random.default_rng(1).integers(-3, 4, 4098) / 2  # of full scale
    loud = np.stack([noise[2:], noise[:-2]], axis=1)
    clamped = np.clip(loud * 32768, -32768, 32767).astype(np.int16)
    assert ezossl.track(loud, 16000, 0.086) == ezossl.track(clamped, 16000, 0.086)


def test_the_densest_range_is_that_of_its_definition():
    generator = np.random.default_rng(1)
    for count in list(range(1, 40)) * 5:
        angles = np.sort(generator.integers(-90, 91, count) // generator.integers(1, 9))
        ends = np.sin(np.radians(angles)) + 0.2 + 1e-9
        inside = [np.count_nonzero(np.sin(np.radians(angles[i:])) <= ends[i])
                  for i in range(count)]
        most = max(inside)
        best = [i for i in range(count) if inside[i] == most]
        expected = most, angles[best[len(best) // 2] + (most - 1) // 2]
        assert ezossl.smoothing.densest(generator.permutation(angles)) == expected, angles


def test_smoothed_blocks_vote_over_a_second():
    generator = np.random.default_rng(1)
    common = generator.integers(-8000, 8000, 10 * 16000).astype(np.int16)
    left, right = (np.stack([common, np.roll(common, lag)], axis=1) for lag in (2, -2))
    apart = generator.integers(-8000, 8000, (48000, 2)).astype(np.int16)
    sound = np.concatenate([left[:48000], right[:48000], apart, np.zeros((48000, 2), np.int16)])
    blocks = ezossl.track(sound, 16000, 0.086, smooth=1.024, gate=-60)
    angles = [b.angle for b in blocks]
    assert angles[:11] == [29] * 11 and angles[16:23] == [-29] * 7  # 1 s after the change
    assert {b.reason for b in blocks[28:35]} == {"few_clear"}  # no common sound
    assert {b.reason for b in blocks[36:]} == {"quiet"}
    assert [b.frames for b in blocks[:6]] == [32, 64, 96, 128, 128, 128]
    assert blocks[9].frames_used == blocks[9].frames_agreeing == 128 and blocks[9].level > -18
    # Of every four units of 1024 samples one is loud; the others are under the gate.
    is_loud = np.arange(len(left))[:, None] // 1024 % 4 == 1
    faint = right // 256
    angles = {b.angle for b in ezossl.track(np.where(is_loud, left, faint), 16000, 0.086,
                                            smooth=1.024, gate=-60)[3:]}
    assert angles == {29}
    faint = ezossl.track(faint, 16000, 0.086, smooth=1.024, gate=-60)
    assert {b.reason for b in faint} == {"quiet"}
    full = np.full((8192, 2), -32768, np.int16)  # the level of the gate itself is quiet
    assert {b.reason for b in ezossl.track(full, 16000, 0.086, gate=0)} == {"quiet"}
    near = ezossl.track(left, 16000, 0.02, smooth=1.024)  # a wrong spacing
    assert {b.reason for b in near[1:]} == {"beyond"}
    for rate, frames in ((8000, 64), (48000, 384)):
        block = ezossl.track(left, rate, 0.1, smooth=1.024)[5]
        assert block.frames == frames and abs(block.end - 6 * 0.256) < 1e-9
    assert ezossl.track(left, 16000, 0.086, smooth=2.048)[9].frames == 256


def test_the_gate_follows_the_noise(tmp_path):
    """40 s of a faint sound from the right, which counts as noise, with bursts 26 dB above it from
    the left; then the faint sound 12 dB louder, which counts as noise only after 30 s."""
    common = np.random.default_rng(1).integers(-8000, 8000, 80 * 16000).astype(np.int16)
    time = np.arange(len(common))[:, None] / 16000
    is_burst = (time < 40) & (time % 2 < 0.5)
    left, right = (np.stack([common, np.roll(common, lag)], axis=1) for lag in (2, -2))
    sound = np.where(is_burst, left, right * np.where(time < 40, 0.05, 0.2)).astype(np.int16)
    blocks = ezossl.track(sound, 16000, 0.086)
    assert {b.angle for b in blocks if b.start > 2 and b.end < 40} == {29, None}
    assert {b.angle for b in blocks if b.start > 42 and b.end < 69} == {-29}
    assert {b.reason for b in blocks if b.start > 70.1} == {"quiet"}
    fixed = ezossl.track(sound, 16000, 0.086, gate=-60)
    assert {b.angle for b in fixed if b.start > 70.1} == {-29}
    # Every frame has another level, from full scale to below the lowest gate.
    levels = 10 ** -np.random.default_rng(2).uniform(0, 4.5, len(common) // 128).repeat(128)
    sound = np.concatenate([left[:1], (4 * left * levels[:, None]).astype(np.int16)])
    for frames, options in [({}, []), ({"block": 3}, ["-b", "3"])]:
        write(tmp_path / "x.wav", sound)
        output = tool("track", str(tmp_path / "x.wav"), "-f", "csv", "-q", "-s", "8.6cm", *options)
        assert lines(ezossl.track(sound, 16000, 0.086, **frames)) == table_of(output)
