// The decoded message: the tree of its fields beside all bytes, and its JSON.

import { element } from "./dom.js";
import { HexView } from "./hex_view.js";
import { jsonText } from "./json.js";
import { TreeView } from "./tree_view.js";
import { byteCount } from "./values.js";
import { findFrames, MAX_FIELDS, walk } from "./walk.js";

const FAULTS = 20; // reported one by one
const FRAMES = 200;

/**
 * @typedef {import("./walk.js").Node} Node
 * @typedef {import("./walk.js").Tree} Tree
 * @typedef {{ begin: number, value: number, end: number, tree: Tree }} Part a message
 */

export class Result {
  /**
   * @param {Uint8Array} bytes
   * @param {import("./schema.js").Message | undefined} type
   * @param {boolean} delimited
   * @param {import("./schema.js").Schema} schema
   */
  constructor(bytes, type, delimited, schema) {
    this.bytes = bytes;
    this.type = type;
    this.delimited = delimited;
    this.schema = schema;
    /** @type {Part[]} */
    this.parts = [];
    /** @type {import("./walk.js").Fault[]} */
    this.faults = [];
    this.unknown = 0;
    this.left = MAX_FIELDS;
    if (delimited) {
      this.readFrames();
    } else {
      this.addPart({ begin: 0, value: 0, end: bytes.length });
    }
  }

  readFrames() {
    const { frames, fault } = findFrames(this.bytes);
    frames.forEach((frame) => this.addPart(frame));
    if (fault) {
      this.faults.push(fault);
    }
  }

  /** @param {{ begin: number, value: number, end: number }} frame */
  addPart({ begin, value, end }) {
    const tree = walk(this.bytes.subarray(value, end), this.type, Math.max(this.left, 1));
    this.left -= tree.fields;
    this.unknown += tree.unknown;
    shift(tree, value);
    this.faults.push(...tree.faults);
    this.parts.push({ begin, value, end, tree });
  }

  get title() {
    return this.type ? this.type.fullName : "A message of unknown type";
  }

  faultList() {
    const told = this.faults.slice(0, FAULTS).map(({ offset, reason, advice }) => {
      return element("p", {}, element("strong", {}, `Offset ${offset}: ${reason}.`), ` ${advice}`);
    });
    const left = this.faults.length - told.length;
    return left > 0 ? [...told, element("p", {}, `And ${left} more faults.`)] : told;
  }

  get element() {
    const hex = new HexView(this.bytes);
    const tree = new TreeView(this.bytes, ({ begin, end }, focused) =>
      hex.mark(begin, end, focused),
    );
    const fields = element("section", { class: "d-tree", "aria-labelledby": "d-title" });
    const size = byteCount(this.bytes.length);
    fields.append(
      element("h2", { id: "d-title" }, this.title),
      element("p", {}, element("small", {}, `${size}. Offsets count from 0, in decimal.`)),
    );
    for (const [index, part] of this.parts.slice(0, FRAMES).entries()) {
      fields.append(this.delimited ? frame(index, part, tree) : tree.list(part.tree.nodes));
    }
    if (this.parts.length > FRAMES) {
      fields.append(element("p", {}, `${this.parts.length - FRAMES} more messages are not shown.`));
    }
    if (this.parts.some(({ tree: { complete } }) => !complete)) {
      const text = `Only the first ${MAX_FIELDS} fields are shown; all are checked. qmsg wire shows all.`;
      fields.append(element("p", { class: "d-incomplete" }, text));
    }
    const both = element("div", { class: "d-both" }, fields, hex.element);
    return element("div", {}, both, ...this.json());
  }

  json() {
    if (!this.type) {
      return [];
    }
    const heading = element("h2", { id: "d-json-title" }, "JSON");
    const why = this.whyNoJson();
    if (why !== "") {
      return [heading, element("p", {}, why)];
    }
    try {
      return [heading, ...jsonParts(this.jsonText())];
    } catch (error) {
      const reason = error instanceof Error ? error.message : String(error);
      return [heading, element("p", {}, `This message has no JSON form: ${reason}.`)];
    }
  }

  whyNoJson() {
    if (this.faults.length > 0) {
      return "No JSON: parsers refuse these bytes.";
    }
    return this.parts.every(({ tree }) => tree.complete)
      ? ""
      : "JSON is shown for up to 20000 fields. For more: qmsg decode.";
  }

  jsonText() {
    const type = /** @type {import("./schema.js").Message} */ (this.type).fullName;
    return this.parts.map(({ tree }) => jsonText(tree, this.bytes, type, this.schema)).join("\n");
  }
}

/**
 * Makes offsets count from the first byte of the input.
 * @param {Tree} tree
 * @param {number} by
 */
function shift(tree, by) {
  if (by === 0) {
    return;
  }
  tree.faults.forEach((fault) => {
    fault.offset += by;
  });
  /** @param {Node} node */
  const move = (node) => {
    node.begin += by;
    node.value += by;
    node.end += by;
    node.children.forEach(move);
  };
  tree.nodes.forEach(move);
}

/**
 * @param {number} index
 * @param {Part} part
 * @param {TreeView} view
 */
function frame(index, { begin, value, end, tree }, view) {
  const text = `${begin} message ${index}: ${byteCount(end - value)}`;
  const details = element("details", { class: "d-frame" }, element("summary", {}, text));
  details.append(view.list(tree.nodes));
  details.open = index < 20;
  return details;
}

/** @param {string} text */
function jsonParts(text) {
  const copy = element("button", { type: "button" }, "Copy");
  const said = element("span", { role: "status" });
  const shown = element("pre", { tabindex: "0", "aria-labelledby": "d-json-title" });
  shown.append(element("code", { id: "d-json" }, text));
  copy.addEventListener("click", async () => {
    try {
      await navigator.clipboard.writeText(text);
      said.textContent = "Copied.";
    } catch {
      // Some browsers forbid this to pages opened as files: select the text for Ctrl+C.
      getSelection()?.selectAllChildren(shown);
      said.textContent = "Selected: copy it with Ctrl+C.";
    }
  });
  return [element("p", {}, copy, " ", said), shown];
}
