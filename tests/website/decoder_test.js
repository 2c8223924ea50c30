// The decoder's modules, with bytes worked out by hand.
// QMSG_DESCRIPTOR_SET: the descriptor set of the schema files.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { detect, InputError, MAX_BYTES, readInput } from "../../website/decoder/input.js";
import { readLink, writeLink } from "../../website/decoder/link.js";
import { loadSchema } from "../../website/decoder/schema.js";
import { escapeText } from "../../website/decoder/utf8.js";
import { findFrames, fittingTypes, walk } from "../../website/decoder/walk.js";

const schema = loadSchema(readFileSync(process.env.QMSG_DESCRIPTOR_SET));
const bytes = (hex) => new Uint8Array(Buffer.from(hex, "hex"));
const hex = (content) => Buffer.from(content).toString("hex");

// The dumps begin a message with "r17" and "SELECT 1": 0a03 7231 3712 0e10 012a 0853 454c 4543.
const accepted = [
  ["pairs", "0a 03 72", "hex", "0a0372"],
  ["no spaces", "0a0372", "hex", "0a0372"],
  ["capitals and line ends", "0A\r\n03\n72\n", "hex", "0a0372"],
  ["colons", "0a:03:72", "hex", "0a0372"],
  ["0x and commas", "0x0a, 0x03,0x72", "hex", "0a0372"],
  ["\\x", "\\x0a\\x03\\x72", "hex", "0a0372"],
  [
    "xxd",
    "00000000: 0a03 7231 3712 0e10  ..r17...\n00000008: 012a       .*",
    "dump",
    "0a03723137120e10012a",
  ],
  [
    "hexdump -C",
    "00000000  0a 03 72 31 37 12 0e 10  01 2a  |..r17....*|\n0000000a\n",
    "dump",
    "0a03723137120e10012a",
  ],
  ["tcpdump -X", "\t0x0000:  0a03 7231  ..r1\n\t0x0004:  3712       7.", "dump", "0a0372313712"],
  ["a later part of a dump", "00000010: 0a03 7231  ..r1\n00000014: 37  7", "dump", "0a03723137"],
  ["base64", "CgNyMTc=", "base64", "0a03723137"],
  ["base64 without padding", "CgNyMTc", "base64", "0a03723137"],
  ["base64 with + and /", "+/8=", "base64", "fbff"],
  ["base64 with - and _", "-_8", "base64", "fbff"],
  ["base64 in lines", "CgNy\nMTc=\n", "base64", "0a03723137"],
  ["nothing", " \n", "none", ""],
];

for (const [what, text, form, expected] of accepted) {
  test(`Input is read: ${what}`, () => {
    assert.equal(detect(text), form);
    const read = readInput(text, "auto");
    assert.equal(hex(read.bytes), expected);
    assert.equal(read.form, form);
  });
}

const refused = [
  [
    "an odd number of digits",
    "0a 03 7",
    "auto",
    /'7' at position 7, is unpaired, after offset 2/,
  ],
  ["a wrong digit", "0a 0g", "auto", /'g' at position 5 is not a hexadecimal digit/],
  ["a wrong digit in line 2", "0a 03\n7x", "auto", /'x' at line 2, position 2/],
  ["an invisible character", "0a\u200b03", "auto", /U\+200B at position 3/],
  [
    "base64 with a point",
    "CgNy.Tc=",
    "base64",
    /'\.' at position 5 is not a base64 digit, after offset 3/,
  ],
  [
    "base64 with a wrong character",
    "CgNyMTc!CgNy",
    "auto",
    /'!' at position 8 is not a base64 digit, after offset 5/,
  ],
  ["base64 after its padding", "CgNyMTc=CgNy", "base64", /'C' at position 9 follows the end/],
  ["base64 cut off", "CgNyM", "base64", /inside a byte, after offset 3/],
  [
    "a dump with a hole",
    "00000000: 0a03  ..\n00000010: 72  r",
    "auto",
    /line 2 .* is 0x10, but 2 bytes/,
  ],
  [
    "a dump with omitted lines",
    "00000000  00 00  |..|\n*\n00000020\n",
    "auto",
    /line 2 .*hexdump -v/,
  ],
  ["a dump with an odd digit", "00000000: 0a0  ..", "auto", /line 1 .* pairs/],
];

for (const [what, text, form, message] of refused) {
  test(`Input is refused with the position of the mistake: ${what}`, () => {
    assert.throws(
      () => readInput(text, form),
      (error) => {
        assert.ok(error instanceof InputError);
        assert.match(error.message, message);
        return true;
      },
    );
  });
}

test("The largest input is 4 MiB", () => {
  assert.equal(readInput("00".repeat(MAX_BYTES), "hex").bytes.length, MAX_BYTES);
  assert.throws(() => readInput("00".repeat(MAX_BYTES + 1), "hex"), /4 MiB/);
});

const faults = [
  ["a varint cut off", "SqlQuery", "10 80", 1, /a number is cut off/],
  ["a length beyond the end", "Login", "0a c8 01 61", 1, /200 bytes, but .* only 1 left/],
  [
    "the end of a group that has not begun",
    "SqlQuery",
    "50 0c 14",
    2,
    /group of field 2, which was not started/,
  ],
  [
    "the end of another group",
    "SqlQuery",
    "7b 84 01",
    1,
    /group of field 16 inside the group of field 15/,
  ],
  ["a group without end", "SqlQuery", "7b 08 01", 3, /group of field 15 has no end/],
  ["field number 0", "SqlQuery", "50 0c 00 01", 2, /field number 0/],
  ["wire type 6", "SqlQuery", "50 0c 16", 2, /wire type 6 in the tag of field 2/],
  ["wire type 7", "SqlQuery", "17", 0, /wire type 7/],
  ["text that is not UTF-8", "SqlQuery", "2a 03 61 c3 28", 3, /byte 0xc3 is not? valid UTF-8/],
  ["a surrogate", "SqlQuery", "2a 03 ed a0 80", 2, /byte 0xed/],
  ["a number of eight bytes cut off", "QVal", "29 00 00", 1, /8 bytes is cut off: .* has 2/],
  ["a varint of eleven bytes", "SqlQuery", `10${"80".repeat(10)}01`, 1, /longer than 10 bytes/],
  [
    "groups 101 deep",
    "SqlQuery",
    `${"7b".repeat(101)}${"7c".repeat(101)}`,
    100,
    /more than 100 deep/,
  ],
  [
    "a fault in a nested message",
    "SqlQueries",
    "12 03 50 0c 07",
    4,
    /wire type 7 in the tag of field 0/,
  ],
];

for (const [what, name, content, offset, reason] of faults) {
  test(`A fault is reported with its offset: ${what}`, () => {
    const full = schema.names.find((candidate) => candidate.endsWith(`.${name}`));
    const tree = walk(bytes(content.replaceAll(" ", "")), schema.messages.get(full));
    assert.equal(tree.faults.length, 1);
    assert.equal(tree.faults[0].offset, offset);
    assert.match(tree.faults[0].reason, reason);
    assert.notEqual(tree.faults[0].advice, "");
  });
}

test("The fields before a fault are kept, also those of a truncated message", () => {
  const tree = walk(
    bytes("0a03723137120e10012a0853454c45"),
    schema.messages.get("quor.protobuf.Tarq.SqlQueries"),
  );
  assert.deepEqual(
    tree.nodes.map(({ begin, number }) => [begin, number]),
    [
      [0, 1],
      [5, 2],
    ],
  );
  assert.deepEqual(
    tree.nodes[1].children.map(({ begin, number }) => [begin, number]),
    [
      [7, 2],
      [9, 5],
    ],
  );
});

test("Invisible characters and invalid bytes are escaped", () => {
  const shown = (text) => escapeText(new TextEncoder().encode(text)).text;
  assert.equal(shown('a"\\\n\t\u001b\u007f'), 'a\\"\\\\\\n\\t\\x1b\\x7f');
  assert.equal(shown("é\u202e\u2066\u200b\ufeff"), "é\\u202e\\u2066\\u200b\\ufeff");
  assert.equal(shown("\u{e0041}"), "\\U000e0041");
  assert.equal(escapeText(bytes("61ff62")).text, "a\\xffb");
});

test("Fields beyond the limit are not kept, but checked and counted", () => {
  const type = schema.messages.get("quor.protobuf.JQ.JobIdList");
  const many = walk(bytes(`${"0a00".repeat(30)}07`), type, 10);
  assert.equal(many.nodes.filter(({ number }) => number === 1).length, 10);
  assert.equal(many.complete, false);
  assert.equal(many.fields, 30);
  assert.equal(many.faults[0].offset, 60);
});

test("Four MiB of the smallest fields take less than ten seconds", () => {
  const begin = performance.now();
  const most = new Uint8Array(MAX_BYTES);
  for (let at = 0; at < most.length; at += 2) {
    most[at] = 10;
  }
  const tree = walk(most, schema.messages.get("quor.protobuf.JQ.JobList"));
  assert.equal(tree.fields, MAX_BYTES / 2);
  assert.ok(performance.now() - begin < 10_000);
});

test("Length-delimited messages are found, and a truncated one is reported", () => {
  assert.deepEqual(findFrames(bytes("02500c00")).frames, [
    { begin: 0, value: 1, end: 3 },
    { begin: 3, value: 4, end: 4 },
  ]);
  const cut = findFrames(bytes("02500c055001"));
  assert.equal(cut.frames.length, 1);
  assert.equal(cut.fault.offset, 3);
  assert.match(cut.fault.reason, /5 bytes, but the input has only 2 left/);
});

test("Fitting types are found", () => {
  // Field 1 text, field 2 a message with a number 2 and a text 5.
  const names = fittingTypes(bytes("0a03723137120e10012a0853454c4543542031500c"), schema);
  assert.equal(names[0], "quor.protobuf.Tarq.SqlQueries");
  assert.ok(!names.includes("quor.protobuf.Login.Login"));
  assert.deepEqual(fittingTypes(bytes("07"), schema), []);
});

test("A link is read back as it was written", () => {
  const link = { type: "quor.protobuf.Tarq.SqlQuery", base64: "+/8=", framing: "delimited" };
  assert.deepEqual(readLink(writeLink(link)), link);
  assert.deepEqual(readLink("#type=a.B&base64=+/8="), { type: "a.B", base64: "+/8=" });
  assert.deepEqual(readLink("#content"), {});
});
