# SPDX-License-Identifier: MIT
"""The exceptions. Each message says what is wrong, and what to do."""


class EzosslError(Exception):
    """The base of all exceptions of this module."""


class LibraryNotFoundError(EzosslError, OSError):
    """libezossl.so.1 cannot be loaded, or is not what this module needs."""


class LibraryRefusedError(EzosslError, RuntimeError):
    """The library refused a call; `code` is its return code."""

    def __init__(self, message: str, code: int) -> None:
        super().__init__(message)
        self.code = code


class ShapeError(EzosslError, ValueError):
    """Samples are not of the shape (n, 2)."""


class SampleTypeError(EzosslError, TypeError):
    """Samples are neither int16 nor floating point."""


class SampleValueError(EzosslError, ValueError):
    """Samples are not a number, or far beyond full scale."""


class RateError(EzosslError, ValueError):
    """The sample rate is not one that the library takes."""


class SpacingError(EzosslError, ValueError):
    """The distance of the microphones is not a plausible length in metres."""


class SettingError(EzosslError, ValueError):
    """Another setting is out of its range."""


class ClosedError(EzosslError, RuntimeError):
    """The Localizer was closed."""
