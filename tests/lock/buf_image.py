"""Writes the locked schema as an image for buf, which wants the files that it imports in it too.

Usage: buf_image.py DESCRIPTOR_SET OUT. protobuf's own files come from the built descriptor set.
"""

import pathlib
import sys

import storage
from google.protobuf import descriptor_pb2


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    built, out = map(pathlib.Path, sys.argv[1:])
    image = descriptor_pb2.FileDescriptorSet.FromString(built.read_bytes())
    own = {file.name for file in storage.comparable(image).file}
    for file in [file for file in image.file if file.name in own]:
        image.file.remove(file)
    image.MergeFrom(storage.read_locked(pathlib.Path(__file__).parent / "descriptors.txtpb"))
    out.write_bytes(image.SerializeToString())


if __name__ == "__main__":
    main()
