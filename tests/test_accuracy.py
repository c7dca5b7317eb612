#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""test_accuracy.py TOOL - the program that measures the accuracy: its references find known angles,
its figures are right for known errors, and a few scenes fill the whole document."""

import re
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import numpy as np

sys.dont_write_bytecode = True  # into the sources
sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "bench" / "accuracy"))
import accuracy  # noqa: E402
import reference  # noqa: E402
import scenes  # noqa: E402

TOOL = sys.argv.pop()


def far_source(angle, spacing_cm, rate):
    """A second of noise from a far source, by the definition of the angle."""
    spectrum = np.fft.rfft(np.random.default_rng(1).standard_normal(rate))
    late = spacing_cm / 100 / 343 * np.sin(np.radians(angle))  # s, of channel 1 behind channel 0
    turn = np.exp(-2j * np.pi * np.arange(len(spectrum)) * late)
    return np.stack([np.fft.irfft(spectrum), np.fft.irfft(spectrum * turn)], axis=1)


class References(unittest.TestCase):
    def test_angle(self):
        for rate, spacing, angle in ((8000, 15, -40), (16000, 5.8, -40), (16000, 10, 25),
                                     (16000, 15, 70), (48000, 5.8, 60), (48000, 15, -40)):
            sound = far_source(angle, spacing, rate)
            resampled = scenes.at_analysis_rate(sound, rate)
            self.assertEqual(resampled[1], min(rate, 16000))
            self.assertEqual(len(resampled[0]), resampled[1])
            for samples, heard in ((sound, rate), resampled):
                phase = reference.phase_spectra(samples, heard)
                block = phase[40] - phase[8]
                for estimator, tolerance in ((reference.gcc_phat, 5), (reference.srp_phat, 1.5)):
                    found = estimator(block, heard, spacing)
                    self.assertAlmostEqual(found, angle, delta=tolerance, msg=(rate, estimator))

    def test_lines_end_where_the_source_moves(self):
        rate = 16000
        samples = np.concatenate([far_source(angle, 10, rate) for angle in (-50, 20)])
        lines = [scenes.Line(0.5, 0.75, None), scenes.Line(1.5, 1.75, None)]
        phase = reference.phase_spectra(samples, rate)
        found = scenes.reference_lines(phase, rate, 10, lines, 0.25, reference.srp_phat)
        self.assertEqual([round(line.angle, -1) for line in found], [-50, 20])


class Figures(unittest.TestCase):
    SCENE = scenes.Scene("speech", "", 5.8, 30, 30, 0, 1)

    def test_pauses_do_not_count(self):
        sound = np.random.default_rng(2).standard_normal((8000, 2))
        dry = scenes.DrySound(np.concatenate([sound, 0.01 * sound, 0.2 * sound]), 8000)
        lines = [scenes.Line(start, start + 0.25, angle)
                 for start, angle in ((0.1, 28), (1.1, 0), (2.1, None))]
        outcome = scenes.outcome(self.SCENE, "blocks", lines, dry)
        self.assertEqual((outcome.pieces, outcome.errors), (2, [-2]))

    def test_row(self):
        three, two, none = (scenes.Outcome(self.SCENE, "blocks", pieces, errors)
                            for pieces, errors in ((6, [-10, 2, 4]), (4, [-11, 3]), (6, [])))
        self.assertEqual(accuracy.figures([three, two]),
                         ["10", "50 % (5)", "4°", "11°", "80 % (4)"])
        self.assertEqual(accuracy.right_share([three, two]), 40)
        self.assertEqual(accuracy.figures([none])[1], "0 % (0)")


class Document(unittest.TestCase):
    def test_quick(self):
        with tempfile.TemporaryDirectory() as folder:
            sys.argv[1:] = [TOOL, "--quick", "-o", folder]
            accuracy.main()
            text = Path(folder, "accuracy.md").read_text(encoding="utf-8")
            drawings = re.findall(r"\]\((\S+\.svg)\)", text)
            self.assertEqual(len(drawings), 3)
            for drawing in drawings:
                paths = ElementTree.parse(Path(folder, drawing)).iter()
                lines = [path for path in paths if path.get("class", "").startswith("line")]
                self.assertGreater(len(lines), 1, drawing)
        tables = re.findall(r"(?:^\|.*\n)+", text, re.MULTILINE)
        self.assertEqual([table.count("\n") > 2 for table in tables], [True] * 10)
        rows = {row.split(" | ")[0].strip("| "): row for row in tables[0].splitlines()}
        for name, least in (("`ezossl`, smoothed (default)", 90),
                            ("`ezossl`, blocks of 32 frames", 60), ("SRP-PHAT, same blocks", 90)):
            within = int(re.findall(r"(\d+) %", rows[name])[-1])
            self.assertGreaterEqual(within, least, rows[name])
        noise = [row.split(" | ")[-1] for row in tables[6].splitlines()[2:]]
        self.assertGreater(int(noise[0].split()[0]), 4, "blocks of 2 frames find noise")
        for row in (4, 6):  # blocks of 32 frames, the default
            self.assertEqual(noise[row], "0 % (0) |", noise)
        limits = [[int(figure) for figure in re.findall(r"(\d+) %", row)]
                  for row in tables[7].splitlines()[2:]]
        for row in (0, 2):
            self.assertGreater(limits[row][1], limits[row + 1][1] + 20, "without an upper band")
        self.assertEqual([row[0] for row in limits[6:8]], [0, 100], "a fan alone, by gate")


if __name__ == "__main__":
    unittest.main()
