// The decoder of decode.html: a form, and below it the decoded message. Nothing leaves the page.

import "./decoder.css";
import { element } from "./dom.js";
import { FORM_NAMES, InputError, MAX_BYTES, readInput, tooLarge } from "./input.js";
import { readLink, writeLink } from "./link.js";
import { Result } from "./result.js";
import { loadSchema } from "./schema.js";
import { fittingTypes } from "./walk.js";
import { byteCount } from "./values.js";

const MAX_LINK = 2000; // characters of an address
const MAX_TRIED = 256 * 1024; // bytes to try all types on

/**
 * @param {string} id
 * @param {string} label
 * @param {[string, string][]} options values and labels
 */
function choice(id, label, options) {
  const select = element("select", { id });
  select.append(...options.map(([value, text]) => element("option", { value }, text)));
  return { select, row: element("p", {}, element("label", { for: id }, label), " ", select) };
}

class Decoder {
  /**
   * @param {HTMLElement} place
   * @param {import("./schema.js").Schema} schema
   */
  constructor(place, schema) {
    this.schema = schema;
    /** @type {{ name: string, bytes: Uint8Array } | undefined} */
    this.file = undefined;
    /** The fragment that this page wrote. */
    this.written = "";

    this.text = element("textarea", {
      id: "d-input",
      rows: "4",
      spellcheck: "false",
      autocomplete: "off",
      autocapitalize: "off",
      "aria-describedby": "d-accepted d-taken",
    });
    this.form = choice("d-form", "Input format", [
      ["auto", "detect"],
      ["hex", "hexadecimal"],
      ["dump", "a hex dump with offsets"],
      ["base64", "base64"],
    ]);
    this.type = choice("d-type", "Message type", [
      ["", "unknown"],
      .../** @type {[string, string][]} */ (
        schema.names.map((name) => [name, name.replace("quor.protobuf.", "")])
      ),
    ]);
    this.framing = choice("d-framing", "Framing", [
      ["none", "one message"],
      ["delimited", "length-delimited messages"],
    ]);
    this.pick = element("input", { type: "file", id: "d-file" });
    this.taken = element("p", { id: "d-taken", role: "status" });
    this.fault = element("div", { id: "d-fault", role: "alert" });
    this.hints = element("div", { class: "d-hints" });
    this.output = element("div", { id: "d-output" });

    place.replaceChildren(...this.layout());
    this.listen(place);
    this.follow();
  }

  layout() {
    const accepted =
      "Hexadecimal digits, with spaces, line ends, colons, commas or 0x between bytes; a hex dump " +
      "with offsets, as xxd, hexdump -C and tcpdump -x print it; base64 in both alphabets, with or " +
      `without padding. At most ${MAX_BYTES / 1024 / 1024} MiB.`;
    const clear = element("button", { type: "button" }, "Clear");
    clear.addEventListener("click", () => {
      this.text.value = "";
      this.pick.value = "";
      this.file = undefined;
      this.decode();
      this.text.focus();
    });
    return [
      element("label", { for: "d-input" }, "Bytes"),
      this.text,
      element("p", { id: "d-accepted" }, element("small", {}, accepted)),
      element(
        "div",
        { class: "d-options" },
        this.type.row,
        this.form.row,
        this.framing.row,
        element(
          "p",
          {},
          element("label", { for: "d-file" }, "Or a file"),
          " ",
          this.pick,
          " ",
          clear,
        ),
      ),
      this.taken,
      this.fault,
      this.hints,
      this.output,
    ];
  }

  /** @param {HTMLElement} place */
  listen(place) {
    let timer = 0;
    this.text.addEventListener("input", () => {
      this.file = undefined;
      this.pick.value = "";
      clearTimeout(timer);
      timer = window.setTimeout(() => this.decode(), 150);
    });
    for (const { select } of [this.form, this.type, this.framing]) {
      select.addEventListener("change", () => this.decode());
    }
    this.pick.addEventListener("change", () => this.open(this.pick.files?.[0]));
    place.addEventListener("dragover", (event) => event.preventDefault());
    place.addEventListener("drop", (event) => {
      if (event.dataTransfer?.files.length) {
        event.preventDefault();
        this.open(event.dataTransfer.files[0]);
      }
    });
    window.addEventListener("hashchange", () => this.follow());
  }

  /** @param {File | undefined} file */
  async open(file) {
    if (!file) {
      return;
    }
    this.text.value = "";
    if (file.size > MAX_BYTES) {
      this.file = undefined;
      this.clear();
      this.fault.textContent = tooLarge(file.size);
      return;
    }
    this.file = { name: file.name, bytes: new Uint8Array(await file.arrayBuffer()) };
    this.decode();
  }

  /** Decodes what the address holds, unless this page just wrote it. */
  follow() {
    if (location.hash !== "" && location.hash === this.written) {
      return;
    }
    const link = readLink(location.hash);
    if (!link.type && link.hex === undefined && link.base64 === undefined) {
      return;
    }
    const type = link.type ?? "";
    const known = type === "" || this.schema.names.includes(type);
    this.file = undefined;
    this.text.value = link.hex ?? link.base64 ?? "";
    this.form.select.value = link.hex !== undefined ? "hex" : link.base64 ? "base64" : "auto";
    this.framing.select.value = link.framing === "delimited" ? "delimited" : "none";
    this.type.select.value = known ? type : "";
    this.decode();
    if (!known) {
      this.fault.prepend(element("p", {}, `The address names an unknown message type: ${type}.`));
    }
  }

  clear() {
    this.taken.textContent = "";
    for (const part of [this.fault, this.hints, this.output]) {
      part.replaceChildren();
    }
  }

  decode() {
    this.clear();
    const input = this.read();
    if (!input) {
      return;
    }
    this.write();
    const type = this.schema.messages.get(this.type.select.value);
    const delimited = this.framing.select.value === "delimited";
    if (input.length === 0) {
      this.taken.textContent = type || this.file ? "No bytes: a message with no field set." : "";
      return;
    }
    const result = new Result(input, type, delimited, this.schema);
    this.output.append(result.element);
    if (result.faults.length > 0) {
      this.fault.append(...result.faultList());
    }
    this.advise(input, type, result, delimited);
  }

  /** Returns the bytes, or undefined after showing why there are none. */
  read() {
    if (this.file) {
      this.taken.textContent = `${this.file.name}: ${byteCount(this.file.bytes.length)}, read as binary.`;
      return this.file.bytes;
    }
    const form = /** @type {import("./input.js").Form} */ (this.form.select.value);
    try {
      const { bytes, form: taken } = readInput(this.text.value, form);
      if (taken !== "none") {
        this.taken.textContent = `Read as ${FORM_NAMES[taken]}: ${byteCount(bytes.length)}.`;
      }
      return bytes;
    } catch (error) {
      if (!(error instanceof InputError)) {
        throw error;
      }
      this.taken.textContent = error.form ? `Read as ${FORM_NAMES[error.form]}.` : "";
      this.fault.textContent = error.message;
      return undefined;
    }
  }

  /** Writes the input into the address, unless it is too long. */
  write() {
    const text = this.text.value.trim();
    let fragment = "";
    if (!this.file && text !== "" && text.length <= MAX_LINK && this.form.select.value !== "dump") {
      const form = /** @type {import("./input.js").Form} */ (this.form.select.value);
      const taken = readInput(text, form).form;
      if (taken !== "dump") {
        fragment = writeLink({
          type: this.type.select.value,
          [taken]: text.replaceAll(/\s+/g, ""),
          framing: this.framing.select.value === "delimited" ? "delimited" : "",
        });
      }
    }
    this.written = fragment;
    if (location.hash !== fragment) {
      history.replaceState(null, "", location.pathname + location.search + fragment);
    }
  }

  /**
   * @param {Uint8Array} bytes
   * @param {import("./schema.js").Message | undefined} type
   * @param {Result} result
   * @param {boolean} delimited
   */
  advise(bytes, type, result, delimited) {
    if (!delimited && result.faults.length > 0) {
      const other = new Result(bytes, type, true, this.schema);
      if (other.faults.length === 0) {
        const button = element("button", { type: "button" }, "Read as length-delimited messages");
        button.addEventListener("click", () => {
          this.framing.select.value = "delimited";
          this.decode();
          this.framing.select.focus();
        });
        this.hints.append(
          element("p", {}, "These bytes can be length-delimited messages. ", button),
        );
      }
    }
    if (delimited || (type && result.faults.length === 0 && result.unknown === 0)) {
      return;
    }
    if (bytes.length > MAX_TRIED) {
      const text = `Types are guessed for up to ${MAX_TRIED / 1024} KiB. For more: qmsg guess FILE.`;
      this.hints.append(element("p", {}, text));
      return;
    }
    this.offerTypes(fittingTypes(bytes, this.schema));
  }

  /** @param {string[]} names */
  offerTypes(names) {
    if (names.length === 0) {
      this.hints.append(element("p", {}, "No type parses these bytes and declares all their fields."));
      return;
    }
    const buttons = names.slice(0, 8).map((name) => {
      const button = element("button", { type: "button" }, name.replace("quor.protobuf.", ""));
      button.addEventListener("click", () => {
        this.type.select.value = name;
        this.decode();
        this.type.select.focus();
      });
      return button;
    });
    const more = names.length > 8 ? `, and ${names.length - 8} more` : "";
    this.hints.append(
      element(
        "p",
        {},
        "Types that declare all these fields, most fields first: ",
        ...buttons.flatMap((button) => [button, " "]),
        `${more}. Several types can fit; qmsg guess ranks them.`.replace(/^\. /, ""),
      ),
    );
  }
}

function start() {
  const place = document.getElementById("decoder");
  const base64 = /** @type {any} */ (window).qmsgDescriptors;
  if (place && base64) {
    const { bytes } = readInput(base64, "base64");
    new Decoder(place, loadSchema(bytes));
  }
}

start();
