"""The wire format, as far as the pages show it."""

WIRE_TYPES = {"varint": 0, "fixed64": 1, "length-delimited": 2, "fixed32": 5}
LENGTH_DELIMITED = {"string", "bytes", "message"}
FIXED = {"double": "fixed64", "fixed64": "fixed64", "sfixed64": "fixed64",
         "float": "fixed32", "fixed32": "fixed32", "sfixed32": "fixed32"}


def varint(number):
    """The bytes of a number as a varint. A negative one takes ten bytes."""
    number &= (1 << 64) - 1
    out = bytearray()
    while number > 0x7F:
        out.append(number & 0x7F | 0x80)
        number >>= 7
    out.append(number)
    return bytes(out)


def spaced(data):
    """Bytes as pairs of hexadecimal digits."""
    return data.hex(" ")
