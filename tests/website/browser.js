// A browser that blocks requests to other hosts, and records requests and complaints of pages.

import assert from "node:assert/strict";
import { existsSync, mkdtempSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { pathToFileURL } from "node:url";

const npm = createRequire(join(process.env.QMSG_NPM, "package.json"));
const { chromium } = npm("playwright-core");

export const site = process.env.QMSG_SITE;
export const axe = npm.resolve("axe-core/axe.min.js");

const FLAGS = [
  "--no-sandbox",
  "--disable-gpu",
  "--disable-quic",
  "--no-first-run",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-sync",
  "--disable-dev-shm-usage",
];

/** The file: address of a page. */
export const fileUrl = (page) => {
  const [name, fragment] = page.split("#");
  return pathToFileURL(join(site, name)).href + (fragment === undefined ? "" : `#${fragment}`);
};

export class Browser {
  static async start(options = {}) {
    const executablePath = "/usr/bin/chromium";
    assert.ok(existsSync(executablePath), "apt-get install chromium");
    const browser = new Browser();
    browser.folder = mkdtempSync(join(tmpdir(), "qmsg-site-"));
    browser.context = await chromium.launchPersistentContext(browser.folder, {
      executablePath,
      headless: true,
      args: FLAGS,
      viewport: { width: 1280, height: 900 },
      ...options,
    });
    return browser;
  }

  async stop() {
    await this.context.close();
    rmSync(this.folder, { recursive: true, force: true });
  }

  /**
   * A page, its requests to other hosts, and its complaints. Only requests to `own` are allowed.
   */
  async page(own = "file:") {
    const page = await this.context.newPage();
    page.setDefaultTimeout(10_000);
    const seen = { foreign: [], complaints: [] };
    const isOwn = (url) =>
      url.startsWith(own) || url.startsWith("data:") || url.startsWith("blob:");
    page.on("request", (request) => {
      if (!isOwn(request.url())) {
        seen.foreign.push(request.url());
      }
    });
    page.on("websocket", (socket) => seen.foreign.push(socket.url()));
    page.on("console", (message) => {
      if (["error", "warning"].includes(message.type())) {
        seen.complaints.push(`${page.url()}: ${message.text()}`);
      }
    });
    page.on("pageerror", (error) => seen.complaints.push(`${page.url()}: ${error}`));
    await page.route(
      (url) => !isOwn(url.href),
      (route) => route.abort(),
    );
    return { page, seen };
  }
}
