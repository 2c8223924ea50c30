// The decoder in a browser.
// QMSG_SITE: the built site; QMSG_NPM: the packages; QMSG_VECTORS: what vectors_json.py prints.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { after, afterEach, before, test } from "node:test";

import { Browser, fileUrl } from "./browser.js";
import { golden } from "./golden.js";

const vectors = JSON.parse(readFileSync(process.env.QMSG_VECTORS, "utf8"));

let browser;
let page;
let seen;
before(async () => {
  browser = await Browser.start();
  await open();
});
after(() => browser.stop());
afterEach(() => assert.deepEqual(seen, { foreign: [], complaints: [] }));

/** Opens the decoder in a new page. */
async function open(fragment = "") {
  await page?.close();
  ({ page, seen } = await browser.page());
  await page.goto(fileUrl(`decode.html${fragment}`));
}

const text = (selector) => page.locator(selector).innerText();

/** The rows of the tree, once the page has decoded the input. */
async function rows() {
  await page.locator("#d-output .d-tree").waitFor();
  return page
    .locator(".d-field")
    .evaluateAll((lines) =>
      lines.map((line) =>
        ["offset", "name", "about", "value", "fault"].map(
          (part) => line.querySelector(`.d-${part}`)?.textContent ?? "",
        ),
      ),
    );
}

const choose = (type) =>
  page.locator("#d-type").selectOption(type === "" ? "" : `quor.protobuf.${type}`);

/** Enters bytes as a user does who knows their type: the page decodes them a moment later. */
async function decode(input, type = "") {
  await choose(type);
  await page.locator("#d-input").fill(input);
}

// One page for inputs that are only decoded: the choice of a type decodes at once.

async function decodeAtOnce(input, type) {
  await page.locator("#d-input").fill(input);
  await choose(type);
}

test("There are more than twenty golden messages, from all seven files", () => {
  assert.ok(golden.length > 20);
  assert.equal(new Set(golden.map(([file]) => file)).size, 7);
});

for (const [file, name, type, expected] of golden) {
  test(`${type}: ${name}`, async () => {
    const vector = vectors.find((one) => one.name === name && one.place.startsWith(`${file}:`));
    assert.equal(vector?.type, `quor.protobuf.${type}`);
    await decodeAtOnce(vector.hex, type);
    const shown = (await rows()).map(([offset, field, , value]) => [Number(offset), field, value]);
    for (const row of expected) {
      const found = shown.find(([offset, field]) => offset === row[0] && field === row[1]);
      assert.deepEqual(found, row, `of ${JSON.stringify(shown)}`);
    }
    assert.equal(await text("#d-fault"), "");
    const zero = (_key, value) => (Object.is(value, -0) ? 0 : value);
    const snake = (key) => key.replaceAll(/[A-Z]/g, (letter) => `_${letter.toLowerCase()}`);
    const underscored = (value) =>
      Array.isArray(value)
        ? value.map(underscored)
        : value && typeof value === "object"
          ? Object.fromEntries(
              Object.entries(value).map(([key, one]) => [snake(key), underscored(one)]),
            )
          : value;
    assert.deepEqual(JSON.parse(await text("#d-json")), underscored(JSON.parse(vector.json, zero)));
  });
}

const bad = [
  ["a character that is not a digit", "0a 0g", "", /'g' at position 5 is not a hexadecimal digit/],
  ["an odd number of digits", "0a 05 7", "", /odd: the last one, '7' at position 7/],
  [
    "base64 with a wrong character",
    "CgNyMTc!CgNy",
    "",
    /'!' at position 8 is not a base64 digit, after offset 5/,
  ],
  ["a varint cut off", "10 80", "Tarq.SqlQuery", /Offset 1: a number is cut off/],
  [
    "a length beyond the end",
    `10 01 2a c8 01${" 61".repeat(50)}`,
    "Tarq.SqlQuery",
    /Offset 3: a length of 200 bytes, but the message has only 50 left/,
  ],
  [
    "a group that has not begun",
    "50 0c 14",
    "Tarq.SqlQuery",
    /Offset 2: the end of .* group of field 2, which /,
  ],
  ["field number 0", "50 0c 00", "Tarq.SqlQuery", /Offset 2: a tag with field number 0/],
  ["a wire type that does not exist", "50 0c 17", "Tarq.SqlQuery", /Offset 2: wire type 7/],
  [
    "text that is not UTF-8",
    "50 0c 2a 03 61 ff 62",
    "Tarq.SqlQuery",
    /Offset 5: byte 0xff is not? valid UTF-8/,
  ],
  [
    "too many levels",
    `${"7b".repeat(101)}${"7c".repeat(101)}`,
    "Tarq.SqlQuery",
    /Offset 100: .* more than 100 deep/,
  ],
];

for (const [what, input, type, message] of bad) {
  test(`Invalid input is reported with its position: ${what}`, async () => {
    await decodeAtOnce(input, type);
    await page.locator("#d-fault").filter({ hasText: message }).waitFor();
    assert.equal(await page.locator("#d-fault").getAttribute("role"), "alert");
  });
}

test("The fields before a fault are shown, and the fault after them", async () => {
  await decodeAtOnce("0a03723137120e10012a0853454c45", "Tarq.SqlQueries");
  const shown = await rows();
  assert.deepEqual(
    shown.map(([offset, field]) => [Number(offset), field]),
    [
      [0, "queue_id"],
      [5, "queries[0]"],
      [7, "connection_id"],
      [9, "query"],
    ],
  );
  assert.equal(shown[3][3], '"SELE"');
  assert.match(shown[3][4], /offset 10: a length of 8 bytes/);
  assert.match(await text("#d-output"), /parsers refuse these bytes/);
});

const inputs = [
  ["hexadecimal", "0x50, 0x0c"],
  ["a hex dump with offsets", "00000000: 500c   P."],
  ["base64", "UAw="],
];

for (const [form, input] of inputs) {
  test(`The page says which format it detected: ${form}`, async () => {
    await decodeAtOnce(input, "Tarq.SqlQuery");
    assert.deepEqual(
      (await rows()).map((row) => row.slice(0, 4)),
      [["0", "rows", "(10, int32)", "12"]],
    );
    assert.equal(await text("#d-taken"), `Read as ${form}: 2 bytes.`);
  });
}

// A page of its own for what is done to it.

function testAlone(name, run) {
  test(name, async () => {
    await open();
    await run();
  });
}

testAlone("The input format can be chosen", async () => {
  await decode("0a00", "Login.Login");
  await page.getByText("Read as hexadecimal: 2 bytes.").waitFor();
  await page.locator("#d-form").selectOption("base64");
  await page.getByText("Read as base64: 3 bytes.").waitFor();
});

testAlone("A file is read as binary", async () => {
  await page.locator("#d-type").selectOption("quor.protobuf.Tarq.SqlQuery");
  await page.locator("#d-file").setInputFiles({
    name: "one.bin",
    mimeType: "application/octet-stream",
    buffer: Buffer.from("500c", "hex"),
  });
  assert.equal((await rows())[0][1], "rows");
  assert.equal(await text("#d-taken"), "one.bin: 2 bytes, read as binary.");
});

testAlone("A file of more than 4 MiB is refused, and the limit is named", async () => {
  await page.locator("#d-file").setInputFiles({
    name: "large.bin",
    mimeType: "application/octet-stream",
    buffer: Buffer.alloc(4 * 1024 * 1024 + 1),
  });
  await page
    .locator("#d-fault")
    .filter({ hasText: "4194305 bytes; the limit is 4194304" })
    .waitFor();
});

testAlone("A large message is shown in part, and the page stays usable", async () => {
  await page.locator("#d-type").selectOption("quor.protobuf.JQ.JobIdList");
  const begin = Date.now();
  await page.locator("#d-file").setInputFiles({
    name: "large.bin",
    mimeType: "application/octet-stream",
    buffer: Buffer.from("0a00".repeat(1024 * 1024), "hex"),
  });
  await page.locator(".d-incomplete").filter({ hasText: "Only the first 20000 fields" }).waitFor();
  assert.ok(Date.now() - begin < 10_000);
  assert.equal((await rows()).length, 200);
  await page.getByRole("button", { name: /^Show more: / }).click();
  assert.equal((await rows()).length, 400);
  await page.getByRole("button", { name: "Next bytes" }).click();
  assert.match(await text(".d-hex-where"), /Bytes 1024 to 2047 of 2097152/);
});

testAlone("Without a type the wire format is shown, and fitting types are offered", async () => {
  await decode("0a03723137120e10012a0853454c4543542031500c");
  assert.deepEqual(
    (await rows()).map((row) => row.slice(0, 4)),
    [
      ["0", "field 1", "(len)", '"r17"'],
      ["5", "field 2", "(len)", "14 bytes, looks like a message"],
      ["7", "field 2", "(varint)", "1"],
      ["9", "field 5", "(len)", '"SELECT 1"'],
      ["19", "field 10", "(varint)", "12"],
    ],
  );
  await page.getByRole("button", { name: "Tarq.SqlQueries" }).click();
  assert.equal((await rows())[4][1], "rows");
});

testAlone("No bytes are reported as a message with no field set", async () => {
  await page.locator("#d-type").selectOption("quor.protobuf.Login.Login");
  await page.getByText("No bytes: a message with no field set.").waitFor();
});

testAlone("Unknown fields and undeclared values are marked as not declared", async () => {
  await decode("78ac02 0d00000000 2007", "CT.Header");
  assert.deepEqual(
    (await rows()).map((row) => row.slice(0, 4)),
    [
      ["0", "field 15", "(varint), not declared", "300"],
      ["3", "field 1", "(32-bit), but flags is uint32", "0, as a float 0"],
      ["8", "dump_reason", "(4, Header.DumpReason)", "7, not declared"],
    ],
  );
});

testAlone("Characters that hide text or change its direction are escaped", async () => {
  await decode(`0a09${Buffer.from('\u202e<b>"\n\u0000').toString("hex")}`, "Login.Login");
  assert.equal((await rows())[0][3], '"\\u202e<b>\\"\\n\\x00"');
});

testAlone("Length-delimited messages are offered, and shown with offsets in the input", async () => {
  await decode("02500c0450051001", "Tarq.SqlQuery");
  await page.getByRole("button", { name: "Read as length-delimited messages" }).click();
  assert.deepEqual(
    (await rows()).map(([offset, field, , value]) => [offset, field, value]),
    [
      ["1", "rows", "12"],
      ["4", "rows", "5"],
      ["6", "connection_id", "1"],
    ],
  );
  assert.equal(await text("#d-fault"), "");
});

testAlone("The bytes of the focused field are marked, by the keyboard too", async () => {
  await decode("0a03723137120e10012a0853454c4543542031500c", "Tarq.SqlQueries");
  await rows();
  await page.locator(".d-field").nth(1).focus();
  assert.equal((await page.locator(".d-marked").allInnerTexts()).length, 16);
  await page.keyboard.press("Tab");
  assert.deepEqual(await page.locator(".d-marked").allInnerTexts(), ["10", "01"]);
  await page.keyboard.press("Shift+Tab");
  await page.keyboard.press("Enter");
  assert.equal(await page.getByText("connection_id", { exact: true }).first().isVisible(), false);
});

test("An address opens its message, and the page updates the address", async () => {
  await open("#type=quor.protobuf.Login.Login&hex=0a056167656e74");
  assert.equal((await rows())[0][3], '"agent"');
  await page.locator("#d-input").fill("0a 01 61");
  await page.waitForURL((url) => url.hash === "#type=quor.protobuf.Login.Login&hex=0a0161");
  await page.reload();
  assert.equal((await rows())[0][3], '"a"');
});

test("An unknown type in an address is reported", async () => {
  await open("#type=quor.protobuf.Nothing&hex=0a0161");
  assert.match(await text("#d-fault"), /names an unknown message type: quor\.protobuf\.Nothing/);
});

testAlone("Every button 'Open in the decoder' opens a message without a fault", async () => {
  const links = [];
  for (const file of ["codetrace", "config", "jobqueue", "login", "monitor", "quorphp", "tarq"]) {
    await page.goto(fileUrl(`${file}.html`));
    const found = await page
      .locator('a[href^="decode.html#type="]')
      .evaluateAll((all) => all.map((one) => one.getAttribute("href")));
    assert.ok(found.length > 0, file);
    links.push(...found);
  }
  await page.goto(fileUrl("decode.html"));
  for (const link of links) {
    const [title, fields, fault] = await page.evaluate(
      (address) =>
        new Promise((resolve) => {
          addEventListener(
            "hashchange",
            () => {
              const shown = (id) => document.getElementById(id)?.textContent;
              const count = document.querySelectorAll(".d-field").length;
              resolve([shown("d-title"), count, shown("d-fault")]);
            },
            { once: true },
          );
          location.hash = address.slice(address.indexOf("#"));
        }),
      link,
    );
    assert.ok(link.includes(`#type=${title}&`), `${link} shows ${title}`);
    assert.ok(fields > 0, link);
    assert.equal(fault, "", link);
  }
});

testAlone("The JSON can be copied", async () => {
  await browser.context.grantPermissions(["clipboard-read", "clipboard-write"]).catch(() => {});
  await decode("500c", "Tarq.SqlQuery");
  await rows();
  await page.getByRole("button", { name: "Copy" }).click();
  await page.getByText(/^(?:Copied\.|Selected: copy it with Ctrl\+C\.)$/).waitFor();
});
