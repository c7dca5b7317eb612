# SPDX-License-Identifier: MIT
"""Blocks, and their tables."""

from __future__ import annotations

import dataclasses
from typing import TYPE_CHECKING, Any, Iterable, Optional

import numpy as np

if TYPE_CHECKING:
    import pandas  # type: ignore[import]


@dataclasses.dataclass(frozen=True)
class Block:
    """The result for a block of frames.

    start, end       seconds since the start of the stream
    angle            whole degrees, -90 ... 90, + on the side of column 0; None without a direction
    reason           why there is no angle; "" if there is one:
                       "quiet"       the level is at or below the gate
                       "few_clear"   too few frames have a clear delay: little common sound
                       "disagree"    frames point in different directions: echo, several sounds
                       "near_miss"   nearly enough frames agree
                       "beyond"      the delay is longer than the spacing allows
    frames           frames in the block; smoothed, those of the seconds that vote
    frames_used      frames with a clear delay
    frames_agreeing  of those, frames within one sample of their (lower) median delay; smoothed, the
                     votes within the range of the angle
    level            mean of both microphones in dB of full scale; -inf for digital silence
    """

    start: float
    end: float
    angle: Optional[int]
    reason: str
    frames: int
    frames_used: int
    frames_agreeing: int
    level: float


_DTYPE = np.dtype(
    [
        ("start", "f8"),
        ("end", "f8"),
        ("angle", "f8"),
        ("reason", "U16"),
        ("frames", "i4"),
        ("frames_used", "i4"),
        ("frames_agreeing", "i4"),
        ("level", "f8"),
    ]
)


def to_array(blocks: Iterable[Block]) -> np.ndarray[Any, Any]:
    """The blocks as a structured array of shape (number of blocks,), a field per attribute.

    `angle` is a float, NaN where there is none.
    """
    rows = [dataclasses.astuple(block) for block in blocks]
    return np.array([row[:2] + (np.nan if row[2] is None else row[2],) + row[3:] for row in rows],
                    dtype=_DTYPE)


def to_dataframe(blocks: Iterable[Block]) -> pandas.DataFrame:
    """The blocks as a pandas DataFrame, a column per attribute; `angle` is NaN where there is none.

    Raises ImportError without pandas, which nothing else here needs.
    """
    try:
        import pandas
    except ImportError:
        raise ImportError(
            "to_dataframe needs pandas: install python3-pandas, or use to_array"
        ) from None
    return pandas.DataFrame(to_array(blocks))
