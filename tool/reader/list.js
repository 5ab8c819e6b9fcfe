// The list of forms: times in the user's format, the states stored in this browser, and a search field for long lists.

import { recallAll } from "./drafts.js";
import { localeOf } from "./texts.js";
import { make } from "./widgets.js";

const MANY = 8;
const { lang } = document.documentElement;
// The server wrote the texts of this script into the page, in the language of the page.
const texts = /** @type {HTMLElement} */ (document.getElementById("forms")).dataset;
const style = new Intl.DateTimeFormat(localeOf(lang, navigator.languages), { dateStyle: "medium", timeStyle: "short" });

const items = /** @type {HTMLElement[]} */ ([...document.querySelectorAll("#forms > li")]);

function sayTimes() {
  for (const time of document.querySelectorAll("time")) time.textContent = style.format(new Date(time.dateTime));
}

/** Offers to continue forms that were typed into or saved in this browser. */
function addOwn() {
  if (!document.querySelector("a.main")) return;
  for (const item of items) {
    const own = recallAll().filter(({ code }) => code === item.dataset.code).slice(0, 5);
    if (!own.length) continue;
    const list = make("ul", { className: "own" });
    for (const { form, code, when, state } of own) {
      const link = make("a", { textContent: texts.go, className: "way",
        href: `reader/?code=${encodeURIComponent(code)}#form=${encodeURIComponent(form)}` });
      const time = style.format(new Date(when));
      link.append(make("span", { className: "unseen", textContent: ` ${item.querySelector("h2")?.textContent} – ${time}` }));
      const entry = make("li");
      entry.append(make("span", { className: `state ${state}`, textContent: `${texts[state]} ${time}` }), link);
      list.append(entry);
    }
    item.append(list);
  }
}

const plain = (/** @type {string} */ text) => text.normalize("NFD").replace(/\p{M}/gu, "").toLowerCase();

/** How many forms were found. */
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

sayTimes();
addOwn();
addSearch();
