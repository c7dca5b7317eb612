# SPDX-License-Identifier: MIT
"""Stands in for the module sounddevice: a sound card that hears noise from 29 degrees, has one
overflow, and whose user presses Ctrl-C after 20480 samples."""

import numpy as np


class PortAudioError(Exception):
    pass


class InputStream:
    def __init__(self, samplerate, channels, dtype, device):
        if device == "absent":
            raise PortAudioError("No input device matching 'absent'")
        assert (samplerate, channels, dtype, device) == (16000, 2, "int16", 3)
        noise = np.random.default_rng(1).integers(-8000, 8000, 20482).astype(np.int16)
        self._sound = np.stack([noise[2:], noise[:-2]], axis=1)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        pass

    def read(self, frames):
        if not len(self._sound):
            raise KeyboardInterrupt
        chunk, self._sound = self._sound[:frames], self._sound[frames:]
        return chunk, len(self._sound) == 20480 - 7 * frames
