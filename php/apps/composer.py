"""Composer, with packages in a folder: it needs no network."""

import json
import re
import unittest

from command_tests import CommandTests

LIBRARY = {"name": "site/fruit", "version": "1.2.0", "autoload": {"psr-4": {"Fruit\\": "src/"}}}
PROJECT = {
    "name": "site/shop", "description": "A shop", "license": "MIT",
    "repositories": [{"type": "path", "url": "../fruit", "options": {"symlink": False}},
                     {"packagist.org": False}],
    "require": {"site/fruit": "^1.0"},
    "autoload": {"psr-4": {"Shop\\": "src/"}},
}
CODE = "<?php\nnamespace {};\n\nfinal class {} {{ public string $name = 'pear'; }}\n"


class Tests(CommandTests, unittest.TestCase):
    PROGRAM = "composer"

    @staticmethod
    def commands(folder):
        fruit = folder.parent / "fruit"
        for place, package, namespace, name in ((fruit, LIBRARY, "Fruit", "Pear"),
                                                (folder, PROJECT, "Shop", "Basket")):
            (place / "src").mkdir(parents=True)
            (place / "composer.json").write_text(json.dumps(package))
            (place / f"src/{name}.php").write_text(CODE.format(namespace, name))
        options = ["--no-interaction", "--no-ansi"]
        return [[*options, "validate"], [*options, "install"], [*options, "show", "--tree"],
                [*options, "dump-autoload", "--optimize"], [*options, "update", "--dry-run"],
                [*options, "require", "site/missing"]]

    @staticmethod
    def lasting(output):
        return re.sub(r"[0-9a-f]{32,40}|\d+\.\d+ ?(s\b|MiB|MB)", "...", output)
