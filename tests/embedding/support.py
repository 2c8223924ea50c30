"""What the tests of this folder share: the programs, and how they are run."""

import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/docs"))
# pylint: disable=wrong-import-position,unused-import
from docs_test import blocks, rows

PAGE = ROOT / "docs/embedding.md"
BUILT = pathlib.Path(os.environ["QMSG_EMBEDDING"])
LIBRARY = os.environ["QMSG_LIBRARY"]
SANITIZED = os.environ["QMSG_SANITIZED"] == "1"

C_HOST = str(BUILT / "embedding_c_host")
LINKED_C_HOST = str(BUILT / "embedding_linked_c_host")


def module(name):
    return str(BUILT / f"libembedding_{name}.so")


PLUGIN = module("plugin_one")

# How PHP opens an extension, in the words of the host in C.
PHP = ("lazy", "global", "deepbind")


def run(*command, **environment):
    return subprocess.run(command, capture_output=True, text=True, timeout=300,
                          env={**os.environ, **environment})
