#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints the direction of the sound that a sound card with two microphones hears, until Ctrl-C.

microphone.py 0.058 [DEVICE]     (the distance of the microphones in metres)

Needs the module sounddevice: python3-sounddevice, or `pip install sounddevice`.
"""

import sys

import sounddevice

import ezossl

RATE = 16000  # Hz


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    device = sys.argv[2] if len(sys.argv) == 3 else None
    if device and device.isdigit():
        device = int(device)
    try:
        with ezossl.Localizer(RATE, float(sys.argv[1])) as localizer, sounddevice.InputStream(
            samplerate=RATE, channels=2, dtype="int16", device=device
        ) as stream:
            while True:
                samples, overflowed = stream.read(1024)
                if overflowed:
                    print("sound was lost; starting a new block", file=sys.stderr)
                    localizer.reset()
                for block in localizer.process(samples):
                    found = block.reason if block.angle is None else f"{block.angle:+d} degrees"
                    print(f"{block.end:8.2f} s  {block.level:6.1f} dBFS  {found}", flush=True)
    except KeyboardInterrupt:
        pass
    except (sounddevice.PortAudioError, ValueError, ezossl.EzosslError) as error:
        sys.exit(f"microphone.py: {error}")


if __name__ == "__main__":
    main()
