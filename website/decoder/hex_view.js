// Shows all bytes, sixteen per line, and marks those of one field.

import { element } from "./dom.js";

const LINE = 16;
const LINES = 64; // per page

export class HexView {
  /** @param {Uint8Array} bytes */
  constructor(bytes) {
    this.bytes = bytes;
    this.page = -1;
    /** @type {HTMLElement[]} */
    this.cells = [];
    this.lines = element("pre", { class: "d-hex-lines", tabindex: "0", "aria-label": "Bytes" });
    this.where = element("span", { class: "d-hex-where" });
    this.element = element("section", { class: "d-hex", "aria-label": "All bytes" });
    this.element.append(this.pager(), this.lines);
    this.showPage(0);
  }

  pager() {
    const pager = element("p", { class: "d-hex-pager" });
    if (this.bytes.length > LINE * LINES) {
      const back = element("button", { type: "button" }, "Previous bytes");
      const on = element("button", { type: "button" }, "Next bytes");
      back.addEventListener("click", () => this.showPage(this.page - 1));
      on.addEventListener("click", () => this.showPage(this.page + 1));
      pager.append(back, " ", on, " ");
    }
    pager.append(this.where);
    return pager;
  }

  /** @param {number} page */
  showPage(page) {
    const last = Math.max(0, Math.ceil(this.bytes.length / (LINE * LINES)) - 1);
    const wanted = Math.min(Math.max(page, 0), last);
    if (wanted === this.page) {
      return;
    }
    this.page = wanted;
    const begin = wanted * LINE * LINES;
    const end = Math.min(begin + LINE * LINES, this.bytes.length);
    this.where.textContent =
      last > 0 ? `Bytes ${begin} to ${end - 1} of ${this.bytes.length}` : "All bytes";
    this.cells = [];
    const digits = Math.max(4, String(this.bytes.length).length);
    const lines = document.createDocumentFragment();
    for (let at = begin; at < end; at += LINE) {
      lines.append(element("span", { class: "d-hex-offset" }, String(at).padStart(digits)), "  ");
      for (let i = at; i < Math.min(at + LINE, end); ++i) {
        const cell = element("span", {}, this.bytes[i].toString(16).padStart(2, "0"));
        this.cells.push(cell);
        lines.append(cell, i % LINE === 7 ? "  " : " ");
      }
      lines.append("\n");
    }
    this.lines.replaceChildren(lines);
  }

  /**
   * @param {number} begin
   * @param {number} end
   * @param {boolean} turn whether to turn to the page where the bytes begin
   */
  mark(begin, end, turn) {
    if (turn) {
      this.showPage(Math.floor(begin / (LINE * LINES)));
    }
    const first = this.page * LINE * LINES;
    this.cells.forEach((cell, index) => {
      cell.classList.toggle("d-marked", first + index >= begin && first + index < end);
    });
  }
}
