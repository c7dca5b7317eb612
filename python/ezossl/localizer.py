# SPDX-License-Identifier: MIT
"""From samples to blocks."""

from __future__ import annotations

import ctypes
import math
from types import TracebackType
from typing import Any, List, Optional, Type, Union

import numpy as np

from . import _library, smoothing
from .blocks import Block
from .errors import (
    ClosedError,
    LibraryRefusedError,
    RateError,
    SampleTypeError,
    SampleValueError,
    SettingError,
    ShapeError,
    SpacingError,
)

RATES = (8000, 16000, 32000, 48000)
_CLOSEST, _WIDEST = 0.001, 1.0  # metres; less than the tool's 10, because 5.8 would be in cm
_LOUDEST = 16.0  # of full scale 1; larger float samples must have another unit
_REASONS = {
    _library.OK: "",
    _library.TOO_QUIET: "quiet",
    _library.UNDECIDED: "undecided",  # _reason_of_undecided() is more specific
    _library.DELAY_TOO_LARGE: "beyond",
}
_DEFAULT_BLOCK = 32  # frames of a block of the library, for which its thresholds are made
_BLOCKS_AT_ONCE = 256  # so that long sound is not copied as a whole


def _check_range(name: str, value: int, low: int, high: int, unit: str) -> int:
    if isinstance(value, bool) or not isinstance(value, (int, np.integer)):
        raise SettingError(f"{name}={value!r} is not an integer; give whole {unit}")
    if not low <= value <= high:
        raise SettingError(f"{name}={value} is not within {low} ... {high} {unit}")
    return int(value)


def _check_rate(rate: float) -> int:
    if rate not in RATES:
        raise RateError(
            f"rate={rate!r} is not 8000, 16000, 32000 or 48000 Hz; resample both channels alike, "
            "for example by scipy.signal.resample_poly(samples, 160, 441) from 44100 to 16000 Hz"
        )
    return int(rate)


def _check_spacing(spacing: float) -> float:
    try:
        metres = float(spacing)
    except (TypeError, ValueError):
        raise SpacingError(
            f"spacing={spacing!r} is not a number; give metres, as 0.058 for 5.8 cm"
        ) from None
    if not _CLOSEST <= metres <= _WIDEST:
        raise SpacingError(
            f"spacing={spacing!r} is not within 0.001 ... 1 metres; 5.8 cm are 0.058"
        )
    return metres


def _check_smooth(smooth: float) -> float:
    if not isinstance(smooth, (int, float, np.number)) or not 0.1 <= smooth <= 60:
        raise SettingError(
            f"smooth={smooth!r} is not within 0.1 ... 60 seconds; 1.024 is good, and None gives "
            "the library's own blocks"
        )
    return float(smooth)


def _check_gate(gate: Union[int, str]) -> Optional[int]:
    if isinstance(gate, str):
        if gate == "auto":
            return None
        raise SettingError(f"gate={gate!r} is neither 'auto' nor a level of -80 ... 0 dB")
    return _check_range("gate", gate, smoothing.LOWEST_GATE, 0, "dB of full scale")


def _expected_delays(metres: float, rate: int) -> np.ndarray[Any, Any]:
    """The delays, in samples, of the nine directions that the library votes for."""
    spacing = np.float32(float(np.float32(round(100 * metres, 9))) * 0.01)
    limit = int(spacing / np.float32(346) * np.float32(rate)) + 1
    delays: np.ndarray[Any, Any] = limit * np.cos(np.arange(9) / 8 * math.pi)
    return delays.astype(np.float32)


def _reason_of_undecided(
    clear: np.ndarray[Any, Any], frames: int, expected: np.ndarray[Any, Any]
) -> str:
    """Why a block of the library has no direction, from the clear delays of its frames.

    The library gives a direction that has more votes than there are rejected frames, and at least 4
    in 32 frames.
    """
    if 4 * len(clear) < frames:
        return "few_clear"
    distances = np.abs(expected[:, None] - clear.astype(np.float32)[None, :])
    most = int(np.bincount(distances.argmin(0)).max())
    has_nearly = 32 * most >= 3 * frames and 4 * most >= 3 * (frames - len(clear))
    return "near_miss" if has_nearly else "disagree"


def _to_int16(samples: Any) -> np.ndarray[Any, Any]:
    """Samples as int16 of shape (n, 2), float samples rounded like in the command-line tool."""
    array = np.asarray(samples)
    if array.ndim != 2 or array.shape[1] != _library.MICROPHONES:
        advice = "give a column per microphone, microphone 0 first"
        if array.ndim == 1:
            advice = "one microphone gives no direction; " + advice
        elif array.ndim == 2 and array.shape[0] == _library.MICROPHONES:
            advice = "transpose it: samples.T"
        elif array.ndim == 2 and array.shape[1] > _library.MICROPHONES:
            advice = "choose two channels, for example samples[:, [0, 1]]"
        raise ShapeError(f"samples have the shape {array.shape}, not (n, 2); {advice}")
    if array.dtype == np.int16:
        return np.ascontiguousarray(array)
    if array.dtype.kind != "f":
        advice = "convert them"
        if array.dtype == np.int32:
            advice += ", for example (samples >> 16).astype(numpy.int16)"
        raise SampleTypeError(f"samples are {array.dtype}, not int16 or float; {advice}")
    peak = np.abs(array).max(initial=0.0)
    if not np.isfinite(peak):
        raise SampleValueError("samples hold values that are not finite; remove them")
    if peak > _LOUDEST:
        raise SampleValueError(
            f"float samples reach {peak:g}, and full scale is 1; divide them, or use int16"
        )
    scaled = np.clip(array.astype(np.float32) * np.float32(32768), -32768, 32767)
    rounded: np.ndarray[Any, Any] = np.trunc(scaled + np.copysign(np.float32(0.5), scaled))
    return rounded.astype(np.int16)


class Localizer:
    """Finds the direction of the dominant sound in a stream of two microphones.

    rate         sample rate in Hz: 8000, 16000, 32000 or 48000; 16000 is best for speech
    spacing      distance of the microphones in metres
    temperature  air temperature in whole degrees Celsius, -40 ... 85
    gate         sound at or below this level gets no angle: dB of full scale, -80 ... 0, or "auto"
                 to follow the noise: 6 dB above the quietest 64 ms of the last 30 seconds, but at
                 least 10 dB below the loudest so far; -80 with smooth=None
    block        frames of 128 samples in a block, 1 ... 10000; by default as many as last 0.256 s,
                 and 32 with smooth=None
    smooth       seconds of sound whose frames vote for the angle of a block, 0.1 ... 60. None
                 gives blocks as the library decides them, each from its own frames only
    seed         of the random numbers that refine a delay; equal seeds give equal results
    messages     lets the library print its messages to standard output

    Raises RateError, SpacingError, SettingError, LibraryNotFoundError. A Localizer may be used by
    several threads, one call after the other. Use it in a `with` statement, or call close().
    """

    def __init__(
        self,
        rate: int,
        spacing: float,
        *,
        temperature: int = 20,
        gate: Union[int, str] = "auto",
        block: Optional[int] = None,
        smooth: Optional[float] = 1.024,
        seed: int = 1,
        messages: bool = False,
    ) -> None:
        self._handle: Optional[int] = None
        rate, spacing = _check_rate(rate), _check_spacing(spacing)
        temperature = _check_range("temperature", temperature, -40, 85, "degrees Celsius")
        level = _check_gate(gate)
        frames = _DEFAULT_BLOCK if smooth is None else smoothing.block_frames(rate)
        if block is not None:
            frames = _check_range("block", block, 1, 10000, "frames")
        self._smoother_settings = None
        if smooth is not None:
            longest_lag = spacing / (331 + 0.6 * temperature) * rate
            self._smoother_settings = (rate, _check_smooth(smooth), longest_lag, level)
        self._init = _library.SslInit(
            _library.FRAME_LENGTH, rate, round(100 * spacing, 9), 0, _library.MICROPHONES
        )
        # When smoothing, every frame is a block of the library, and its angle a vote.
        is_fixed = smooth is None and level is not None
        self._config = _library.SslConfig(
            temperature,
            level if is_fixed else smoothing.LOWEST_GATE,
            frames if smooth is None else 1,
        )
        self._expected_delays = _expected_delays(spacing, rate)
        self._seed = _check_range("seed", seed, 0, 2**32 - 1, "numbers")
        self._messages = messages
        self._block_samples = frames * _library.FRAME_LENGTH
        self._lib = _library.load()
        self._delays = np.zeros(frames, np.int32)
        self._angles = np.zeros(frames, np.int32)
        with _library.held_back_messages(not messages):
            # Of 32-bit integers, for alignment; kept, because the instance lives in it.
            self._buffer = (ctypes.c_int32 * (self._lib.EzoSsl_GetBufferSize() // 4 + 1))()
        self.reset()

    @property
    def block_seconds(self) -> float:
        """The length of a block in seconds."""
        return float(self._block_samples) / float(self._init.sample_rate)

    def reset(self) -> None:
        """Starts again at time 0, without earlier sound, and at the first random number.

        Reopens a closed Localizer.
        """
        self._free()
        self._rest = np.zeros((0, _library.MICROPHONES), np.int16)
        self._blocks = 0
        self._random = _library.RandomState(self._seed)
        self._smoother: Optional[smoothing.Smoother] = None
        if self._smoother_settings is not None:
            self._smoother = smoothing.Smoother(*self._smoother_settings)
        lib = self._lib
        with _library.held_back_messages(not self._messages):
            handle = lib.EzoSsl_Init(self._buffer, ctypes.byref(self._init))
            if not handle:
                raise LibraryRefusedError("EzoSsl_Init refused; messages=True shows why", 0)
            self._handle = handle
            _library.require("EzoSsl_Config", lib.EzoSsl_Config(handle, ctypes.byref(self._config)))
            _library.require("EzoSsl_Set_Shape", lib.EzoSsl_Set_Shape(handle, 0))
            _library.require("EzoSsl_Cal_Params", lib.EzoSsl_Cal_Params(handle))

    def process(self, samples: Any) -> List[Block]:
        """Takes sound, and returns the blocks that it completes.

        samples  array of shape (n, 2), n of any size; column 0 is microphone 0. int16, or floating
                 point of full scale 1 (larger samples are clamped)

        Samples that do not fill a block wait for the next call. Raises ShapeError, SampleTypeError,
        SampleValueError, ClosedError.
        """
        if self._handle is None:
            raise ClosedError("this Localizer is closed; make another, or call reset()")
        samples = np.asarray(samples)
        step = _BLOCKS_AT_ONCE * self._block_samples
        blocks: List[Block] = []
        for start in range(0, max(len(samples) if samples.ndim else 1, 1), step):
            sound = _to_int16(samples[start : start + step] if samples.ndim else samples)
            if len(self._rest):
                sound = np.concatenate([self._rest, sound])
            used = len(sound) - len(sound) % self._block_samples
            self._rest = sound[used:].copy()
            with self._random:
                blocks += self._run(sound[:used])
        return blocks

    def _run(self, sound: np.ndarray[Any, Any]) -> List[Block]:
        """Whole blocks."""
        frames = len(self._delays)
        shaped = sound.reshape(-1, frames, _library.FRAME_LENGTH * _library.MICROPHONES)
        squares = np.einsum("bfs,bfs->bf", shaped, shaped, dtype=np.float64)  # exact: integers
        squares /= 32768.0**2
        address, frame_bytes = shaped.ctypes.data, shaped.itemsize * shaped.shape[2]
        blocks = []
        for energies in squares:
            end = address + frames * frame_bytes
            if self._smoother is None:
                blocks.append(self._library_block(range(address, end, frame_bytes), energies))
            else:
                blocks.append(self._smoothed_block(range(address, end, frame_bytes), energies))
            address = end
        return blocks

    def _library_block(self, addresses: range, energies: np.ndarray[Any, Any]) -> Block:
        run, handle = self._lib.EzoSsl_Run, self._handle
        delay = self._delays.ctypes.data
        for address in addresses:
            code = run(handle, address, delay)
            if code != _library.OK:
                _library.require("EzoSsl_Run", code)
            delay += 4
        angle = ctypes.c_int32()
        code = self._direction(ctypes.addressof(angle))
        clear = np.sort(self._delays[self._delays != _library.REJECTED_FRAME])
        agreeing = 0
        if len(clear):
            median = clear[(len(clear) - 1) // 2]  # the lower one
            agreeing = int(np.count_nonzero(np.abs(clear - median) <= 1))
        found = angle.value if code == _library.OK else None
        reason = _REASONS[code]
        if code == _library.UNDECIDED:
            reason = _reason_of_undecided(clear, len(self._delays), self._expected_delays)
        return self._block(energies, found, reason, len(self._delays), len(clear), agreeing)

    def _smoothed_block(self, addresses: range, energies: np.ndarray[Any, Any]) -> Block:
        assert self._smoother is not None
        run, handle = self._lib.EzoSsl_Run, self._handle
        delay, angle = self._delays.ctypes.data, self._angles.ctypes.data
        codes = []
        for address in addresses:
            code = run(handle, address, delay)
            if code != _library.OK:
                _library.require("EzoSsl_Run", code)
            codes.append(self._direction(angle))  # without an angle, out of range
            delay += 4
            angle += 4
        powers = energies / (_library.FRAME_LENGTH * _library.MICROPHONES)
        is_silent = np.array(codes) == _library.TOO_QUIET
        found = self._smoother.add(self._delays, self._angles, is_silent, powers)
        return self._block(energies, *found)

    def _direction(self, angle: int) -> int:
        """Writes the angle to its address, and returns the code."""
        code: int = self._lib.EzoSsl_Get_Direction(self._handle, angle)
        if code not in _REASONS:
            _library.require("EzoSsl_Get_Direction", code)
        _library.require("EzoSsl_Reset_Mapping", self._lib.EzoSsl_Reset_Mapping(self._handle))
        return code

    def _block(
        self,
        energies: np.ndarray[Any, Any],
        angle: Optional[int],
        reason: str,
        frames: int,
        used: int,
        agreeing: int,
    ) -> Block:
        mean = float(energies.sum()) / (self._block_samples * _library.MICROPHONES)
        level = smoothing.decibels(mean)
        start = self._blocks * self.block_seconds
        self._blocks += 1
        end = start + self.block_seconds
        return Block(start, end, angle, reason, frames, used, agreeing, level)

    def close(self) -> None:
        """Closes the Localizer and drops an unfinished block. A second call does nothing."""
        self._free()

    def _free(self) -> None:
        if self._handle is not None:
            self._lib.EzoSsl_Free(self._handle)
            self._handle = None

    def __enter__(self) -> Localizer:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handle", None) is not None:
            self.close()


def track(samples: Any, rate: int, spacing: float, **settings: Any) -> List[Block]:
    """The blocks of a recording.

    samples   array of shape (n, 2), int16 or floating point of full scale 1; column 0 is
              microphone 0
    rate      sample rate in Hz: 8000, 16000, 32000 or 48000
    spacing   distance of the microphones in metres
    settings  further arguments of Localizer

    An unfinished block at the end is dropped. The blocks equal the lines of
    `ezossl track -f csv -r RATE`; without -r the tool resamples to 16000 Hz first. Raises what
    Localizer and Localizer.process raise.
    """
    with Localizer(rate, spacing, **settings) as localizer:
        return localizer.process(samples)
