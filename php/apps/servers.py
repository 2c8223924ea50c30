"""MariaDB, PHP-FPM and nginx for the time of a test. All their files are in one temporary folder, and
nothing of the system's own servers is read or changed."""

import contextlib
import dataclasses
import os
import pathlib
import pwd
import re
import secrets
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

DEADLINE = 60  # seconds for a server to start or to end
WORKERS = 2

# Who owns what a web server writes, if the tests run as root.
WEB_USER = pwd.getpwnam("www-data") if os.geteuid() == 0 else None


class NoServer(Exception):
    """A server that did not start or answer."""


def program(name, package):
    found = shutil.which(name, path=os.environ["PATH"] + ":/usr/local/sbin:/usr/sbin:/sbin")
    if found is None:
        raise NoServer(f"there is no {name}. On Debian: apt-get install {package}")
    return found


def php_version():
    return subprocess.run(["php", "-n", "-r", "echo PHP_MAJOR_VERSION, '.', PHP_MINOR_VERSION;"],
                          capture_output=True, text=True, check=True).stdout


def give_to_web_user(path):
    """Lets the servers write the file or the folder with all in it."""
    if WEB_USER is not None:
        for folder, _, files in os.walk(path):
            for name in (folder, *(os.path.join(folder, file) for file in files)):
                os.chown(name, WEB_USER.pw_uid, WEB_USER.pw_gid, follow_symlinks=False)
        os.chown(path, WEB_USER.pw_uid, WEB_USER.pw_gid)
    return path


@contextlib.contextmanager
def working_folder():
    """A folder that other users may enter. QMSG_KEEP=1 keeps it."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="qmsg-apps-"))
    folder.chmod(0o755)
    try:
        yield folder
    finally:
        if os.environ.get("QMSG_KEEP"):
            print(f"Kept {folder}", file=sys.stderr)
        else:
            # A program that was interrupted may still write.
            wait_until(lambda: shutil.rmtree(folder, ignore_errors=True) or not folder.exists(),
                       f"{folder} is removed")


def wait_until(works, what, seconds=DEADLINE):
    """Waits for a true result, and returns it."""
    end = time.monotonic() + seconds
    while not (result := works()):
        if time.monotonic() > end:
            raise NoServer(f"{what}: not after {seconds} s")
        time.sleep(0.02)
    return result


@contextlib.contextmanager
def running(command, log, stop=signal.SIGTERM, environment=None):
    """Runs a program, whose output goes to the file `log`, until the signal `stop` ends it. If this
    program dies, the kernel sends the signal."""
    name = signal.Signals(stop).name.removeprefix("SIG")
    with log.open("ab") as output, subprocess.Popen(
            ["setpriv", f"--pdeathsig={name}", *map(str, command)], stdin=subprocess.DEVNULL,
            stdout=output, stderr=output, cwd="/", env={**os.environ, **(environment or {})}) as process:
        try:
            yield process
        finally:
            process.send_signal(stop)
            try:
                process.wait(DEADLINE)
            except subprocess.TimeoutExpired:
                process.kill()


def run_with_children(command, log):
    """Runs a program to its end. If it fails or is interrupted, what it started ends, too."""
    with log.open("ab") as output, subprocess.Popen(
            list(map(str, command)), stdin=subprocess.DEVNULL, stdout=output, stderr=output,
            start_new_session=True) as process:
        try:
            if process.wait(DEADLINE) != 0:
                raise NoServer(f"{command[0]} failed:\n{log.read_text(errors='replace')}")
        except BaseException:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            raise


def wait_for_server(works, process, log):
    def works_or_ended():
        if process.poll() is not None:
            raise NoServer(f"{process.args[2]} ended at once:\n{log.read_text(errors='replace')}")
        return works()
    try:
        return wait_until(works_or_ended, process.args[2])
    except NoServer as error:
        raise NoServer(f"{error}\n{log.read_text(errors='replace')}") from None


class Database:
    """A MariaDB that is reached by a socket alone."""

    def __init__(self, folder):
        self.folder = folder / "mariadb"
        self.socket = self.folder / "socket"
        self.log = self.folder / "log"
        self._client = program("mariadb", "mariadb-client")

    @contextlib.contextmanager
    def running(self):
        self.folder.mkdir()
        data = self.folder / "data"
        options = [f"--datadir={data}"]
        if os.geteuid() == 0:
            options.append("--user=root")
        run_with_children([program("mariadb-install-db", "mariadb-server-core"), "--no-defaults", *options,
                           "--auth-root-authentication-method=normal", "--skip-test-db"], self.log)
        server = [program("mariadbd", "mariadb-server-core"), "--no-defaults", *options,
                  f"--socket={self.socket}", "--skip-networking", "--log-output=TABLE",
                  "--innodb-flush-log-at-trx-commit=0", "--innodb-buffer-pool-size=64M"]
        with running(server, self.log) as process:
            wait_for_server(self._answers, process, self.log)
            # The server starts with an account for everyone.
            password = secrets.token_hex(16)
            self.run(f"DELETE FROM mysql.global_priv WHERE User = ''; FLUSH PRIVILEGES; "
                     f"ALTER USER root@localhost IDENTIFIED BY '{password}';")
            self._password = password
            yield self

    _password = ""

    def _command(self):
        return [self._client, "--no-defaults", f"--socket={self.socket}", "--user=root",
                "--batch", "--skip-column-names"]

    def _answers(self):
        return self.socket.exists() and subprocess.run(
            [*self._command(), "--execute=SELECT 1"], capture_output=True, check=False).returncode == 0

    def run(self, statements):
        """The lines of their result."""
        return subprocess.run(self._command(), input=statements, capture_output=True, text=True,
                              check=True, timeout=DEADLINE,
                              env={**os.environ, "MYSQL_PWD": self._password}).stdout.splitlines()

    def create(self, name):
        """A database and an account for it, both of this name: the account's password."""
        password = "db-" + secrets.token_hex(12)
        self.run(f"CREATE DATABASE {name}; CREATE USER {name}@localhost IDENTIFIED BY '{password}';"
                 f"GRANT ALL ON {name}.* TO {name}@localhost;")
        return password

    @contextlib.contextmanager
    def log_of(self, user):
        """The Statements that the server runs for this user inside the with block: a list that is filled
        at its end. They are from the slow log with a threshold of 0, which has those of the general log
        and their rows and times, too. It holds for connections that are opened inside the block."""
        self.run("SET GLOBAL slow_query_log = OFF; TRUNCATE mysql.slow_log;"
                 "SET GLOBAL long_query_time = 0; SET GLOBAL slow_query_log = ON;")
        statements = []
        yield statements
        self.run("SET GLOBAL slow_query_log = OFF;")
        for line in self.run("SELECT HEX(sql_text), rows_sent, rows_affected, "
                             "TIME_TO_SEC(query_time) + MICROSECOND(query_time) / 1e6 "
                             f"FROM mysql.slow_log WHERE user_host LIKE '{user}[%';"):
            text, sent, affected, duration = line.split("\t")
            statements.append(Statement(bytes.fromhex(text).decode("utf-8", "replace"), int(sent),
                                        int(affected), float(duration)))


@dataclasses.dataclass
class Statement:
    text: str
    rows_sent: int
    rows_affected: int
    seconds: float


class Fpm:
    """PHP-FPM with Debian's settings, and others on top. `master` is the process."""

    def __init__(self, folder, settings, workers):
        self.folder, self.workers = folder, workers
        self.socket = folder / "fpm.sock"
        self.log = folder / "fpm.log"
        self._settings = settings
        self.master = None

    def _write_settings(self):
        version = php_version()
        installed = pathlib.Path("/etc/php", version, "fpm")
        # Debuggers and profilers are loaded only where a test asks for them.
        modules = self.folder / "conf.d"
        modules.mkdir()
        for path in sorted((installed / "conf.d").glob("*.ini")):
            if not re.search(r"-(xdebug|excimer|qmsg)\.ini$", path.name):
                shutil.copy(path, modules)
        sessions = self.folder / "sessions"
        sessions.mkdir()
        sessions.chmod(0o1777)
        settings = {"session.save_path": sessions, **self._settings}
        lines = [f"{name} = \"{value}\"" if not name.endswith("extension") else f"{name} = {value}"
                 for name, value in settings.items()]
        (modules / "99-settings.ini").write_text("\n".join(lines) + "\n")
        user = "" if WEB_USER is None else (
            "user = www-data\ngroup = www-data\nlisten.owner = www-data\nlisten.group = www-data\n")
        (self.folder / "fpm.conf").write_text(f"""\
[global]
error_log = {self.log}
daemonize = no
process_control_timeout = 20s
[www]
{user}listen = {self.socket}
pm = static
pm.max_children = {self.workers}
catch_workers_output = yes
decorate_workers_output = no
php_admin_flag[log_errors] = on
""")
        return installed / "php.ini", modules

    @contextlib.contextmanager
    def running(self):
        php_ini, modules = self._write_settings()
        command = [program(f"php-fpm{php_version()}", "php-fpm"), "--nodaemonize",
                   "--fpm-config", self.folder / "fpm.conf", "--php-ini", php_ini]
        with running(command, self.log, signal.SIGTERM,
                     {"PHP_INI_SCAN_DIR": str(modules)}) as self.master:
            wait_for_server(self.socket.exists, self.master, self.log)
            yield self

    def worker_pids(self):
        pid = self.master.pid
        children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
        return sorted(map(int, children))


class Nginx:
    """nginx in front of one PHP-FPM, on a free port of the loopback interface."""

    def __init__(self, folder, root, fpm_socket):
        self.folder, self.root, self._fpm_socket = folder, root, fpm_socket
        self.log = folder / "nginx.log"
        self.port = None

    def _write_settings(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        temporary = "\n".join(f"  {kind}_temp_path {self.folder}/{kind};" for kind in
                              ("client_body", "fastcgi", "proxy", "scgi", "uwsgi"))
        user = "" if WEB_USER is None else "user www-data;"
        settings = self.folder / "nginx.conf"
        settings.write_text(f"""\
{user}
daemon off;
worker_processes 1;
pid {self.folder}/nginx.pid;
error_log {self.log} warn;
events {{}}
http {{
{temporary}
  include /etc/nginx/mime.types;
  access_log off;
  keepalive_requests 1000000;
  keepalive_timeout 1h;
  server {{
    listen 127.0.0.1:{self.port};
    root {self.root};
    index index.php;
    client_max_body_size 16m;
    location / {{ try_files $uri $uri/ /index.php$is_args$args; }}
    location ~ \\.php(/|$) {{
      fastcgi_split_path_info ^(.+\\.php)(/.*)$;
      include /etc/nginx/fastcgi_params;
      fastcgi_param SCRIPT_FILENAME $document_root$fastcgi_script_name;
      fastcgi_param PATH_INFO $fastcgi_path_info;
      fastcgi_param SERVER_NAME $host;
      fastcgi_param SERVER_PORT 80;
      fastcgi_param HTTP_PROXY "";
      fastcgi_read_timeout 120s;
      fastcgi_buffers 64 16k;
      fastcgi_pass unix:{self._fpm_socket};
    }}
  }}
}}
""")
        return settings

    def _answers(self):
        with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", self.port), 1):
            return True
        return False

    @contextlib.contextmanager
    def running(self):
        for attempt in range(5):  # another program may take the port first
            command = [program("nginx", "nginx"), "-c", self._write_settings(), "-e", self.log]
            with contextlib.ExitStack() as stack:
                process = stack.enter_context(running(command, self.log))
                try:
                    wait_for_server(self._answers, process, self.log)
                except NoServer:
                    if attempt == 4:
                        raise
                    continue
                yield self
                return


class Served:
    """A document root that is served with the given settings of PHP."""

    def __init__(self, folder, root, settings, workers=WORKERS):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="served-", dir=folder))
        self.folder.chmod(0o755)
        self.fpm = Fpm(self.folder, settings, workers)
        self.nginx = Nginx(self.folder, root, self.fpm.socket)

    @contextlib.contextmanager
    def running(self):
        with self.fpm.running(), self.nginx.running():
            yield self

    @property
    def port(self):
        return self.nginx.port

    def logs(self):
        return "\n".join(f"--- {log}\n{log.read_text(errors='replace')[-4000:]}"
                         for log in (self.fpm.log, self.nginx.log) if log.exists())
