// Finding a saved form again, moving through a form of many pages, and the help at fields with scripts.

import { execFileSync, spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { dateText, dayOf, helpOf } from "../../tool/reader/input_help.js";
import {
  Server, checkAccess, expect, field, inMode, mode, openForm, openWindow, picture, press, same, shown, tool,
} from "./harness.mjs";

/** Checks that the page is not wider than the window when its text has twice the size. */
async function checkLargeText(page, label) {
  await page.evaluate(() => (document.documentElement.style.fontSize = "200%"));
  for (const width of [1100, 640]) {
    await page.setViewportSize({ width, height: 800 });
    const needed = await page.evaluate(() => document.documentElement.scrollWidth);
    expect(needed <= width, `${label}: text of 200 % scrolls sideways`, needed, width);
    await picture(page, `${label}-200-${width}`);
  }
  await page.evaluate(() => (document.documentElement.style.fontSize = ""));
  await page.setViewportSize({ width: 1100, height: 900 });
}

async function checkHighContrast(page, label) {
  await page.emulateMedia({ forcedColors: "active", colorScheme: "dark" });
  await picture(page, `${label}-contrast`);
  await page.emulateMedia({ forcedColors: "none", colorScheme: "light" });
}

export async function saved_forms_are_found() {
  const server = await Server.start("found");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=plain");
  await page.goto(`${server.origin}/`);
  const entry = page.locator("li[data-code=plain] .own li");
  expect(/^Ouvert ici le/.test(await entry.innerText()), "a form that was opened", await entry.innerText());
  same(await entry.locator("button").count(), 0, "a PDF of what was never saved");
  await entry.getByRole("link", { name: "Continuer" }).click();
  await shown(page);
  await field(page, "line").fill("Lebœuf");
  await press(page, "consult");
  await page.goto(`${server.origin}/`);
  await checkAccess(page, "list with own forms");
  await entry.scrollIntoViewIfNeeded();
  await picture(page, "list-own");
  await checkLargeText(page, "list");
  await checkHighContrast(page, "list");
  const [file] = await Promise.all([page.waitForEvent("download"), entry.getByRole("button", { name: "PDF" }).click()]);
  const values = JSON.parse(execFileSync(tool, ["export", await file.path(), "--format", "json"]));
  same([values.line, values["ZOR.SessionID"] ?? ""], ["Lebœuf", ""], "the PDF of what was saved");
  await entry.getByRole("link", { name: "Consulter" }).click();
  await inMode(page, "readonly");
  same([await field(page, "line").inputValue(), await page.locator("#press").isVisible()], ["Lebœuf", false], "looking at what was saved");
  const [flat] = await Promise.all([page.waitForEvent("download"), page.locator("#download-flat").click()]);
  expect(spawnSync(tool, ["fields", await flat.path()]).stderr.includes("has no form"), "a PDF without fields has some");
  expect(execFileSync("pdftotext", [await flat.path(), "-"]).includes("Lebœuf"), "its pages show no value");
  await checkLargeText(page, "reader");
  await checkHighContrast(page, "reader");
  const ownForms = async (tab) => {
    await tab.goto(`${server.origin}/`);
    return tab.locator(".own li").allInnerTexts();
  };
  const own = await ownForms(page);
  same([own.length, await ownForms(page), await ownForms(await context.newPage())], [1, own, own], "own forms, after a reload and in another tab");
  await server.stop("SIGTERM");
  const again = await Server.start("found", server.port);
  same(await ownForms(page), own, "own forms, after the server was started again");
  same(await ownForms(await (await openWindow(again)).newPage()), [], "the forms of another browser");
  await again.stop();
}

export async function page_of_submissions() {
  const server = await Server.start("office");
  const context = await openWindow(server);
  for (const name of ["Lebœuf", "Ægir"]) {
    const form = await openForm(context, server, "?code=plain");
    await field(form, "line").fill(name);
    await press(form, "consult");
    if (name === "Ægir") continue;
    await form.locator("#press").click();
    await inMode(form, "modify");
    await field(form, "two").fill("again");
    await press(form, "consult");
  }
  const page = await context.newPage();
  await page.goto(server.saved);
  const rows = page.locator("#rows tr");
  await rows.first().waitFor();
  same(await rows.count(), 3, "every submission");
  await checkAccess(page, "submissions");
  await picture(page, "submissions");
  await page.locator("#latest").check();
  await page.waitForFunction(() => document.querySelectorAll("#rows tr").length === 2);
  await page.locator("#words").fill("LEBŒUF");
  await page.waitForFunction(() => document.querySelectorAll("#rows tr").length === 1);
  const [csv] = await Promise.all([page.waitForEvent("download"), page.locator("#csv").click()]);
  const text = readFileSync(await csv.path(), "utf8");
  expect(text.includes("Lebœuf") && text.includes("again") && !text.includes("Ægir"), "the CSV of what was found", text);
  await rows.getByRole("button").click();
  await page.locator("#values").getByText("again").waitFor();
  await checkAccess(page, "one submission");
  await picture(page, "submission");
  const [xfdf] = await Promise.all([page.waitForEvent("download"), page.locator("#xfdf").click()]);
  expect(readFileSync(await xfdf.path(), "utf8").includes("<value>again</value>"), "its XFDF");
  await page.keyboard.press("Escape");
  await checkLargeText(page, "submissions");
  await page.locator("#words").fill("nobody");
  await page.waitForFunction(() => !document.querySelector("#rows tr"));
  expect((await page.locator("#news").innerText()) !== "", "nothing found is told");
  context.trouble.expected = /403/;
  const lost = await context.newPage();
  await lost.goto(`${server.origin}/reader/submissions.html`);
  await lost.waitForFunction(() => /clé/.test(document.getElementById("news").textContent));
  same(await lost.locator("#wanted").isVisible(), false, "without the key");
  await server.stop();
}

export async function help_at_fields() {
  const actions = (Format, Keystroke = "") => new Map([["Format", [Format]], ["Keystroke", [Keystroke]]]);
  for (const [format, keystroke, date, mask, keys] of [
    ['AFDate_FormatEx("dd/mm/yyyy");', "", "dd/mm/yyyy", "", ""], ["AFDate_Format(7)", "", "yy-mm-dd", "", ""],
    ['AFDate_FormatEx("mm/yyyy");', "", "", "", ""], ['AFDate_FormatEx("m/d/yy HH:MM");', "", "", "", ""],
    ["AFSpecial_Format(3);", "", "", "___-__-____", "numeric"], ["", 'AFSpecial_KeystrokeEx("99-9999");', "", "__-____", "numeric"],
    ["AFNumber_Format(2, 0, 0, 0, '', true);", "", "", "", "decimal"], ["own();", "", "", "", ""],
  ]) {
    same(helpOf(actions(format, keystroke)), { date, mask, keys }, `the help of ${format} ${keystroke}`);
  }
  same(helpOf(null), { date: "", mask: "", keys: "" }, "no scripts");
  for (const [day, pattern, text] of [["2026-01-02", "dd/mm/yyyy", "02/01/2026"], ["1999-12-31", "m/d/yy", "12/31/99"], ["2026-03-04", "d-mmm-yy", "4-Mar-26"]]) {
    same(dateText(day, pattern), text, `a day as ${pattern}`);
    same(dayOf(text, pattern), pattern.includes("mmm") ? "" : day, `the day of ${text}`);
  }
  const server = await Server.start("help");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=scripted");
  await page.waitForFunction(() => performance.getEntriesByType("resource").some(({ name }) => name.endsWith("quickjs-eval.wasm")));
  await field(page, "date").focus();
  expect(await page.locator(".calendar:visible").count() === 1, "no calendar at a date");
  await picture(page, "calendar");
  await page.locator(".calendar:visible").click();
  await page.locator(".days").first().evaluate((days) => {
    days.value = "2026-02-28";
    days.dispatchEvent(new Event("change"));
  });
  await page.keyboard.press("Escape");
  same(await field(page, "date").inputValue(), "28/02/2026", "the day that was chosen");
  same(await field(page, "hours").getAttribute("inputmode"), "decimal", "the keyboard for a number");

  const many = await openForm(context, server, "?code=many");
  await many.locator("#page-number").fill("7");
  await many.keyboard.press("Enter");
  await many.waitForFunction(() => document.querySelectorAll(".page")[6].getBoundingClientRect().top < 200);
  await many.locator("#toggle-list").click();
  await many.locator("#page-list canvas").first().waitFor();
  same(await many.locator("#page-list [aria-current]").getAttribute("data-page"), "7", "the page that is shown");
  await checkAccess(many, "many pages");
  await picture(many, "page-list");
  await many.locator("#page-list button").nth(8).click();
  await many.waitForFunction(() => document.getElementById("page-number").value === "9");
  await many.locator("#toggle-list").click();
  same(await many.locator("#page-list canvas").count(), 0, "pictures that nobody sees");
  await server.stop();
}
