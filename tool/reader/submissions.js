// The page of the submissions, for the person who runs the server. The address has the key in its fragment, which
// browsers do not send. This script sends the key in a header field of each request.

import { save } from "./printing.js";
import { language, texts, timeText } from "./texts.js";
import { make } from "./widgets.js";

/** @typedef {{id: number, received: string, code: string, title: string, values: string[]}} Brief */

const own = texts.submissions;
const byId = (/** @type {string} */ id) => /** @type {any} */ (document.getElementById(id));
const key = () => new URLSearchParams(location.hash.slice(1)).get("key") ?? "";

/** The answer to a request; null on failure, with a message on the page. */
async function ask(/** @type {string} */ name, /** @type {URLSearchParams} */ wanted) {
  const target = new URL(`../submissions/${name}?${wanted}`, import.meta.url);
  const answer = await fetch(target, { headers: { "X-Zforms-Key": key() }, cache: "no-store" }).catch(() => null);
  if (answer?.ok) return answer;
  byId("news").textContent = answer?.status === 403 ? own.noKey : answer ? texts.refused(answer.status) : texts.unreachable;
  return null;
}

/** The user's search, as parameters of the request. */
function wantedNow() {
  const wanted = new URLSearchParams();
  if (byId("words").value) wanted.set("search", byId("words").value);
  if (byId("code").value) wanted.set("code", byId("code").value);
  for (const id of ["latest", "rejected"]) if (byId(id).checked) wanted.set(id, "yes");
  return wanted;
}

/** The number of the last request for a list. Answers to earlier requests are ignored. */
let turn = 0;

async function list(before = 0) {
  const mine = ++turn;
  const wanted = wantedNow();
  if (before) wanted.set("before", `${before}`);
  const answer = await ask("list.json", wanted);
  if (!answer || mine !== turn) return;
  const { submissions, more, codes } = await answer.json();
  if (mine !== turn) return;
  byId("wanted").hidden = false;
  const known = new Set([...byId("code").options].map(({ value }) => value));
  byId("code").append(...codes.filter((/** @type {string} */ code) => !known.has(code))
    .map((/** @type {string} */ code) => make("option", { value: code, textContent: code })));
  const rows = submissions.map(rowOf);
  before ? byId("rows").append(...rows) : byId("rows").replaceChildren(...rows);
  byId("table").hidden = !byId("rows").childElementCount;
  byId("more").hidden = !more;
  byId("more").onclick = () => list(submissions.at(-1).id);
  byId("news").textContent = byId("rows").childElementCount ? "" : own.none;
}

function rowOf(/** @type {Brief} */ { id, received, code, title, values }) {
  const time = timeText(new Date(received), true);
  const button = make("button", { type: "button", className: "way", textContent: own.look });
  button.append(make("span", { className: "unseen", textContent: ` ${title}, ${time}` }));
  button.addEventListener("click", () => look(id));
  const row = make("tr");
  row.append(...[time, title === code ? code : `${title} (${code})`, values.join(" · ")].map((text) => make("td", { textContent: text })));
  row.append(make("td"));
  row.lastElementChild?.append(button);
  return row;
}

async function look(/** @type {number} */ id) {
  const wanted = new URLSearchParams({ id: `${id}`, ...(byId("rejected").checked && { rejected: "yes" }) });
  const answer = await ask("one.json", wanted);
  if (!answer) return;
  const { title, received, fields } = await answer.json();
  byId("what").textContent = title;
  byId("when").textContent = timeText(new Date(received), true);
  byId("values").replaceChildren(...fields.map((/** @type {[string, string]} */ [name, value]) => {
    const row = make("tr");
    row.append(make("th", { scope: "row", textContent: name }), make("td", { textContent: value }));
    return row;
  }));
  byId("xfdf").onclick = () => keep("xfdf", wanted);
  byId("one").showModal();
}

async function keep(/** @type {"csv" | "json" | "xfdf"} */ format, /** @type {URLSearchParams} */ wanted) {
  const answer = await ask(`export.${format}`, wanted);
  if (answer) save(await answer.blob(), `submissions${wanted.has("id") ? `-${wanted.get("id")}` : ""}.${format}`);
}

function label() {
  document.documentElement.lang = language;
  document.title = byId("title").textContent = own.title;
  for (const place of /** @type {NodeListOf<HTMLElement>} */ (document.querySelectorAll("[data-text]"))) {
    place.textContent = own[/** @type {keyof typeof own} */ (place.dataset.text)];
  }
  for (const id of ["csv", "json"]) byId(id).textContent = id.toUpperCase();
  byId("more").textContent = own.more;
  byId("close").textContent = own.close;
  byId("table").setAttribute("aria-label", own.title);
  byId("fields").setAttribute("aria-label", own.values);
}

label();
for (const event of ["input", "change"]) byId("wanted").addEventListener(event, () => list());
byId("wanted").addEventListener("submit", (/** @type {Event} */ event) => event.preventDefault());
for (const format of /** @type {const} */ (["csv", "json"])) byId(format).addEventListener("click", () => keep(format, wantedNow()));
addEventListener("hashchange", () => location.reload());
list();
