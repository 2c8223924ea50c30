// Guesses the content of an undeclared length-delimited field.

import { escapeText } from "./utf8.js";
import { walk } from "./walk.js";

// Higher field numbers are not plausible.
const MAX_NUMBER = 0xffff;

/**
 * @param {Uint8Array} bytes
 * @returns {"text" | "message" | "bytes"}
 */
export function guessContentKind(bytes) {
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
