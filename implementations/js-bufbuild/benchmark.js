// @bufbuild/protobuf: reads and writes by descriptors, as its generated code does.

import { readFileSync } from "node:fs";
import { createFileRegistry, fromBinary, toBinary } from "@bufbuild/protobuf";
import { FileDescriptorSetSchema } from "@bufbuild/protobuf/wkt";
import { measure } from "./measure.js";

const registry = createFileRegistry(
  fromBinary(FileDescriptorSetSchema, readFileSync(process.argv[2])),
);

measure((name) => {
  const schema = registry.getMessage(name);
  return {
    parse: (bytes) => fromBinary(schema, bytes),
    serialise: (message) => toBinary(schema, message),
  };
});
