// The declarations of the descriptor set, by field number, as walk.js needs them.

import { createFileRegistry, fromBinary } from "@bufbuild/protobuf";
import {
  FieldDescriptorProto_Label,
  FieldDescriptorProto_Type as FieldType,
  FileDescriptorSetSchema,
} from "@bufbuild/protobuf/wkt";
import { WireType } from "@bufbuild/protobuf/wire";

/**
 * @typedef {object} Enum
 * @property {string} name without its package
 * @property {Map<number, string>} values names by number, the first of several
 *
 * @typedef {object} Field
 * @property {string} name
 * @property {number} number
 * @property {FieldType} type
 * @property {string} typeName for people: "int32", "SqlQuery", "map entry"
 * @property {number} wireType of one value
 * @property {boolean} repeated
 * @property {Message=} message
 * @property {Enum=} enum
 *
 * @typedef {object} Message
 * @property {string} name without its package
 * @property {string} fullName
 * @property {boolean} isMapEntry
 * @property {Map<number, Field>} fields
 *
 * @typedef {object} Schema
 * @property {import("@bufbuild/protobuf").FileRegistry} registry
 * @property {Map<string, Message>} messages by full name
 * @property {string[]} names of the messages to choose from, in order of declaration
 */

const TYPE_NAMES = new Map([
  [FieldType.DOUBLE, "double"],
  [FieldType.FLOAT, "float"],
  [FieldType.INT64, "int64"],
  [FieldType.UINT64, "uint64"],
  [FieldType.INT32, "int32"],
  [FieldType.FIXED64, "fixed64"],
  [FieldType.FIXED32, "fixed32"],
  [FieldType.BOOL, "bool"],
  [FieldType.STRING, "string"],
  [FieldType.BYTES, "bytes"],
  [FieldType.UINT32, "uint32"],
  [FieldType.SFIXED32, "sfixed32"],
  [FieldType.SFIXED64, "sfixed64"],
  [FieldType.SINT32, "sint32"],
  [FieldType.SINT64, "sint64"],
]);

/** @param {FieldType} type */
function wireTypeOf(type) {
  switch (type) {
    case FieldType.DOUBLE:
    case FieldType.FIXED64:
    case FieldType.SFIXED64:
      return WireType.Bit64;
    case FieldType.FLOAT:
    case FieldType.FIXED32:
    case FieldType.SFIXED32:
      return WireType.Bit32;
    case FieldType.STRING:
    case FieldType.BYTES:
    case FieldType.MESSAGE:
      return WireType.LengthDelimited;
    case FieldType.GROUP:
      return WireType.StartGroup;
    default:
      return WireType.Varint;
  }
}

/**
 * @param {Uint8Array} descriptorSet a FileDescriptorSet in wire format
 * @param {string} root the package of the messages to choose from
 * @returns {Schema}
 */
export function loadSchema(descriptorSet, root = "quor.protobuf") {
  const set = fromBinary(FileDescriptorSetSchema, descriptorSet);
  /** @type {Map<string, Message>} */
  const messages = new Map();
  /** @type {Map<string, Enum>} */
  const enums = new Map();
  /** @type {[Message, import("@bufbuild/protobuf/wkt").FieldDescriptorProto[]][]} */
  const declared = [];

  /**
   * @param {import("@bufbuild/protobuf/wkt").EnumDescriptorProto} proto
   * @param {string} scope
   * @param {string} around
   */
  const addEnum = (proto, scope, around) => {
    /** @type {Map<number, string>} */
    const values = new Map();
    for (const value of proto.value) {
      if (!values.has(value.number)) {
        values.set(value.number, value.name);
      }
    }
    enums.set(`.${scope}${around}${proto.name}`, { name: around + proto.name, values });
  };

  /**
   * @param {import("@bufbuild/protobuf/wkt").DescriptorProto} proto
   * @param {string} scope
   * @param {string} around
   */
  const addMessage = (proto, scope, around) => {
    const message = {
      name: around + proto.name,
      fullName: scope + around + proto.name,
      isMapEntry: proto.options?.mapEntry ?? false,
      fields: new Map(),
    };
    messages.set(message.fullName, message);
    declared.push([message, proto.field]);
    proto.enumType.forEach((inner) => addEnum(inner, scope, `${message.name}.`));
    proto.nestedType.forEach((inner) => addMessage(inner, scope, `${message.name}.`));
  };

  for (const file of set.file) {
    const scope = file.package === "" ? "" : `${file.package}.`;
    file.enumType.forEach((proto) => addEnum(proto, scope, ""));
    file.messageType.forEach((proto) => addMessage(proto, scope, ""));
  }
  for (const [message, fields] of declared) {
    for (const proto of fields) {
      message.fields.set(proto.number, resolve(proto, messages, enums));
    }
  }
  const names = [...messages.values()]
    .filter((message) => message.fullName.startsWith(`${root}.`) && !message.isMapEntry)
    .map((message) => message.fullName);
  return { registry: createFileRegistry(set), messages, names };
}

/**
 * @param {import("@bufbuild/protobuf/wkt").FieldDescriptorProto} proto
 * @param {Map<string, Message>} messages
 * @param {Map<string, Enum>} enums
 * @returns {Field}
 */
function resolve(proto, messages, enums) {
  const message = messages.get(proto.typeName.slice(1));
  const declaredEnum = enums.get(proto.typeName);
  const typeName = message?.isMapEntry
    ? "map entry"
    : (message?.name.split(".").pop() ?? declaredEnum?.name ?? TYPE_NAMES.get(proto.type) ?? "?");
  return {
    name: proto.name,
    number: proto.number,
    type: proto.type,
    typeName,
    wireType: wireTypeOf(proto.type),
    repeated: proto.label === FieldDescriptorProto_Label.REPEATED,
    message,
    enum: declaredEnum,
  };
}
