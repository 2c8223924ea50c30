"""The command-line tool on many messages, and protoc on the same."""

import subprocess
import time

from run import Failure

TYPE = "quor.protobuf.Tarq.SqlQueries"


def length(size):
    """As a varint."""
    out = b""
    while size > 127:
        out += bytes([size & 127 | 128])
        size >>= 7
    return out + bytes([size])


def prepare(build, proto, workloads, folder, size):
    """Writes a stream of about `size` bytes. Returns {what is measured: its command}, and how many
    bytes of messages each of them reads."""
    message = (workloads / "SqlQueries.pb").read_bytes()
    count = max(1, size // len(message))
    folder.mkdir(parents=True, exist_ok=True)
    stream, single = folder / "stream.bin", folder / "single.bin"
    stream.write_bytes((length(len(message)) + message) * count)
    # One behind the other, messages are one message: protoc takes no stream.
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
    """How long a command takes whose last word is a file, its input, and whose output nobody
    reads."""
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
