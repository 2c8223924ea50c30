"""Reads the vector files. Their format is described in tests/vectors/README.md."""

import collections
import dataclasses
import json
import pathlib
import re
import sys
import typing

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "tests/vectors"

# A value without a JSON text, such as a time beyond the year 9999.
NO_JSON = object()


class Malformed(Exception):
    def __init__(self, file, line, reason):
        super().__init__(f"{file}:{line}: {reason}")


@dataclasses.dataclass
class Case:
    file: str
    line: int
    name: str
    type: str
    bytes: bytes
    refused: typing.Optional[str]
    json: object
    json_text: typing.Optional[str]
    writes: bytes

    @property
    def place(self):
        return f"{self.file}:{self.line}"


def read_json(text):
    """JSON as a value to compare: numbers by their bits (-0 is not 0), objects without repeated
    keys."""

    def number(digits):
        return ("number", float(digits).hex())

    def refuse(constant):
        raise ValueError(f"{constant} is not JSON; it is written as a string")

    def members(pairs):
        repeated = [key for key, count in collections.Counter(k for k, _ in pairs).items()
                    if count > 1]
        if repeated:
            raise ValueError(f"the key '{repeated[0]}' occurs twice")
        return dict(pairs)

    return json.loads(text, parse_int=number, parse_float=number, parse_constant=refuse,
                      object_pairs_hook=members)


class _Block:
    """The lines of one case."""

    KEYS = {"type", "bytes", "json", "refused", "writes"}
    REPEATABLE = {"bytes", "writes"}

    def __init__(self, file, line, name):
        self.file, self.line, self.name = file, line, name
        self.values = {}
        self.lines = {}

    def fail(self, reason, line=None):
        raise Malformed(self.file, line or self.line, reason)

    def add(self, line, key, value):
        if key not in self.KEYS:
            self.fail(f"'{key}' is none of {', '.join(sorted(self.KEYS))}", line)
        if key in self.values and key not in self.REPEATABLE:
            self.fail(f"a second '{key}' in the case '{self.name}'", line)
        if not value:
            self.fail(f"nothing follows '{key}'", line)
        self.values.setdefault(key, []).append(value)
        self.lines.setdefault(key, []).append(line)

    def single(self, key):
        return self.values[key][0] if key in self.values else None

    def hex(self, key):
        values, lines = self.values[key], self.lines[key]
        if values == ["none"]:
            return b""
        for value, line in zip(values, lines):
            if value == "none":
                self.fail(f"'{key}  none' stands next to other bytes", line)
            if not re.fullmatch(r"([0-9A-Fa-f]{2}\s*)+", value):
                self.fail(f"'{value}' is not made of pairs of hexadecimal digits", line)
        return bytes.fromhex("".join(values))

    def json(self):
        text = self.single("json")
        if text is None:
            return None
        if text == "none":
            return NO_JSON
        line = self.lines["json"][0]
        try:
            value = read_json(text)
        except ValueError as error:
            self.fail(f"not JSON: {error}", line)
        if not isinstance(value, dict):
            self.fail("the JSON of a message is an object", line)
        return value

    def case(self):
        for key in ("type", "bytes"):
            if key not in self.values:
                self.fail(f"the case '{self.name}' has no '{key}'")
        if not re.fullmatch(r"\w+(\.\w+)+", self.single("type")):
            self.fail(f"'{self.single('type')}' is not the full name of a message",
                      self.lines["type"][0])
        if ("refused" in self.values) == ("json" in self.values):
            self.fail(f"the case '{self.name}' needs either 'refused' or 'json'")
        content = self.hex("bytes")
        written = content
        if "writes" in self.values:
            if "refused" in self.values:
                self.fail(f"the case '{self.name}' is refused, so it writes nothing",
                          self.lines["writes"][0])
            written = self.hex("writes")
            if written == content:
                self.fail("'writes' is only for bytes that differ from those read",
                          self.lines["writes"][0])
        return Case(self.file, self.line, self.name, self.single("type"), content,
                    self.single("refused"), self.json(), self.single("json"), written)


def parse(text, file):
    """The cases of one file. Raises Malformed."""
    cases, block, names = [], None, {}

    def finish():
        if block:
            cases.append(block.case())

    for number, line in enumerate(text.splitlines(), 1):
        if line.lstrip().startswith("#"):
            continue
        if not line.strip():
            finish()
            block = None
        elif not line[0].isspace():
            name = line.strip()
            if block:
                raise Malformed(file, number, f"no blank line before '{name}'")
            if name.endswith("."):
                raise Malformed(file, number, "a case's name has no full stop")
            if name in names:
                raise Malformed(file, number, f"line {names[name]} has this name already")
            names[name] = number
            block = _Block(file, number, name)
        else:
            if not block:
                raise Malformed(file, number, "indented, but no case's name stands above it")
            key, _, value = line.strip().partition(" ")
            block.add(number, key, value.strip())
    finish()
    if not cases:
        raise Malformed(file, 1, "no case")
    return cases


def load(path):
    path = pathlib.Path(path)
    try:
        text = path.read_text(encoding="utf-8")
    except UnicodeDecodeError as error:
        line = path.read_bytes()[:error.start].count(b"\n") + 1
        raise Malformed(path.name, line, "not UTF-8") from None
    return parse(text, path.name)


def load_by_hand():
    return _load_folder(lambda path: not path.name.endswith(".generated.txt"))


def load_generated():
    return _load_folder(lambda path: path.name.endswith(".generated.txt"))


def load_all():
    return load_by_hand() + load_generated()


def _load_folder(wanted):
    return [case for path in sorted(FOLDER.glob("*.txt")) if wanted(path) for case in load(path)]


def main():
    try:
        for path in sys.argv[1:]:
            print(f"{path}: {len(load(path))} cases")
    except Malformed as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
