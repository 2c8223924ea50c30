"""The library in static constructors, in handlers of atexit and in static destructors."""

import unittest

from support import BUILT, C_HOST, module, run

PROGRAM = [BUILT / "embedding_exit_order"]
CLOSED = [C_HOST, module("exit_order_module"), "close"]
OPEN = [C_HOST, module("exit_order_module")]

CASES = [
    # what runs, where it uses the library first, what it prints
    (PROGRAM, "", ["static constructor", "main", "atexit", "static destructor"]),
    (PROGRAM, "last", ["static destructor"]),
    (CLOSED, "", ["static constructor", "static destructor"]),
    (CLOSED, "last", ["static destructor"]),
    (OPEN, "", ["static constructor", "static destructor"]),
    (OPEN, "last", ["static destructor"]),
]


class ExitOrder(unittest.TestCase):
    def test_the_library_works_from_the_first_constructor_to_the_last_destructor(self):
        for command, first_use, moments in CASES:
            with self.subTest(command=command[1:], first_use=first_use):
                result = run(*command, EMBEDDING_FIRST_USE=first_use)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertEqual(result.stdout.splitlines(), [f"{at}: works" for at in moments])


if __name__ == "__main__":
    unittest.main()
