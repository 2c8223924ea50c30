// Reads and writes messages with protobufjs, one line in, one line out.
// usage: driver.js PROTO_DIR

import { readdirSync } from "node:fs";
import { createInterface } from "node:readline";
import protobuf from "protobufjs";
import protojson from "protobufjs/ext/protojson.js";

// Otherwise protobufjs drops unknown fields.
protobuf.Reader.discardUnknown = false;

const folder = process.argv[2];
const schemas = readdirSync(folder).filter((name) => name.endsWith(".proto"));
const root = new protobuf.Root().loadSync(schemas.map((name) => `${folder}/${name}`));

function typeOf(name) {
  const found = root.lookup(name);
  return found instanceof protobuf.Type ? found : undefined;
}

function parse(type, bytes) {
  try {
    return type.decode(bytes);
  } catch {
    return undefined;
  }
}

function json(type, message) {
  try {
    return " " + protojson.toJsonString(type, message);
  } catch {
    return ""; // a time outside the range of JSON
  }
}

function answer(name, hex) {
  const type = typeOf(name);
  if (type === undefined) {
    return "unknown-type";
  }
  const message = parse(type, Buffer.from(hex === "-" ? "" : hex, "hex"));
  if (message === undefined) {
    return "refused";
  }
  const written = Buffer.from(type.encode(message).finish()).toString("hex");
  return `accepted ${written || "-"}${json(type, message)}`;
}

for await (const line of createInterface({ input: process.stdin })) {
  process.stdout.write(answer(...line.split(" ")) + "\n");
}
