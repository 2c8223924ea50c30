// protobufjs: its classes are made from the schema files, with code that it compiles for each type.

import { readdirSync } from "node:fs";
import protobuf from "protobufjs";
import { measure } from "./measure.js";

const folder = process.argv[2];
const schemas = readdirSync(folder).filter((name) => name.endsWith(".proto"));
const root = new protobuf.Root().loadSync(schemas.map((name) => `${folder}/${name}`));

measure((name) => {
  const type = root.lookupType(name);
  return {
    parse: (bytes) => type.decode(bytes),
    serialise: (message) => type.encode(message).finish(),
  };
});
