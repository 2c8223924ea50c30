"""Makes the modules under test importable, and a build folder of fake programs."""

import pathlib
import sys
from unittest import mock

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "bench"))
# pylint: disable=wrong-import-position
import run

PROGRAMS = ("bench_qmsg", "bench_baseline", "bench_startup", "bench_workloads",
            "bench_first_reflection_qmsg", "bench_first_reflection_baseline", "implementation", "limit")
LIBRARIES = ("src/libqmsg.so", "bench/baseline/libqmsg_baseline.so")


def make_build_folder(folder):
    """Fills a folder with the programs; some file with relocations stands for the libraries."""
    for library in LIBRARIES:
        (folder / library).parent.mkdir(parents=True)
        (folder / library).symlink_to(pathlib.Path(sys.executable).resolve())
    for program in PROGRAMS:
        (folder / "bench" / program).symlink_to(HERE / "fake_program.py")
    (folder / "benchmarks.txt").write_text(
        f"someone\t'{folder}/bench/implementation'\n"
        f"limit: memcpy\t'{folder}/bench/limit'\n"
        "nobody\tskipped: its compiler is missing\n")


def allocators(**more):
    """Only the C library's allocator and those given; any library will do."""
    return mock.patch.dict(run.ALLOCATORS, {run.MALLOC: "", **more}, clear=True)
