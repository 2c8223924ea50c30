"""What the tests share."""

import os
import subprocess
import sys

LIBRARY = os.environ["QMSG_LIBRARY"]
SCHEMAS = ["codetrace", "config", "jobqueue", "login", "monitor", "quorphp", "tarq"]


def run(program, **environment):
    """Runs a Python program in a process of its own."""
    return subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                          env={**os.environ, **environment})


def library_is_installed():
    """Whether the system's loader finds a libqmsg, which no test can then be without."""
    return run("import ctypes; ctypes.CDLL('libqmsg.so.1')", LD_LIBRARY_PATH="").returncode == 0
