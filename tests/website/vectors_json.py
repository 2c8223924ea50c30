"""Prints the golden vectors as JSON, for tests in JavaScript."""

import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "implementations/reference"))
import vectors  # noqa: E402  pylint: disable=wrong-import-position

json.dump([{"place": case.place, "name": case.name, "type": case.type, "hex": case.bytes.hex(),
            "refused": case.refused, "json": case.json_text} for case in vectors.load_all()],
          sys.stdout)
