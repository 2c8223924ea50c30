// Writes a message as JSON with the library @bufbuild/protobuf.

import { fromBinary, toJsonString } from "@bufbuild/protobuf";
import { BinaryWriter, WireType } from "@bufbuild/protobuf/wire";

/**
 * @typedef {import("./walk.js").Node} Node
 * @typedef {import("./walk.js").Tree} Tree
 */

/**
 * The bytes of the known fields. The library misreads fields whose wire type is not the declared
 * one, and JSON has no unknown fields.
 * @param {Node[]} nodes
 * @param {Uint8Array} bytes
 * @returns {Uint8Array}
 */
function knownBytes(nodes, bytes) {
  const writer = new BinaryWriter();
  for (const node of nodes) {
    if (!node.known || node.number === undefined) {
      continue;
    }
    if (node.kind === "message") {
      writer.tag(node.number, WireType.LengthDelimited).bytes(knownBytes(node.children, bytes));
    } else {
      writer.raw(bytes.subarray(node.begin, node.end));
    }
  }
  return writer.finish();
}

/**
 * Indented JSON with the fields' names of the schema files, or in camelCase. Throws where a message
 * has no JSON form, such as a time after the year 9999.
 * @param {Tree} tree without faults, and complete
 * @param {Uint8Array} bytes that it was made of
 * @param {string} type its full name
 * @param {import("./schema.js").Schema} schema
 * @param {{ camelCase?: boolean }} options
 */
export function jsonText(tree, bytes, type, { registry }, { camelCase = false } = {}) {
  const descriptor = registry.getMessage(type);
  if (descriptor === undefined) {
    throw new Error(`no message is called ${type}`);
  }
  const message = fromBinary(descriptor, knownBytes(tree.nodes, bytes));
  return toJsonString(descriptor, message, { prettySpaces: 2, useProtoFieldName: !camelCase });
}
