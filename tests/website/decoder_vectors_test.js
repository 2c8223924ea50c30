// Compares the decoder's walk and JSON over all golden vectors with these and with qmsg wire.
// QMSG_VECTORS: what vectors_json.py prints; QMSG_DESCRIPTOR_SET; QMSG: the tool.

import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { jsonText } from "../../website/decoder/json.js";
import { loadSchema } from "../../website/decoder/schema.js";
import { aboutOf, nameOf, valueText } from "../../website/decoder/values.js";
import { walk } from "../../website/decoder/walk.js";

const schema = loadSchema(readFileSync(process.env.QMSG_DESCRIPTOR_SET));
const vectors = JSON.parse(readFileSync(process.env.QMSG_VECTORS, "utf8"));

const bytesOf = ({ hex }) => new Uint8Array(Buffer.from(hex, "hex"));
const treeOf = (vector) => walk(bytesOf(vector), schema.messages.get(vector.type));

/** The report of a case that differs. */
const report = (vector, what) => `${vector.place} ${vector.name} (${vector.hex}): ${what}`;

test("There are vectors of all 49 messages", () => {
  assert.equal(schema.names.length, 49);
  assert.deepEqual(
    schema.names.filter((name) => !vectors.some(({ type }) => type === name)),
    [],
  );
});

test("Bytes are accepted and refused as the vectors say", () => {
  const wrong = vectors.flatMap((vector) => {
    const { faults } = treeOf(vector);
    return faults.length > 0 === (vector.refused !== null)
      ? []
      : [report(vector, faults[0]?.reason ?? "accepted")];
  });
  assert.deepEqual(wrong, []);
});

test("Bytes are accepted and refused alike when no field is kept", () => {
  for (const vector of vectors) {
    const { faults } = walk(bytesOf(vector), schema.messages.get(vector.type), 0);
    assert.equal(faults.length > 0, vector.refused !== null, report(vector, "differs"));
  }
});

// JSON.stringify writes -0 as 0.
const withoutMinusZero = (text) =>
  JSON.parse(text, (_key, value) => (Object.is(value, -0) ? 0 : value));

test("The JSON is that of the vectors", () => {
  let compared = 0;
  for (const vector of vectors.filter(({ refused }) => refused === null)) {
    const json = () =>
      jsonText(treeOf(vector), bytesOf(vector), vector.type, schema, { camelCase: true });
    if (vector.json === "none") {
      assert.throws(json, undefined, report(vector, "has JSON"));
    } else {
      assert.deepEqual(
        withoutMinusZero(json()),
        withoutMinusZero(vector.json),
        report(vector, "other JSON"),
      );
      ++compared;
    }
  }
  assert.ok(compared > 1000, `${compared} compared`);
});

test("Each byte of an accepted message belongs to one field at each level", () => {
  const check = (vector, nodes, begin, end) => {
    for (const node of nodes) {
      assert.equal(node.begin, begin, report(vector, `a gap before ${node.begin}`));
      if (node.kind === "message") {
        check(vector, node.children, node.value, node.end);
      }
      begin = node.end;
    }
    assert.equal(begin, end, report(vector, `a gap at ${begin}`));
  };
  for (const vector of vectors.filter(({ refused }) => refused === null)) {
    const tree = treeOf(vector);
    check(vector, tree.nodes, 0, bytesOf(vector).length);
  }
});

// Comparison with the tool.

const TEXT_COLUMN = 33;

/** Removes differences in the form of doubles and in line breaks. */
const comparable = (text) => withSameNumbers(text).replaceAll(/\s/g, "");

const withSameNumbers = (text) =>
  text.replace(/((?:, |as a )(?:double|float)\)?:? )(\S+)/g, (_all, before, digits) => {
    const number = Number(digits.replace("inf", "Infinity"));
    return before + (Object.is(number, -0) ? "-0" : number);
  });

/** The fields of a tree as [offset, text]. Faults outside of fields have the offset -1. */
function rows(nodes) {
  return nodes.flatMap((node) => {
    const utf8 = node.faults.filter(({ reason }) => reason.includes("UTF-8"));
    const wire = node.faults.find((fault) => !utf8.includes(fault));
    const value = valueText(node);
    const text =
      node.number === undefined
        ? `<- ${wire.reason}`
        : `${nameOf(node)} ${aboutOf(node)}` +
          (wire ? ` <- ${wire.reason}` : value === "" ? "" : `: ${value}`);
    const own = node.number === undefined && node.begin === node.end ? -1 : node.begin;
    return [
      [own, comparable(text)],
      ...utf8.map(({ offset, reason }) => [-1, comparable(`<- at ${offset}: ${reason}`)]),
      ...rows(node.children),
    ];
  });
}

/**
 * The same for the lines that the tool prints of one message, whose bytes begin at that offset of
 * its input.
 */
function toolRows(lines, begin) {
  const found = [];
  let indent = -1;
  for (const line of lines) {
    const offset = /^ *(\d+) {2}/.exec(line);
    // Deeper than ten levels, a number stands for the indentation.
    const text = line.slice(TEXT_COLUMN).replace(/^( *)\[\d+\] /, "$1");
    const own = text.search(/\S/);
    if (own < 0) {
      continue;
    }
    if (indent >= 0 && own === indent + 4) {
      found.at(-1)[1] += ` ${text.trim()}`;
    } else if (/^(?:\S+ \(\d|field \d+ \(|<- )/.test(text.trim())) {
      found.push([offset ? offset[1] - begin : -1, text.trim()]);
      indent = own;
    }
  }
  return found.map(([offset, text]) => [
    offset,
    comparable(text.replace(/^<- at (\d+)/, (_all, at) => `<- at ${at - begin}`)),
  ]);
}

/** What the tool shows of each message of a stream, and how many faults it counts in all. */
function runTool(cases, type) {
  const begins = [];
  let input = Buffer.alloc(0);
  for (const { hex } of cases) {
    const bytes = Buffer.from(hex, "hex");
    const size = bytes.length;
    assert.ok(size < 1 << 14);
    const length = size < 128 ? [size] : [(size & 127) | 128, size >> 7];
    begins.push(input.length + length.length);
    input = Buffer.concat([input, Buffer.from(length), bytes]);
  }
  const named = type ? ["--type", type] : [];
  const { status, stdout, stderr } = spawnSync(
    process.env.QMSG,
    ["wire", "--framing", "delimited", ...named],
    { input, encoding: "utf8", maxBuffer: 1 << 26 },
  );
  assert.ok(status === 0 || status === 1, `exit status ${status}: ${stderr}`);
  const messages = [];
  for (const line of stdout.split("\n")) {
    if (/^message \d+: /.test(line.slice(TEXT_COLUMN))) {
      messages.push([]);
    } else {
      messages.at(-1)?.push(line); // before the first is a title
    }
  }
  assert.equal(messages.length, cases.length, `of ${type || "no type"}`);
  return {
    rows: messages.map((lines, index) => toolRows(lines, begins[index])),
    faults: Number(/: (\d+) faults?, /.exec(stderr)?.[1] ?? 0),
  };
}

/** Compares them as one stream: a process for each vector would take long. */
function compareWithTool(cases, type) {
  const tool = runTool(cases, type);
  const trees = cases.map((vector) => walk(bytesOf(vector), schema.messages.get(type)));
  const wrong = cases.flatMap((vector, index) => {
    const own = JSON.stringify(rows(trees[index].nodes));
    const theirs = JSON.stringify(tool.rows[index]);
    return own === theirs ? [] : [report(vector, `\n  here ${own}\n  tool ${theirs}`)];
  });
  assert.equal(wrong.length, 0, `${wrong.length} differ:\n${wrong.slice(0, 10).join("\n")}`);
  assert.equal(
    trees.reduce((sum, { faults }) => sum + faults.length, 0),
    tool.faults,
    `faults of ${type || "no type"}`,
  );
}

test("Offsets, names, types, values and faults are those of qmsg wire, with a type", () => {
  for (const name of schema.names) {
    compareWithTool(
      vectors.filter(({ type }) => type === name),
      name,
    );
  }
});

test("Offsets, names, types, values and faults are those of qmsg wire, without a type", () => {
  compareWithTool(
    vectors.filter(({ place }) => !place.includes("generated")),
    "",
  );
});
