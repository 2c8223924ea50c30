// What a value looks like that nothing is known about.

import { escapeText } from "./utf8.js";
import { walk } from "./walk.js";

// Nobody counts the fields of a message further than that.
const MAX_NUMBER = 0xffff;

/**
 * @param {Uint8Array} bytes
 * @returns {"text" | "message" | "bytes"}
 */
export function looksLike(bytes) {
  if (bytes.length === 0) {
    return "bytes";
  }
  const shown = escapeText(bytes, 4096).text.replaceAll(/\\["\\]/g, "");
  if (!shown.includes("\\") && isText(bytes)) {
    return "text";
  }
  if (canBeMessage(bytes)) {
    return "message";
  }
  return isText(bytes) ? "text" : "bytes";
}

/** @param {Uint8Array} bytes */
function isText(bytes) {
  return !/\\[xuU]/.test(escapeText(bytes).text.replaceAll("\\\\", ""));
}

/** @param {Uint8Array} bytes */
function canBeMessage(bytes) {
  const { faults, highest } = walk(bytes, undefined, 0);
  return faults.length === 0 && highest <= MAX_NUMBER;
}
