"""The tool agrees with the golden bytes, with the reference implementation on random messages, and
with protoc."""

import collections
import itertools
import math
import os
import struct
import subprocess
import unittest

import random_messages
import reference
import tool
import vectors

PROTOC = [os.environ["QMSG_PROTOC"], "--proto_path=" + os.environ["QMSG_PROTO"],
          *sorted(os.listdir(os.environ["QMSG_PROTO"]))]
RANDOM_MESSAGES = 3000


def by_type(messages):
    types = collections.defaultdict(list)
    for type_name, content in messages:
        types[type_name].append(content)
    return types.items()


def as_text_has_it(message, form):
    """Changes the doubles that text cannot represent: every NaN becomes the same, and the runtime
    reads "-0" in JSON as 0."""
    for number, value in message.values.items():
        if reference.SCHEMA.messages[message.type][number].type == "double":
            (double,) = struct.unpack("<d", value)
            if math.isnan(double):
                message.values[number] = struct.pack("<d", math.nan)
            elif form == "json" and double == 0:
                message.values[number] = bytes(8)
        for part in sub_messages(value):
            as_text_has_it(part, form)
    return message


def sub_messages(value):
    parts = value if isinstance(value, list) else value.values() if isinstance(value, dict) \
        else [value]
    return [part for part in parts if isinstance(part, reference.Message)]


def has_unknown(message):
    return bool(message.unknown) or any(has_unknown(part) for value in message.values.values()
                                        for part in sub_messages(value))


class EncodeOfDecode(tool.ToolTest):
    """Is the identity, but for unknown fields, which text keeps for people only."""

    def round_trip(self, type_name, contents, form):
        stream = self.file("stream", tool.delimited(*contents))
        framing = ("--type", type_name, "--framing", "delimited")
        text = self.run_tool("decode", *framing, "--to", form, stream).bytes
        return self.run_tool("encode", *framing, "--from", form, given=text).bytes

    def check(self, messages):
        count = 0
        for type_name, contents in by_type(messages):
            for form in ("json", "text"):
                expected, readable = [], []
                for content in contents:
                    try:
                        message = reference.read(type_name, content)
                        if form == "json":
                            reference.to_json(message)
                    except (reference.Refused, reference.NoJson):
                        continue
                    if form == "text" and has_unknown(message):
                        continue  # the parser of text refuses them
                    readable.append(content)
                    expected.append(reference.write(as_text_has_it(message, form), unknown=False))
                with self.subTest(type_name, form=form):
                    self.assertEqual(tool.delimited(*expected).hex(),
                                     self.round_trip(type_name, readable, form).hex())
                count += len(readable)
        return count

    def test_of_the_golden_bytes(self):
        cases = [(case.type, case.bytes) for case in vectors.load_all()]
        self.assertGreater(self.check(cases), len(cases))

    def test_of_the_golden_bytes_in_a_stream_that_names_their_types(self):
        given, expected = [], []
        for case in vectors.load_all():
            if case.json not in (None, vectors.NO_JSON):
                message = as_text_has_it(reference.read(case.type, case.bytes), "json")
                given.append(tool.in_any(case.type, case.bytes))
                expected.append(tool.in_any(case.type, reference.write(message, unknown=False)))
        stream = self.file("stream", tool.delimited(*given))
        text = self.run_tool("decode", "--framing", "any", stream).bytes
        encoded = self.run_tool("encode", "--framing", "any", given=text).bytes
        self.assertEqual(tool.delimited(*expected).hex(), encoded.hex())

    def test_of_random_messages_of_all_types(self):
        messages = list(itertools.islice(random_messages.Generator(6), RANDOM_MESSAGES))
        self.assertEqual(set(random_messages.TYPES), {type_name for type_name, _ in messages})
        self.assertGreater(self.check(messages), RANDOM_MESSAGES / 2)


class Refusal(tool.ToolTest):
    def test_of_the_refused_golden_bytes_only(self):
        for type_name, cases in by_type((case.type, case) for case in vectors.load_all()):
            stream = self.file("stream", tool.delimited(*(case.bytes for case in cases)))
            run = tool.Run(["decode", "--type", type_name, "--framing", "delimited", "--to", "text",
                            "--keep-going", stream], b"", cwd=self.folder)
            for index, case in enumerate(cases):
                with self.subTest(case.place):
                    self.assertEqual(bool(case.refused),
                                     f"stream: message {index} at offset" in "".join(
                                         line for line in run.errors.splitlines()
                                         if ": not a valid quor." in line))


class Protoc(tool.ToolTest):
    def protoc(self, option, type_name, given):
        done = subprocess.run([*PROTOC, f"--{option}={type_name}"], input=given,
                              capture_output=True, check=True)
        return done.stdout

    def test_prints_the_same_text_and_reads_it(self):
        # One message that has all of a type's golden bytes, since protoc takes one at a time.
        for type_name, cases in by_type((case.type, case) for case in vectors.load_by_hand()):
            content = b"".join(case.bytes for case in cases if not case.refused)
            with self.subTest(type_name):
                ours = self.run_tool("decode", "--type", type_name, "--to", "text",
                                     given=content).bytes
                theirs = self.protoc("decode", type_name, content)
                # protoc escapes what is not ASCII, and keeps all entries of a map's key.
                if ours.isascii() and b"attr_list" not in ours:
                    self.assertEqual(theirs.decode(), ours.decode())
                known = b"".join(case.bytes for case in cases if not case.refused
                                 and not has_unknown(reference.read(type_name, case.bytes)))
                text = self.run_tool("decode", "--type", type_name, "--to", "text",
                                     given=known).bytes
                self.assertEqual(
                    self.protoc("encode", type_name, text).hex(),
                    self.run_tool("encode", "--type", type_name, "--from", "text",
                                  given=text).bytes.hex())


if __name__ == "__main__":
    unittest.main()
