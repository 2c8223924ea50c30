// Validates UTF-8, and escapes text to be shown.

/**
 * The size of the UTF-8 sequence at `at`; 0 if there is none.
 * @param {Uint8Array} bytes
 * @param {number} at
 * @param {number} end
 */
export function sequenceSize(bytes, at, end) {
  const first = bytes[at];
  if (first < 0x80) {
    return 1;
  }
  const size = first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
  if (size === 0 || at + size > end) {
    return 0;
  }
  // No overlong form, no surrogate, nothing above U+10FFFF.
  const least = first === 0xe0 ? 0xa0 : first === 0xf0 ? 0x90 : 0x80;
  const most = first === 0xed ? 0x9f : first === 0xf4 ? 0x8f : 0xbf;
  if (bytes[at + 1] < least || bytes[at + 1] > most) {
    return 0;
  }
  for (let i = 2; i < size; ++i) {
    if ((bytes[at + i] & 0xc0) !== 0x80) {
      return 0;
    }
  }
  return size;
}

/**
 * The offset of the first byte that is not UTF-8, or `end`.
 * @param {Uint8Array} bytes
 * @param {number} begin
 * @param {number} end
 */
export function firstBadByte(bytes, begin, end) {
  let at = begin;
  while (at < end) {
    const size = sequenceSize(bytes, at, end);
    if (size === 0) {
      return at;
    }
    at += size;
  }
  return end;
}

// Characters beyond ASCII that are invisible or change the direction of text.
const HIDDEN =
  /^[\u{80}-\u{9f}\u{ad}\u{61c}\u{180e}\u{200b}-\u{200f}\u{2028}-\u{202e}\u{2060}-\u{206f}\u{feff}\u{fff9}-\u{fffb}\u{e0000}-\u{e0fff}]$/u;

const ESCAPES = new Map([
  ["\n", "\\n"],
  ["\r", "\\r"],
  ["\t", "\\t"],
  ['"', '\\"'],
  ["\\", "\\\\"],
]);

/** @param {number} byte */
const byteEscape = (byte) => `\\x${byte.toString(16).padStart(2, "0")}`;

const decoder = new TextDecoder("utf-8", { ignoreBOM: true });

/**
 * Escapes text with backslashes: quotation marks, backslashes, controls, characters that are
 * invisible or change the direction of text, and each byte that is not UTF-8.
 * @param {Uint8Array} bytes
 * @param {number} most bytes to show
 * @returns {{ text: string, size: number }} the text, and how many bytes it stands for
 */
export function escapeText(bytes, most = Infinity) {
  let text = "";
  let at = 0;
  while (at < bytes.length && at < most) {
    const size = sequenceSize(bytes, at, bytes.length);
    text += size === 0 ? byteEscape(bytes[at]) : escapeCharacter(bytes.subarray(at, at + size));
    at += size === 0 ? 1 : size;
  }
  return { text, size: at };
}

/** @param {Uint8Array} sequence */
function escapeCharacter(sequence) {
  const character = decoder.decode(sequence);
  const code = /** @type {number} */ (character.codePointAt(0));
  if (code < 0x20 || code === 0x7f) {
    return ESCAPES.get(character) ?? byteEscape(code);
  }
  if (HIDDEN.test(character)) {
    return code > 0xffff
      ? `\\U${code.toString(16).padStart(8, "0")}`
      : `\\u${code.toString(16).padStart(4, "0")}`;
  }
  return ESCAPES.get(character) ?? character;
}
