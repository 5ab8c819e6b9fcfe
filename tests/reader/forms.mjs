// What the fields of a form display, accept and submit.

import { FormModel } from "../../tool/reader/model.js";
import { writeXFDF } from "../../tool/reader/xfdf.js";
import {
  Server, alertText, expect, field, inMode, kept, mode, openForm, openWindow, picture, press, same, shownValues,
} from "./harness.mjs";

const LONG = Array.from({ length: 400 }, (_, i) => `Ligne ${i} : été à 12 € <b>&`).join("\n").slice(0, 9999) + "."; 
const NOTES = "  Très cher œuvre – 100 €\nПривет, мир\n\n\t«]]>» & <i>\"'</i> 日本 😀 ";

/** The input of each field of the form with all kinds of fields, and its stored value. */
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
  await page.getByRole("radiogroup", { name: "One of three" }).getByRole("radio", { name: "Étudiant" }).check();
  await field(page, "choice.combo").selectOption({ label: "Bleu «ciel»" });
  await field(page, "choice.typed").fill(KINDS["choice.typed"]);
  await field(page, "choice.one").selectOption("c");
  await field(page, "choice.many").selectOption(["1", "3"]);
}

export async function what_is_written() {
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

export async function every_kind_round() {
  const server = await Server.start("kinds");
  const context = await openWindow(server, { locale: "en-GB" });
  const page = await openForm(context, server, "?code=kinds");
  same(await mode(page), "modify", "a new form is open to be filled in");
  expect(await field(page, "fixed").evaluate((one) => one.readOnly), "a read-only field can be changed");
  same(await field(page, "unseen").count() + await field(page, "ZOR.SessionID").count(), 0, "hidden fields on the screen");
  const titleOf = async (name) => [await field(page, name).getAttribute("aria-label"), await field(page, name).getAttribute("title")];
  await field(page, "comb").hover();
  same([await titleOf("comb"), await titleOf("amount")], [["Eight digits", "Eight digits"], ["Amount (€)", null]], "labels, said once and shown beside the pointer");
  await field(page, "person.née").pressSequentially("Müller-Œuvre and more");
  same(await field(page, "person.née").inputValue(), "Müller-Œuvre", "more than the maximum length");
  await page.locator("#press").click();
  expect((await alertText(page)).includes("A required field is empty"), "a required field may stay empty");
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
  await page.emulateMedia({ forcedColors: "active", colorScheme: "dark" });
  const [ink, paper] = await field(page, "choice.one").evaluate((one) => [getComputedStyle(one.options[0]).color, getComputedStyle(one).backgroundColor]);
  expect(ink !== paper, "a list in the user's colours cannot be read", ink, paper);
  await page.emulateMedia({ forcedColors: "none", colorScheme: "light" });
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
  await field(page, "last").waitFor();
  const values = await shownValues(page);
  for (const name of ["person.name", "person.notes", "comb", "choice.typed", "last", "choice.many"]) {
    same(values[name], KINDS[name], `consult mode shows ${name}`);
  }
  same([values["choice.combo"], values["choice.radio"], values["boxes.1"]], ["Bleu «ciel»", "Étudiant", "Box 1"],
    "consult mode shows what was chosen");
  const open = await page.locator("#pages :is(input:not([readonly], :disabled), textarea:not([readonly]), select:not(:disabled))").count();
  same(open, 0, "fields that can be changed in consult mode");

  await page.locator(".layer button[data-name='buttons.modify']").click();
  await inMode(page, "modify");
  await field(page, "last").fill("");
  await field(page, "boxes.1").uncheck();
  await field(page, "choice.many").selectOption([]);
  await field(page, "person.again").fill("x");
  await page.keyboard.press("Control+s");
  await inMode(page, "consult");
  const second = server.stored("--code", "kinds")[1].fields;
  same([second.last, second["boxes.1"], second["choice.many"], second["person.again"], second["person.notes"]],
    ["", "Off", "", "x", NOTES], "the second save");
  await page.reload();
  same([await field(page, "person.again").inputValue(), await mode(page)], ["x", "consult"], "a reload shows what was saved");
  await server.stop();
}

export async function by_keyboard_alone() {
  const server = await Server.start("keyboard");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=kinds");
  // The fields of the second page are created after those of the first.
  await field(page, "buttons.save").waitFor({ state: "attached" });
  const type = { "person.name": "Zoé", "choice.typed": "Sète", last: "z" };
  const order = [];
  for (let i = 0; i < 60; i++) {
    await page.keyboard.press("Tab");
    const name = await page.evaluate(() => document.activeElement.dataset.name ?? document.activeElement.id);
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
  same(order, ["back", "smaller", "fit", "larger", "print-form", "download", "download-flat", "press", "person.name", "person.née", "person.notes", "comb", "amount",
    "secret", "fixed", "private", "auto.size", "boxes.0", "boxes.1", "boxes.2", "choice.radio", "choice.combo", "choice.typed",
    "choice.one", "choice.many", "buttons.reset", "last", "person.again", "buttons.save"], "the order of Tab");
  await page.keyboard.press("Enter");
  await inMode(page, "consult");
  const [{ fields }] = server.stored();
  same([fields["person.name"], fields["boxes.0"], fields["choice.radio"], fields["choice.combo"], fields["choice.typed"], fields.last],
    ["Zoé", "Oui", "Étudiant", "r", "Sète", "z"], "what the keys have done");
  await server.stop();
}

export async function odd_form() {
  const server = await Server.start("odd");
  const context = await openWindow(server, { locale: "en-GB", viewport: { width: 1400, height: 900 } });
  const page = await openForm(context, server, "?code=odd");
  const box = (name, index = 0) => field(page, name).nth(index).evaluate((one) => {
    const { x, y, width, height } = one.getBoundingClientRect();
    const sheet = one.closest(".page").getBoundingClientRect();
    return [x - sheet.x, y - sheet.y, width, height].map((size) => Math.round((size / sheet.height) * 595));
  });
  // The page is rotated: 52 points below its top becomes 52 points from its right edge.
  same([await box("a"), await box("side", 1)], [[842 - 52 - 17, 40, 17, 120], [842 - 150 - 12, 330, 12, 12]], "fields on a page that is turned");
  await page.locator("#press").focus();
  const order = [];
  while (order.length < 9) {
    await page.keyboard.press("Tab");
    order.push(await page.evaluate(() => document.activeElement.dataset.name ?? document.activeElement.id));
  }
  same(order, ["save", "twice", "twice", "c", "a", "side", "side", "d", "b"], "the order of Tab by rows, as the page is seen");
  same(await field(page, "a").inputValue(), "", "a default is no value");
  same(await field(page, "twice").first().getAttribute("class"), "field sans bold", "the typeface by the name of the font");
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

export async function awkward_form() {
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
