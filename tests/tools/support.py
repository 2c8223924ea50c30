"""Shared by the tests of help, completion, manual page and schema descriptions."""

import os
import pathlib
import subprocess

from google.protobuf import descriptor_pb2, descriptor_pool

import tool

SAMPLE = os.environ["QMSG_COMPLETION_SAMPLE"]
DESCRIPTOR_SET = os.environ["QMSG_DESCRIPTOR_SET"]


def qmsg(*arguments, **options):
    """Runs the tool: (exit status, standard output, standard error)."""
    result = subprocess.run([tool.PROGRAM, *arguments], capture_output=True, text=True, timeout=60,
                            check=False, **options)
    return result.returncode, result.stdout, result.stderr


def output_of(*arguments):
    status, output, errors = qmsg(*arguments)
    assert (status, errors) == (0, ""), f"qmsg {arguments}: {status} {errors}"
    return output


def command_names():
    """The subcommands, as the help lists them."""
    listed = output_of("--help").split("Subcommands:\n")[1]
    return [line.split()[0] for line in listed.splitlines() if line.startswith("  ")]


def schema_files():
    """The schema files as protoc tells them: (FileDescriptorProto, FileDescriptor) each."""
    files = descriptor_pb2.FileDescriptorSet.FromString(pathlib.Path(DESCRIPTOR_SET).read_bytes())
    pool = descriptor_pool.DescriptorPool()
    for file in files.file:
        pool.Add(file)
    return [(file, pool.FindFileByName(file.name)) for file in files.file
            if not file.name.startswith("google/")]


def messages():
    return [message for _, file in schema_files()
            for message in file.message_types_by_name.values()]


def enums():
    return [enum for message in messages() for enum in message.enum_types]
