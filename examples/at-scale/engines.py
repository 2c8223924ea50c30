"""Redis and PostgreSQL while a program runs, reached by sockets in temporary folders."""

import contextlib
import os
import pathlib
import pwd
import signal
import shutil
import subprocess
import tempfile
import time

import psycopg2
import redis

DEADLINE = 60  # seconds for an engine to start


def _postgres_programs():
    found = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin/initdb"))
    if found:
        return found[-1].parent
    initdb = shutil.which("initdb")
    if initdb is None:
        raise SystemExit("engines.py: there is no PostgreSQL. On Debian: "
                         "apt-get install postgresql")
    return pathlib.Path(initdb).parent


def _wait_until(works, process, log):
    end = time.monotonic() + DEADLINE
    while process.poll() is None and time.monotonic() < end:
        try:
            if works():
                return
        except (redis.RedisError, psycopg2.OperationalError):
            pass
        time.sleep(0.05)
    raise SystemExit(f"engines.py: an engine did not start: {log.read_text(encoding='utf-8')}")


@contextlib.contextmanager
def running(command, log, stop):
    """Runs a program, whose output goes to the file `log`, until the signal `stop` ends it. If this
    program dies without a word, the kernel sends the signal."""
    with log.open("ab") as output, subprocess.Popen(
            ["setpriv", f"--pdeathsig={signal.Signals(stop).name.removeprefix('SIG')}", *command],
            stdin=subprocess.DEVNULL, stdout=output, stderr=output, cwd="/") as process:
        try:
            yield process
        finally:
            process.send_signal(stop)
            try:
                process.wait(DEADLINE)
            except subprocess.TimeoutExpired:
                process.kill()


@contextlib.contextmanager
def run_redis():
    """The path of the socket of a Redis that keeps nothing."""
    with tempfile.TemporaryDirectory() as folder:
        socket, log = f"{folder}/socket", pathlib.Path(folder, "log")
        command = ["redis-server", "--port", "0", "--unixsocket", socket, "--dir", folder,
                   "--save", "", "--appendonly", "no"]
        with running(command, log, signal.SIGKILL) as process:
            with redis.Redis(unix_socket_path=socket) as client:
                _wait_until(lambda: os.path.exists(socket) and client.ping(), process, log)
            yield socket


@contextlib.contextmanager
def run_postgres():
    """How to connect to a new, empty PostgreSQL."""
    programs = _postgres_programs()
    with tempfile.TemporaryDirectory() as folder:
        other_user = []
        if os.geteuid() == 0:  # PostgreSQL refuses to run as root
            user = pwd.getpwnam("postgres")
            os.chown(folder, user.pw_uid, user.pw_gid)
            other_user = [f"--reuid={user.pw_uid}", f"--regid={user.pw_gid}", "--clear-groups"]
        data, log = f"{folder}/data", pathlib.Path(folder, "log")
        subprocess.run(
            [*(["setpriv", *other_user] if other_user else []), programs / "initdb", "--pgdata",
             data, "--username=qmsg", "--auth=trust", "--encoding=UTF8", "--locale=C", "--no-sync"],
            check=True, stdout=subprocess.DEVNULL, cwd="/", timeout=DEADLINE)
        command = [*other_user, programs / "postgres", "-D", data, "-k", folder,
                   "-c", "listen_addresses=", "-c", "fsync=off"]
        with running(command, log, signal.SIGINT) as process:
            address = f"host={folder} user=qmsg dbname=postgres"
            _wait_until(lambda: psycopg2.connect(address).close() is None, process, log)
            yield address
