"""Chooses a small example of each message from the handwritten golden vectors."""

import dataclasses
import json
import pathlib
import sys

import elements

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "implementations/reference"))
import reference  # noqa: E402
import vectors  # noqa: E402

MOST_BYTES = 72


@dataclasses.dataclass
class Part:
    """One field of an example on the wire; `head` is its tag, and its length if it has one."""
    field: elements.Field
    head: bytes
    value: bytes


@dataclasses.dataclass
class Example:
    name: str
    data: bytes
    json: str
    parts: list


def choose(model):
    """{full name of a message: Example}, for messages with a case that fits on a few lines."""
    messages = {message.full_name: message for message in model.messages}
    best = {}
    for case in filter(_can_be_shown, vectors.load_by_hand()):
        parts = _parts(messages[case.type], case.bytes) if case.type in messages else None
        if parts:
            shown = len({part.field.number for part in parts})
            rank = -shown, len(case.bytes)
            if case.type not in best or rank < best[case.type][0]:
                best[case.type] = rank, Example(case.name, case.bytes, _indented(case), parts)
    return {name: example for name, (_, example) in best.items()}


def _can_be_shown(case):
    return case.json not in (None, vectors.NO_JSON) and case.writes == case.bytes and (
        0 < len(case.bytes) <= MOST_BYTES)


def _indented(case):
    return json.dumps(json.loads(case.json_text), indent=2, ensure_ascii=False)


def _parts(message, data):
    """The fields of the bytes in order; None if one of them is not declared."""
    fields = {field.number: field for field in message.fields}
    reader, parts = reference.Reader(data), []
    while not reader.done():
        start = reader.position
        field = fields.get(reader.tag()[0])
        if field is None or data[start:reader.position] != field.tag:
            return None
        head = reader.position
        if field.wire_type == "varint":
            reader.varint()
        elif field.wire_type == "length-delimited":
            length = reader.varint()
            head = reader.position
            reader.take(length)
        else:
            reader.take(8 if field.wire_type == "fixed64" else 4)
        parts.append(Part(field, data[start:head], data[head:reader.position]))
    return parts
