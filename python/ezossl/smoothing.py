# SPDX-License-Identifier: MIT
"""Directions by a vote of the frames of the last second: steadier than the library's blocks.

The frames of the last `smooth` seconds vote for the direction of a block. The range of directions
with the most votes wins; it is 0.2 wide in the sine of the angle. If it has at least 14 % of the
frames, and at least ten, the block's angle is the median of its votes. Frames at or below the gate
do not vote. The command-line tool has the same rules.
"""

from __future__ import annotations

import collections
import math
from typing import Any, Deque, List, Optional, Tuple

import numpy as np

from . import _library

LOWEST_GATE = -80  # dB of full scale, as in the library
_BLOCK_SECONDS = 0.256
_SEGMENT_SECONDS = 0.064  # of sound that the gate judges together
_RANGE = 0.2 + 1e-9  # of sines
_QUORUM_PERCENT = 14  # of the frames in the window
_LEAST_QUORUM = 10  # frames, while the window fills and at low rates
_NEAR_MISS = 0.75  # of the quorum
_LAG_MARGIN = 0.75  # samples by which a delay may exceed the spacing
_ANGLES = np.arange(-90, 91)
_SINES = np.sin(np.radians(_ANGLES))
_RANGE_END = np.searchsorted(_SINES, _SINES + _RANGE, side="right")
_NO_VOTE = 127

_FLOOR_SECONDS = 30.0  # in which the noise floor is the lowest level
_ABOVE_FLOOR = 6.0  # dB
_BELOW_LOUDEST = 10.0  # dB, so that a steady sound alone is heard


def frames_in(seconds: float, rate: int) -> int:
    """The number of frames in this many seconds, at least one."""
    return max(1, math.floor(seconds * rate / _library.FRAME_LENGTH + 0.5))


def block_frames(rate: int) -> int:
    """Frames of a block, unless another length is asked for."""
    return frames_in(_BLOCK_SECONDS, rate)


def decibels(power: float) -> float:
    """Of full scale."""
    return 10 * math.log10(power) if power > 0 else -math.inf


class NoiseGate:
    """The level at or below which a segment of sound is quiet: fixed, or a little above the noise.

    Without a level it follows the noise: 6 dB above the quietest segment of the last 30 seconds,
    but at least 10 dB below the loudest segment so far.
    """

    def __init__(self, level: Optional[float]) -> None:
        self._is_fixed = level is not None
        self.level: float = LOWEST_GATE if level is None else level
        self._now = 0.0
        self._loudest: float = LOWEST_GATE
        # End and level of segments that may yet become the lowest: each is lower than later ones.
        self._candidates: Deque[Tuple[float, float]] = collections.deque()

    def is_quiet(self, level: float, seconds: float) -> bool:
        """Takes the next segment."""
        self._now += seconds
        if not self._is_fixed and level > LOWEST_GATE:
            candidates = self._candidates
            while candidates and candidates[-1][1] >= level:
                candidates.pop()
            candidates.append((self._now, level))
            while candidates[0][0] < self._now - _FLOOR_SECONDS + seconds / 2:
                candidates.popleft()
            self._loudest = max(self._loudest, level)
            above_floor = candidates[0][1] + _ABOVE_FLOOR
            self.level = max(LOWEST_GATE, min(above_floor, self._loudest - _BELOW_LOUDEST))
        return level <= self.level


def densest(angles: np.ndarray[Any, Any]) -> Tuple[int, int]:
    """The number of angles in the range with the most of them, and their median."""
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
    samples; `gate` the level in dB of full scale at or below which sound does not vote, None to
    follow the noise.
    """

    def __init__(
        self, rate: int, smooth: float, longest_lag: float, gate: Optional[float]
    ) -> None:
        self._frame_seconds = _library.FRAME_LENGTH / rate
        self._segment = frames_in(_SEGMENT_SECONDS, rate)
        self._frames = frames_in(smooth, rate)
        self._least_quorum = min(_LEAST_QUORUM, (self._frames + 1) // 2)
        self._longest = longest_lag + _LAG_MARGIN
        self._gate = NoiseGate(gate)
        self._votes = np.zeros(0, np.int64)
        self._is_beyond = np.zeros(0, bool)

    def _push(self, window: np.ndarray[Any, Any], block: np.ndarray[Any, Any]) -> Any:
        return np.concatenate([window, block])[-self._frames :]

    def _is_loud(self, powers: List[float]) -> np.ndarray[Any, Any]:
        """Whether each frame of a block is in a segment above the gate."""
        is_loud: List[bool] = []
        for start in range(0, len(powers), self._segment):
            segment = powers[start : start + self._segment]
            total = 0.0
            for power in segment:  # through the level, as in the tool: equal to the last bit
                total += 10 ** (decibels(power) / 10)
            level = decibels(total / len(segment))
            quiet = self._gate.is_quiet(level, len(segment) * self._frame_seconds)
            is_loud += [not quiet] * len(segment)
        return np.array(is_loud)

    def add(
        self,
        delays: np.ndarray[Any, Any],
        angles: np.ndarray[Any, Any],
        is_silent: np.ndarray[Any, Any],
        powers: np.ndarray[Any, Any],
    ) -> Tuple[Optional[int], str, int, int, int]:
        """Takes a block: delay, angle, whether the library calls it silent, power of each frame.

        Returns the angle, the reason, and the numbers of frames: all, with a clear delay, agreeing.
        """
        is_loud = self._is_loud(powers.tolist())
        is_clear = is_loud & ~is_silent & (delays != _library.REJECTED_FRAME)
        is_beyond = is_clear & ((np.abs(delays) > self._longest) | (np.abs(angles) > 90))
        self._votes = self._push(self._votes, np.where(is_clear & ~is_beyond, angles, _NO_VOTE))
        self._is_beyond = self._push(self._is_beyond, is_beyond)

        votes = self._votes[self._votes != _NO_VOTE]
        agreeing, middle = densest(votes) if len(votes) else (0, 0)
        beyond = int(np.count_nonzero(self._is_beyond))
        quorum = max(self._least_quorum, (_QUORUM_PERCENT * len(self._votes) + 99) // 100)
        reason = ""
        if not is_loud.any():
            reason = "quiet"
        elif beyond >= quorum and beyond > agreeing:
            reason = "beyond"
        elif len(votes) + beyond < quorum:
            reason = "few_clear"
        elif agreeing < quorum:
            reason = "near_miss" if agreeing >= _NEAR_MISS * quorum else "disagree"
        angle = None if reason else middle
        return angle, reason, len(self._votes), len(votes) + beyond, agreeing
