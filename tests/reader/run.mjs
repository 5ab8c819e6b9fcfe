// The form in a browser, as those who fill it in meet it: run.mjs TOOL CHROMIUM PACKAGES FOLDER PICTURES [TEST...].

import http from "node:http";
import { FormModel } from "../../tool/reader/model.js";
import { writeXFDF } from "../../tool/reader/xfdf.js";
import {
  Server, alertText, browser, checkAccess, expect, field, mode, openForm, openWindow, picture, press, run, same, shown,
} from "./harness.mjs";

const LONG = Array.from({ length: 400 }, (_, i) => `Ligne ${i} : été à 12 € <b>&`).join("\n").slice(0, 9999) + "."; 
const NOTES = "  Très cher œuvre – 100 €\nПривет, мир\n\n\t«]]>» & <i>\"'</i> 日本 😀 ";

/** What each field of the form of all kinds is given, and what is stored of it. */
const KINDS = {
  "person.name": "Łukasz Ñandú Þór",
  "person.née": "Müller-Œuvre",
  "person.notes": NOTES,
  comb: "12345678",
  amount: "1 234,50 €",
  secret: "pass€phrase",
  "auto.size": "ΑΒΓ",
  "boxes.1": "Été",
  "boxes.2": "A&B",
  "choice.radio": "Étudiant",
  "choice.combo": "b",
  "choice.typed": "Łódź",
  "choice.one": "c",
  "choice.many": "1\n3",
  last: LONG,
};
const UNTOUCHED = { fixed: "cannot change", unseen: "kept", "boxes.0": "Off" };

async function fillKinds(page) {
  for (const name of ["person.name", "person.née", "person.notes", "comb", "amount", "secret", "auto.size", "last"]) {
    await field(page, name).fill(KINDS[name]);
  }
  await field(page, "private").fill("stays here");
  await field(page, "boxes.1").check();
  await field(page, "boxes.2").check();
  await page.getByLabel("One of three – Étudiant").check();
  await field(page, "choice.combo").selectOption({ label: "Bleu «ciel»" });
  await field(page, "choice.typed").fill(KINDS["choice.typed"]);
  await field(page, "choice.one").selectOption("c");
  await field(page, "choice.many").selectOption(["1", "3"]);
}

/** What the fields of the form show. */
const shownValues = (page) => page.evaluate(() => {
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

async function what_is_written() {
  const field = (name, values, more) => ({ name, kind: "text", values, loaded: values, defaults: [], readOnly: false,
    required: false, noExport: false, secret: false, ...more });
  const model = new FormModel();
  for (const one of [field("a.b", ["x"]), field("a.c", []), field("d", ["1", "2"]), field("e", ["no"], { noExport: true }), field("ab", [""])]) {
    model.add(one);
  }
  for (const [flags, fields, wanted] of [
    [32, [], ["a.b", "d", "ab"]], [34, [], ["a.b", "a.c", "d", "ab"]], [32, ["a"], ["a.b"]], [33, ["a"], ["d", "ab"]],
    [34, ["a.c", "e"], ["a.c"]], [33, [], ["a.b", "d", "ab"]],
  ]) {
    same(model.submitted({ flags, fields }).map(([name]) => name), wanted, `what is sent by ${flags} ${fields}`);
  }
  const head = '<?xml version="1.0" encoding="UTF-8"?>\n<xfdf xmlns="http://ns.adobe.com/xfdf/" xml:space="preserve">\n' +
    '<f href="http://h/?a=1&amp;b=2"/>\n<ids original="0A" modified="0B"/>\n<fields>\n';
  const write = (...fields) => writeXFDF({ f: "http://h/?a=1&b=2", ids: { original: "0A", modified: "0B" }, fields })
    .replace(head, "").replace("</fields>\n</xfdf>\n", "");
  for (const [fields, wanted] of [
    [[["a.b", ["1"]], ["c", ["2"]], ["a.d", ["3", "4"]]],
      '<field name="a"><field name="b"><value>1</value></field>\n<field name="d"><value>3</value><value>4</value></field>\n</field>\n<field name="c"><value>2</value></field>\n'],
    [[["a", []], ["b", [""]]], '<field name="a"></field>\n<field name="b"><value></value></field>\n'],
    [[['"<é\n', ["]]>&\r\n\t\u0001\uD800x\r😀"]]], '<field name="&quot;&lt;é&#10;"><value>]]&gt;&amp;\n\t\uFFFD\uFFFDx\n😀</value></field>\n'],
    [[["a", ["1"]], ["a.b", ["2"]]], '<field name="a"><value>1</value><field name="b"><value>2</value></field>\n</field>\n'],
  ]) {
    same(write(...fields), wanted, "XFDF");
  }
}

async function every_kind_round() {
  const server = await Server.start("kinds");
  const context = await openWindow(server, { locale: "en-GB" });
  const page = await openForm(context, server, "?code=kinds");
  same(await mode(page), "modify", "a new form is open to be filled in");
  expect(await field(page, "fixed").evaluate((one) => one.readOnly), "a read-only field can be changed");
  same(await field(page, "unseen").count() + await field(page, "ZOR.SessionID").count(), 0, "hidden fields on the screen");
  await field(page, "person.née").pressSequentially("Müller-Œuvre and more");
  same(await field(page, "person.née").inputValue(), "Müller-Œuvre", "more than the maximum length");
  await page.locator("#press").click();
  expect((await alertText(page)).includes("A field that is required is empty"), "a required field may stay empty");
  same(await page.evaluate(() => document.activeElement.dataset.name), "person.name", "the focus goes to what is missing");
  await page.getByLabel("Reset name").click();
  same(await field(page, "person.née").inputValue(), "", "the form's own button resets");
  await fillKinds(page);
  await field(page, "comb").press("End");
  await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))));
  same(await field(page, "comb").evaluate((one) => [one.scrollLeft, one.scrollWidth > one.clientWidth]), [0, true],
    "a full comb shows its first character");
  same(await mode(page), "unsaved", "what is typed is not saved yet");
  await picture(page, "kinds-filled");
  const posted = page.waitForRequest(/save\.cgi/);
  await press(page, "consult");
  expect((await page.locator("#news").innerText()).startsWith("Saved at "), "the save is told");
  await picture(page, "kinds-consult");

  const xfdf = (await posted).postData();
  expect(/<f href="http:\/\/localhost:\d+\/zforms\/acroform\/get\.cgi\?code=kinds&amp;Action=modify"\/>/.test(xfdf) &&
    /<ids original="[0-9A-F]{32}" modified="[0-9A-F]{32}"\/>/.test(xfdf) && xfdf.includes('<field name="SessionID"><value>&lt;') &&
    !/buttons|\r|private/.test(xfdf), "what is posted", xfdf);

  const [stored] = server.stored("--code", "kinds");
  same(Object.entries(stored.fields).sort(), Object.entries({ ...KINDS, ...UNTOUCHED }).sort(), "the store holds what was typed");
  same(LONG.length, 10000, "the long text");
  const values = await shownValues(page);
  for (const name of ["person.name", "person.notes", "comb", "choice.typed", "last", "choice.many"]) {
    same(values[name], KINDS[name], `consult mode shows ${name}`);
  }
  same([values["choice.combo"], values["choice.radio"], values["boxes.1"]], ["Bleu «ciel»", "One of three – Étudiant", "Box 1"],
    "consult mode shows what was chosen");
  const open = await page.locator("input:not([readonly], :disabled), textarea:not([readonly]), select:not(:disabled)").count();
  same(open, 0, "fields that can be changed in consult mode");

  await page.locator(".layer button[data-name='buttons.modify']").click();
  await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "modify");
  await field(page, "last").fill("");
  await field(page, "boxes.1").uncheck();
  await field(page, "choice.many").selectOption([]);
  await field(page, "person.again").fill("x");
  await page.keyboard.press("Control+s");
  await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
  const second = server.stored("--code", "kinds")[1].fields;
  same([second.last, second["boxes.1"], second["choice.many"], second["person.again"], second["person.notes"]],
    ["", "Off", "", "x", NOTES], "the second save");
  await page.reload();
  await shown(page);
  same([await mode(page), (await shownValues(page))["person.again"]], ["consult", "x"], "a reload shows what was saved");
  await server.stop();
}

async function by_keyboard_alone() {
  const server = await Server.start("keyboard");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=kinds");
  const type = { "person.name": "Zoé", "choice.typed": "Sète", last: "z" };
  const order = [];
  for (let i = 0; i < 60; i++) {
    await page.keyboard.press("Tab");
    const name = await page.evaluate(() => document.activeElement.dataset.name ?? document.activeElement.id);
    if (order.at(-1) === name) continue;
    order.push(name);
    if (type[name]) await page.keyboard.type(type[name]);
    if (name === "boxes.0") await page.keyboard.press("Space");
    if (name === "choice.radio") await page.keyboard.press("ArrowRight");
    if (name === "choice.combo") await page.keyboard.type("R");
    if (name === "choice.one") await page.keyboard.press("ArrowDown");
    if (name === "buttons.save") break;
    const ring = await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
    expect(ring !== "none", "no focus ring", name);
  }
  same(order, ["back", "smaller", "fit", "larger", "press", "pages", "person.name", "person.née", "person.notes", "comb", "amount",
    "secret", "fixed", "private", "auto.size", "boxes.0", "boxes.1", "boxes.2", "choice.radio", "choice.combo", "choice.typed",
    "choice.one", "choice.many", "buttons.reset", "last", "person.again", "buttons.save"].filter((one) => order.includes("pages") || one !== "pages"),
  "the order of Tab");
  await page.keyboard.press("Enter");
  await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
  const [{ fields }] = server.stored();
  same([fields["person.name"], fields["boxes.0"], fields["choice.radio"], fields["choice.combo"], fields["choice.typed"], fields.last],
    ["Zoé", "Oui", "Étudiant", "r", "Sète", "z"], "what the keys have done");
  await server.stop();
}

async function odd_form() {
  const server = await Server.start("odd");
  const context = await openWindow(server, { locale: "en-GB", viewport: { width: 1400, height: 900 } });
  const page = await openForm(context, server, "?code=odd");
  const box = (name, index = 0) => field(page, name).nth(index).evaluate((one) => {
    const { x, y, width, height } = one.getBoundingClientRect();
    const sheet = one.closest(".page").getBoundingClientRect();
    return [x - sheet.x, y - sheet.y, width, height].map((size) => Math.round((size / sheet.height) * 595));
  });
  // The page is turned: what is 52 points below its top is as far from its right edge.
  same([await box("a"), await box("side", 1)], [[842 - 52 - 17, 40, 17, 120], [842 - 150 - 12, 330, 12, 12]], "fields on a page that is turned");
  await page.locator("#press").focus();
  const order = [];
  while (order.length < 9) {
    await page.keyboard.press("Tab");
    const name = await page.evaluate(() => document.activeElement.dataset.name ?? document.activeElement.id);
    if (name !== "pages") order.push(name);
  }
  same(order, ["save", "twice", "twice", "c", "a", "side", "side", "d", "b"], "the order of Tab by rows, as the page is seen");
  same(await field(page, "a").inputValue(), "", "a default is no value");
  await field(page, "twice").first().fill("both");
  same(await field(page, "twice").nth(1).inputValue(), "both", "a field's other widget");
  await field(page, "side").first().check();
  await field(page, "side").nth(1).check();
  same(await field(page, "side").first().isChecked(), false, "boxes of one name exclude each other");
  await press(page, "consult");
  await picture(page, "odd-consult");
  await press(page, "modify");
  same(await field(page, "side").nth(1).isChecked(), true, "which box is on after a save");
  await field(page, "side").nth(1).uncheck();
  await press(page, "consult");
  const stored = server.stored().map(({ fields }) => fields);
  same(stored, [{ side: "right", twice: "both" }, { side: "Off", twice: "both" }], "what is stored, the session seen by no page");
  await server.stop();
}

async function stale_tab() {
  const server = await Server.start("stale");
  const context = await openWindow(server);
  const first = await openForm(context, server, "?code=kinds");
  const second = await openForm(context, server, new URL(first.url()).search + new URL(first.url()).hash);
  await field(first, "person.name").fill("first");
  await field(second, "person.name").fill("second");
  await press(first, "consult");
  await second.locator("#press").click();
  expect((await alertText(second)).includes("Pas enregistré"), "a stale tab is not told");
  same(await field(second, "person.name").inputValue(), "second", "what was typed into the stale tab");
  await picture(second, "stale");
  same([server.stored().length, server.stored("--rejected").length], [1, 1], "the store tells them apart");
  await second.locator("#trouble button").click();
  await second.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
  same(await field(second, "person.name").inputValue(), "first", "what was saved is shown");
  await second.getByRole("button", { name: "Reprendre la saisie" }).click();
  await second.waitForFunction(() => document.querySelector("#mode").dataset.mode === "unsaved");
  same(await field(second, "person.name").inputValue(), "second", "what was typed comes back over it");
  await press(second, "consult");
  same(server.stored().map(({ fields }) => fields["person.name"]), ["first", "second"], "both are stored");
  await server.stop();
}

async function drafts() {
  const server = await Server.start("drafts");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=kinds");
  let asked = 0;
  page.on("dialog", (dialog) => (asked++, dialog.accept()));
  await field(page, "person.name").fill("brouillon é€");
  await field(page, "secret").fill("not to be kept");
  await field(page, "boxes.1").check();
  await page.reload();
  await shown(page);
  same(asked, 1, "leaving with unsaved changes asks");
  const kept = await page.evaluate(() => JSON.stringify({ ...localStorage }));
  expect(!kept.includes("not to be kept"), "a draft keeps a password");
  same(await field(page, "person.name").inputValue(), "", "a draft comes back unasked");
  expect((await page.locator("#offer").innerText()).includes("Vous avez rempli ce formulaire"), "the draft is not offered");
  await picture(page, "draft-offered");
  await field(page, "last").fill("typed before answering");
  await page.waitForTimeout(500);
  await page.reload();
  await shown(page);
  await page.getByRole("button", { name: "Reprendre la saisie" }).click();
  const values = await shownValues(page);
  same([values["person.name"], values["boxes.1"], values.last], ["brouillon é€", "Box 1", "typed before answering"], "the draft");
  await page.goto(`${server.origin}/`);
  same(asked, 3, "leaving asks as long as it is not saved");
  expect((await page.locator("li[data-code=kinds] .own").innerText()).includes("Saisie non enregistrée"), "the list knows the draft");
  await page.locator("li[data-code=kinds]").scrollIntoViewIfNeeded();
  await picture(page, "list-draft");
  await page.locator("li[data-code=kinds] .own a").click();
  await shown(page);
  await page.getByRole("button", { name: "Reprendre la saisie" }).click();
  await press(page, "consult");
  expect(!(await page.evaluate(() => JSON.stringify({ ...localStorage }))).includes("brouillon"), "the browser keeps what is saved");
  await page.reload();
  await shown(page);
  same([await page.locator("#said").innerText(), asked], ["", 3], "after a save there is no draft, and nothing to ask");
  await page.locator("#press").click();
  await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "modify");
  await field(page, "last").fill("other");
  await page.waitForTimeout(500);
  await page.reload();
  await shown(page);
  await page.getByRole("button", { name: "L’abandonner" }).click();
  await page.reload();
  await shown(page);
  same(await page.locator("#said").innerText(), "", "a draft that was thrown away");
  await server.stop();
}

const kept = (page) => page.evaluate(() => JSON.stringify({ ...localStorage }));
const sameForm = (context, server, page) => openForm(context, server, new URL(page.url()).search + new URL(page.url()).hash);
const restoreButton = (page) => page.getByRole("button", { name: "Reprendre la saisie" });

/** What each way to go on does to an hour of typing that was not saved. */
async function drafts_survive() {
  const server = await Server.start("survive");
  const ways = {
    async "pressed twice"(page) {
      await page.goto(`${server.origin}/`);
      await page.locator("li[data-code=plain] .own a").first().click();
      await shown(page);
      await restoreButton(page).dblclick();
      await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "unsaved");
      await page.waitForTimeout(800);
      same(await field(page, "line").inputValue(), "an hour", "what was put back");
    },
    async "offer passed over"(page) {
      await page.reload();
      await shown(page);
      await field(page, "two").fill("more");
      await page.locator("#press").click();
      await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
      await restoreButton(page).click();
      await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "unsaved");
      same([await field(page, "line").inputValue(), await field(page, "two").inputValue()], ["an hour", "more"], "both");
    },
    async "another tab"(page, context) {
      const other = await sameForm(context, server, page);
      await field(other, "two").fill("in the other tab");
      await other.waitForTimeout(500);
      expect((await kept(other)).includes("an hour") && (await kept(other)).includes("in the other"), "one tab's draft goes for the other's");
      await other.locator("#press").click();
      await other.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
      expect(!(await kept(other)).includes("in the other"), "what is saved is kept as a draft");
    },
    async "typing while what was saved is loaded"(page, context) {
      const other = await sameForm(context, server, page);
      await field(other, "three").fill("elsewhere");
      await press(other, "consult");
      await page.locator("#press").click();
      await alertText(page);
      await page.route("**/form.json*", async (route) => {
        await page.waitForTimeout(700);
        await route.continue();
      });
      await field(page, "two").fill("just before");
      await page.locator("#trouble button").click();
      await page.keyboard.type("lost?");
      same(await page.locator("#pages").evaluate((one) => one.inert), true, "typing goes into what is thrown away");
      await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
      await page.waitForTimeout(500);
      await restoreButton(page).click();
      await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "unsaved");
      same(await field(page, "two").inputValue(), "just before", "the last that was typed");
    },
  };
  for (const [name, way] of Object.entries(ways)) {
    const context = await openWindow(server);
    const page = await openForm(context, server, "?code=plain");
    page.on("dialog", (dialog) => dialog.accept());
    await field(page, "line").fill("begun");
    await press(page, "consult");
    await press(page, "modify");
    await field(page, "line").fill("an hour");
    await page.waitForTimeout(500);
    await way(page, context);
    expect((await kept(page)).includes("an hour"), `${name}: the draft is gone`, await kept(page));
    await context.close();
  }
  await server.stop();
}

async function awkward_form() {
  const server = await Server.start("awkward");
  const context = await openWindow(server);
  let page = await openForm(context, server, "?code=awkward");
  const texts = ["group.a", "group.b", "other"];
  for (const [button, wanted] of [["by_ref", ["", "x", "x"]], ["by_parent", ["", "", "x"]], ["all", ["", "", ""]]]) {
    for (const name of texts) await field(page, name).fill("x");
    await field(page, button).click();
    same(await Promise.all(texts.map((name) => field(page, name).inputValue())), wanted, `what is reset ${button}`);
  }
  page = await openForm(context, server, "?code=awkward");
  const checked = (name) => field(page, name).evaluateAll((all) => all.map((one) => one.checked));
  for (const [name, wanted] of [["unison", [true, true, false]], ["apart", [false, true, false]]]) {
    await field(page, name).nth(2).click();
    same(await checked(name), [false, false, true], `${name}, the third`);
    await field(page, name).nth(1).click();
    same(await checked(name), wanted, `${name}, the second`);
  }
  const put = { constructor: "c", unsent: "left out", local: "stays here" };
  for (const [name, value] of Object.entries(put)) await field(page, name).fill(value);
  await field(page, "__proto__").fill("p");
  await press(page, "consult");
  const { fields } = server.stored()[0];
  same([fields.constructor, Object.getOwnPropertyDescriptor(fields, "__proto__")?.value, fields.unison, fields.apart], ["c", "p", "A", "A"], "what is stored");
  same([fields.told, fields.nowhere], ["Oui", "Oui"], "what nobody touched is saved as the form has it");
  same([fields.unsent, fields.local], [undefined, undefined], "what is not sent");
  const rest = async () => [await field(page, "unsent").inputValue(), await field(page, "local").inputValue()];
  same(await rest(), ["left out", "stays here"], "what is not sent stays on the screen");
  expect((await page.locator("#news").innerText()).includes("n’est gardée que dans ce navigateur"), "nor is it told");
  expect((await kept(page)).includes("stays here"), "nor kept");
  await press(page, "modify");
  same(await rest(), ["left out", "stays here"], "what is not sent when the form is opened again");
  await server.stop();
}

/** A save that was stored is never told as one that was not. */
async function stored_all_the_same() {
  const server = await Server.start("stored");
  const cases = {
    "the answer is lost": [async (route) => (await route.fetch(), route.abort()), /Enregistré à/],
    "the answer cannot be read": [async (route) => route.fulfill({ response: await route.fetch(), body: "%PDF-1.4 none" }), /ne peut pas être affiché/],
    "the form is gone": [async (route) => (await route.fetch(), route.fulfill({ status: 404, body: "" })), /Enregistré/],
  };
  for (const [name, [serve, said]] of Object.entries(cases)) {
    const context = await openWindow(server);
    context.trouble.expected = /Failed to load|Invalid PDF|PDF|Error/;
    const page = await openForm(context, server, "?code=plain");
    await field(page, "line").fill(name);
    await page.route("**/save.cgi*", serve, { times: 1 });
    await page.locator("#press").click();
    await page.waitForFunction((text) => new RegExp(text).test(document.querySelector("#said").innerText), said.source);
    same(server.stored().at(-1).fields.line, name, "what is stored");
    expect(!(await kept(page)).includes(name), `${name}: it is kept as a draft`);
    await context.close();
  }
  await server.stop();
}

async function failures_lose_nothing() {
  const server = await Server.start("failures");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=kinds");
  await field(page, "person.name").fill("tient bon");
  context.trouble.expected = /Failed to load resource/;
  await server.stop("SIGKILL");
  await page.locator("#press").click();
  expect((await alertText(page)).includes("Le serveur ne répond pas"), "a server that is gone is told");
  same(await field(page, "person.name").inputValue(), "tient bon", "what was typed when the server is gone");
  await picture(page, "unreachable");
  const again = await Server.start("failures", server.port);
  await page.getByRole("button", { name: "Réessayer" }).click();
  await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "consult");
  same(again.stored().map(({ fields }) => fields["person.name"]), ["tient bon"], "the same is saved once the server runs");
  await page.locator("#press").click();
  await page.waitForFunction(() => document.querySelector("#mode").dataset.mode === "modify");
  for (const [status, said] of [[409, "session"], [503, "stocker|n’a pas pu"], [413, "trop de données"], [500, "état 500"]]) {
    await page.route("**/save.cgi*", (route) => route.fulfill({ status, body: "" }));
    await field(page, "person.name").fill(`after ${status}`);
    await page.locator("#press").click();
    await page.waitForFunction((text) => new RegExp(text).test(document.querySelector("#trouble").innerText), said);
    same(await field(page, "person.name").inputValue(), `after ${status}`, `what was typed after ${status}`);
    await page.unroute("**/save.cgi*");
  }
  await press(page, "consult");
  same(again.stored().at(-1).fields["person.name"], "after 500", "saved in the end");
  await again.stop();
}

async function forgotten_form() {
  const server = await Server.start("forgotten");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=kinds");
  page.on("dialog", (dialog) => dialog.accept());
  await field(page, "person.name").fill("survivor");
  await page.waitForTimeout(500);
  await server.stop("SIGTERM");
  context.trouble.expected = /404/;
  const other = await Server.start("forgotten-other", server.port);
  await page.reload();
  expect((await alertText(page)).includes("ne connaît plus ce formulaire"), "a form that the server has forgotten");
  await page.locator("#trouble button").click();
  await page.getByRole("button", { name: "Reprendre la saisie" }).click();
  same(await field(page, "person.name").inputValue(), "survivor", "what was typed goes into the new form");
  await other.stop();
}

async function sample_form_looks_good() {
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
    await page.getByLabel("Formule d’adhésion – Étudiant").check();
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

async function list_of_forms() {
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
  for (const [locale, date] of [["en-GB", /^Refused \d+ [A-Z][a-z]+ \d{4}, \d\d:\d\d$/], ["en-US", /^Refused [A-Z][a-z]+ \d+, \d{4}, \d+:\d\d\s[AP]M$/],
    ["de-DE", /^Refused \d+ [A-Z][a-z]+ \d{4}, \d\d:\d\d$/], ["fr-CA", /^Refusé \d+ \S+ \d{4}, \d\d\sh\s\d\d$/]]) {
    const other = await (await openWindow(server, { locale })).newPage();
    await other.goto(`${server.origin}/`);
    const text = await other.locator("li[data-code='Copie n° 1'] > .what .state").innerText();
    expect(date.test(text), `the form of dates for ${locale}`, text);
  }
  await server.stop();
}

/** The status and fields of an answer to a request as it stands. */
function ask(server, method, target, headers = {}) {
  return new Promise((resolve, reject) => {
    const options = { host: "localhost", port: server.port, method, path: target, headers };
    http.request(options, (answer) => answer.resume().on("end", () => resolve({ status: answer.statusCode, headers: answer.headers })))
      .on("error", reject).end();
  });
}

async function what_is_served() {
  const server = await Server.start("served");
  const page = await ask(server, "GET", "/reader/");
  const policy = page.headers["content-security-policy"] ?? "";
  expect(!/unsafe|\*|http/.test(policy) && policy.includes("script-src 'self'") && policy.includes("default-src 'none'"), "the policy", policy);
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
    ["fr", "fr"], ["fr-CA;q=0.5, en;q=0.4", "fr"], ["fr;q=0.1,en", "en"], ["de, fr", "fr"], ["de", "en"], ["fr;q=0", "en"], ["FR;q=x,", "fr"],
  ]) {
    const answer = await fetch(`${server.origin}/`, { headers: { "Accept-Language": accepted } });
    same(/lang="(..)"/.exec(await answer.text())?.[1], language, `the language for ${accepted}`);
  }
  const data = await ask(server, "GET", "/reader/form.json?code=kinds");
  same(data.headers["cache-control"], "no-store", "data may be kept");
  same((await ask(server, "POST", "/reader/open.json?code=kinds", { Origin: "http://example.com" })).status, 403, "another origin opens a form");
  await server.stop();
}

async function thousand_fields() {
  const server = await Server.start("many");
  const context = await openWindow(server);
  const page = await context.newPage();
  const start = Date.now();
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
  console.log(`1,000 fields: drawn after ${opened} ms, every input there after ${complete} ms, scrolled in ${scrolled.frames} frames ` +
    `(median ${scrolled.median.toFixed(1)} ms, 95 % ${scrolled.p95.toFixed(1)} ms), ${perKey.toFixed(1)} ms a key, saved and shown in ${saved} ms`);
  expect(opened < 5000 && complete < 8000 && scrolled.p95 < 250, "a form with 1,000 fields is slow", opened, complete, scrolled);
  await server.stop();
}

await run([what_is_written, every_kind_round, by_keyboard_alone, odd_form, stale_tab, drafts, drafts_survive, awkward_form, stored_all_the_same, failures_lose_nothing, forgotten_form, sample_form_looks_good,
  list_of_forms, what_is_served, thousand_fields]);
