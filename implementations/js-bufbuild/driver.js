// Reads and writes messages with @bufbuild/protobuf, one line in, one line out.
// usage: driver.js DESCRIPTOR_SET

import { readFileSync } from "node:fs";
import { createInterface } from "node:readline";
import { createFileRegistry, fromBinary, toBinary, toJsonString } from "@bufbuild/protobuf";
import { FileDescriptorSetSchema } from "@bufbuild/protobuf/wkt";

const registry = createFileRegistry(
  fromBinary(FileDescriptorSetSchema, readFileSync(process.argv[2])),
);

function parse(schema, bytes) {
  try {
    return fromBinary(schema, bytes);
  } catch {
    return undefined;
  }
}

function json(schema, message) {
  try {
    return " " + toJsonString(schema, message);
  } catch {
    return ""; // a time outside the range of JSON
  }
}

function answer(type, hex) {
  const schema = registry.getMessage(type);
  if (schema === undefined) {
    return "unknown-type";
  }
  const message = parse(schema, Buffer.from(hex === "-" ? "" : hex, "hex"));
  if (message === undefined) {
    return "refused";
  }
  const written = Buffer.from(toBinary(schema, message)).toString("hex");
  return `accepted ${written || "-"}${json(schema, message)}`;
}

for await (const line of createInterface({ input: process.stdin })) {
  process.stdout.write(answer(...line.split(" ")) + "\n");
}
