"""usage: driver.py GENERATED_MODULES cpp|pure

Reads lines "<full message name> <bytes in hex, or ->" and answers each with "refused",
"accepted <bytes written back> <JSON>" or "unknown-type".
"""

import importlib
import os
import pathlib
import sys

modules, mode = sys.argv[1:]
implementation = {"cpp": "cpp", "pure": "python"}[mode]
os.environ["PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION"] = implementation
sys.path.insert(0, modules)

# pylint: disable=wrong-import-position
from google.protobuf import json_format, symbol_database
from google.protobuf.internal import api_implementation
from google.protobuf.message import DecodeError

if api_implementation.Type() != implementation:
    sys.exit(f"asked for the implementation '{implementation}', "
             f"but protobuf runs with '{api_implementation.Type()}'")
for module in pathlib.Path(modules).glob("*_pb2.py"):
    importlib.import_module(module.stem)


def answer(type_name, content):
    try:
        message = symbol_database.Default().GetSymbol(type_name)()
    except KeyError:
        return "unknown-type"
    try:
        message.ParseFromString(content)
    except (DecodeError, UnicodeDecodeError):
        return "refused"
    written = message.SerializeToString(deterministic=True).hex() or "-"
    try:
        json = json_format.MessageToJson(message, indent=None)
    except (json_format.Error, ValueError, OverflowError):
        # A time outside the range of JSON.
        return f"accepted {written}"
    return f"accepted {written} {json}"


def main():
    for line in sys.stdin:
        type_name, content = line.split()
        print(answer(type_name, b"" if content == "-" else bytes.fromhex(content)))


main()
