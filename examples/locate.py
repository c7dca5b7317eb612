#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints the direction of the sound in a WAV file of two microphones.

   locate.py recording.wav 5.8

The shared library is found by the loader, or named by --library or the environment variable
EZOSSL_LIBRARY. Needs nothing but Python's standard library.
"""

import argparse
import ctypes
import os
import sys
import wave

FRAME_LENGTH = 128  # samples per microphone
MICROPHONES = 2
BLOCK_FRAMES = 32
OK = 0
# Frames; a program that writes to a pipe does not know the length, and states this or more.
UNKNOWN = 0x7FFFF000 // 4


class SslInit(ctypes.Structure):
    _fields_ = [("point_number", ctypes.c_int32), ("sample_rate", ctypes.c_int32),
                ("mic_distance", ctypes.c_float), ("bf_mode", ctypes.c_int32),
                ("mic_num", ctypes.c_int32)]


class SslConfig(ctypes.Structure):
    _fields_ = [("temperature", ctypes.c_int32), ("noise_gate_db", ctypes.c_int32),
                ("direction_frame_num", ctypes.c_int32)]


def load(path):
    """The library, with the types that ctypes cannot guess."""
    library = ctypes.CDLL(path)
    library.EzoSsl_GetBufferSize.restype = ctypes.c_uint32
    library.EzoSsl_Init.restype = ctypes.c_void_p
    return library


class Locator:
    """An instance of the library; use it in a with statement."""

    def __init__(self, library, rate, spacing_cm):
        self.lib = library
        # Of 32-bit integers, for alignment; kept, because the instance lives in it.
        self.buffer = (ctypes.c_int32 * (library.EzoSsl_GetBufferSize() // 4 + 1))()
        init = SslInit(FRAME_LENGTH, rate, spacing_cm, 0, MICROPHONES)
        config = SslConfig(20, -60, BLOCK_FRAMES)
        self.ssl = ctypes.c_void_p(library.EzoSsl_Init(self.buffer, ctypes.byref(init)))
        if (not self.ssl or library.EzoSsl_Config(self.ssl, ctypes.byref(config)) != OK
                or library.EzoSsl_Set_Shape(self.ssl, 0) != OK
                or library.EzoSsl_Cal_Params(self.ssl) != OK):
            raise ValueError(f"the library refused {rate} Hz, {spacing_cm} cm")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.lib.EzoSsl_Free(self.ssl)

    def angle(self, frames):
        """The angle of a block of frames in degrees, or None."""
        delay, angle = ctypes.c_int32(), ctypes.c_int32()
        for frame in frames:
            if self.lib.EzoSsl_Run(self.ssl, frame, ctypes.byref(delay)) != OK:
                raise ValueError("the library refused a frame")
        code = self.lib.EzoSsl_Get_Direction(self.ssl, ctypes.byref(angle))
        self.lib.EzoSsl_Reset_Mapping(self.ssl)
        return angle.value if code == OK else None


def locate(library, path, spacing_cm, output):
    with wave.open(path) as audio:
        rate, size = audio.getframerate(), FRAME_LENGTH * MICROPHONES * audio.getsampwidth()
        if audio.getnchannels() != MICROPHONES or audio.getsampwidth() != 2:
            raise ValueError(f"{audio.getnchannels()} channels of {8 * audio.getsampwidth()} bits;"
                             " needs 2 of 16 bits")
        with Locator(library, rate, spacing_cm) as locator:
            end = 0.0
            while len(block := audio.readframes(FRAME_LENGTH * BLOCK_FRAMES)) == BLOCK_FRAMES * size:
                angle = locator.angle(block[i:i + size] for i in range(0, len(block), size))
                end += FRAME_LENGTH * BLOCK_FRAMES / rate
                found = "no direction" if angle is None else f"angle {angle} degrees"
                print(f"{end:8.3f} s  {found}", file=output)
        if audio.tell() < audio.getnframes() < UNKNOWN:
            raise ValueError("ends before the length that its header states")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("wav", help="16-bit WAV file, microphone 0 first")
    parser.add_argument("spacing", type=float, help="distance of the microphones in cm")
    parser.add_argument("--library", dest="lib", help="the shared library",
                        default=os.environ.get("EZOSSL_LIBRARY", "libezossl.so.1"))
    options = parser.parse_args()
    if sys.stdout is None:
        sys.exit("locate.py: there is no standard output")
    # The library's messages go to descriptor 1, which becomes standard error.
    descriptor = os.dup(1)
    os.dup2(2, 1)
    try:
        library = load(options.lib)
    except OSError as error:
        sys.exit(f"locate.py: {error}; name the library with --library or EZOSSL_LIBRARY")
    try:
        with os.fdopen(descriptor, "w") as output:
            locate(library, options.wav, options.spacing, output)
    except (OSError, EOFError, ValueError, wave.Error) as error:
        sys.exit(f"locate.py: {options.wav}: {error}")


if __name__ == "__main__":
    main()
