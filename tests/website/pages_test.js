// All pages of the built site, in a browser.
// QMSG_SITE: the built site; QMSG_NPM: the packages; QMSG_SCREENSHOTS: a folder for screenshots.

import assert from "node:assert/strict";
import { mkdirSync, readdirSync, readFileSync } from "node:fs";
import { createServer } from "node:http";
import { extname, join } from "node:path";
import { after, before, test } from "node:test";

import { axe, Browser, fileUrl, site } from "./browser.js";

const pages = readdirSync(site).filter((name) => name.endsWith(".html"));
const decoded =
  "decode.html#type=quor.protobuf.Tarq.SqlQueries&hex=0a03723137120e10012a0853454c4543542031500c";
const kinds = [
  "index.html",
  "tarq.html",
  "diagram.html",
  "guides.html",
  "guide-tool.html",
  decoded,
];

let browser;
before(async () => {
  browser = await Browser.start();
  await visitAll();
});
after(() => browser.stop());

async function visit(what, look, options) {
  const { page, seen } = await browser.page(options?.own);
  try {
    for (const name of what) {
      await page.goto(options?.own ? options.own + name : fileUrl(name));
      await look(page, name, seen);
    }
  } finally {
    await page.close();
  }
  return seen;
}

const opened = new Map();

/** Looks at a page of each kind, which is opened once, under that media. */
async function lookAtKinds(media, look) {
  for (const name of kinds) {
    if (!opened.has(name)) {
      const { page } = await browser.page();
      await page.goto(fileUrl(name));
      opened.set(name, page);
    }
    const page = opened.get(name);
    await page.bringToFront(); // a hidden page takes its time to draw
    await page.emulateMedia({ media: "screen", colorScheme: "light", ...media });
    await look(page, name);
  }
}

// All pages, visited once.

/** The ids and the links of each page, and how wide it is on a narrow screen. */
const found = [];
/** Requests to other hosts, and complaints. */
let seenInAll;

async function visitAll() {
  seenInAll = await visit([...pages, decoded], async (page, name) => {
    await page.setViewportSize({ width: 390, height: 800 });
    const parts = await page.evaluate(() => ({
      width: document.documentElement.scrollWidth,
      ids: [...document.querySelectorAll("[id]")].map(({ id }) => id),
      links: [...document.querySelectorAll("[href], [src]")]
        .map((one) => one.getAttribute("href") ?? one.getAttribute("src"))
        .concat(
          [...document.querySelectorAll("svg a")].map((one) => one.getAttribute("xlink:href")),
        )
        .filter((address) => address !== null),
    }));
    found.push({ name, ...parts });
  });
}

/** Links to other sites that are allowed: none. */
const allowedOutside = [];

test("No link is dead or leads to another site, and no id occurs twice", () => {
  for (const { name, ids } of found) {
    const twice = ids.filter((id, index) => ids.indexOf(id) !== index);
    assert.deepEqual(twice, [], `${name}: duplicate ids`);
  }
  const ids = new Map(found.map((page) => [page.name, new Set(page.ids)]));
  const links = found.flatMap((page) => page.links.map((address) => [page.name, address]));
  assert.ok(links.length > 1000, `only ${links.length} links were found`);
  const files = new Set(readdirSync(site, { recursive: true }));
  const dead = [];
  const outside = [];
  for (const [name, address] of links) {
    const url = new URL(address, `site:///${name}`);
    if (url.protocol !== "site:") {
      outside.push(`${name}: ${address}`);
      continue;
    }
    const target = decodeURIComponent(url.pathname.slice(1));
    const id = decodeURIComponent(url.hash.slice(1));
    const isState = target === "decode.html" && id.includes("=");
    if (!files.has(target) || (id !== "" && !isState && !ids.get(target)?.has(id))) {
      dead.push(`${name}: ${address}`);
    }
  }
  assert.deepEqual(dead, []);
  assert.deepEqual(
    outside.filter((one) => !allowedOutside.some((allowed) => one.endsWith(allowed))),
    [],
  );
});

test("At a width of 390 pixels no page scrolls sideways", () => {
  assert.ok(found.length > pages.length);
  assert.deepEqual(
    found.filter(({ width }) => width > 390).map(({ name, width }) => `${name}: ${width}`),
    [],
  );
});

test("Opened as files, pages request nothing from other hosts and log no error", () => {
  assert.deepEqual(seenInAll, { foreign: [], complaints: [] });
});

test("Served over HTTP, pages request nothing from other hosts and log no error", async () => {
  const types = {
    ".html": "text/html",
    ".js": "text/javascript",
    ".css": "text/css",
    ".svg": "image/svg+xml",
  };
  const server = createServer((request, response) => {
    const name = new URL(request.url, "http://localhost").pathname.slice(1);
    try {
      const content = readFileSync(join(site, name));
      response
        .writeHead(200, { "content-type": types[extname(name)] ?? "text/plain" })
        .end(content);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  try {
    const own = `http://127.0.0.1:${server.address().port}/`;
    const seen = await visit(
      kinds,
      async (page, name) => {
        if (name === decoded) {
          await page.getByText("queries[0]", { exact: true }).waitFor();
        }
      },
      { own },
    );
    assert.deepEqual(seen, { foreign: [], complaints: [] });
  } finally {
    server.closeAllConnections?.();
    server.close();
  }
});

test("The content security policy blocks images of other hosts", async () => {
  await visit(["index.html"], async (page) => {
    const refused = await page.evaluate(
      () =>
        new Promise((resolve) => {
          document.addEventListener("securitypolicyviolation", (event) =>
            resolve(event.blockedURI),
          );
          const image = new Image();
          image.src = "http://elsewhere.example/picture.png";
          document.body.append(image);
          setTimeout(() => resolve("not refused"), 3000);
        }),
    );
    assert.match(refused, /elsewhere\.example/);
  });
});

test("These tests notice a request to another host, and an error", async () => {
  const { page, seen } = await browser.page();
  await page.goto("about:blank");
  seen.foreign.length = 0;
  await page.setContent('<img src="http://elsewhere.example/picture.png">');
  await page.evaluate(() => {
    console.error("loud");
    setTimeout(() => {
      throw new Error("broken");
    });
  });
  await page.waitForTimeout(300);
  await page.close();
  assert.deepEqual(seen.foreign, ["http://elsewhere.example/picture.png"]);
  assert.ok(seen.complaints.some((one) => one.includes("loud")));
  assert.ok(seen.complaints.some((one) => one.includes("broken")));
});

test("Each page has a content security policy that forbids connections", () => {
  for (const name of pages) {
    const text = readFileSync(join(site, name), "utf8");
    assert.match(text, /Content-Security-Policy" content="default-src 'none';/, name);
    assert.match(text, /connect-src 'none'/, name);
  }
});

// Search.

const searches = [
  ["a message", "SqlQuery", "tarq.html#quor.protobuf.Tarq.SqlQuery"],
  ["a field", "connection_id", "tarq.html#quor.protobuf.Tarq.SqlQuery.connection_id"],
  ["an enum value", "PhpError", "monitor.html#quor.protobuf.Monitor.Event.EventType.PhpError"],
  ["a field by its tag", "tag 38", "tarq.html#quor.protobuf.Tarq.SqlQuery.flags"],
  ["a word of a comment", "handshake", ".html"],
];

for (const [what, words, target] of searches) {
  test(`Search finds ${what} with the keyboard alone`, async () => {
    await visit(["index.html"], async (page) => {
      await page.keyboard.press("/");
      await page.keyboard.type(words);
      const results = page.locator("#results [role=option]");
      await results.first().waitFor();
      const addresses = await results.evaluateAll((found) =>
        found.map((one) => one.getAttribute("href")),
      );
      const place = addresses.findIndex((address) => address.includes(target));
      assert.ok(place >= 0, `${words} leads to ${addresses.join(" ")}`);
      for (let i = 0; i < place; ++i) {
        await page.keyboard.press("ArrowDown");
      }
      await page.keyboard.press("Enter");
      await page.waitForURL((url) => url.href.includes(target));
    });
  });
}

test("Search says when it finds nothing", async () => {
  await visit(["index.html"], async (page) => {
    await page.keyboard.press("/");
    await page.keyboard.type("zzqqxx");
    assert.match(await page.locator("#results").innerText(), /nothing found/i);
    assert.match(await page.locator("#search [role=status]").innerText(), /nothing found/i);
    await page.keyboard.press("Escape");
    await page.locator("#results").waitFor({ state: "hidden" });
  });
});

// Accessibility.

test("The keyboard reaches the content, the search and the decoder", async () => {
  await visit(["decode.html"], async (page) => {
    const reached = [];
    for (let i = 0; i < 20; ++i) {
      await page.keyboard.press("Tab");
      reached.push(
        await page.evaluate(() => {
          const { className, id, ariaLabel } = document.activeElement ?? {};
          return id || ariaLabel || className;
        }),
      );
    }
    assert.equal(reached[0], "skip");
    for (const wanted of [
      "Search the reference",
      "d-input",
      "d-type",
      "d-form",
      "d-framing",
      "d-file",
    ]) {
      assert.ok(reached.includes(wanted), `${wanted} is not among ${reached.join(", ")}`);
    }
    await page.goto(fileUrl("decode.html"));
    await page.keyboard.press("Tab");
    await page.keyboard.press("Enter");
    assert.equal(await page.evaluate(() => document.activeElement?.id), "content");
  });
});

const axeOptions = {
  // Some columns of the guides' tables have no heading, because their cells need none.
  light: { resultTypes: ["violations"], rules: { "empty-table-header": { enabled: false } } },
  // The dark scheme differs in nothing but colours.
  dark: { resultTypes: ["violations"], runOnly: ["cat.color"] },
};

for (const scheme of ["light", "dark"]) {
  test(`axe finds no violation on any kind of page, in ${scheme}`, async () => {
    const wrong = [];
    await lookAtKinds({ colorScheme: scheme }, async (page, name) => {
      // Evaluated from outside: the page's policy forbids to load the script.
      const { violations } = await page.evaluate(
        `${readFileSync(axe, "utf8")};axe.run(document, ${JSON.stringify(axeOptions[scheme])})`,
      );
      wrong.push(
        ...violations.flatMap(({ id, nodes }) =>
          nodes
            .slice(0, 4)
            .map(
              (node) =>
                `${name.slice(0, 20)}: ${id}: ${node.target.join(" ")} ${node.failureSummary}`,
            ),
        ),
      );
    });
    assert.deepEqual(wrong, []);
  });

  test(`Text has a contrast of at least 4.5 to 1, in ${scheme}`, async () => {
    await lookAtKinds({ colorScheme: scheme }, async (page, name) => {
      const weak = await page.evaluate(weakTexts);
      assert.ok(weak.checked > 10, `${name}: ${weak.checked} texts were checked`);
      assert.deepEqual(weak.found, [], name);
    });
  });
}

/** Runs in the page. Finds texts whose contrast is too low. */
function weakTexts() {
  const channels = (colour) => (colour.match(/[\d.]+/g) ?? []).map(Number);
  const luminance = (colour) => {
    const [r, g, b] = channels(colour)
      .slice(0, 3)
      .map((value) => value / 255)
      .map((value) => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const behind = (one) => {
    for (let at = one; at; at = at.parentElement) {
      const { backgroundColor } = getComputedStyle(at);
      if ((channels(backgroundColor)[3] ?? 1) === 1) {
        return backgroundColor;
      }
    }
    return "rgb(255, 255, 255)";
  };
  const found = [];
  let checked = 0;
  const selector = "h1, h2, h3, p, a, li, td, th, code, small, label, summary, span, button, b";
  for (const one of document.querySelectorAll(`body :is(${selector})`)) {
    const hasText = [...one.childNodes].some((node) => node.nodeType === 3 && node.data.trim());
    if (!hasText || !one.checkVisibility?.({ visibilityProperty: true })) {
      continue;
    }
    ++checked;
    const pair = [getComputedStyle(one).color, behind(one)];
    const [dark, light] = pair.map(luminance).sort((a, b) => a - b);
    const contrast = (light + 0.05) / (dark + 0.05);
    if (contrast < 4.5) {
      found.push(`${one.outerHTML.slice(0, 80)}: ${pair.join(" on ")}: ${contrast.toFixed(2)}`);
    }
  }
  return { checked, found: found.slice(0, 10) };
}

test("Printed pages have no navigation", async () => {
  await lookAtKinds({ media: "print" }, async (page, name) => {
    for (const part of ["nav", "#search", ".skip"]) {
      for (const found of await page.locator(part).all()) {
        assert.equal(await found.isVisible(), false, `${name}: ${part}`);
      }
    }
    assert.equal(await page.locator("h1").first().isVisible(), true, name);
  });
});

test("Screenshots of each kind of page are kept for people to review", async () => {
  const folder = process.env.QMSG_SCREENSHOTS;
  mkdirSync(folder, { recursive: true });
  const looks = [
    ["wide", 1280, "light"],
    ["narrow", 390, "light"],
    ["dark", 1280, "dark"],
  ];
  await lookAtKinds({}, async (page, name) => {
    for (const [look, width, colorScheme] of looks) {
      await page.emulateMedia({ colorScheme });
      await page.setViewportSize({ width, height: 900 });
      const path = join(folder, `${name.split(".")[0]}-${look}.png`);
      const taken = await page.screenshot({ path });
      assert.ok(taken.length > 5000, path);
    }
  });
});
