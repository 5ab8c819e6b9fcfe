// Forms with scripts: sums, formats, keys that are refused, buttons.

import { Server, alertText, checkAccess, expect, field, openForm, openWindow, picture, press, same } from "./harness.mjs";

export async function scripts_run() {
  const server = await Server.start("scripted");
  const context = await openWindow(server);
  const asked = [];
  context.on("request", (request) => asked.push(request.url()));
  const page = await openForm(context, server, "?code=scripted");
  const said = [];
  page.on("dialog", (dialog) => (said.push(dialog.message()), dialog.accept()));
  const shown = async (...names) => Promise.all(names.map((name) => field(page, name).inputValue()));
  const enter = async (name, text) => {
    await field(page, name).pressSequentially(text);
    await page.keyboard.press("Tab");
  };
  await page.waitForFunction(() => performance.getEntriesByType("resource").some(({ name }) => name.endsWith("quickjs-eval.wasm")));
  await page.waitForTimeout(300);
  await enter("hours", "1x2.5y");
  same(await shown("hours"), ["12.50"], "letters are refused, and the number is formatted");
  await enter("rate", "20,1");
  same(await shown("hours", "rate", "pay", "half"), ["12.50", "20,10 EUR", "251,25 EUR", "125.625"], "the product, and half of it");
  await field(page, "rate").focus();
  same(await shown("rate"), ["20.1"], "a value under the cursor is not formatted");
  await enter("date", "1/2/2026");
  same(await shown("date"), ["01/02/2026"], "a date");
  await enter("short", "1/2/2026");
  same(await shown("short"), ["01/02/2026"], "a date that fits only as it was typed");
  await field(page, "hours").fill("500");
  await page.keyboard.press("Tab");
  expect(said.length === 1 && /400/.test(said[0]), "a number out of its range", said);
  same(await shown("hours"), [""], "it is not taken");
  await field(page, "clear").click();
  same(await shown("hours", "rate", "pay"), ["", "", "0,00 EUR"], "a button clears fields, and sums follow");
  await enter("rate", "20,1");
  await enter("hours", "2");
  await field(page, "extra").fill("kept");
  await field(page, "more").check();
  expect(await field(page, "extra").isVisible(), "a script hides a field at the wrong time");
  await field(page, "more").uncheck();
  expect(!(await field(page, "extra").isVisible()), "a script hides a field");
  await picture(page, "scripted");
  context.trouble.expected = /nothing/;
  await field(page, "faulty").click();
  expect(/"faulty"/.test(await alertText(page)), "a faulty script is told", await alertText(page));
  await checkAccess(page, "a script failed");
  await press(page, "consult");
  const [{ fields }] = server.stored();
  same([fields.hours, fields.rate, fields.pay, fields.half, fields.date, fields.short, fields.extra], ["2", "20.1", "40.2", "20.1", "01/02/2026", "1/2/2026", "kept"], "what is stored");
  expect(asked.every((url) => url.startsWith(server.origin)), "scripts reach other places", asked);
  await server.stop();
}

export async function scripts_switched_off() {
  const server = await Server.start("scripts-off", 0, "--scripts", "no");
  const context = await openWindow(server);
  const page = await openForm(context, server, "?code=scripted");
  await field(page, "hours").fill("2");
  await field(page, "rate").fill("3");
  await page.keyboard.press("Tab");
  same([await field(page, "pay").inputValue(), await field(page, "clear").isDisabled()], ["", true], "scripts run although they are switched off");
  expect(await field(page, "clear").evaluate((one) => getComputedStyle(one.nextElementSibling).opacity < 1), "a button without use looks as if it had one");
  const policy = (await fetch(`${server.origin}/reader/`)).headers.get("content-security-policy") ?? "";
  expect(!policy.includes("wasm"), "the policy without scripts", policy);
  await server.stop();
}
