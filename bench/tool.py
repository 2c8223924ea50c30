"""The command-line tool on many messages, and protoc on the same."""

import pathlib
import subprocess
import sys
import time

from run import Failure

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "implementations/reference"))
# pylint: disable=wrong-import-position
import reference

TYPE = "quor.protobuf.Tarq.SqlQueries"


def prepare(build, proto, workloads, folder, size):
    """Writes a stream of about `size` bytes. Returns {what is measured: its command}, and how many
    bytes of messages each command reads."""
    message = (workloads / "SqlQueries.pb").read_bytes()
    count = max(1, size // len(message))
    folder.mkdir(parents=True, exist_ok=True)
    stream, single = folder / "stream.bin", folder / "single.bin"
    stream.write_bytes(reference.length_delimited(message) * count)
    # Concatenated messages are one message: protoc does not read streams.
    single.write_bytes(message * count)
    program = build / "tools/qmsg"
    reads_stream = ("--type", TYPE, "--framing", "delimited", stream)
    return {
        "`qmsg stats`": (program, "stats", *reads_stream),
        "`qmsg check`": (program, "check", *reads_stream),
        "`qmsg decode`": (program, "decode", *reads_stream),
        "`qmsg decode --to text`": (program, "decode", "--to", "text", *reads_stream),
        "`qmsg decode --to text`, one message": (program, "decode", "--to", "text", "--type", TYPE,
                                                 single),
        "`protoc --decode`, one message": ("protoc", f"--proto_path={proto}", f"--decode={TYPE}",
                                           "tarq.proto", single),
    }, len(message) * count


def seconds(command):
    """The elapsed seconds of a command. Its last word is the file for its standard input."""
    *words, file = [str(word) for word in command]
    begin = time.perf_counter()
    with open(file, "rb") as given:
        done = subprocess.run(words, stdin=given, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, check=False)
    taken = time.perf_counter() - begin
    if done.returncode != 0:
        raise Failure(f"{' '.join(words)} ended with status {done.returncode}: "
                      f"{done.stderr.decode(errors='replace')[:500]}")
    return taken
