// Reads the wire format field by field, and reports where each field is and where the bytes are
// malformed. It accepts and refuses the same bytes as the C++ runtime; JavaScript's parsers differ.

import { WireType } from "@bufbuild/protobuf/wire";
import { FieldDescriptorProto_Type as FieldType } from "@bufbuild/protobuf/wkt";

import { guessContentKind } from "./content_kind.js";
import { firstBadByte } from "./utf8.js";

const MAX_DEPTH = 100; // of messages and groups
const MAX_LENGTH = 2 ** 31 - 1 - 16;
const MAX_VARINT = 10;
const MAX_TAG = 5;

/** How many fields are kept to be shown, by default. */
export const MAX_FIELDS = 20_000;

/** How many bytes of unknown values are searched for messages. */
const MAX_LOOKS = 16 * 1024 * 1024;

/**
 * @typedef {import("./schema.js").Field} Field
 * @typedef {import("./schema.js").Message} Message
 *
 * @typedef {object} Fault
 * @property {number} offset of the first malformed byte
 * @property {string} reason
 * @property {string} advice what to do
 *
 * A field of the bytes, or (without a number) bytes that are not a field.
 * @typedef {object} Node
 * @property {number} begin offset of its tag
 * @property {number} value offset after the tag and the length, if there is one
 * @property {number} end offset after its last byte
 * @property {number | undefined} number
 * @property {WireType} wireType
 * @property {Field | undefined} field declared with that number in its message
 * @property {boolean} known whether a parser reads it as that field
 * @property {boolean} declaredAround whether the type of its message is known
 * @property {number} index how often its number occurred before in its message
 * @property {bigint} raw a varint or a number of fixed size
 * @property {"number" | "text" | "message" | "group" | "bytes"} kind
 * @property {Message | undefined} type of a known message
 * @property {Node[]} children
 * @property {Fault[]} faults
 *
 * @typedef {object} Tree
 * @property {Node[]} nodes
 * @property {Fault[]} faults all of them, in the order of the walk
 * @property {number} fields how many there are, at all levels
 * @property {number} unknown how many of them fit no declaration
 * @property {number} highest field number
 * @property {boolean} complete whether the tree has all of them
 */

const ADVICE = {
  cut:
    "The input is truncated, or its type is another one: capture all bytes, or try another type.",
  tag: "These bytes are not a field: the input starts inside a message, or is not a message.",
  varint: "These bytes are not a number: the input starts inside a message, or is not a message.",
  depth: "Parsers refuse this. Messages of the schema nest at most seven levels deep.",
  utf8: "Strings have to be UTF-8: the writer has to convert them, or the type is another one.",
};

class Walker {
  /**
   * @param {Uint8Array} bytes
   * @param {number} maxFields
   */
  constructor(bytes, maxFields) {
    this.bytes = bytes;
    this.maxFields = maxFields;
    this.looks = MAX_LOOKS;
    /** @type {Tree} */
    this.tree = { nodes: [], faults: [], fields: 0, unknown: 0, highest: 0, complete: true };
  }

  /**
   * @param {Node} node
   * @param {number} offset
   * @param {string} reason
   * @param {string} advice
   */
  refuse(node, offset, reason, advice) {
    const fault = { offset, reason, advice };
    node.faults.push(fault);
    this.tree.faults.push(fault);
    return false;
  }

  /**
   * Reads a varint into node.raw. Returns the offset after it; -1 after a fault.
   * @param {Node} node
   * @param {number} at
   * @param {number} end
   * @param {number} max
   * @param {string} what
   */
  varint(node, at, end, max, what) {
    // The first 28 bits without BigInt, which is slow.
    let low = 0;
    let value = 0n;
    for (let i = 0; i < max; ++i) {
      if (at + i >= end) {
        this.refuse(
          node,
          at,
          `${what} is cut off: the ${this.around(end)} ends inside it`,
          ADVICE.cut,
        );
        return -1;
      }
      const byte = this.bytes[at + i];
      if (i < 4) {
        low |= (byte & 0x7f) << (7 * i);
      } else {
        value |= BigInt(byte & 0x7f) << BigInt(7 * i);
      }
      if (byte < 0x80) {
        node.raw = BigInt.asUintN(64, value | BigInt(low));
        return at + i + 1;
      }
    }
    this.refuse(
      node,
      at,
      `${what} is longer than ${max} bytes, the maximum`,
      ADVICE.varint,
    );
    return -1;
  }

  /** @param {number} end */
  around(end) {
    return end === this.bytes.length ? "message" : "message around it";
  }

  /**
   * Walks the fields from `at` to `end`, or to the end of the group of that number. Returns the
   * offset of that end; -1 after a fault.
   * @param {number} at
   * @param {number} end
   * @param {Message | undefined} type
   * @param {number} depth
   * @param {number} group 0: none
   * @param {Node[]} into
   */
  message(at, end, type, depth, group, into) {
    /** @type {Map<number, number>} */
    const counts = new Map();
    while (at < end) {
      const node = emptyNode(at, end);
      node.declaredAround = type !== undefined;
      const value = this.varint(node, at, end, MAX_TAG, "the tag of a field");
      if (value < 0) {
        into.push(node);
        return -1;
      }
      const tag = Number(BigInt.asUintN(32, node.raw));
      const number = tag >>> 3;
      node.raw = 0n;
      node.value = value;
      node.wireType = tag & 7;
      if (node.wireType === WireType.EndGroup && number === group && group !== 0) {
        return value;
      }
      const reason = whyNoTag(number, node.wireType, group);
      if (reason !== "") {
        this.refuse(node, at, reason, ADVICE.tag);
        into.push(node);
        return -1;
      }
      node.number = number;
      node.field = type?.fields.get(number);
      node.known = node.field?.wireType === node.wireType;
      if (node.known) {
        node.index = counts.get(number) ?? 0;
        counts.set(number, node.index + 1);
      }
      this.count(node, into);
      if (!this.field(value, end, depth, node)) {
        return -1;
      }
      at = node.end;
    }
    if (group !== 0) {
      const node = emptyNode(end, end);
      this.refuse(
        node,
        end,
        `the group of field ${group} has no end: the ${this.around(end)} ends first`,
        ADVICE.cut,
      );
      into.push(node);
      return -1;
    }
    return at;
  }

  /**
   * @param {Node} node
   * @param {Node[]} into
   */
  count(node, into) {
    ++this.tree.fields;
    this.tree.highest = Math.max(this.tree.highest, node.number ?? 0);
    if (!node.known) {
      ++this.tree.unknown;
    }
    if (this.tree.fields <= this.maxFields) {
      into.push(node);
    } else {
      this.tree.complete = false;
    }
  }

  /**
   * Walks the value at `at`. Returns false if nothing after it can be read.
   * @param {number} at
   * @param {number} end
   * @param {number} depth
   * @param {Node} node
   */
  field(at, end, depth, node) {
    switch (node.wireType) {
      case WireType.Varint:
        node.end = this.varint(node, at, end, MAX_VARINT, "a number");
        if (node.end < 0) {
          node.end = end;
          return false;
        }
        return true;
      case WireType.Bit64:
        return this.fixed(at, end, 8, node);
      case WireType.Bit32:
        return this.fixed(at, end, 4, node);
      case WireType.StartGroup:
        return this.group(at, end, depth, node);
      default:
        return this.lengthDelimited(at, end, depth, node);
    }
  }

  /**
   * @param {number} at
   * @param {number} end
   * @param {number} size
   * @param {Node} node
   */
  fixed(at, end, size, node) {
    if (end - at < size) {
      const has = `the ${this.around(end)} has ${end - at} of them`;
      return this.refuse(node, at, `a number of ${size} bytes is cut off: ${has}`, ADVICE.cut);
    }
    for (let i = size - 1; i >= 0; --i) {
      node.raw = (node.raw << 8n) | BigInt(this.bytes[at + i]);
    }
    node.end = at + size;
    return true;
  }

  /**
   * @param {number} at
   * @param {number} end
   * @param {number} depth
   * @param {Node} node
   */
  group(at, end, depth, node) {
    if (depth === 0) {
      return this.refuseDepth(node);
    }
    node.kind = "group";
    const groupEnd = this.message(
      at,
      end,
      undefined,
      depth - 1,
      /** @type {number} */ (node.number),
      node.children,
    );
    node.end = groupEnd < 0 ? end : groupEnd;
    return groupEnd >= 0;
  }

  /**
   * @param {number} at
   * @param {number} end
   * @param {number} depth
   * @param {Node} node
   */
  lengthDelimited(at, end, depth, node) {
    const value = this.varint(node, at, end, MAX_TAG, "a length");
    if (value < 0) {
      return false;
    }
    const length = Number(node.raw);
    const declared = node.known ? node.field?.type : undefined;
    node.raw = 0n;
    if (length > MAX_LENGTH) {
      const reason = `a length of ${length} bytes exceeds the limit of a message`;
      return this.refuse(node, at, reason, ADVICE.tag);
    }
    if (length > end - value) {
      const left = `the ${this.around(end)} has only ${end - value} left`;
      this.refuse(node, at, `a length of ${length} bytes, but ${left}`, ADVICE.cut);
      // Shows the beginning of a string or message that the input cuts off.
      if (end === this.bytes.length && declared !== undefined) {
        node.value = value;
        node.kind = declared === FieldType.STRING ? "text" : "bytes";
        if (declared === FieldType.MESSAGE && depth > 0) {
          node.kind = "message";
          node.type = node.field?.message;
          this.message(value, end, node.type, depth - 1, 0, node.children);
        }
      }
      return false;
    }
    node.value = value;
    node.end = value + length;
    if (declared === FieldType.MESSAGE) {
      if (depth === 0) {
        return this.refuseDepth(node);
      }
      node.kind = "message";
      node.type = node.field?.message;
      // After a fault in the message, the walk continues after the message.
      this.message(value, node.end, node.type, depth - 1, 0, node.children);
      return true;
    }
    node.kind = declared === FieldType.STRING ? "text" : "bytes";
    if (declared === FieldType.STRING) {
      const bad = firstBadByte(this.bytes, value, node.end);
      if (bad < node.end) {
        const byte = this.bytes[bad].toString(16).padStart(2, "0");
        this.refuse(node, bad, `byte 0x${byte} is not valid UTF-8`, ADVICE.utf8);
      }
    } else if (this.maxFields > 0) {
      this.look(node, depth);
    }
    return true;
  }

  /**
   * Guesses the kind of an undeclared value.
   * @param {Node} node
   * @param {number} depth
   */
  look(node, depth) {
    const content = this.bytes.subarray(node.value, node.end);
    if (this.looks < content.length) {
      return;
    }
    this.looks -= content.length;
    const looks = guessContentKind(content);
    node.kind = looks === "message" && depth === 0 ? "bytes" : looks;
    if (node.kind === "message") {
      this.message(node.value, node.end, undefined, depth - 1, 0, node.children);
    }
  }

  /** @param {Node} node */
  refuseDepth(node) {
    const reason = `messages and groups are nested more than ${MAX_DEPTH} deep`;
    return this.refuse(node, node.begin, reason, ADVICE.depth);
  }
}

/**
 * @param {number} begin
 * @param {number} end
 * @returns {Node}
 */
function emptyNode(begin, end) {
  return {
    begin,
    value: begin,
    end,
    number: undefined,
    wireType: WireType.Varint,
    field: undefined,
    known: false,
    declaredAround: false,
    index: 0,
    raw: 0n,
    kind: "number",
    type: undefined,
    children: [],
    faults: [],
  };
}

/**
 * @param {number} number
 * @param {number} wireType
 * @param {number} group
 */
function whyNoTag(number, wireType, group) {
  if (wireType === WireType.EndGroup) {
    return group === 0
      ? `the end of a group of field ${number}, which was not started`
      : `the end of a group of field ${number} inside the group of field ${group}`;
  }
  if (wireType > WireType.Bit32) {
    return `wire type ${wireType} in the tag of field ${number} does not exist`;
  }
  return number === 0 ? "a tag with field number 0" : "";
}

/**
 * Walks the bytes as one message of that type, or of an unknown one.
 * @param {Uint8Array} bytes
 * @param {Message | undefined} type
 * @param {number} maxFields how many are kept in the tree
 * @returns {Tree}
 */
export function walk(bytes, type, maxFields = MAX_FIELDS) {
  const walker = new Walker(bytes, maxFields);
  walker.message(0, bytes.length, type, MAX_DEPTH, 0, walker.tree.nodes);
  return walker.tree;
}

/**
 * Finds length-delimited messages; the length is a varint.
 * @param {Uint8Array} bytes
 * @returns {{ frames: { begin: number, value: number, end: number }[], fault: Fault | undefined }}
 */
export function findFrames(bytes) {
  const walker = new Walker(bytes, 0);
  const frames = [];
  for (let at = 0; at < bytes.length;) {
    const node = emptyNode(at, bytes.length);
    const value = walker.varint(node, at, bytes.length, MAX_TAG, "the length of a message");
    if (value < 0) {
      return { frames, fault: node.faults[0] };
    }
    const end = value + Number(node.raw);
    if (end > bytes.length) {
      const left = bytes.length - value;
      const reason = `a message of ${node.raw} bytes, but the input has only ${left} left`;
      return { frames, fault: { offset: at, reason, advice: ADVICE.cut } };
    }
    frames.push({ begin: at, value, end });
    at = end;
  }
  return { frames, fault: undefined };
}

/**
 * The types that parse the bytes and declare all their fields, those with the most fields first.
 * @param {Uint8Array} bytes
 * @param {import("./schema.js").Schema} schema
 * @returns {string[]}
 */
export function fittingTypes(bytes, schema) {
  return schema.names
    .map((name) => ({ name, tree: walk(bytes, schema.messages.get(name), 0) }))
    .filter(({ tree }) => tree.faults.length === 0 && tree.unknown === 0)
    .sort((a, b) => b.tree.fields - a.tree.fields)
    .map(({ name }) => name);
}
