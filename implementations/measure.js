// A benchmark: `PROGRAM WORKLOADS_DIR SECONDS`, after the path that the build script adds.

import { readFileSync } from "node:fs";

const packageName = "quor.protobuf";
const types = {
  SqlQuery: "Tarq.SqlQuery",
  SqlQueries: "Tarq.SqlQueries",
  Functions: "Tarq.Functions",
  JobList: "JQ.JobList",
  Event: "Monitor.Event",
  Text: "Tarq.Storage",
};

// The last result, kept so that the compiler cannot drop the calls.
let kept;

// The nanoseconds of `calls` calls.
function batch(calls, action) {
  const start = process.hrtime.bigint();
  for (let call = 0; call < calls; ++call) {
    kept = action();
  }
  return Number(process.hrtime.bigint() - start);
}

// Prints the nanoseconds of one call of `action`: the median of nine batches.
function time(workload, operation, seconds, action) {
  // The warm-up takes half of the time: until then the code is not fully optimised.
  let calls = 1;
  let elapsed = batch(calls, action);
  while (elapsed < seconds * 0.5e9) {
    calls *= 2;
    elapsed = batch(calls, action);
  }
  const count = 9;
  calls = Math.max(1, Math.floor((calls * seconds * 1e9) / count / elapsed));
  const batches = Array.from({ length: count }, () => batch(calls, action) / calls);
  batches.sort((a, b) => a - b);
  console.log(`${workload}\t${operation}\t${batches[(count - 1) / 2].toFixed(1)}`);
}

// Measures `parse` and `serialise`, which `codecOf` returns for the full name of a workload's type.
export function measure(codecOf) {
  const [folder, seconds] = process.argv.slice(3);
  if (process.argv.length !== 5 || !(Number(seconds) > 0)) {
    console.error("usage: PROGRAM WORKLOADS_DIR SECONDS");
    process.exit(2);
  }
  for (const [workload, type] of Object.entries(types)) {
    const bytes = readFileSync(`${folder}/${workload}.pb`);
    const { parse, serialise } = codecOf(`${packageName}.${type}`);
    const message = parse(bytes);
    const written = serialise(message);
    if (!bytes.equals(written)) {
      console.error(`${workload}: writes ${written.length} bytes that differ from the ` +
        `${bytes.length} bytes of the workload`);
      process.exit(1);
    }
    time(workload, "parse", Number(seconds), () => parse(bytes));
    time(workload, "serialise", Number(seconds), () => serialise(message));
  }
  return kept;
}
