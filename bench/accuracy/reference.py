# SPDX-License-Identifier: MIT
"""Two textbook estimators of the direction, for the frames that the library analyses.

GCC-PHAT: C. H. Knapp and G. C. Carter, "The generalized correlation method for estimation of time
delay", IEEE Trans. ASSP 24, 1976; the lag between whole samples by a parabola. SRP-PHAT: J. H.
DiBiase, "A high-accuracy, low-latency technique for talker localization in reverberant
environments", Brown University, 2000: the power steered to every degree. For one pair both read the
same curve, one between its samples, the other at the lags of whole degrees.

Neither rejects anything: every block gets an angle.
"""

import numpy as np

FRAME_SECONDS = 0.016  # two halves, of which only the newer one is new
SPEED_OF_SOUND = 343.0  # m/s, at 20 degrees


def hop_of(rate):
    """Samples from one frame to the next: 128 at 16 kHz and below, as in the library."""
    return max(128, round(FRAME_SECONDS / 2 * rate))


def phase_spectra(samples, rate):
    """Cross spectra of all frames without their magnitude, summed from the first frame on.

    Row n is the sum over the first n frames, so that any block is the difference of two rows.
    """
    hop = hop_of(rate)
    length = 2 * hop
    padded = np.concatenate([np.zeros((hop, 2)), samples])  # the first frame has no older half
    count = len(samples) // hop
    starts = hop * np.arange(count)[:, None] + np.arange(length)
    window = np.sin(np.pi * (np.arange(length) + 0.5) / length)
    spectra = np.fft.rfft(padded[starts] * window[:, None], axis=1)
    cross = spectra[:, :, 0] * np.conj(spectra[:, :, 1])
    phase = cross / (np.abs(cross) + 1e-12)
    return np.concatenate([np.zeros((1, hop + 1)), np.cumsum(phase, axis=0)])


def longest_lag(rate, spacing_cm):
    return spacing_cm / 100 / SPEED_OF_SOUND * rate


def gcc_phat(phase, rate, spacing_cm):
    """Degrees, from the summed phase spectrum of a block."""
    longest = longest_lag(rate, spacing_cm)
    correlation = np.fft.irfft(phase)
    lags = np.arange(-int(np.ceil(longest)), int(np.ceil(longest)) + 1)
    lag = lags[np.argmax(correlation[lags])]
    before, peak, after = correlation[[lag - 1, lag, (lag + 1) % len(correlation)]]
    bend = before - 2 * peak + after
    vertex = 0.5 * (before - after) / bend if bend < 0 else 0.0
    return -np.degrees(np.arcsin(np.clip((lag + vertex) / longest, -1, 1)))


def srp_phat(phase, rate, spacing_cm):
    """Degrees, from the summed phase spectrum of a block."""
    angles = np.arange(-90, 91)
    lags = -longest_lag(rate, spacing_cm) * np.sin(np.radians(angles))
    bins = np.arange(len(phase))
    steering = np.exp(1j * np.pi / (len(phase) - 1) * np.outer(lags, bins))
    return float(angles[np.argmax((steering @ phase).real)])
