# SPDX-License-Identifier: MIT
"""The module against the command-line tool EZOSSL_TOOL, on the library EZOSSL_LIBRARY."""

import concurrent.futures
import csv
import math
import os
import pathlib
import re
import subprocess
import sys
import tracemalloc
import wave

import numpy as np
import pytest

import ezossl

PYTHON = pathlib.Path(__file__).resolve().parent.parent
TOOL = os.environ["EZOSSL_TOOL"]


def run(*command, status=0, **environment):
    done = subprocess.run([*map(str, command)], capture_output=True, text=True,
                          env={**os.environ, **environment})
    assert done.returncode == status, done
    return done


def python(*arguments, **more):
    return run(sys.executable, *arguments, **more)


def read(path):
    with wave.open(str(path)) as file:
        return np.frombuffer(file.readframes(file.getnframes()), np.int16).reshape(-1, 2)


def write(path, samples, rate):
    with wave.open(str(path), "wb") as file:
        file.setparams((2, 2, rate, 0, "NONE", ""))
        file.writeframes(samples.tobytes())


def noise(seconds, lag):
    """Noise that is `lag` samples later at microphone 1. Two samples at 16 kHz and 8.6 cm are
    asin(2 x 343 / 16000 / 0.086) = 29.9 degrees."""
    common = np.random.default_rng(1).integers(-8000, 8000, round(seconds * 16000))
    return np.stack([common, np.roll(common, lag)], axis=1).astype(np.int16)


@pytest.fixture(scope="module")
def sounds(tmp_path_factory):
    """Sounds that bring about every reason; each tries another part of the rules."""
    path = tmp_path_factory.mktemp("scene") / "walk.wav"
    run(TOOL, "simulate", "--walk=-60,60", "-s", "5.8cm", "-r", "16000", "-d", "6", "--snr", "-3",
        "-o", path)
    walk = read(path).copy()
    walk[20000:32000] //= 1024
    left, right = noise(80, 2), noise(80, -2)
    time = np.arange(len(left))[:, None] / 16000
    # 40 s of a faint sound from the right, which counts as noise, with bursts 26 dB above it from
    # the left; then the faint sound 12 dB louder, which counts as noise only after 30 s.
    bursts = np.where((time < 40) & (time % 2 < 0.5), left, right * np.where(time < 40, 0.05, 0.2))
    # Every frame has a different level, from full scale to below the lowest gate.
    levels = 10 ** -np.random.default_rng(2).uniform(0, 4.5, len(left) // 128).repeat(128)
    levels = np.concatenate([left[:1], (4 * left * levels[:, None])])
    # A source, another one, a different sound at each microphone, silence.
    apart = np.random.default_rng(2).integers(-8000, 8000, (48000, 2))
    turns = np.concatenate([left[:48000], right[:48000], apart, 0 * apart])
    # Of every 32 frames more and more come from the left; in the others the sounds differ.
    shares = np.where(time // 0.008 % 32 < time / 3, left, apart[np.arange(len(left)) % 48000])
    all_sounds = {"walk": walk, "bursts": bursts, "levels": levels, "turns": turns,
                  "shares": shares, "full": np.full((8192, 2), -32768)}
    return {name: sound.astype(np.int16) for name, sound in all_sounds.items()}


def lines(blocks):
    """The blocks in the form of the tool's CSV."""
    return [[f"{b.start:.6f}", f"{b.end:.6f}", "" if b.angle is None else f"{b.angle}",
             b.reason or "ok", f"{b.frames_agreeing}", f"{b.frames_used}", f"{b.frames}",
             f"{b.level:.2f}"] for b in blocks]


def lines_of_tool(path, rate, spacing, **settings):
    options = [f"--{name}={value}" for name, value in settings.items() if value is not None]
    options += ["--raw-blocks"] * ("smooth" in settings and settings["smooth"] is None)
    output = run(TOOL, "track", path, "-f", "csv", "-q", "-r", rate, "-s", f"{spacing}m", *options)
    return [row[1:] for row in csv.reader(output.stdout.splitlines()[1:])]  # without the input


RAW = {"smooth": None}


@pytest.mark.parametrize("sound, rate, spacing, settings, count", [
    ("walk", 16000, 0.058, RAW, 23),
    ("walk", 16000, 0.058, {**RAW, "temperature": -20, "gate": -40, "block": 40}, 18),
    ("walk", 16000, 0.02, RAW, 23),  # does not allow the delays
    ("walk", 8000, 0.058, RAW, 23),
    ("walk", 48000, 0.1, RAW, 23),
    ("walk", 16000, 0.058, {}, 23),
    ("walk", 16000, 0.02, {"temperature": -40}, 23),
    ("walk", 16000, 0.058, {"gate": -60}, 23),
    ("walk", 16000, 0.058, {"block": 13, "smooth": 0.3}, 57),  # a segment has 8 frames
    ("walk", 16000, 0.058, {"block": 700}, 1),  # longer than the sound that votes
    ("walk", 8000, 0.058, {}, 46),
    ("walk", 48000, 0.1, {}, 7),
    ("turns", 16000, 0.086, {"gate": -60}, 46),
    ("turns", 16000, 0.02, {}, 46),
    ("bursts", 16000, 0.086, {}, 312),
    ("levels", 16000, 0.086, {}, 312),
    ("levels", 16000, 0.086, {"block": 3}, 3333),
    ("shares", 16000, 0.086, {}, 312),
    ("shares", 16000, 0.086, RAW, 312),
    ("full", 16000, 0.086, {"gate": 0}, 2),  # the level of the gate itself is quiet
])
def test_blocks_are_those_of_the_tool(sounds, tmp_path, sound, rate, spacing, settings, count):
    path = tmp_path / "x.wav"
    samples = sounds[sound]
    write(path, samples, rate)  # the walk is played at another speed
    expected = lines_of_tool(path, rate, spacing, **settings)
    assert len(expected) == count
    assert lines(ezossl.track(samples, rate, spacing, **settings)) == expected
    assert lines(ezossl.track(samples / 32768, rate, spacing, **settings)) == expected


def test_chunks_streams_and_resets_give_the_same(sounds):
    samples = sounds["walk"]
    whole, whole_swapped = (ezossl.track(s, 16000, 0.058) for s in (samples, samples[:, ::-1]))
    with ezossl.Localizer(16000, 0.058) as one, ezossl.Localizer(16000, 0.058) as other:
        assert one.block_seconds == whole[0].end == 0.256
        for _ in range(2):  # the second time after a reset
            found, swapped = [], []
            cuts = np.cumsum(np.random.default_rng(1).integers(0, 3000, 100))
            for chunk in np.split(samples, cuts):  # some of them empty
                found += one.process(chunk)
                swapped += other.process(chunk[:, ::-1])  # draws random numbers in between
            assert (found, swapped) == (whole, whole_swapped)
            one.reset()
            other.reset()
    with pytest.raises(ezossl.ClosedError, match="closed"):
        one.process(samples)
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        for blocks in pool.map(lambda _: ezossl.track(samples, 16000, 0.058), range(4)):
            assert blocks == whole
    assert any(ezossl.track(samples, 16000, 0.058, seed=seed) != whole for seed in range(2, 12))


def test_a_long_array_is_not_copied_and_has_every_block():
    sound = noise(400 * 0.256, 2) / 32768
    tracemalloc.start()
    blocks = ezossl.track(sound, 16000, 0.086)
    assert tracemalloc.get_traced_memory()[1] < sound.nbytes
    tracemalloc.stop()
    assert [b.angle for b in blocks] == [29] * 400
    assert blocks[-1].end == 400 * 0.256


def test_tables():
    sound = noise(0.256, 0)
    blocks = ezossl.track(0 * sound, 16000, 0.058) + ezossl.track(sound, 16000, 0.058)
    table = ezossl.to_array(blocks)
    assert table["reason"].tolist() == ["quiet", ""]
    assert math.isnan(table["angle"][0]) and table["angle"][1] == 0
    assert table["level"][0] == -math.inf and abs(table["level"][1] + 17) < 0.1
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
    assert isinstance(caught.value, base) and isinstance(caught.value, ezossl.EzosslError)


def test_a_missing_library_says_what_to_do():
    program = "import ezossl\ntry: ezossl.Localizer(16000, 0.058)\n" \
              "except ezossl.LibraryNotFoundError as e: print(e)"
    for path, message in (("/nowhere/libezossl.so.1", "set EZOSSL_LIBRARY"),
                          ("libm.so.6", "is another library")):
        assert message in python("-c", program, EZOSSL_LIBRARY=path).stdout


def test_messages_and_the_environment_are_the_callers(tmp_path, monkeypatch):
    program = """
import ctypes, os, sys, ezossl, numpy
with ezossl.Localizer(16000, 0.058, messages=len(sys.argv) > 1) as localizer:
    localizer.process(numpy.zeros((4096, 2)))
    localizer.reset()
getenv = ctypes.CDLL(None).getenv
getenv.restype = ctypes.c_char_p
print(getenv(b"DML_PATH"), file=sys.stderr)
"""
    monkeypatch.delenv("DML_PATH", raising=False)
    quiet = tmp_path / "errors.json"
    quiet.write_text('{"debug_level": 1}')
    for level_file, left in (({}, "None\n"), ({"DML_PATH": str(quiet)}, f"b'{quiet}'\n")):
        for messages in ([], ["x"]):
            done = python("-c", program, *messages, **level_file)
            assert bool(done.stdout) == bool(messages and not level_file), done
            assert done.stderr == left


def test_other_users_of_rand_keep_their_sequence():
    python("-c", """
import ctypes, ezossl, numpy
libc = ctypes.CDLL(None)
noise = numpy.random.default_rng(1).normal(0, 0.1, (40960, 1)) * [1, 1]
def numbers(work):
    libc.srand(7)
    return libc.rand(), work(), libc.rand()
assert numbers(lambda: None) == numbers(lambda: ezossl.track(noise, 16000, 0.058) and None)
""")


def test_pip_installs_all_of_it(tmp_path):
    pytest.importorskip("setuptools")
    source, site = tmp_path / "python", tmp_path / "site"
    run("cp", "-r", PYTHON, source)  # because pip leaves files there
    python("-m", "pip", "install", "--quiet", "--no-build-isolation", "--no-deps", "--no-index",
           "--disable-pip-version-check", "--root-user-action", "ignore", "--target", site, source)
    assert {*os.listdir(site / "ezossl")} >= {path.name for path in PYTHON.glob("ezossl/*.*")}
    program = "import ezossl, importlib.metadata as m; print(ezossl.__file__, m.version('ezossl'))"
    out = python("-c", program, PYTHONPATH=str(site)).stdout
    assert out == f"{site}/ezossl/__init__.py {ezossl.__version__}\n"
    assert ezossl.__version__ in run(TOOL, "--version").stdout.split()


def example(name, *arguments, status=0):
    return python(PYTHON / "examples" / name, *arguments, status=status,
                  PYTHONPATH=f"{PYTHON}:{PYTHON}/tests")


def test_the_microphone_example_prints_blocks_until_it_is_stopped():
    # The overflow comes with the seventh of 20 chunks of 1024: one block before it, three after.
    done = example("microphone.py", "0.086", "3")
    found = [line.split() for line in done.stdout.splitlines()]
    assert [line[0] for line in found] == ["0.26", "0.26", "0.51", "0.77"]
    assert [line[4:] for line in found] == [["+29", "degrees"]] * 4
    assert done.stderr == "sound was lost; starting a new block\n"
    for arguments, message in [(["5.8"], "0.058"), (["0.086", "absent"], "No input device"),
                               ([], "DEVICE")]:
        assert message in example("microphone.py", *arguments, status=1).stderr


def test_the_plot_example_draws(sounds, tmp_path):
    pytest.importorskip("matplotlib")
    figure = tmp_path / "angles.svg"
    write(tmp_path / "walk.wav", sounds["walk"], 16000)
    done = example("plot.py", tmp_path / "walk.wav", "0.058", figure)
    decided = sum(b.angle is not None for b in ezossl.track(sounds["walk"], 16000, 0.058))
    assert done.stdout == f"{decided} of 23 blocks have an angle\n"
    points = figure.read_text().split('id="PathCollection_1"')[1].split("</g>\n   </g>")[0]
    assert points.count("<use ") == decided
    assert "absent.wav: " in example("plot.py", "absent.wav", "0.058", figure, status=1).stderr


def test_float_samples_are_clamped_and_not_wrapped():
    loud = noise(0.256, 2) / 4096
    clamped = np.clip(loud * 32768, -32768, 32767).astype(np.int16)
    assert ezossl.track(loud, 16000, 0.086) == ezossl.track(clamped, 16000, 0.086)
