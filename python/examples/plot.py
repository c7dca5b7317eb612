#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the direction of the sound in a WAV file of two microphones over time.

plot.py recording.wav 0.058 angles.png     (the distance of the microphones in metres)

Needs python3-matplotlib.
"""

import sys
import wave

import matplotlib

matplotlib.use("Agg")  # into a file, without a display
import matplotlib.pyplot as plt
import numpy as np

import ezossl


def read_wav(path):
    """Samples of the shape (n, channels), and their rate."""
    with wave.open(path) as file:
        if file.getsampwidth() != 2:
            sys.exit(f"{path}: {8 * file.getsampwidth()} bits; convert it to 16 bits")
        samples = np.frombuffer(file.readframes(file.getnframes()), np.int16)
        return samples.reshape(-1, file.getnchannels()), file.getframerate()


def draw(table, path):
    figure, (angles, levels) = plt.subplots(
        2, sharex=True, gridspec_kw={"height_ratios": [3, 1]}
    )
    share = table["frames_agreeing"] / table["frames"]
    points = angles.scatter(table["start"], table["angle"], c=share, vmin=0, vmax=1)
    figure.colorbar(points, ax=angles, label="frames that agree")
    angles.set(ylim=(-90, 90), yticks=range(-90, 91, 30), ylabel="angle [degrees]")
    levels.plot(table["start"], table["level"])
    levels.set(ylabel="level [dBFS]", xlabel="time [s]")
    figure.savefig(path)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    try:
        blocks = ezossl.track(*read_wav(sys.argv[1]), spacing=float(sys.argv[2]))
    except (OSError, ValueError, wave.Error, ezossl.EzosslError) as error:
        sys.exit(f"{sys.argv[1]}: {error}")
    draw(ezossl.to_array(blocks), sys.argv[3])
    found = sum(block.angle is not None for block in blocks)
    print(f"{found} of {len(blocks)} blocks have an angle")


if __name__ == "__main__":
    main()
