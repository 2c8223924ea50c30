"""Writes the package qmsg, its generated modules included.

Usage: generate.py OUT_DIR, which writes OUT_DIR/qmsg
"""

import ast
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parent
PROJECT = SOURCE.parent
NEEDED = "On Debian 12: apt-get install protobuf-compiler mypy-protobuf"


def project():
    """Version and description, from the place where they are kept."""
    text = (PROJECT / "CMakeLists.txt").read_text()
    return re.search(r'project\(qmsg VERSION (\S+).*?DESCRIPTION "(.*?)"', text, re.S).groups()


def check_tools():
    text = (PROJECT / "cmake/RequireProtobuf.cmake").read_text()
    line = re.search(r"set\(qmsg_protobuf_line (\S+)\)", text)[1]
    if not shutil.which("protoc"):
        sys.exit(f"qmsg needs protoc of release line {line}; there is none in PATH.\n{NEEDED}")
    run = subprocess.run(["protoc", "--version"], capture_output=True, text=True)
    answer = (run.stdout + run.stderr).strip()
    if not answer.startswith(f"libprotoc {line}."):
        sys.exit(f"qmsg needs protoc of release line {line}; {shutil.which('protoc')} is "
                 f"'{answer}'.\n{NEEDED}")
    if not shutil.which("protoc-gen-mypy"):
        sys.exit(f"qmsg needs protoc-gen-mypy for its stubs; there is none in PATH.\n{NEEDED}")


def run_protoc(folder):
    schemas = sorted(path.name for path in (PROJECT / "proto").glob("*.proto"))
    # pip hides the system's modules by way of PYTHONPATH, but protoc-gen-mypy needs them.
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    subprocess.run(["protoc", f"--proto_path={PROJECT / 'proto'}", f"--python_out={folder}",
                    f"--mypy_out=quiet:{folder}", *schemas], env=environment, check=True)


def move_into_package(path):
    """protoc writes top-level modules. The names of the schema files, by which the library
    registers them, have no folder, so it cannot be told otherwise."""
    text = re.sub(r"^import (\w+_pb2)\b", r"from . import \1", path.read_text(), flags=re.M)
    path.write_text(text.replace(f"'{path.stem}', globals()", f"'qmsg.{path.stem}', globals()"))


def digest(module):
    """Of the descriptor in a generated module."""
    text = module.read_text()
    serialized = ast.literal_eval(re.search(r"AddSerializedFile\((b'.*')\)$", text, re.M)[1])
    return hashlib.sha256(serialized).hexdigest()


def package(out):
    """Writes the package into the folder `out`."""
    check_tools()
    folder = out / "qmsg"
    folder.mkdir(parents=True, exist_ok=True)
    for path in [SOURCE / "src/qmsg/__init__.py", SOURCE / "src/qmsg/py.typed"]:
        shutil.copy(path, folder)
    run_protoc(folder)
    for path in folder.glob("*_pb2.py*"):
        move_into_package(path)
    modules = sorted(folder.glob("*_pb2.py"))
    lines = [f"    '{path.stem[:-len('_pb2')]}.proto': '{digest(path)}',\n" for path in modules]
    (folder / "_schemas.py").write_text("DIGESTS = {\n" + "".join(lines) + "}\n")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    package(pathlib.Path(sys.argv[1]))
