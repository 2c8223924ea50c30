"""Writes the module definition of a DLL that forwards what the protobuf runtime exports.

Usage: forwards.py RUNTIME_DLL DEFINITION

All goes to protobuf_runtime.dll but for the constructor that registers a file.
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "surface"))

from symbols import exported  # noqa: E402  (its folder comes first)

OWN = "_ZN6google8protobuf8internal20AddDescriptorsRunnerC1EPKNS1_15DescriptorTableE"

names = exported(sys.argv[1])
if OWN not in names:
    sys.exit(f"{sys.argv[1]} does not export {OWN}")
lines = [f"  {name} = protobuf_runtime.{name}\n" for name in sorted(names - {OWN})]
pathlib.Path(sys.argv[2]).write_text("".join(["EXPORTS\n", f"  {OWN}\n", *lines]))
