"""Reads captures: rows of google.protobuf.Any, each behind its length and with a message in it."""

from google.protobuf import any_pb2
from google.protobuf.message import DecodeError


def _length(capture, offset):
    """The varint there, and where it ends."""
    length = shift = 0
    while True:
        byte = capture[offset]
        offset += 1
        length |= (byte & 0x7F) << shift
        shift += 7
        if byte < 0x80:
            return length, offset


def read(capture):
    """The (type, bytes) of each message in the bytes of a capture. Raises ValueError."""
    offset = 0
    while offset < len(capture):
        try:
            length, begin = _length(capture, offset)
        except IndexError:
            length, begin = 0, len(capture) + 1
        if begin + length > len(capture):
            raise ValueError(f"the capture is cut off in the message at byte {offset}")
        try:
            message = any_pb2.Any.FromString(capture[begin:begin + length])
        except DecodeError as error:
            complaint = f"no google.protobuf.Any is at byte {offset} of the capture"
            raise ValueError(complaint) from error
        yield message.TypeName(), message.value
        offset = begin + length
