# SPDX-License-Identifier: MIT
"""Scenes with a known direction, and the errors of the tool and the references in them."""

import json
import os
import subprocess
import tempfile
import wave
from dataclasses import dataclass, replace

import numpy as np

import reference

SECONDS = 5
PAUSE_DB = 25  # below the loudest quarter second of the dry sound: no sound there
QUARTER = 0.25
ANALYSIS_RATE = 16000  # of the tool, unless the input has less
SMOOTH_SECONDS = 1.024  # what a smoothed line of the tool looks back on
ROOM = "5x4x3"
DISTANCE = 1.2


@dataclass(frozen=True)
class Scene:
    signal: str  # speech, noise, music
    source: str  # file of the dry sound; empty for noise
    spacing: float  # cm
    angle: int
    snr: int
    rt60: float  # 0: free field
    seed: int
    rate: int = 16000


@dataclass(frozen=True)
class Line:
    """The result of one estimator for one piece of time: an angle, or None."""

    start: float
    end: float
    angle: float | None


@dataclass
class Outcome:
    """The pieces of a scene that have sound, as one estimator sees them."""

    scene: Scene
    method: str
    pieces: int
    errors: list  # found minus true angle of those with an angle, in degrees


class Tool:
    def __init__(self, path):
        self.path = os.path.abspath(path)

    def run(self, *arguments):
        done = subprocess.run([self.path, *map(str, arguments)], capture_output=True, text=True,
                              check=False)
        if done.returncode != 0:
            raise SystemExit(f"ezossl {' '.join(map(str, arguments))}: {done.stderr}")
        return done.stdout

    def simulate(self, scene, path):
        arguments = ["--angle", scene.angle, "-s", scene.spacing, "-r", scene.rate, "--snr",
                     scene.snr, "--seed", scene.seed, "-d", SECONDS, "--no-truth", "-o", path]
        if scene.source:
            arguments += ["-i", scene.source]
        if scene.rt60:
            arguments += ["--room", ROOM, "--rt60", scene.rt60, "--distance", DISTANCE]
        self.run("simulate", *arguments)

    def track(self, path, spacing, *options):
        output = self.run("track", path, "-s", spacing, "-q", "-f", "jsonl", *options)
        objects = [json.loads(text) for text in output.splitlines()]
        return [Line(o["t_start"], o["t_end"], o["angle_deg"]) for o in objects
                if o["type"] == "block"]

    def blocks(self, path, spacing, *options):
        """The blocks of the library as they are."""
        return self.track(path, spacing, "--raw-blocks", *options)


def read_pair(path):
    with wave.open(path) as file:
        rate = file.getframerate()
        data = np.frombuffer(file.readframes(file.getnframes()), "<i2")
    return data.reshape(-1, 2) / 32768, rate


def write_pair(path, samples, rate):
    with wave.open(path, "wb") as file:
        file.setnchannels(2)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(np.round(np.clip(samples, -1, 1) * 32767).astype("<i2").tobytes())


def at_analysis_rate(samples, rate):
    """The samples resampled to the rate at which the tool analyses by default, if that is lower."""
    if rate <= ANALYSIS_RATE:
        return samples, rate
    count = len(samples) * ANALYSIS_RATE // rate
    spectrum = np.fft.rfft(samples, axis=0)[:count // 2 + 1]
    return np.fft.irfft(spectrum, count, axis=0) * count / len(samples), ANALYSIS_RATE


class DrySound:
    """When the source itself sounds, without noise and room."""

    def __init__(self, samples, rate):
        self.energy = np.concatenate([[0], np.cumsum(samples[:, 0] ** 2)])
        self.rate = rate
        count = int(len(samples) / rate / QUARTER)
        loudest = max(self.power(n * QUARTER, (n + 1) * QUARTER) for n in range(count))
        self.least = loudest * 10 ** (-PAUSE_DB / 10)

    def power(self, start, end):
        first, last = (min(round(t * self.rate), len(self.energy) - 1) for t in (start, end))
        return (self.energy[last] - self.energy[first]) / max(1, last - first)

    def sounds(self, line):
        return self.power(line.start, line.end) > self.least


def dry_sound(tool, scene):
    """The same source from the front, without room and noise."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "dry.wav")
        tool.simulate(replace(scene, angle=0, snr=90, rt60=0), path)
        return DrySound(*read_pair(path))


def reference_lines(phase, rate, spacing, lines, seconds, estimator):
    """An estimator on the frames of the last `seconds` before the end of each line."""
    second = rate / reference.hop_of(rate)

    def angle(line):
        last = min(round(line.end * second), len(phase) - 1)
        first = max(0, last - round(seconds * second))
        return estimator(phase[last] - phase[first], rate, spacing)

    return [Line(line.start, line.end, angle(line)) for line in lines]


def find(tool, path, spacing):
    """The lines of every method on one file."""
    samples, rate = at_analysis_rate(*read_pair(path))
    phase = reference.phase_spectra(samples, rate)
    blocks = tool.blocks(path, spacing)
    smoothed = tool.track(path, spacing)
    found = {"smoothed": smoothed, "blocks": blocks}
    for kind, lines, seconds in (("block", blocks, blocks[0].end - blocks[0].start),
                                 ("second", smoothed, SMOOTH_SECONDS)):
        for name, estimator in (("GCC-PHAT", reference.gcc_phat), ("SRP-PHAT", reference.srp_phat)):
            found[f"{name} {kind}"] = reference_lines(phase, rate, spacing, lines, seconds,
                                                      estimator)
    return found


def outcome(scene, method, lines, dry):
    pieces = [line for line in lines if dry.sounds(line)]
    return Outcome(scene, method, len(pieces),
                   [line.angle - scene.angle for line in pieces if line.angle is not None])


def measure(tool, scene, finder=find):
    """The outcome of every method that the finder, a function like find(), has."""
    dry = dry_sound(tool, scene)
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "scene.wav")
        tool.simulate(scene, path)
        found = finder(tool, path, scene.spacing)
    return [outcome(scene, method, lines, dry) for method, lines in found.items()]
