"""Builds the wheel for pip, after PEP 517."""

import base64
import hashlib
import pathlib
import tempfile
import zipfile

import generate

METADATA = """\
Metadata-Version: 2.1
Name: qmsg
Version: {version}
Summary: {summary}
Requires-Python: >=3.9
Requires-Dist: protobuf>=4.21,<5
"""

WHEEL = """\
Wheel-Version: 1.0
Generator: qmsg
Root-Is-Purelib: true
Tag: py3-none-any
"""


def record_line(name, content):
    digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(content)}\n"


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    version, summary = generate.project()
    info = f"qmsg-{version}.dist-info"
    with tempfile.TemporaryDirectory() as scratch:
        generate.package(pathlib.Path(scratch))
        files = {
            str(path.relative_to(scratch)): path.read_bytes()
            for path in sorted(pathlib.Path(scratch).glob("qmsg/*"))
        }
    files[f"{info}/METADATA"] = METADATA.format(version=version, summary=summary).encode()
    files[f"{info}/WHEEL"] = WHEEL.encode()
    record = "".join(record_line(*file) for file in files.items()) + f"{info}/RECORD,,\n"
    files[f"{info}/RECORD"] = record.encode()

    name = f"qmsg-{version}-py3-none-any.whl"
    with zipfile.ZipFile(pathlib.Path(wheel_directory) / name, "w") as wheel:
        for path, content in files.items():
            wheel.writestr(zipfile.ZipInfo(path), content)  # without the time of the build
    return name
