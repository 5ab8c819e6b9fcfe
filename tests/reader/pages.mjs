// The pages as served, and how they look.

import http from "node:http";
import { all } from "../../tool/reader/texts.js";
import {
  Server, alertText, checkAccess, expect, field, kept, mode, openForm, openWindow, picture, press, same, shown,
} from "./harness.mjs";

export async function sample_form_looks_good() {
  const server = await Server.start("sample");
  const times = [];
  for (const [colorScheme, locale] of [["light", "fr-FR"], ["dark", "en-GB"], ["light", "fr-FR"]]) {
    const context = await openWindow(server, { colorScheme, locale });
    const page = await context.newPage();
    await page.goto(`${server.origin}/`);
    same(await page.locator("html").getAttribute("lang"), locale.slice(0, 2), "the language of the list");
    await checkAccess(page, `list, ${colorScheme}`);
    await picture(page, `list-${colorScheme}`);
    const start = Date.now();
    await page.locator("li[data-code=membership_form] a.main").click();
    await shown(page);
    times.push(Date.now() - start);
    same(await page.locator("html").getAttribute("lang"), locale.slice(0, 2), "the language of the page");
    await field(page, "adherent.nom").fill("Lebœuf");
    await field(page, "adherent.prenom").fill("Maëlle Zoé");
    await field(page, "adherent.naissance").fill("14071989");
    await field(page, "adherent.adresse").fill("Résidence « Le Chêne »\n12 bis, allée des Hêtres");
    await field(page, "adherent.code_postal").fill("34500");
    await field(page, "adherent.ville").fill("Béziers");
    await page.getByRole("radiogroup", { name: "Formule d’adhésion" }).getByRole("radio", { name: "Étudiant" }).check();
    await field(page, "adherent.premiere").check();
    await field(page, "paiement.total").fill("27,50 €");
    await field(page, "adherent.telephone").focus();
    await checkAccess(page, `sample, ${colorScheme}`);
    await picture(page, `sample-${colorScheme}`);
    if (!times[1]) {
      await page.setViewportSize({ width: 900, height: 640 });
      await picture(page, "reader");
      await page.setViewportSize({ width: 1100, height: 900 });
    }
    await press(page, "consult");
    await checkAccess(page, `sample in consult, ${colorScheme}`);
    await picture(page, `sample-consult-${colorScheme}`);
    await context.close();
  }
  console.log(`sample form: ${times.join(", ")} ms from the click to the drawn page`);
  const context = await openWindow(server, { viewport: { width: 390, height: 780 }, deviceScaleFactor: 2 });
  const page = await openForm(context, server, "?code=membership_form");
  await picture(page, "narrow");
  const wide = await page.evaluate(() => document.documentElement.scrollWidth);
  expect(wide <= 390, "a narrow window scrolls sideways", wide);
  expect(await page.locator("#bar").evaluate((one) => one.clientHeight < innerHeight / 4), "the bar leaves little of a narrow window");
  const before = await page.locator(".page").evaluate((one) => one.clientWidth);
  for (let i = 0; i < 4; i++) await page.getByRole("button", { name: "Agrandir" }).click();
  expect(await page.locator(".page").evaluate((one) => one.clientWidth) > before * 1.5, "the zoom");
  await picture(page, "narrow-zoomed");
  await page.goto(`${server.origin}/`);
  await picture(page, "narrow-list");
  const look = await openForm(context, server, "?code=membership_form&look=1");
  same([await mode(look), await look.locator("#press").isVisible()], ["readonly", false], "looking at a form");
  await server.stop();
}

export async function list_of_forms() {
  const server = await Server.start("list");
  const context = await openWindow(server);
  const page = await context.newPage();
  await page.goto(`${server.origin}/`);
  const state = () => page.locator("li[data-code='Copie n° 1'] > .what .state").innerText();
  same(await state(), "Nouveau", "a form that was never saved");
  await page.getByLabel("Chercher un formulaire").fill("DECLARATION  activites");
  same([await page.locator("#forms > li:visible").count(), await page.locator("#found").innerText()], [1, "1 formulaire"], "the search");
  const form = await openForm(context, server, "?code=Copie%20n%C2%B0%201");
  for (const name of ["adherent.nom", "adherent.prenom"]) await field(form, name).fill("x");
  const stale = await openForm(context, server, form.url().split("/reader/")[1]);
  for (const name of ["adherent.nom", "adherent.prenom"]) await field(stale, name).fill("y");
  await press(form, "consult");
  await page.reload();
  expect(/^Enregistré \d+ /.test(await state()), "a form that was saved", await state());
  await stale.locator("#press").click();
  await alertText(stale);
  await page.reload();
  expect(/^Refusé /.test(await state()), "a form that was refused", await state());
  await picture(page, "list-states");
  const opened = [];
  await page.route(/open\.cgi/, async (route) => {
    const answer = await route.fetch();
    opened.push([route.request().method(), answer.status(), answer.headers()["content-type"]]);
    await route.fulfill({ status: 204 });
  });
  for (const number of [0, 1]) {
    const answered = page.waitForResponse(/open\.cgi/);
    await page.locator("li[data-code='Copie n° 1'] form button").nth(number).click();
    await answered;
  }
  same(opened, [["POST", 200, "application/pdf"], ["POST", 200, "application/vnd.adobe.xfdf"]], "forms open by their buttons");
  const empty = await context.newPage();
  await empty.route(`${server.origin}/`, async (route) => {
    const body = await (await route.fetch()).text();
    await route.fulfill({ body: body.replace(/<li [^]*<\/li>/, ""), contentType: "text/html" });
  });
  await empty.goto(`${server.origin}/`);
  await empty.getByText(all.fr.noForms).waitFor();
  for (const [locale, date] of [["en-GB", /^Refused \d+ [A-Z][a-z]+ \d{4}, \d\d:\d\d$/], ["en-US", /^Refused [A-Z][a-z]+ \d+, \d{4}, \d+:\d\d\s[AP]M$/],
    ["de-DE", /^Abgelehnt \d+\.\d+\.\d{4}, \d\d:\d\d$/], ["fr-CA", /^Refusé \d+ \S+ \d{4}, \d\d\sh\s\d\d$/]]) {
    const other = await (await openWindow(server, { locale })).newPage();
    await other.goto(`${server.origin}/`);
    const text = await other.locator("li[data-code='Copie n° 1'] > .what .state").innerText();
    expect(date.test(text), `the form of dates for ${locale}`, text);
  }
  await server.stop();
}

/** Sends a raw request; resolves to the status and the header fields of the answer. */
function ask(server, method, target, headers = {}) {
  return new Promise((resolve, reject) => {
    const options = { host: "localhost", port: server.port, method, path: target, headers };
    http.request(options, (answer) => answer.resume().on("end", () => resolve({ status: answer.statusCode, headers: answer.headers })))
      .on("error", reject).end();
  });
}

export async function what_is_served() {
  const server = await Server.start("served");
  const page = await ask(server, "GET", "/reader/");
  const policy = page.headers["content-security-policy"] ?? "";
  expect(!/unsafe|\*|http/.test(policy.replace("'wasm-unsafe-eval'", "")) && policy.includes("script-src 'self'") && policy.includes("default-src 'none'"), "the policy", policy);
  same(page.headers["cache-control"], "no-cache", "what never changes may be kept");
  same((await ask(server, "GET", "/reader/", { "If-None-Match": page.headers.etag })).status, 304, "what was kept still stands");
  for (const [method, target, status] of [
    ["GET", "/reader/main.js", 200], ["GET", "/reader/none.js", 404], ["GET", "/reader/..%2fREADME.md", 404],
    ["GET", "/reader/../../README.md", 404], ["GET", "/reader/pdfjs", 404], ["POST", "/reader/main.js", 405],
    ["GET", "/reader/open.json?code=kinds", 405], ["POST", "/reader/open.json?code=none", 404],
    ["GET", "/reader/form.json?form=guessed", 404], ["GET", "/reader/saved.json?form=guessed", 404], ["GET", "/reader/form.json?code=none", 404],
    ["GET", "/reader/form.json?code=kinds", 200], ["HEAD", "/reader/", 200], ["GET", "/reader/THIRD-PARTY.txt", 200],
  ]) {
    const { status: got } = await ask(server, method, target);
    same(got, status, `${method} ${target}`);
  }
  for (const [accepted, language] of [
    ["fr", "fr"], ["fr-CA;q=0.5, en;q=0.4", "fr"], ["fr;q=0.1,en", "en"], ["de, fr", "de"], ["sv, it;q=0.9", "it"], ["sv", "en"], ["fr;q=0", "en"], ["FR;q=x,", "fr"],
  ]) {
    const answer = await fetch(`${server.origin}/`, { headers: { "Accept-Language": accepted } });
    same(/lang="(..)"/.exec(await answer.text())?.[1], language, `the language for ${accepted}`);
  }
  const data = await ask(server, "GET", "/reader/form.json?code=kinds");
  same(data.headers["cache-control"], "no-store", "data may be kept");
  same((await ask(server, "POST", "/reader/open.json?code=kinds", { Origin: "http://example.com" })).status, 403, "another origin opens a form");
  await server.stop();
}

export async function thousand_fields() {
  const server = await Server.start("many");
  const context = await openWindow(server);
  const page = await context.newPage();
  const beside = Date.now();
  await openForm(context, server, "?code=plain");
  const small = Date.now() - beside;
  const start = Date.now();
  await page.bringToFront();
  await page.goto(`${server.origin}/reader/?code=many`);
  await shown(page);
  const opened = Date.now() - start;
  await page.waitForFunction(() => document.querySelectorAll("[data-name]").length >= 1001);
  const complete = Date.now() - start;
  const scrolled = await page.evaluate(() => new Promise((resolve) => {
    const pages = document.getElementById("pages");
    const frames = [];
    let last = performance.now();
    const step = (now) => {
      frames.push(now - last);
      last = now;
      pages.scrollTop += 120;
      if (pages.scrollTop + pages.clientHeight < pages.scrollHeight - 1) requestAnimationFrame(step);
      else resolve({ frames: frames.length, median: frames.sort((a, b) => a - b)[frames.length >> 1], p95: frames[Math.floor(frames.length * 0.95)] });
    };
    requestAnimationFrame(step);
  }));
  const canvases = await page.locator(".page > canvas").count();
  expect(canvases <= 5, "pages far away keep their canvases", canvases);
  await field(page, "p9.f99").check();
  const typing = Date.now();
  await field(page, "p9.f98").pressSequentially("twenty characters ok");
  const perKey = (Date.now() - typing) / 20;
  await page.locator("#pages").evaluate((one) => (one.scrollTop = 0));
  await field(page, "p0.f00").fill("first");
  const saving = Date.now();
  await press(page, "consult");
  const saved = Date.now() - saving;
  const [{ fields }] = server.stored();
  same([fields["p0.f00"], fields["p9.f98"], fields["p9.f99"]], ["first", "twenty characters ok", "Oui"], "far pages keep their values");
  console.log(`1,000 fields: a form with three drawn after ${small} ms, this one after ${opened} ms, every input there after ${complete} ms, scrolled in ${scrolled.frames} frames ` +
    `(median ${scrolled.median.toFixed(1)} ms, 95 % ${scrolled.p95.toFixed(1)} ms), ${perKey.toFixed(1)} ms a key, saved and shown in ${saved} ms`);
  expect(complete < 20 * small, "a form with 1,000 fields takes much longer than one with three", small, opened, complete);
  await server.stop();
}
