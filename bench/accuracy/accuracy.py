#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Measures how well ezossl localises, and writes docs/accuracy.md with its tables and drawings.

Every figure comes from scenes of `ezossl simulate`, whose directions are known, and from the
recordings of a folder, if one is given. Two textbook estimators get the same frames as the tool.
The text around the tables is in accuracy.md.in.
"""

import argparse
import csv
import os
import sys
import tempfile
import wave
from concurrent.futures import ThreadPoolExecutor
from itertools import permutations, product
from pathlib import Path

try:
    import numpy as np
except ImportError:
    sys.exit("accuracy.py: numpy is missing: apt-get install python3-numpy")

import chart
import reference
import scenes
from scenes import Line, Outcome, Scene, Tool

HERE = Path(__file__).resolve().parent
NEAR = 10  # degrees
CLEAR_SNR = 20  # dB, at least, for clear speech
CLEAR_RT60 = 0.4  # s, at most, for clear speech
WIDEST_CLEAR = 75  # degrees
METHOD_NAMES = {
    "smoothed": "`ezossl`, smoothed (default)",
    "blocks": "`ezossl`, blocks of 32 frames",
    "GCC-PHAT second": "GCC-PHAT, last second",
    "SRP-PHAT second": "SRP-PHAT, last second",
    "GCC-PHAT block": "GCC-PHAT, same blocks",
    "SRP-PHAT block": "SRP-PHAT, same blocks",
}
BEST = "smoothed"  # shown in tables of one method

ALSA = "/usr/share/sounds/alsa"
POCKETSPHINX = "/usr/share/pocketsphinx/test/data"
# Real voices from Debian packages; the files of a row are one voice.
VOICES = {
    "words": [f"{ALSA}/{place}.wav" for place in
              ("Front_Center", "Rear_Left", "Side_Right", "Front_Left", "Rear_Center")],
    "reading": [f"{POCKETSPHINX}/librivox/sense_and_sensibility_01_austen_64kb-0870.wav"],
    "commands": [f"{POCKETSPHINX}/cards/{number}.wav" for number in ("005", "002", "003")],
}


class Grid:
    """What is combined with what."""

    def __init__(self, quick):
        self.spacings = [5.8] if quick else [4, 5.8, 10, 15]
        self.angles = [-30, 0, 60] if quick else list(range(-90, 91, 15))
        self.snrs = [30] if quick else [0, 10, 20, 30]
        self.rt60s = [0, 0.4] if quick else [0, 0.2, 0.4, 0.6]
        self.side_angles = [60] if quick else [-60, -30, 0, 30, 60]


def join_voice(paths, target):
    """The files one after another, repeated to the length of a scene."""
    pieces = []
    for path in paths:
        with wave.open(path) as file:
            rate = file.getframerate()
            pieces.append(np.frombuffer(file.readframes(file.getnframes()), "<i2"))
    joined = np.concatenate(pieces)
    with wave.open(str(target), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(np.resize(joined, scenes.SECONDS * rate).astype("<i2").tobytes())
    return str(target)


def prepare_sources(folder, quick, music):
    """Files of every signal; the empty name is the tool's own noise."""
    sources = {"noise": [""]}
    if not quick:
        sources["speech"] = [join_voice(paths, folder / f"{name}.wav")
                             for name, paths in VOICES.items()]
    if music:
        sources["music"] = [music]
    return sources


def main_scenes(grid, sources):
    result = []
    for signal, files in sources.items():
        for spacing, angle, snr, rt60 in product(grid.spacings, grid.angles, grid.snrs, grid.rt60s):
            number = len(result)
            result.append(Scene(signal, files[number % len(files)], spacing, angle, snr, rt60,
                                number + 1))
    return result


def run_all(function, items):
    """In order; the work is done by processes of the tool."""
    done = 0
    results = []
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for result in pool.map(function, items):
            results.extend(result)
            done += 1
            if sys.stderr.isatty():
                print(f"\r{done} of {len(items)}", end="", file=sys.stderr)
    if sys.stderr.isatty():
        print(file=sys.stderr)
    return results


# ---- Tables ----------------------------------------------------------------------------------

FIGURES = ["segments", "with an angle", "median error", "90 % below", f"within {NEAR}°"]


def share(part, whole):
    return f"{100 * part / whole:.0f} % ({part})" if whole else "-"


def near_count(outcomes):
    return sum(abs(error) <= NEAR for o in outcomes for error in o.errors)


def answered_share(lines):
    return share(sum(line.angle is not None for line in lines), len(lines))


def figures(outcomes):
    pieces = sum(o.pieces for o in outcomes)
    errors = np.abs([error for o in outcomes for error in o.errors])
    if len(errors) == 0:
        return [str(pieces), share(0, pieces), "-", "-", "-"]
    return [str(pieces), share(len(errors), pieces), f"{np.median(errors):.0f}°",
            f"{np.percentile(errors, 90):.0f}°", share(near_count(outcomes), len(errors))]


def table(head, rows):
    aligned = ["---"] + ["---:"] * (len(head) - 1)
    return "\n".join("| " + " | ".join(row) + " |" for row in [head, aligned, *rows])


def figure_table(head, groups):
    """A row per group, a pair of labels and outcomes; groups without outcomes are omitted."""
    return table([*head, *FIGURES],
                 [[*labels, *figures(outcomes)] for labels, outcomes in groups if outcomes])


def is_clear(scene):
    return (scene.snr >= CLEAR_SNR and scene.rt60 <= CLEAR_RT60
            and abs(scene.angle) <= WIDEST_CLEAR)


def room(rt60):
    return f"T60 {rt60:g} s" if rt60 else "free field"


def right_share(outcomes):
    """Percent of the pieces with sound that got a right angle; None without any."""
    pieces = sum(o.pieces for o in outcomes)
    return 100 * near_count(outcomes) / pieces if pieces else None


def median_angle(outcomes):
    found = [o.scene.angle + error for o in outcomes for error in o.errors]
    return float(np.median(found)) if found else None


class Report:
    """The tables and drawings; the tables are named as their places in accuracy.md.in."""

    def __init__(self, outcomes, grid):
        self.outcomes = outcomes
        self.grid = grid
        self.signal = "speech" if any(o.scene.signal == "speech" for o in outcomes) else "noise"

    def of(self, method, **wanted):
        return [o for o in self.outcomes if o.method == method
                and all(getattr(o.scene, name) == value for name, value in wanted.items())]

    def clear(self, method, **wanted):
        return [o for o in self.of(method, **wanted) if is_clear(o.scene)]

    def methods(self):
        return figure_table(["estimator"], [
            ([name], self.clear(method, signal=self.signal))
            for method, name in METHOD_NAMES.items()])

    def rooms(self):
        signals = dict.fromkeys(o.scene.signal for o in self.outcomes)
        return figure_table(["signal", "room"], [
            ([signal, room(rt60)],
             [o for o in self.of(BEST, signal=signal, rt60=rt60)
              if o.scene.snr >= CLEAR_SNR and abs(o.scene.angle) <= WIDEST_CLEAR])
            for signal, rt60 in product(signals, self.grid.rt60s)])

    def snrs(self):
        return figure_table(["SNR", "estimator"], [
            ([f"{snr} dB", METHOD_NAMES[method]],
             [o for o in self.of(method, signal=self.signal, snr=snr)
              if o.scene.rt60 <= CLEAR_RT60 and abs(o.scene.angle) <= WIDEST_CLEAR])
            for snr, method in product(self.grid.snrs, METHOD_NAMES)
            if not method.startswith("SRP")])

    def spacings(self):
        return figure_table(["spacing"], [
            ([f"{spacing:g} cm"], self.clear(BEST, signal=self.signal, spacing=spacing))
            for spacing in self.grid.spacings])

    def angles(self):
        return figure_table(["true angle"], [
            ([f"±{angle}°" if angle else "0°"],
             [o for o in self.of(BEST, signal=self.signal)
              if abs(o.scene.angle) == angle and o.scene.snr >= CLEAR_SNR
              and o.scene.rt60 <= CLEAR_RT60])
            for angle in sorted({abs(angle) for angle in self.grid.angles})])

    def right_by_snr(self):
        return chart.draw(
            "Right angles over the noise", "Share of the segments with sound whose angle is within "
            f"{NEAR} degrees, over the signal-to-noise ratio, for free field and rooms.",
            ("signal-to-noise ratio [dB]", [0, 10, 20, 30]),
            (f"within {NEAR}° [% of segments]", [0, 25, 50, 75, 100]),
            [(room(rt60), [(snr, right_share(self.of(BEST, signal=self.signal, snr=snr,
                                                     rt60=rt60)))
                           for snr in self.grid.snrs], False) for rt60 in self.grid.rt60s])

    def found_by_truth(self):
        spacing = 5.8
        return chart.draw(
            f"Angle found over true angle, {spacing:g} cm", "Median of the angles found over the "
            "true angle, for free field and rooms: in rooms angles at the side come out smaller.",
            ("true angle [°]", list(range(-90, 91, 30))),
            ("median found [°]", list(range(-90, 91, 30))),
            [(room(rt60), [(angle, median_angle([
                o for o in self.of(BEST, signal=self.signal, rt60=rt60, spacing=spacing,
                                   angle=angle) if o.scene.snr >= CLEAR_SNR]))
                for angle in self.grid.angles], False) for rt60 in self.grid.rt60s])

    def right_by_angle(self):
        sides = sorted({abs(angle) for angle in self.grid.angles})
        return chart.draw(
            "Right angles over the direction", "Share of the segments with sound whose angle is "
            f"within {NEAR} degrees, over the size of the true angle, for every spacing.",
            ("true angle, either side [°]", list(range(0, 91, 15))),
            (f"within {NEAR}° [% of segments]", [0, 25, 50, 75, 100]),
            [(f"{spacing:g} cm", [(side, right_share([
                o for o in self.of(BEST, signal=self.signal, spacing=spacing)
                if abs(o.scene.angle) == side and o.scene.snr >= CLEAR_SNR
                and o.scene.rt60 <= CLEAR_RT60])) for side in sides], False)
             for spacing in self.grid.spacings])


# ---- Further measurements ----------------------------------------------------------------------


def side_scenes(grid, sources, rate=16000):
    """A few scenes at one spacing, from the source with the widest band."""
    signal = "speech" if "speech" in sources else "noise"
    return [Scene(signal, sources[signal][0], 5.8, angle, 30, rt60, 10000 + number, rate)
            for number, (angle, rt60) in enumerate(product(grid.side_angles, (0, 0.4)))]


def rates_table(tool, grid, sources):
    def finder(rate):
        return lambda tool, path, spacing: {
            "smoothed": tool.track(path, spacing, "-r", rate),
            "blocks": tool.blocks(path, spacing, "-r", rate, "--block-ms", 256)}

    rows = []
    for rate in (8000, 16000, 32000, 48000):
        outcomes = run_all(lambda scene, rate=rate: scenes.measure(tool, scene, finder(rate)),
                           side_scenes(grid, sources, rate))
        rows += [([f"{rate} Hz", room(rt60), "smoothed" if method == "smoothed" else "raw"],
                  [o for o in outcomes if (o.method, o.scene.rt60) == (method, rt60)])
                 for rt60, method in product((0, 0.4), ("smoothed", "blocks"))]
    return figure_table(["rate", "room", "blocks"], rows)


def blocks_table(tool, grid, sources, folder):
    """Includes what each kind of block finds in independent noise."""
    noise = str(folder / "unrelated.wav")
    samples = 0.1 * np.random.default_rng(1).standard_normal((60 * 16000, 2))
    scenes.write_pair(noise, samples, 16000)
    kinds = [(str(frames), ["--raw-blocks", "-b", frames]) for frames in (2, 4, 8, 16, 32, 64)]
    rows = []
    for name, options in [*kinds, ("smoothed (default)", [])]:
        outcomes = run_all(
            lambda scene, options=options: scenes.measure(
                tool, scene, lambda tool, path, spacing: {
                    "lines": tool.track(path, spacing, *options)}),
            side_scenes(grid, sources))
        rows.append([name, *figures(outcomes), answered_share(tool.track(noise, 5.8, *options))])
    return table(["frames", *FIGURES, "unrelated noise with an angle"], rows)


def talkers_table(tool, sources, folder):
    """Which of two simultaneous talkers is found, for each pair of voices in both orders."""
    signal = "speech" if "speech" in sources else "noise"
    voices = sources[signal]
    path = str(folder / "talkers.wav")

    def sound(source, angle, seed):
        tool.simulate(Scene(signal, source, 5.8, angle, 40, 0, seed), path)
        pair, _ = scenes.read_pair(path)
        return pair / np.sqrt(np.mean(pair ** 2))

    rows = []
    for level in (0, 10):
        lines = []
        for first, second in permutations(voices, 2) if len(voices) > 1 else [2 * voices]:
            both = sound(first, -45, 1) + sound(second, 45, 2) * 10 ** (-level / 20)
            scenes.write_pair(path, 0.1 * both, 16000)
            lines += tool.track(path, 5.8)
        answered = [line.angle for line in lines if line.angle is not None]
        rows.append([f"{level} dB", str(len(lines)), answered_share(lines),
                     *(share(sum(abs(found - angle) <= NEAR for found in answered), len(answered))
                       for angle in (-45, 45))])
    return table(["second talker below the first", "segments", "with an angle",
                  f"within {NEAR}° of the first", "of the second"], rows)


def limit_row(sound, options, lines, expected):
    """A row of the table of limits; `expected` has an angle for each line."""
    errors = [line.angle - angle for line, angle in zip(lines, expected) if line.angle is not None]
    return [sound, f"`{' '.join(options)}`" if options else "default", str(len(lines)),
            answered_share(lines), share(sum(abs(e) <= NEAR for e in errors), len(errors))]


def raise_by_filter(samples):
    return np.fft.irfft(np.fft.rfft(samples, axis=0), 2 * len(samples), axis=0) * 2


def raise_by_lines(samples):
    between = (samples[:-1] + samples[1:]) / 2
    return np.stack([samples[:-1], between], axis=1).reshape(-1, 2)


def raised_rows(tool, sources, folder):
    """Sound of 8 kHz in a file of 16 kHz."""
    signal = "speech" if "speech" in sources else "noise"
    path = str(folder / "raised.wav")
    ways = [("by a filter", raise_by_filter), ("linearly", raise_by_lines)]
    for (way, raise_rate), options in product(ways, ([], ["-r", "16000"])):
        lines, expected = [], []
        for angle in (-60, -30, 30, 60):
            scene = Scene(signal, sources[signal][0], 5.8, angle, 30, 0, 1, 8000)
            tool.simulate(scene, path)
            samples, rate = scenes.read_pair(path)
            scenes.write_pair(path, raise_rate(samples), 2 * rate)
            dry = scenes.dry_sound(tool, scene)
            lines += [line for line in tool.track(path, 5.8, *options) if dry.sounds(line)]
            expected += [angle] * (len(lines) - len(expected))
        yield limit_row(f"{signal} of 8 kHz, upsampled {way}", options, lines, expected)


def fan_rows(tool, sources, folder):
    """A talker, a pause twice as long, and the talker again, while a fan runs elsewhere."""
    signal = "speech" if "speech" in sources else "noise"
    path = str(folder / "fan.wav")

    def sound(name, source, angle, seed):
        tool.simulate(Scene(name, source, 5.8, angle, 40, 0, seed), path)
        return scenes.read_pair(path)[0]

    fan = np.concatenate([sound("noise", "", 30, seed) for seed in range(4)])
    for level in (10, 20, 30):
        found = {}
        for source in sources[signal]:
            voice = sound(signal, source, -45, 1)
            talker = np.concatenate([voice, 0 * voice, 0 * voice, voice])
            dry = scenes.DrySound(talker, 16000)
            gain = np.sqrt(np.mean(voice ** 2) / np.mean(fan ** 2)) * 10 ** (-level / 20)
            scenes.write_pair(path, talker + gain * fan, 16000)
            for options in ((), ("-g", "-80")):
                for line in tool.track(path, 5.8, *options):
                    # The first lines after the talker still have frames of the talker.
                    alone = scenes.SECONDS + scenes.SMOOTH_SECONDS < line.start and (
                        line.end < 3 * scenes.SECONDS)
                    if alone or dry.sounds(line):
                        found.setdefault((alone, options), []).append(line)
        for (alone, options), lines in sorted(found.items()):
            yield limit_row(f"fan {level} dB below the talker: " + (
                "fan alone" if alone else "talker"), options, lines, [-45] * len(lines))


def limits_table(tool, sources, folder):
    return table(["sound", "options", "segments", "with an angle", f"within {NEAR}°"],
                 [*raised_rows(tool, sources, folder), *fan_rows(tool, sources, folder)])


def diffuse_table(tool, grid, folder):
    """Noise from 40 directions, evenly spaced in path difference: none is the true one."""
    rate, seconds = 16000, 30
    rng = np.random.default_rng(1)
    frequencies = np.fft.rfftfreq(seconds * rate, 1 / rate)
    rows = []
    for spacing in grid.spacings:
        pair = np.zeros((2, len(frequencies)), complex)
        for sine in (np.arange(40) - 19.5) / 20:
            late = spacing / 100 / reference.SPEED_OF_SOUND * sine
            turn = np.exp(-2j * np.pi * frequencies * late)
            pair += np.fft.rfft(rng.standard_normal(seconds * rate)) * np.stack([turn ** 0, turn])
        path = str(folder / "diffuse.wav")
        samples = np.fft.irfft(pair, axis=1).T
        scenes.write_pair(path, 0.1 * samples / np.std(samples), rate)
        lines = tool.track(path, spacing)
        sizes = [abs(line.angle) for line in lines if line.angle is not None]
        half = [f"{np.percentile(sizes, part):.0f}°" for part in (25, 75)] if sizes else ["-"]
        rows.append([f"{spacing:g} cm", str(len(lines)), answered_share(lines),
                     " to ".join(half)])
    return table(["spacing", "segments", "with an angle", "middle half, either side"], rows)


def recording_outcome(row, method, lines):
    """The whole recording counts, including its pauses."""
    truth = float(row["angle_deg"])
    scene = Scene("recording", row["file"], float(row["spacing_cm"]), truth, 0, 0, 0)
    return Outcome(scene, method, len(lines),
                   [line.angle - truth for line in lines if line.angle is not None])


def recordings_table(tool, folder):
    """For the files of recordings.csv, of which file, spacing_cm and angle_deg are read."""
    rows = []
    with open(folder / "recordings.csv", encoding="utf-8") as file:
        for row in csv.DictReader(file):
            found = scenes.find(tool, str(folder / row["file"]), float(row["spacing_cm"]))
            for method, name in METHOD_NAMES.items():
                if method in found and not method.startswith("SRP"):
                    rows.append(([row["file"], f"{float(row['angle_deg']):g}°", name],
                                 [recording_outcome(row, method, found[method])]))
    return figure_table(["recording", "true angle", "estimator"], rows)


# ---- The document ------------------------------------------------------------------------------


def fill(template, values):
    """Replaces each {{name}} of the template by its value; an unknown name is an error."""
    parts = template.split("{{")
    result = parts[0]
    for part in parts[1:]:
        name, rest = part.split("}}", 1)
        result += values[name] + rest
    return result


def write_document(tool, options, folder):
    grid = Grid(options.quick)
    sources = prepare_sources(folder, options.quick, options.music)
    planned = main_scenes(grid, sources)
    outcomes = run_all(lambda scene: scenes.measure(tool, scene), planned)
    report = Report(outcomes, grid)
    recordings = "None was given."
    if options.recordings:
        recordings = recordings_table(tool, options.recordings)
    text = fill((HERE / "accuracy.md.in").read_text(encoding="utf-8"), {
        "version": tool.run("--version").strip(),
        "scenes": str(len(planned)),
        "seconds": str(scenes.SECONDS),
        "pause": str(scenes.PAUSE_DB),
        "near": str(NEAR),
        "methods": report.methods(),
        "rooms": report.rooms(),
        "snrs": report.snrs(),
        "spacings": report.spacings(),
        "angles": report.angles(),
        "rates": rates_table(tool, grid, sources),
        "blocks": blocks_table(tool, grid, sources, folder),
        "talkers": talkers_table(tool, sources, folder),
        "limits": limits_table(tool, sources, folder),
        "diffuse": diffuse_table(tool, grid, folder),
        "recordings": recordings,
    })
    options.output.mkdir(parents=True, exist_ok=True)
    for name, drawing in (("snr", report.right_by_snr()), ("truth", report.found_by_truth()),
                          ("direction", report.right_by_angle())):
        (options.output / f"accuracy-{name}.svg").write_text(drawing, encoding="utf-8")
    (options.output / "accuracy.md").write_text(text, encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("tool", metavar="EZOSSL", help="the command-line tool")
    parser.add_argument("-o", "--output", type=Path, default=HERE.parent.parent / "docs",
                        help="folder for accuracy.md and its drawings (default: docs)")
    parser.add_argument("--recordings", type=Path, metavar="FOLDER",
                        help="two-channel recordings, described by the recordings.csv there")
    parser.add_argument("--music", metavar="FILE", help="sound file, as a third kind of signal")
    parser.add_argument("--quick", action="store_true",
                        help="only a few scenes of noise, to test this program")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        write_document(Tool(options.tool), options, Path(folder))


if __name__ == "__main__":
    main()
