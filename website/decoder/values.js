// Writes fields and their values as text.

import { WireType } from "@bufbuild/protobuf/wire";
import { FieldDescriptorProto_Type as FieldType } from "@bufbuild/protobuf/wkt";

/** @typedef {import("./walk.js").Node} Node */

const WIRE_NAMES = ["varint", "64-bit", "len", "group", "end of group", "32-bit"];

/** @param {number} count */
export function byteCount(count) {
  return `${count} ${count === 1 ? "byte" : "bytes"}`;
}

/**
 * The field's name: "queries[0]", "field 7".
 * @param {Node} node
 */
export function nameOf(node) {
  if (node.known && node.field) {
    return node.field.name + (node.field.repeated ? `[${node.index}]` : "");
  }
  return `field ${node.number}`;
}

/**
 * Its number and type, and how it differs from its declaration: "(2, SqlQuery)",
 * "(varint), not declared".
 * @param {Node} node
 */
export function aboutOf(node) {
  if (node.known && node.field) {
    return `(${node.number}, ${node.field.typeName})`;
  }
  const wire = `(${WIRE_NAMES[node.wireType]})`;
  if (node.field) {
    return `${wire}, but ${node.field.name} is ${node.field.typeName}`;
  }
  return node.declaredAround ? `${wire}, not declared` : wire;
}

/**
 * A varint or a number of fixed size, read as the declared type; all readings of an unknown one.
 * @param {Node} node
 */
export function numberText(node) {
  const { raw } = node;
  if (!node.known || !node.field) {
    return unknownNumber(node);
  }
  switch (node.field.type) {
    case FieldType.DOUBLE:
      return doubleText(raw);
    case FieldType.FLOAT:
      return floatText(raw);
    case FieldType.BOOL:
      return raw > 1n ? `true, written as ${raw}` : String(raw === 1n);
    case FieldType.ENUM:
      return enumText(node.field, raw);
    case FieldType.INT32:
      return int32Text(raw);
    case FieldType.UINT32:
      return String(BigInt.asUintN(32, raw)) + cut(raw, raw > 0xffffffffn);
    case FieldType.INT64:
    case FieldType.SFIXED64:
      return String(BigInt.asIntN(64, raw));
    case FieldType.SFIXED32:
      return String(BigInt.asIntN(32, raw));
    case FieldType.SINT32:
    case FieldType.SINT64:
      return String((raw >> 1n) ^ -(raw & 1n));
    default:
      return String(raw);
  }
}

/** @param {Node} node */
function unknownNumber({ wireType, raw }) {
  switch (wireType) {
    case WireType.Bit64:
      return `${raw}, as a double ${doubleText(raw)}`;
    case WireType.Bit32:
      return `${raw}, as a float ${floatText(raw)}`;
    default:
      return raw >> 63n === 0n ? `${raw}` : `${raw}, signed ${BigInt.asIntN(64, raw)}`;
  }
}

/**
 * @param {bigint} raw
 * @param {boolean} isCut
 */
const cut = (raw, isCut) => (isCut ? `, cut to 32 bits from ${raw}` : "");

/** @param {bigint} raw */
function int32Text(raw) {
  const low = BigInt.asIntN(32, raw);
  return String(low) + cut(raw, BigInt.asIntN(64, raw) !== low);
}

/**
 * @param {import("./schema.js").Field} field
 * @param {bigint} raw
 */
function enumText(field, raw) {
  const name = field.enum?.values.get(Number(BigInt.asIntN(32, raw)));
  return name === undefined ? `${int32Text(raw)}, not declared` : `${name} (${int32Text(raw)})`;
}

/** @param {number} number */
const numeral = (number) => (Object.is(number, -0) ? "-0" : String(number));

/** @param {bigint} raw */
function doubleText(raw) {
  const view = new DataView(new ArrayBuffer(8));
  view.setBigUint64(0, raw);
  return numeral(view.getFloat64(0));
}

/** @param {bigint} raw */
function floatText(raw) {
  const view = new DataView(new ArrayBuffer(4));
  view.setUint32(0, Number(raw));
  const number = view.getFloat32(0);
  // The fewest digits that identify this number.
  for (let digits = 1; digits < 9; ++digits) {
    const short = Number(number.toPrecision(digits));
    if (Math.fround(short) === number) {
      return numeral(short);
    }
  }
  return numeral(Number(number.toPrecision(9)));
}

const NANOS = 1_000_000_000n;
const FIRST_SECOND = -62135596800n; // 0001-01-01T00:00:00Z
const LAST_SECOND = 253402300799n; // 9999-12-31T23:59:59Z
const LONGEST = 315576000000n; // 10,000 years

/**
 * A timestamp or a duration: "2026-11-21T08:00:00Z", "1.500s". Empty for messages of other types
 * and for values out of range.
 * @param {Node} node
 */
export function timeText(node) {
  const type = node.type?.fullName;
  if (type !== "google.protobuf.Timestamp" && type !== "google.protobuf.Duration") {
    return "";
  }
  if (node.faults.length > 0 || node.children.some((child) => child.faults.length > 0)) {
    return "";
  }
  const seconds = BigInt.asIntN(64, lastOf(node, 1));
  const nanos = BigInt.asIntN(32, lastOf(node, 2));
  return type.endsWith("Timestamp") ? timestampText(seconds, nanos) : durationText(seconds, nanos);
}

/**
 * @param {Node} node
 * @param {number} number
 */
function lastOf(node, number) {
  return node.children.findLast((child) => child.known && child.number === number)?.raw ?? 0n;
}

/**
 * @param {bigint} seconds
 * @param {bigint} nanos
 */
function timestampText(seconds, nanos) {
  if (seconds < FIRST_SECOND || seconds > LAST_SECOND || nanos < 0n || nanos >= NANOS) {
    return "";
  }
  const whole = new Date(Number(seconds) * 1000).toISOString().slice(0, 19);
  return `${whole}${fraction(nanos)}Z`;
}

/**
 * @param {bigint} seconds
 * @param {bigint} nanos
 */
function durationText(seconds, nanos) {
  const mixed = seconds !== 0n && nanos !== 0n && seconds < 0n !== nanos < 0n;
  if (absolute(seconds) > LONGEST || absolute(nanos) >= NANOS || mixed) {
    return "";
  }
  const sign = seconds < 0n || nanos < 0n ? "-" : "";
  return `${sign}${absolute(seconds)}${fraction(absolute(nanos))}s`;
}

/** @param {bigint} number */
const absolute = (number) => (number < 0n ? -number : number);

/**
 * With three, six or nine digits.
 * @param {bigint} nanos
 */
function fraction(nanos) {
  if (nanos === 0n) {
    return "";
  }
  return `.${String(nanos)
    .padStart(9, "0")
    .replace(/(?:000){1,2}$/, "")}`;
}

/**
 * The text after a field's name and type: "12", "14 bytes", "4 bytes, 1.500s".
 * @param {Node} node
 */
export function valueText(node) {
  if (node.kind === "number") {
    return numberText(node);
  }
  if (node.kind === "group") {
    return "";
  }
  const size = byteCount(node.end - node.value);
  if (node.known) {
    const time = timeText(node);
    return time === "" ? size : `${size}, ${time}`;
  }
  if (node.end === node.value) {
    return size;
  }
  return `${size}, looks like ${node.kind === "message" ? "a message" : node.kind}`;
}
