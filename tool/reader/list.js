// The list of forms: times in the user's format, the states stored in this browser, and a search field for long lists.

import { recallAll } from "./drafts.js";
import { fetchDrawn, inMode, resumeForm } from "./server.js";
import { all, localeOf } from "./texts.js";
import { make } from "./widgets.js";
import { writeXFDF } from "./xfdf.js";

const MANY = 8;
const { lang } = document.documentElement;
// The server wrote the texts of this script into the page, in the language of the page.
const texts = /** @type {HTMLElement} */ (document.getElementById("forms")).dataset;
const style = new Intl.DateTimeFormat(localeOf(lang, navigator.languages), { dateStyle: "medium", timeStyle: "short" });

const items = /** @type {HTMLElement[]} */ ([...document.querySelectorAll("#forms > li")]);

function sayTimes() {
  for (const time of document.querySelectorAll("time")) time.textContent = style.format(new Date(time.dateTime));
}

/** Downloads a PDF of the form with the values that were saved last. */
async function keepPDF(/** @type {string} */ form) {
  const news = /** @type {HTMLElement} */ (document.getElementById("news"));
  const page = all[lang] ?? all.en;
  news.textContent = page.drawing;
  try {
    const { code, title, f, ids, values } = await resumeForm(form);
    const drawn = await fetchDrawn(writeXFDF({ f: inMode(f, "readonly"), ids, fields: Object.entries(values) }));
    (await import("./printing.js")).download(drawn, title || code);
    news.textContent = "";
  } catch (error) {
    const { status = 0 } = /** @type {any} */ (error);
    news.textContent = status === 404 ? page.unknown : status ? page.refused(status) : page.unreachable;
  }
}

/** Adds the forms that were opened, typed into or saved in this browser, with links and buttons for them. */
function addOwn() {
  if (!document.querySelector("a.main")) return;
  for (const item of items) {
    const own = recallAll().filter(({ code }) => code === item.dataset.code).slice(0, 5);
    if (!own.length) continue;
    const list = make("ul", { className: "own" });
    for (const { form, code, when, state, hasSaved } of own) {
      const time = style.format(new Date(when));
      const unseen = () => make("span", { className: "unseen", textContent: ` ${item.querySelector("h2")?.textContent} – ${time}` });
      const address = `reader/?code=${encodeURIComponent(code)}#form=${encodeURIComponent(form)}`;
      const ways = make("div", { className: "ways" });
      const add = (/** @type {HTMLElement} */ way) => (way.append(unseen()), ways.append(way));
      add(make("a", { textContent: texts.go, className: "way", href: address }));
      if (hasSaved) {
        add(make("a", { textContent: texts.look, className: "way", href: `${address}&mode=readonly` }));
        const button = make("button", { type: "button", textContent: "PDF", className: "way" });
        button.addEventListener("click", () => keepPDF(form));
        add(button);
      }
      const entry = make("li");
      entry.append(make("span", { className: `state ${state}`, textContent: `${texts[state]} ${time}` }), ways);
      list.append(entry);
    }
    item.append(list);
  }
}

const plain = (/** @type {string} */ text) => text.normalize("NFD").replace(/\p{M}/gu, "").toLowerCase();

/** The text that says how many forms were found. */
const say = (/** @type {number} */ count) => (count === 1 ? texts.foundOne : texts.found)?.replace("{n}", `${count}`) ?? "";

function addSearch() {
  if (items.length < MANY) return;
  const search = /** @type {HTMLElement} */ (document.getElementById("search"));
  const wanted = /** @type {HTMLInputElement} */ (document.getElementById("wanted"));
  const found = /** @type {HTMLElement} */ (document.getElementById("found"));
  search.hidden = false;
  const words_of = new Map(items.map((item) => [item, plain(item.querySelector(".what")?.textContent ?? "")]));
  wanted.addEventListener("input", () => {
    const words = plain(wanted.value).split(/\s+/);
    for (const item of items) item.hidden = !words.every((word) => words_of.get(item)?.includes(word));
    found.textContent = wanted.value.trim() ? say(items.filter((item) => !item.hidden).length) : "";
  });
}

if (!items.length) /** @type {HTMLElement} */ (document.getElementById("news")).textContent = (all[lang] ?? all.en).noForms;
sayTimes();
addOwn();
addSearch();
