# SPDX-License-Identifier: MIT
"""Directions by a vote of the frames of the last second: steadier than the library's blocks.

Each line covers 0.256 s and takes the angles of all frames of the last `smooth` seconds. It finds
the narrow range of directions, 0.2 wide in the sine of the angle, that most of them fall into. If
at least 16 % of the frames do, the line's angle is their median. The command-line tool has the same
rule.
"""

from __future__ import annotations

import math
from typing import Any, Optional, Tuple

import numpy as np

from . import _library

_LINE_SECONDS = 0.256
_UNIT_SECONDS = 0.064  # of sound that is quiet, or is not
_RANGE = 0.2 + 1e-9  # of sines
_QUORUM = 0.16
_NEAR_MISS = 0.75  # of the quorum
_SILENCE = 1e-8  # mean power at or below which the library takes no frame
_LAG_MARGIN = 0.75  # samples by which a delay may exceed the spacing
_ANGLES = np.arange(-90, 91)
_SINES = np.sin(np.radians(_ANGLES))
_RANGE_END = np.searchsorted(_SINES, _SINES + _RANGE, side="right")
_NO_VOTE = 127


def line_frames(rate: int) -> int:
    """Frames of a line."""
    return round(_LINE_SECONDS * rate / _library.FRAME_LENGTH)


def densest(angles: np.ndarray[Any, Any]) -> Tuple[int, int]:
    """How many of the whole angles fall into the range that most fall into, and their median."""
    counts = np.bincount(angles + 90, minlength=len(_ANGLES))
    before = np.concatenate([[0], np.cumsum(counts)])
    inside = np.where(counts > 0, before[_RANGE_END] - before[:-1], 0)
    most = int(inside.max())
    ranges = np.flatnonzero(inside == most)
    middle = before[ranges[len(ranges) // 2]] + (most - 1) // 2
    return most, int(np.searchsorted(before[1:], middle, side="right")) - 90


class Smoother:
    """The votes of the frames in the window.

    `smooth` is its length in seconds; `longest_lag` the longest delay that the spacing allows, in
    samples; `gate` the level in dB of full scale at or below which a unit of sound does not vote.
    """

    def __init__(self, rate: int, smooth: float, longest_lag: float, gate: float) -> None:
        self.line = line_frames(rate)
        self._unit = round(_UNIT_SECONDS * rate / _library.FRAME_LENGTH)
        self._frames = max(self.line, round(smooth * rate / _library.FRAME_LENGTH))
        self._quorum = math.ceil(_QUORUM * self._frames)
        self._longest = longest_lag + _LAG_MARGIN
        self._gate_power = 10 ** (gate / 10)
        self._votes = np.zeros(0, np.int64)
        self._is_beyond = np.zeros(0, bool)

    def _push(self, window: np.ndarray[Any, Any], line: np.ndarray[Any, Any]) -> Any:
        return np.concatenate([window, line])[-self._frames :]

    def add(
        self,
        delays: np.ndarray[Any, Any],
        angles: np.ndarray[Any, Any],
        powers: np.ndarray[Any, Any],
    ) -> Tuple[Optional[int], str, int, int, int]:
        """Takes the frames of a line: the delay, the angle and the mean power of each.

        Returns the angle, the reason, and the frames of the window, with a clear delay, agreeing.
        """
        is_loud = powers.reshape(-1, self._unit).mean(1) > self._gate_power
        is_heard = is_loud.repeat(self._unit) & (powers > _SILENCE)
        is_clear = is_heard & (delays != _library.REJECTED_FRAME)
        is_beyond = is_clear & ((np.abs(delays) > self._longest) | (np.abs(angles) > 90))
        self._votes = self._push(self._votes, np.where(is_clear & ~is_beyond, angles, _NO_VOTE))
        self._is_beyond = self._push(self._is_beyond, is_beyond)

        votes = self._votes[self._votes != _NO_VOTE]
        agreeing, middle = densest(votes) if len(votes) else (0, 0)
        beyond = int(np.count_nonzero(self._is_beyond))
        reason = ""
        if not is_loud.any():
            reason = "quiet"
        elif beyond >= self._quorum and beyond > agreeing:
            reason = "beyond"
        elif len(votes) + beyond < self._quorum:
            reason = "few_clear"
        elif agreeing < self._quorum:
            reason = "near_miss" if agreeing >= _NEAR_MISS * self._quorum else "disagree"
        angle = None if reason else middle
        return angle, reason, len(self._votes), len(votes) + beyond, agreeing
