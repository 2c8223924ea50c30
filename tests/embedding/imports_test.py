"""What the library asks of the C library, and what the runtime does not ask of it."""

import os
import re
import unittest

from support import LIBRARY, run

# Memory, once, and what the compiler adds.
OWN = {"memchr", "memcmp", "memcpy", "memmove", "memset", "strlen", "pthread_once",
       "__cxa_atexit", "__cxa_finalize", "__tls_get_addr", "__stack_chk_fail"}
# Threads, signals, processes, the environment, the locale, the network.
FOREIGN = {"pthread_create", "thrd_create", "clone", "signal", "sigaction", "pthread_sigmask",
           "fork", "pthread_atfork", "getenv", "secure_getenv", "setenv", "putenv", "environ",
           "setlocale", "uselocale", "socket", "atexit", "exit", "system", "dlopen"}


def imports(path):
    """Names that the file takes from the C library, and all that it takes."""
    listed = run(os.environ["QMSG_NM"], "--dynamic", "--undefined-only", "--format=just-symbols",
                 path)
    assert listed.returncode == 0, listed.stderr
    names = listed.stdout.split()
    return ({name.split("@")[0] for name in names if "@GLIBC_" in name},
            {name.split("@")[0] for name in names})


def runtime():
    listed = run("ldd", LIBRARY)
    return re.search(r"libprotobuf\S* => (\S+)", listed.stdout).group(1)


class Imports(unittest.TestCase):
    def test_the_library_takes_memory_functions_and_no_more(self):
        from_c, _ = imports(LIBRARY)
        self.assertIn("memcpy", from_c)
        self.assertLessEqual(from_c, OWN)

    def test_the_library_sets_no_log_handler(self):
        _, names = imports(LIBRARY)
        self.assertFalse([name for name in names if "LogHandler" in name])

    def test_the_runtime_takes_nothing_that_changes_the_process(self):
        from_c, names = imports(runtime())
        self.assertIn("memcpy", from_c)
        self.assertFalse(names & FOREIGN)


if __name__ == "__main__":
    unittest.main()
