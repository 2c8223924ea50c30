"""The wire format, as far as the pages show it."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "implementations/reference"))
from reference import varint  # noqa: E402,F401

WIRE_TYPES = {"varint": 0, "fixed64": 1, "length-delimited": 2, "fixed32": 5}
LENGTH_DELIMITED = {"string", "bytes", "message"}
FIXED = {"double": "fixed64", "fixed64": "fixed64", "sfixed64": "fixed64",
         "float": "fixed32", "fixed32": "fixed32", "sfixed32": "fixed32"}


def spaced(data):
    """Bytes as pairs of hexadecimal digits."""
    return data.hex(" ")
