// Keeps the input in the fragment of the address, which browsers do not send.

/**
 * @typedef {{ type?: string, hex?: string, base64?: string, framing?: string }} Link
 */

const KEYS = ["type", "hex", "base64", "framing"];

/**
 * @param {string} fragment "#type=quor.protobuf.Login.Login&hex=0a0161"
 * @returns {Link}
 */
export function readLink(fragment) {
  // Base64 has "+", which would become a space.
  const given = new URLSearchParams(fragment.replace(/^#/, "").replaceAll("+", "%2B"));
  return Object.fromEntries([...given].filter(([key]) => KEYS.includes(key)));
}

/**
 * @param {Link} link
 * @returns {string}
 */
export function writeLink(link) {
  const parts = KEYS.map((key) => [key, link[/** @type {keyof Link} */ (key)]])
    .filter(([, value]) => value)
    .map(([key, value]) => `${key}=${encodeURIComponent(value ?? "")}`);
  return `#${parts.join("&")}`;
}
