"""Messages of a PHP monitoring and job-queue system: `from qmsg import tarq_pb2`.

Importing this package loads libqmsg, if there is one, ahead of the generated modules. Python's
protobuf then takes the compiled classes from the library and builds none of its own.
"""

import ctypes
import hashlib
import os
import warnings

from google.protobuf import descriptor_pool
from google.protobuf.internal import api_implementation

from ._schemas import DIGESTS

__all__ = ["implementation", "load"]

_SONAME = "libqmsg.so.1"
_COMPILED = "compiled classes"
_DYNAMIC = {"cpp": "C++ runtime, dynamic", "python": "pure Python"}
_runtime: str = api_implementation.Type()
_implementation = _DYNAMIC.get(_runtime, f"{_runtime} runtime, dynamic")


def implementation() -> str:
    """What the messages are made of: "compiled classes" (those of libqmsg), "C++ runtime, dynamic"
    or "pure Python"."""
    return _implementation


def load(library: "str | os.PathLike[str]") -> None:
    """Loads libqmsg from a path, for a place where the system's loader does not look. It comes
    ahead of the import of any generated module, and raises RuntimeError or OSError unless the
    messages are compiled classes afterwards."""
    if _implementation == _COMPILED:
        raise RuntimeError("libqmsg is loaded already; a process can hold it once")
    if _runtime != "cpp":
        raise RuntimeError(f"libqmsg serves protobuf's C++ runtime; here it is '{_runtime}'")
    if _registered():
        raise RuntimeError("load() comes too late: generated modules of "
                           f"{', '.join(_registered())} are imported already")
    _use(os.fspath(library))
    if _implementation != _COMPILED:
        raise RuntimeError(f"{library} gave Python's protobuf no messages: it is not libqmsg, or "
                           "belongs to another copy of the C++ runtime")


def _registered() -> "dict[str, str]":
    """The schema files that Python's protobuf knows, and the digests of their descriptors."""
    known = {}
    for name in DIGESTS:
        try:
            file = descriptor_pool.Default().FindFileByName(name)
        except KeyError:
            continue
        known[name] = hashlib.sha256(file.serialized_pb).hexdigest()
    return known


def _use(library: str) -> None:
    global _implementation
    ctypes.CDLL(library)
    known = _registered()
    if known.keys() != DIGESTS.keys():
        return
    _implementation = _COMPILED
    others = [name for name in DIGESTS if known[name] != DIGESTS[name]]
    if others:
        _warn(f"{library} was built from another {', '.join(others)} than the package qmsg: the "
              "fields are those of the library. Install the same version of both.")


def _in_process() -> bool:
    try:
        ctypes.CDLL(_SONAME, mode=os.RTLD_NOLOAD)
    except OSError:
        return False
    return True


def _warn(text: str) -> None:
    warnings.warn(text, RuntimeWarning, stacklevel=4)


def _use_installed() -> None:
    if _registered() and not _in_process():
        _warn("Modules generated from " + ", ".join(_registered()) + " were imported before qmsg: "
              "libqmsg is left unused. Import qmsg first, or only its own modules.")
        return
    try:
        _use(_SONAME)
    except OSError as error:
        if not str(error).startswith(f"{_SONAME}: cannot open"):
            _warn(f"libqmsg is installed but does not load: {error}")


if _runtime == "cpp":
    _use_installed()
