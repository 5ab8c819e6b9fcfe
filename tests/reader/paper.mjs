// The form outside its page: printed, downloaded, searched, copied, in other languages.

import { execFileSync } from "node:child_process";
import path from "node:path";
import { languageOf, all } from "../../tool/reader/texts.js";
import { nearestText, phrasesOf, questionOf, wordsOfGroup } from "../../tool/reader/labels.js";
import { inkOf, keepPrinted } from "./basics.mjs";
import { Server, alertText, checkAccess, expect, field, openForm, openWindow, picture, pictures, press, same, tool } from "./harness.mjs";

const FILLED = { "adherent.nom": "Lebœuf", "adherent.prenom": "Ζωή", "adherent.ville": "Béziers" };

export async function printed_and_downloaded() {
  const server = await Server.start("paper");
  const context = await openWindow(server);
  await context.addInitScript(keepPrinted);
  const page = await openForm(context, server, "?code=membership_form");
  for (const [name, text] of Object.entries(FILLED)) await field(page, name).fill(text);
  await page.keyboard.press("Control+p");
  await page.waitForFunction(() => globalThis.printed && !document.documentElement.classList.contains("printing"));
  const inked = await page.evaluate(inkOf, "adherent.nom");
  expect(inked > 200, "the printed page shows no value", inked);
  same(await page.evaluate(() => [globalThis.printed.images.length, document.querySelectorAll("#print img").length, document.adoptedStyleSheets.length]),
    [await page.locator(".page").count(), 0, 0], "each page once, and nothing left afterwards");
  await page.evaluate(async () => {
    const { images, sheets } = globalThis.printed;
    const shown = images.map((src) => Object.assign(new Image(), { src }));
    document.getElementById("print").replaceChildren(...shown);
    await Promise.all(shown.map((image) => image.decode()));
    document.adoptedStyleSheets = sheets;
  });
  const paper = path.join(pictures, "printed.pdf");
  await page.pdf({ path: paper, preferCSSPageSize: true });
  same(execFileSync("qpdf", ["--show-npages", paper]).toString().trim(), `${await page.locator(".page").count()}`, "the sheets of paper");

  const [file] = await Promise.all([page.waitForEvent("download"), page.locator("#download").click()]);
  same(file.suggestedFilename(), `${await page.locator("#title").innerText()}.pdf`, "the name of the file");
  const values = JSON.parse(execFileSync(tool, ["export", await file.path(), "--format", "json"]));
  const drawn = execFileSync("pdftotext", [await file.path(), "-"]).toString();
  for (const [name, text] of Object.entries(FILLED)) {
    same(values[name], text, `${name} in the downloaded file`);
    expect(drawn.includes(text), `${name} is not drawn`, drawn);
  }
  same(values["ZOR.SessionID"] ?? "", "", "the session in the downloaded file");
  same(server.stored(), [], "printing stores something");
  const refused = async (body, headers = {}) => (await fetch(`${server.origin}/reader/print.pdf`, { method: "POST", body, headers })).status;
  const xfdf = '<xfdf xmlns="http://ns.adobe.com/xfdf/"><ids original="00" modified="00"/><fields><field name="a"><value>b</value></field></fields></xfdf>';
  same([await refused(xfdf), await refused("no form"), await refused(xfdf, { Origin: "http://example.com" }), (await fetch(`${server.origin}/reader/print.pdf`)).status],
    [409, 409, 403, 405], "who may not print");
  await server.stop("SIGKILL");
  context.trouble.expected = /Failed to load|ERR_/;
  await page.locator("#print-form").click();
  expect((await alertText(page)).includes("serveur ne répond pas"), "printing without the server", await alertText(page));
}

export async function text_of_the_page() {
  const server = await Server.start("text");
  const page = await openForm(await openWindow(server), server, "?code=membership_form");
  const words = await page.locator(".text span", { hasText: /^Nom/ }).first();
  await words.waitFor();
  const [shown, written] = await Promise.all([words, page.locator(".page")].map((one) => one.first().boundingBox()));
  expect(shown.width > 10 && shown.x > written.x && shown.y > written.y, "where the text lies", shown);
  same(await page.evaluate(() => globalThis.find("adhésion")), true, "the browser finds a word of the form");
  await picture(page, "found");
  const comb = field(page, "adherent.code_postal");
  await comb.pressSequentially("FR-34500");
  expect(/: « .*500/.test(await page.locator(".hint").innerText()), "what did not fit", await page.locator(".hint").innerText());
  await checkAccess(page, "what did not fit");
  await picture(page, "hint");
  await field(page, "adherent.nom").focus();
  same(await page.locator(".hint").count(), 0, "the hint goes with the focus");
  await server.stop();
}

export async function words_near_fields() {
  const at = (text, x, y, w = 40) => ({ text, x, y, w, h: 9 });
  const phrases = phrasesOf([at("Name", 40, 100), at("of the", 82, 100, 25), at("child :", 109, 100, 25), at("........", 140, 100), at("Yes", 60, 140, 15), at("No", 120, 140, 12),
    at("Town", 200, 160), at("Far away", 400, 300)]);
  same(phrases.map(({ text }) => text).sort(), ["Far away", "Name of the child", "No", "Town", "Yes"], "phrases");
  for (const [box, isToggle, wanted] of [
    [{ x: 145, y: 96, w: 100, h: 16 }, false, "Name of the child"], [{ x: 45, y: 139, w: 10, h: 10 }, true, "Yes"], [{ x: 105, y: 139, w: 10, h: 10 }, true, "No"],
    [{ x: 200, y: 172, w: 100, h: 16 }, false, "Town"], [{ x: 500, y: 600, w: 50, h: 16 }, false, ""],
  ]) {
    same(nearestText(box, isToggle, phrases), wanted, `the words near ${JSON.stringify(box)}`);
  }
  const button = (x, y) => ({ x, y, w: 10, h: 10 });
  const questions = phrasesOf([at("Married? .... 7", 40, 200, 70), at("Yes", 120, 200, 15), at("No", 160, 200, 12), at("Pay by", 40, 230), at("card", 55, 250, 20), at("cheque", 55, 270)]);
  for (const [boxes, words, question] of [
    [[button(138, 200), button(175, 200)], ["Yes", "No"], "Married?"], [[button(40, 250), button(40, 270)], ["card", "cheque"], "Pay by"],
    [[button(40, 400), button(300, 400)], ["", ""], ""],
  ]) {
    same([wordsOfGroup(boxes, questions), questionOf(boxes, new Set(["Yes", "No"]), questions)], [words, question], `the words of the buttons ${JSON.stringify(boxes)}`);
  }
}

export async function languages() {
  const english = all.en;
  const shapeOf = (texts) => Object.entries(texts).map(([key, text]) =>
    [key, typeof text, typeof text === "object" ? Object.keys(text) : typeof text === "function" ? text(3, "x").match(/3|x/g)?.sort() : text !== ""]);
  for (const [name, texts] of Object.entries(all)) same(shapeOf(texts), shapeOf(english), `the texts in ${name}`);
  same(["de-AT", "sv", "pt", "it"].map((one) => languageOf([one])), ["de", "en", "en", "it"], "languages chosen");
  const server = await Server.start("languages");
  const bare = await (await openWindow(server, { javaScriptEnabled: false })).newPage();
  await bare.goto(`${server.origin}/reader/`);
  same(await bare.locator("noscript p:visible").count(), Object.keys(all).length, "languages that say that scripts are needed");
  for (const locale of ["de-DE", "es-ES", "it-IT", "nl-NL"]) {
    const page = await openForm(await openWindow(server, { locale, viewport: { width: 700, height: 700 } }), server, "?code=plain");
    const language = locale.slice(0, 2);
    same([await page.locator("html").getAttribute("lang"), await page.locator("#press").innerText()], [language, all[language].save], `the page in ${locale}`);
    await field(page, "line").fill("x");
    await press(page, "consult");
    expect(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${locale}: the page scrolls sideways`);
    await picture(page, `saved-${language}`);
  }
  await server.stop();
}
