// Nothing that was typed is lost: drafts, outdated tabs, and servers that fail.

import {
  Server, alertText, checkAccess, expect, field, inMode, isKept, kept, openForm, openWindow, picture, press, same, shown, shownValues,
} from "./harness.mjs";

export async function stale_tab() {
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
  await checkAccess(second, "a stale tab");
  await picture(second, "stale");
  same([server.stored().length, server.stored("--rejected").length], [1, 1], "the store tells them apart");
  await second.locator("#trouble button").click();
  await inMode(second, "consult");
  same(await field(second, "person.name").inputValue(), "first", "what was saved is shown");
  await second.getByRole("button", { name: "Reprendre la saisie" }).click();
  await inMode(second, "unsaved");
  same(await field(second, "person.name").inputValue(), "second", "what was typed comes back over it");
  await press(second, "consult");
  same(server.stored().map(({ fields }) => fields["person.name"]), ["first", "second"], "both are stored");
  await server.stop();
}

const sameForm = (context, server, page) => openForm(context, server, new URL(page.url()).search + new URL(page.url()).hash);
const restoreButton = (page) => page.getByRole("button", { name: "Reprendre la saisie" });

export async function drafts() {
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
  await checkAccess(page, "a draft is offered");
  await picture(page, "draft-offered");
  await field(page, "last").fill("typed before answering");
  await isKept(page, "typed before answering");
  await page.reload();
  await shown(page);
  await page.getByRole("button", { name: "Reprendre la saisie" }).click();
  await field(page, "last").waitFor();
  const values = await shownValues(page);
  same([values["person.name"], values["boxes.1"], values.last], ["brouillon é€", "Box 1", "typed before answering"], "the draft");
  await page.goto(`${server.origin}/`);
  same(asked, 3, "leaving asks as long as it is not saved");
  expect((await page.locator("li[data-code=kinds] .own").innerText()).includes("Saisie non enregistrée"), "the list knows the draft");
  await page.locator("li[data-code=kinds]").scrollIntoViewIfNeeded();
  await picture(page, "list-draft");
  await page.locator("li[data-code=kinds] .own a").first().click();
  await shown(page);
  await page.getByRole("button", { name: "Reprendre la saisie" }).click();
  await press(page, "consult");
  expect(!(await page.evaluate(() => JSON.stringify({ ...localStorage }))).includes("brouillon"), "the browser keeps what is saved");
  await page.reload();
  await shown(page);
  same([await page.locator("#said").innerText(), asked], ["", 3], "after a save there is no draft, and nothing to ask");
  await page.locator("#press").click();
  await inMode(page, "modify");
  await field(page, "last").fill("thrown away");
  await isKept(page, "thrown away");
  await page.reload();
  await shown(page);
  const discard = page.getByRole("button", { name: "L’abandonner" });
  await discard.click();
  await page.getByRole("button", { name: "Annuler" }).click();
  await isKept(page, "thrown away");
  await discard.click();
  await page.reload();
  await shown(page);
  same(await page.locator("#said").innerText(), "", "a draft that was thrown away");
  await server.stop();
}

/** Each way to continue keeps the draft of an hour of typing that was not saved. */
export async function drafts_survive() {
  const server = await Server.start("survive");
  const ways = {
    async "pressed twice"(page) {
      await page.goto(`${server.origin}/`);
      await page.locator("li[data-code=plain] .own a").first().click();
      await shown(page);
      await restoreButton(page).dblclick();
      await inMode(page, "unsaved");
      await page.waitForTimeout(800);
      same(await field(page, "line").inputValue(), "an hour", "what was put back");
    },
    async "offer passed over"(page) {
      await page.reload();
      await shown(page);
      await field(page, "two").fill("more");
      await page.locator("#press").click();
      await inMode(page, "consult");
      await restoreButton(page).click();
      await inMode(page, "unsaved");
      same([await field(page, "line").inputValue(), await field(page, "two").inputValue()], ["an hour", "more"], "both");
    },
    async "another tab"(page, context) {
      const other = await sameForm(context, server, page);
      await field(other, "two").fill("in the other tab");
      await isKept(other, "in the other tab");
      expect((await kept(other)).includes("an hour"), "one tab's draft goes for the other's");
      await other.locator("#press").click();
      await inMode(other, "consult");
      expect(!(await kept(other)).includes("in the other"), "what is saved is kept as a draft");
    },
    async "typing while what was saved is loaded"(page, context) {
      const other = await sameForm(context, server, page);
      await field(other, "three").fill("elsewhere");
      await press(other, "consult");
      await page.locator("#press").click();
      await alertText(page);
      let answer;
      const held = new Promise((resolve) => (answer = resolve));
      await page.route("**/form.json*", async (route) => {
        await held;
        await route.continue();
      });
      await field(page, "two").fill("just before");
      await page.locator("#trouble button").click();
      await page.keyboard.type("lost?");
      same(await page.locator("#pages").evaluate((one) => one.inert), true, "typing goes into what is thrown away");
      answer();
      await inMode(page, "consult");
      await page.waitForTimeout(500);
      await restoreButton(page).click();
      await inMode(page, "unsaved");
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
    await isKept(page, "an hour");
    await way(page, context);
    expect((await kept(page)).includes("an hour"), `${name}: the draft is gone`, await kept(page));
    await context.close();
  }
  await server.stop();
}

/** A save that was stored is never reported as not stored. */
export async function stored_all_the_same() {
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

export async function failures_lose_nothing() {
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
  await inMode(page, "consult");
  same(again.stored().map(({ fields }) => fields["person.name"]), ["tient bon"], "the same is saved once the server runs");
  await page.locator("#press").click();
  await inMode(page, "modify");
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

export async function forgotten_form() {
  const server = await Server.start("forgotten");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=kinds");
  page.on("dialog", (dialog) => dialog.accept());
  await field(page, "person.name").fill("survivor");
  await isKept(page, "survivor");
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
