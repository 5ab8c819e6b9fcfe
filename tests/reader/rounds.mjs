// Uses each form in one browser from start to end: opens it from the list, fills it in, checks computed values, prints,
// saves, finds it again, changes, saves and downloads it. rounds.mjs TOOL PROGRAM PACKAGES FOLDER PICTURES [CODE...];
// FOLDER/plan.json names the browser and has the forms, see browsers_test.py.

import { execFileSync } from "node:child_process";
import { mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";
import { setTimeout as sleep } from "node:timers/promises";
import {
  PlainServer, browserPath, endServers, expect, folder, inkOf, keepPrinted, packages, pictures, runTests, same, tool,
} from "./basics.mjs";

const { default: puppeteer } = await import(createRequire(path.join(packages, ".")).resolve("puppeteer-core"));
const { browser: kind, forms } = JSON.parse(readFileSync(path.join(folder, "plan.json")));

// In milliseconds. Only a browser that hangs reaches this limit; a slow machine does not.
const PATIENCE = 180_000;
const downloads = path.join(folder, `downloads-${kind}`);
mkdirSync(downloads);

const browser = await puppeteer.launch({
  browser: kind, executablePath: browserPath, headless: true, timeout: PATIENCE, protocolTimeout: PATIENCE,
  args: kind === "chrome" ? ["--no-sandbox"] : [],
  extraPrefsFirefox: {
    "browser.download.folderList": 2, "browser.download.dir": downloads, "browser.download.useDownloadDir": true,
    // Keeps the downloads panel closed, which would take the focus away from the page.
    "browser.download.alwaysOpenPanel": false, "browser.download.always_ask_before_handling_new_types": false, "browser.helperApps.neverAsk.saveToDisk": "application/pdf",
    "browser.download.open_pdf_attachments_inline": false, "pdfjs.disabled": true,
  },
});
console.log(await browser.version());
const server = await PlainServer.start(`data-${kind}`);

async function openWindow() {
  const page = await browser.newPage();
  page.setDefaultTimeout(PATIENCE);
  await page.bringToFront();
  await page.setViewport({ width: 1100, height: 1000 });
  page.on("console", (message) => expect(!["error", "warn"].includes(message.type()), "the console says", message.text()));
  page.on("pageerror", (error) => expect(false, "an error nobody caught", String(error)));
  page.on("request", (request) => expect(/^(blob|data):/.test(request.url()) || request.url().startsWith(`${server.origin}/`), "a foreign request", request.url()));
  page.on("dialog", async (dialog) => {
    expect(false, "a message in the way", dialog.message());
    await dialog.accept();
  });
  await page.evaluateOnNewDocument(keepPrinted);
  if (kind === "chrome") {
    const session = await page.createCDPSession();
    await session.send("Browser.setDownloadBehavior", { behavior: "allow", downloadPath: downloads });
  }
  return page;
}

const at = (name) => `[data-name=${JSON.stringify(name)}]`;
const valueOf = (page, name) => page.$eval(at(name), (one) => one.value);
const troubleOf = (page) => page.$eval("#trouble", (one) => one.textContent);
const isShown = (page) => page.waitForFunction(() => document.querySelector(".page canvas") && !document.querySelector("#news").textContent);
const inMode = (page, mode) => page.waitForFunction((one) =>
  document.querySelector("#pages").ariaBusy === "false" && (document.querySelector("#mode").dataset.mode === one || document.querySelector("#trouble p")), {}, mode);
const press = async (page, mode) => {
  await page.click("#press");
  await inMode(page, mode);
  same(await troubleOf(page), "", `pressing the button for ${mode}`);
};

/** Types a text into a field; a number clicks the button of the field with this index. */
async function enter(page, [name, what]) {
  // Pages get their fields shortly before they come into view.
  for (let i = 0; !(await page.$(at(name))); i++) {
    await page.evaluate((nth) => document.querySelectorAll(".page")[nth].scrollIntoView(), i);
    await page.waitForFunction((nth) => document.querySelectorAll(".page")[nth].querySelector(".layer"), {}, i);
  }
  if (typeof what === "number") return (await page.$$(at(name)))[what].click();
  await page.focus(at(name));
  await page.keyboard.press("End");
  await page.keyboard.type(what);
  await page.keyboard.press("Tab");
}

/** Checks what the page shows in these fields once the scripts have run. */
async function checkShown(page, { shown, said }) {
  const all = Object.entries(shown);
  const wait = page.waitForFunction((wanted) => wanted.every(([name, text]) =>
    document.querySelector(`[data-name=${JSON.stringify(name)}]`)?.value === text), {}, all);
  await wait.catch(() => {});
  same(await Promise.all(all.map(async ([name]) => [name, await valueOf(page, name)])), all, "what the page shows");
  const trouble = await troubleOf(page);
  expect(said ? trouble.includes(said) : !trouble, "what the page says", trouble);
}

async function print(page, { code, typed }) {
  await page.click("#print-form");
  await page.waitForFunction(() => globalThis.printed && !document.documentElement.classList.contains("printing") && !document.querySelector("#print img"));
  const { sheets, first, pages } = await page.evaluate(() => ({
    sheets: globalThis.printed.images.length, first: globalThis.printed.images[0], pages: document.querySelectorAll(".page").length }));
  same(sheets, pages, "the printed sheets");
  const [name] = typed.find(([, what]) => typeof what === "string");
  const ink = await page.evaluate(inkOf, name);
  expect(ink > 5, `the printed page shows nothing in ${name}`, ink);
  writeFileSync(path.join(pictures, `round-${code}-${kind}-printed.png`), Buffer.from(first.split(",")[1], "base64"));
}

/** Downloads the form and returns the path of the file once it is complete. */
async function download(page) {
  await page.click("#download");
  for (;;) {
    const [name, ...others] = readdirSync(downloads);
    const file = path.join(downloads, name ?? ".");
    if (name?.endsWith(".pdf") && !others.length && readFileSync(file).subarray(-8).includes("%%EOF")) return file;
    await sleep(100);
  }
}

async function round(page, form) {
  const { code, typed, stored, again: [name, more] } = form;
  await page.goto(`${server.origin}/`);
  await page.click(`li[data-code="${code}"] a.main`);
  await isShown(page);
  for (const one of typed) await enter(page, one);
  await checkShown(page, form);
  await print(page, form);
  await page.screenshot({ path: path.join(pictures, `round-${code}-${kind}.png`) });
  await press(page, "consult");
  const valuesOf = (fields) => Object.keys(stored).map((one) => [one, fields?.[one] ?? ""]);
  same(valuesOf(server.stored("--code", code).at(-1)?.fields), Object.entries(stored), "what is stored");

  await page.goto(`${server.origin}/`);
  await page.click(`li[data-code="${code}"] .own a`);
  await isShown(page);
  same(await page.$eval("#mode", (one) => one.dataset.mode), "consult", "the saved form, found in the list");
  await press(page, "modify");
  await enter(page, [name, more]);
  await press(page, "consult");
  stored[name] += more;
  same(valuesOf(server.stored("--code", code).at(-1)?.fields), Object.entries(stored), "what is stored after the change");

  const file = await download(page);
  const values = JSON.parse(execFileSync(tool, ["export", file, "--format", "json"], { stdio: ["ignore", "pipe", "ignore"] }));
  same(valuesOf(values), Object.entries(stored), "what the downloaded file has");
  rmSync(file);
}

const page = await openWindow();
await runTests(`rounds in ${kind}`, forms.map((form) => [form.code, () => round(page, form)]), () => {}, async () => {
  await browser.close();
  await server.stop();
  endServers();
});
