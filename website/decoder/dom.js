// Creates elements. Text is set as text, never as markup.

/**
 * @template {keyof HTMLElementTagNameMap} T
 * @param {T} tag
 * @param {Record<string, string | boolean | undefined>} attributes
 * @param {(Node | string)[]} children
 * @returns {HTMLElementTagNameMap[T]}
 */
export function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === true) {
      made.setAttribute(name, "");
    } else if (value !== false && value !== undefined) {
      made.setAttribute(name, value);
    }
  }
  made.append(...children);
  return made;
}

/** @param {Uint8Array} bytes */
export function hexOf(bytes) {
  return Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join(" ");
}
