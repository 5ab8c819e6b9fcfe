// Shared by the tests of the page: the server, the browser, and rules that every page must keep.

import { createRequire } from "node:module";
import path from "node:path";
import { PlainServer, browserPath, endServers, expect, packages, pictures, runTests } from "./basics.mjs";

export { expect, pictures, same, tool } from "./basics.mjs";

const require = createRequire(path.join(packages, "."));
const { chromium } = require("playwright-core");
const axePath = require.resolve("axe-core/axe.min.js");

export class Server extends PlainServer {
  /** Stops the server. Without a signal, closes all windows first. */
  async stop(signal) {
    if (!signal) await closeWindows();
    await super.stop(signal);
  }
}

export const browser = await chromium.launch({ executablePath: browserPath, args: ["--no-sandbox"] });

async function closeWindows() {
  for (const context of browser.contexts()) await context.close();
}

/** Opens a window; any error on its page that the test does not expect fails the test. */
export async function openWindow(server, options = {}) {
  const context = await browser.newContext({ locale: "fr-FR", viewport: { width: 1100, height: 900 }, ...options });
  context.setDefaultTimeout(60000);
  const trouble = { expected: null };
  context.on("request", (request) => {
    const url = request.url();
    expect(url.startsWith(`${server.origin}/`) || url.startsWith("blob:") || url.startsWith("data:"), "a foreign request", url);
  });
  context.on("console", (message) => {
    const bad = ["error", "warning"].includes(message.type());
    if (bad && !trouble.expected?.test(message.text())) expect(false, "the console says", message.text());
  });
  context.on("weberror", (error) => expect(false, "an error nobody caught", String(error.error())));
  context.trouble = trouble;
  return context;
}

export async function openForm(context, server, address) {
  const page = await context.newPage();
  await page.goto(`${server.origin}/reader/${address}`);
  await shown(page);
  return page;
}
export const shown = (page) => page.waitForSelector(".page canvas");
export const field = (page, name) => page.locator(`[data-name="${name}"]`);

export const mode = (page) => page.locator("#mode").getAttribute("data-mode");
export const inMode = (page, wantedMode) =>
  page.waitForFunction((one) => document.querySelector("#mode").dataset.mode === one, wantedMode);
export async function press(page, wantedMode) {
  await page.locator("#press").click();
  await inMode(page, wantedMode);
}
/** What the browser has stored about forms. */
export const kept = (page) => page.evaluate(() => JSON.stringify({ ...localStorage }));
/** Waits until the browser has stored this text. */
export const isKept = (page, text) => page.waitForFunction((one) => JSON.stringify({ ...localStorage }).includes(one), text);

/** The displayed values of the form's fields. */
export const shownValues = (page) => page.evaluate(() => {
  const values = {};
  for (const element of document.querySelectorAll("[data-name]")) {
    const { name } = element.dataset;
    if (element.matches("button")) continue;
    if (element.matches("[type=checkbox], [type=radio]")) {
      if (element.checked) values[name] = element.getAttribute("aria-label");
    } else if (element.matches("select")) {
      values[name] = [...element.selectedOptions].map((option) => option.text).join("\n");
    } else {
      values[name] = element.value;
    }
  }
  return values;
});
export const alertText = async (page) => {
  await page.locator("#trouble p").waitFor();
  return page.locator("#trouble").innerText();
};

export async function picture(page, name) {
  await page.waitForTimeout(250);
  await page.screenshot({ path: path.join(pictures, `${name}.png`) });
}

/** Checks that axe-core finds no fault in the accessibility of the page. */
export async function checkAccess(page, label) {
  const source = require("node:fs").readFileSync(axePath, "utf8");
  // Scripts that are injected as by a debugger bypass the Content-Security-Policy of the page. It still blocks the
  // styles that axe sets, and the browser reports this as an error.
  const { trouble } = page.context();
  trouble.expected = /Content Security Policy/;
  await page.evaluate(source);
  const result = await page.evaluate(() => globalThis.axe.run(document, { resultTypes: ["violations"], preload: false }));
  trouble.expected = null;
  for (const { id, impact, nodes } of result.violations) {
    const where = nodes.slice(0, 3).map((node) => node.html);
    expect(false, `${label}: ${impact} ${id}`, ...where);
  }
  expect(result.passes.length > 10, `${label}: hardly anything was checked`, result.passes.length);
}

async function tidy() {
  await closeWindows();
  endServers();
}

export const run = (tests) => runTests("reader_test", tests.map((one) => [one.name, one]), tidy, () => browser.close());
