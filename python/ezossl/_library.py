# SPDX-License-Identifier: MIT
"""libezossl.so.1 through ctypes: finding it, its structures, and the process-wide state it uses.

Only this file knows the C interface. The calls hold the interpreter's lock (PyDLL): a frame takes
only a few microseconds, and no other Python thread can change the environment meanwhile, which the
library reads.
"""

from __future__ import annotations

import contextlib
import ctypes
import os
import threading
from typing import Iterator

from .errors import LibraryNotFoundError, LibraryRefusedError

SONAME = "libezossl.so.1"
FRAME_LENGTH = 128  # samples per microphone
MICROPHONES = 2
REJECTED_FRAME = -32768

OK = 0
TOO_QUIET = 0x10000113
UNDECIDED = 0x10000114
DELAY_TOO_LARGE = 0x10000107


class SslInit(ctypes.Structure):
    _fields_ = [
        ("point_number", ctypes.c_int32),
        ("sample_rate", ctypes.c_int32),
        ("mic_distance", ctypes.c_float),  # centimetres
        ("bf_mode", ctypes.c_int32),
        ("mic_num", ctypes.c_int32),
    ]


class SslConfig(ctypes.Structure):
    _fields_ = [
        ("temperature", ctypes.c_int32),
        ("noise_gate_db", ctypes.c_int32),
        ("direction_frame_num", ctypes.c_int32),
    ]


_ADDRESS, _INT, _UINT = ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32
_UINT16 = ctypes.POINTER(ctypes.c_uint16)
_PROTOTYPES = {
    "EzoSsl_GetAPIVersion": (_INT, [_UINT16, _UINT16]),
    "EzoSsl_GetBufferSize": (_UINT, []),
    "EzoSsl_Init": (_ADDRESS, [_ADDRESS, ctypes.POINTER(SslInit)]),
    "EzoSsl_Config": (_INT, [_ADDRESS, ctypes.POINTER(SslConfig)]),
    "EzoSsl_Set_Shape": (_UINT, [_ADDRESS, _UINT]),
    "EzoSsl_Cal_Params": (_UINT, [_ADDRESS]),
    "EzoSsl_Run": (_INT, [_ADDRESS, _ADDRESS, _ADDRESS]),
    "EzoSsl_Get_Direction": (_INT, [_ADDRESS, _ADDRESS]),
    "EzoSsl_Reset_Mapping": (_INT, [_ADDRESS]),
    "EzoSsl_Free": (_INT, [_ADDRESS]),
}
_API_MAJOR = 1

_libc = ctypes.PyDLL(None)
_libc.getenv.restype = ctypes.c_char_p
for _name in ("initstate", "setstate"):
    getattr(_libc, _name).restype = _ADDRESS
_libc.initstate.argtypes = [ctypes.c_uint, _ADDRESS, ctypes.c_size_t]
_libc.setstate.argtypes = [_ADDRESS]

_lock = threading.RLock()  # guards process-wide state: rand() and the environment
_library: ctypes.PyDLL | None = None
_level_file = -1


def load() -> ctypes.PyDLL:
    """The library, loaded once: the one that EZOSSL_LIBRARY names, or else the loader's."""
    global _library
    with _lock:
        if _library is None:
            _library = _load(os.environ.get("EZOSSL_LIBRARY") or SONAME)
        return _library


def _load(path: str) -> ctypes.PyDLL:
    advice = f"install libezossl1, or set EZOSSL_LIBRARY to the path of {SONAME}"
    try:
        library = ctypes.PyDLL(path)
    except OSError as error:
        raise LibraryNotFoundError(f"the library is not found ({error}); {advice}") from None
    major, minor = ctypes.c_uint16(), ctypes.c_uint16()
    try:
        for name, (result, arguments) in _PROTOTYPES.items():
            function = getattr(library, name)
            function.restype, function.argtypes = result, arguments
    except AttributeError as error:
        raise LibraryNotFoundError(f"{path} is another library ({error}); {advice}") from None
    with held_back_messages():
        library.EzoSsl_GetAPIVersion(ctypes.byref(major), ctypes.byref(minor))
    if major.value != _API_MAJOR:
        raise LibraryNotFoundError(
            f"{path} has version {major.value}.{minor.value} of the interface, and this module "
            f"needs {_API_MAJOR}.x; {advice}"
        )
    return library


def require(name: str, code: int) -> None:
    """Raises LibraryRefusedError unless the code is that of success."""
    if code != OK:
        raise LibraryRefusedError(
            f"{name} refused with code {code & 0xFFFFFFFF:#010x}; messages=True shows why", code
        )


@contextlib.contextmanager
def held_back_messages(hold: bool = True) -> Iterator[None]:
    """Keeps the library from printing more than errors while it is set up.

    It prints to file descriptor 1, which belongs to the caller, and takes its message level from
    the file that DML_PATH names. So DML_PATH meanwhile names a file with the lowest level.
    Redirecting the descriptor instead would affect what others print in this time.
    """
    global _level_file
    if not hold:
        yield
        return
    with _lock:
        if _level_file < 0:
            _level_file = os.memfd_create("ezossl-level")
            os.write(_level_file, b'{"debug_level": 1}')
        before = _libc.getenv(b"DML_PATH")
        _libc.setenv(b"DML_PATH", b"/proc/self/fd/%d" % _level_file, 1)
        try:
            yield
        finally:
            if before is None:
                _libc.unsetenv(b"DML_PATH")
            else:
                _libc.setenv(b"DML_PATH", before, 1)


class RandomState:
    """A sequence of rand() of its own, as from srand(seed).

    The library draws from rand(), which the whole process shares. Inside `with state:` rand() uses
    this sequence, so that each stream gives the same results as alone, and other users of rand()
    keep their sequence.
    """

    _BYTES = 128  # the size of glibc's own state, so that the sequences are equal

    def __init__(self, seed: int) -> None:
        self._state = ctypes.create_string_buffer(self._BYTES)
        with _lock:
            before = _libc.initstate(seed, self._state, self._BYTES)
            _libc.setstate(before)

    def __enter__(self) -> None:
        _lock.acquire()
        self._before = _libc.setstate(self._state)

    def __exit__(self, *_: object) -> None:
        _libc.setstate(self._before)
        _lock.release()
