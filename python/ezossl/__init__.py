# SPDX-License-Identifier: MIT
"""Sound source localisation with two microphones.

    blocks = ezossl.track(samples, rate=16000, spacing=0.058)

`samples` is an array of shape (n, 2), int16 or float; `spacing` is in metres. Each Block has an
angle in whole degrees, 0 at broadside and + on the side of column 0, or a reason why it has none.
`Localizer` does the same for streams.
"""

from .blocks import Block, to_array, to_dataframe
from .errors import (
    ClosedError,
    EzosslError,
    LibraryNotFoundError,
    LibraryRefusedError,
    RateError,
    SampleTypeError,
    SampleValueError,
    SettingError,
    ShapeError,
    SpacingError,
)
from .localizer import RATES, Localizer, track

__version__ = "1.4.0"

__all__ = [
    "RATES",
    "Block",
    "ClosedError",
    "EzosslError",
    "LibraryNotFoundError",
    "LibraryRefusedError",
    "Localizer",
    "RateError",
    "SampleTypeError",
    "SampleValueError",
    "SettingError",
    "ShapeError",
    "SpacingError",
    "to_array",
    "to_dataframe",
    "track",
]
