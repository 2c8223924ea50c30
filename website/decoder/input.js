// Reads pasted text as bytes: hexadecimal digits, a hex dump, or base64.

/** The largest input, in bytes. */
export const MAX_BYTES = 4 * 1024 * 1024;

/**
 * @typedef {"auto" | "hex" | "dump" | "base64"} Form
 * @typedef {{ bytes: Uint8Array, form: "hex" | "dump" | "base64" | "none" }} Input
 */

/** The text does not have the format it is read as. The message says where, and what to do. */
export class InputError extends Error {
  /**
   * @param {string} message
   * @param {"hex" | "dump" | "base64" | undefined} form the format that the text was read as
   */
  constructor(message, form) {
    super(message);
    this.form = form;
  }
}

/** The formats in words. */
export const FORM_NAMES = {
  hex: "hexadecimal",
  dump: "a hex dump with offsets",
  base64: "base64",
  none: "nothing",
};

const DUMP_LINE =
  /^[ \t]*(?:0x)?([0-9a-f]{4,16})(?::[ \t]+|[ \t]{2,}(?=[0-9a-f]{2}(?:[ \t]|$)))(.*)$/i;
const END_OF_DUMP = /^[ \t]*(?:0x)?[0-9a-f]{4,16}:?[ \t]*$/i;

/**
 * Throws InputError.
 * @param {string} text
 * @param {Form} form
 * @returns {Input}
 */
export function readInput(text, form) {
  const known = form === "auto" ? detect(text) : form;
  switch (known) {
    case "hex":
      return { bytes: readHex(text), form: known };
    case "dump":
      return { bytes: readDump(text), form: known };
    case "base64":
      return { bytes: readBase64(text), form: known };
    default:
      return { bytes: new Uint8Array(), form: "none" };
  }
}

/**
 * @param {string} text
 * @returns {"hex" | "dump" | "base64" | "none"}
 */
export function detect(text) {
  const trimmed = text.trim();
  if (trimmed === "") {
    return "none";
  }
  if (DUMP_LINE.test(text.slice(text.search(/\S/)).split("\n", 1)[0])) {
    return "dump";
  }
  if (/^(?:0x|\\x|[0-9a-f]|[\s:,])+$/i.test(trimmed)) {
    return "hex";
  }
  // Words of at most two characters are hexadecimal with a mistake.
  const inPairs = trimmed.split(/[\s:,]+/, 64).every((word) => word.length <= 2);
  const onlyBase64 = trimmed.slice(0, 1000).match(/[g-z]/gi)?.length ?? 0;
  return !inPairs && (onlyBase64 > 1 || /^[A-Za-z0-9+/_=\s-]+$/.test(trimmed)) ? "base64" : "hex";
}

/**
 * @param {string} text
 * @param {number} index
 */
function place(text, index) {
  const before = text.slice(0, index);
  const line = before.split("\n").length;
  const column = index - before.lastIndexOf("\n");
  return line === 1 ? `at position ${column}` : `at line ${line}, position ${column}`;
}

/**
 * @param {string} text
 * @param {number} index
 */
function character(text, index) {
  const code = /** @type {number} */ (text.codePointAt(index));
  return code > 0x20 && code < 0x7f
    ? `'${String.fromCodePoint(code)}'`
    : `U+${code.toString(16).toUpperCase().padStart(4, "0")}`;
}

/** Collects bytes up to the limit. */
class Bytes {
  /** @param {number} most */
  constructor(most) {
    this.bytes = new Uint8Array(Math.min(most, MAX_BYTES));
    this.size = 0;
  }

  /**
   * @param {number} byte
   * @param {"hex" | "dump" | "base64"} form
   */
  add(byte, form) {
    if (this.size === MAX_BYTES) {
      throw new InputError(tooLarge(`more than ${MAX_BYTES}`), form);
    }
    this.bytes[this.size++] = byte;
  }

  done() {
    return this.bytes.slice(0, this.size);
  }
}

/** @param {string | number} size */
export function tooLarge(size) {
  return (
    `The input has ${size} bytes; the limit is ${MAX_BYTES} (4 MiB). ` +
    "For more, use the command-line tool: qmsg wire, qmsg decode."
  );
}

/** @param {string} text */
function readHex(text) {
  const bytes = new Bytes(text.length / 2 + 1);
  let high = -1;
  let highAt = 0;
  for (let at = 0; at < text.length; ++at) {
    const code = text.charCodeAt(at);
    const digit = hexDigit(code);
    const next = text.charCodeAt(at + 1) | 0x20;
    if (high < 0 && next === 0x78 && (code === 0x30 || code === 0x5c)) {
      ++at; // 0x or \x
    } else if (digit >= 0) {
      if (high < 0) {
        high = digit;
        highAt = at;
      } else {
        bytes.add(high * 16 + digit, "hex");
        high = -1;
      }
    } else if (!/[\s:,]/.test(text[at])) {
      throw new InputError(
        `The character ${character(text, at)} ${place(text, at)} is not a hexadecimal digit. ` +
          "Correct it, or choose base64 as the input format.",
        "hex",
      );
    }
  }
  if (high >= 0) {
    throw new InputError(
      `The number of hexadecimal digits is odd: the last one, ${character(text, highAt)} ` +
        `${place(text, highAt)}, is unpaired, after offset ${bytes.size}. A digit is missing, ` +
        "or this is not hexadecimal.",
      "hex",
    );
  }
  return bytes.done();
}

/** @param {number} code */
function hexDigit(code) {
  if (code >= 0x30 && code <= 0x39) {
    return code - 0x30;
  }
  const lower = code | 0x20;
  return lower >= 0x61 && lower <= 0x66 ? lower - 0x61 + 10 : -1;
}

/**
 * The hexadecimal digits of a dump's line, without the text column.
 * @param {string} rest what follows the offset
 */
function digitsOfLine(rest) {
  const bar = rest.search(/[ \t]\|/);
  if (bar >= 0) {
    return rest.slice(0, bar);
  }
  const gap = rest.search(/[ \t]{2,}/);
  return gap < 0 ? rest : rest.slice(0, gap);
}

/** @param {string} text */
function readDump(text) {
  const bytes = new Bytes(text.length);
  let first = -1;
  text.split(/\r?\n/).forEach((line, index) => {
    const where = `line ${index + 1} of the dump`;
    if (line.trim() === "") {
      return;
    }
    if (line.trim() === "*") {
      throw new InputError(
        `The * in ${where} stands for omitted lines. Dump all lines: hexdump -v.`,
        "dump",
      );
    }
    const found = DUMP_LINE.exec(line);
    const offset = Number.parseInt((found ?? /([0-9a-f]+)/i.exec(line))?.[1] ?? "", 16);
    if (!found && !END_OF_DUMP.test(line)) {
      throw new InputError(
        `There is no offset at the beginning of ${where}. Give every line an offset, or none.`,
        "dump",
      );
    }
    first = first < 0 ? offset : first;
    if (offset !== first + bytes.size) {
      throw new InputError(
        `The offset in ${where} is 0x${offset.toString(16)}, but ${bytes.size} bytes precede ` +
          "it. Lines are missing or duplicated, or the offsets are not hexadecimal.",
        "dump",
      );
    }
    const digits = found ? digitsOfLine(found[2]).replaceAll(/[ \t]/g, "") : "";
    if (!/^(?:[0-9a-f]{2})*$/i.test(digits)) {
      throw new InputError(
        `The bytes in ${where} are not pairs of hexadecimal digits.`,
        "dump",
      );
    }
    for (let at = 0; at < digits.length; at += 2) {
      bytes.add(Number.parseInt(digits.slice(at, at + 2), 16), "dump");
    }
  });
  return bytes.done();
}

const BASE64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
const BASE64_DIGITS = new Map([...BASE64].map((digit, value) => [digit, value]));
for (const [digit, value] of [
  ["+", 62],
  ["-", 62],
  ["/", 63],
  ["_", 63],
]) {
  BASE64_DIGITS.set(String(digit), Number(value));
}

/** @param {string} text with or without padding, in either alphabet */
function readBase64(text) {
  const bytes = new Bytes((text.length / 4) * 3 + 3);
  let bits = 0;
  let count = 0;
  let digits = 0;
  let padding = 0;
  for (let at = 0; at < text.length; ++at) {
    const digit = BASE64_DIGITS.get(text[at]);
    if (/\s/.test(text[at])) {
      continue;
    }
    if (text[at] === "=" && padding < 2 && digits % 4 >= 2) {
      ++padding;
    } else if (digit === undefined || padding > 0) {
      throw new InputError(
        `The character ${character(text, at)} ${place(text, at)} ` +
          (digit === undefined ? "is not a base64 digit" : "follows the end of the base64 text") +
          `, after offset ${bytes.size}. Correct it, or choose hexadecimal as the input format.`,
        "base64",
      );
    } else {
      ++digits;
      bits = ((bits << 6) | digit) & 0xffff;
      count += 6;
      if (count >= 8) {
        count -= 8;
        bytes.add((bits >> count) & 0xff, "base64");
      }
    }
  }
  if (count === 6) {
    throw new InputError(
      `The base64 text ends inside a byte, after offset ${bytes.size}. A character is missing.`,
      "base64",
    );
  }
  return bytes.done();
}
