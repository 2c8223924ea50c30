// Shows fields as a tree. A line has the offset, bytes, name, number, type and value of a field.

import { element, hexOf } from "./dom.js";
import { escapeText } from "./utf8.js";
import { aboutOf, byteCount, nameOf, valueText } from "./values.js";

/** @typedef {import("./walk.js").Node} Node */

const STEP = 200; // fields of one message shown at once
const OPEN = 300; // fields shown without a click
const TEXT = 2000; // bytes shown of a string
const HEAD = 12; // bytes shown beside a field

export class TreeView {
  /**
   * @param {Uint8Array} bytes
   * @param {(node: Node, focused: boolean) => void} onField called with the field that has the
   *   focus or the mouse
   */
  constructor(bytes, onField) {
    this.bytes = bytes;
    this.onField = onField;
    this.left = OPEN;
  }

  /**
   * @param {Node[]} nodes
   * @returns {HTMLElement}
   */
  list(nodes) {
    const list = element("ul", { class: "d-fields" });
    this.extend(list, nodes, 0);
    return list;
  }

  /**
   * @param {HTMLElement} list
   * @param {Node[]} nodes
   * @param {number} from
   */
  extend(list, nodes, from) {
    const to = Math.min(from + STEP, nodes.length);
    this.left -= to - from;
    for (const node of nodes.slice(from, to)) {
      list.append(this.item(node));
    }
    if (to < nodes.length) {
      const label = `Show more: ${nodes.length - to} more fields`;
      const more = element("button", { type: "button" }, label);
      const item = element("li", {}, more);
      more.addEventListener("click", () => {
        item.remove();
        this.extend(list, nodes, to);
        const next = list.children[to]?.querySelector("[tabindex], summary");
        /** @type {HTMLElement | null | undefined} */ (next)?.focus();
      });
      list.append(item);
    }
  }

  /** @param {Node} node */
  item(node) {
    const item = element("li");
    const inside = node.kind === "message" || node.kind === "group";
    const line = element(inside ? "summary" : "div", inside ? {} : { tabindex: "0" });
    line.className = "d-field";
    line.append(...this.line(node));
    line.addEventListener("focus", () => this.onField(node, true));
    line.addEventListener("mouseenter", () => this.onField(node, false));
    if (!inside) {
      item.append(line);
      return item;
    }
    const details = element("details", {}, line);
    const fill = () => {
      if (details.childElementCount === 1) {
        details.append(this.list(node.children));
      }
    };
    details.addEventListener("toggle", () => details.open && fill());
    if (this.left > 0) {
      details.open = true;
      fill();
    }
    item.append(details);
    return item;
  }

  /** @param {Node} node */
  line(node) {
    const parts = [element("span", { class: "d-offset" }, String(node.begin))];
    if (node.number === undefined) {
      parts.push(this.hex(node.begin, node.end), element("span", { class: "d-name" }, "not a field"));
    } else {
      parts.push(
        this.hex(node.begin, node.kind === "number" ? node.end : node.value),
        element("span", { class: "d-name" }, nameOf(node)),
        element("span", { class: "d-about" }, aboutOf(node)),
      );
      if (!node.faults.some(({ reason }) => !reason.includes("UTF-8"))) {
        parts.push(...this.value(node));
      } else if (node.kind === "text") {
        parts.push(this.text(node));
      }
    }
    parts.push(
      ...node.faults.map(({ offset, reason }) =>
        element("span", { class: "d-fault" }, `Fault at offset ${offset}: ${reason}.`),
      ),
    );
    return parts.flatMap((part) => [part, " "]);
  }

  /**
   * @param {number} begin
   * @param {number} end
   */
  hex(begin, end) {
    const shown = hexOf(this.bytes.subarray(begin, Math.min(end, begin + HEAD)));
    return element("code", { class: "d-bytes" }, shown + (end - begin > HEAD ? " .." : ""));
  }

  /** @param {Node} node */
  value(node) {
    if (node.kind === "text") {
      return [this.text(node), element("span", { class: "d-about" }, valueText(node))];
    }
    const parts = [];
    const words = valueText(node);
    if (words !== "") {
      parts.push(element("span", { class: "d-value" }, words));
    }
    if (node.kind === "bytes" && node.end > node.value) {
      parts.push(this.hex(node.value, node.end));
    }
    return parts;
  }

  /** @param {Node} node */
  text(node) {
    const content = this.bytes.subarray(node.value, node.end);
    const { text, size } = escapeText(content, TEXT);
    const more = size < content.length ? ` ... ${byteCount(content.length - size)} more` : "";
    return element("span", { class: "d-value d-text" }, `"${text}"${more}`);
  }
}
