// What the page tells the user: news quietly, trouble at once, each with what can be done about it.

import { make } from "./widgets.js";

/** @typedef {{text: string, press: () => void}} Action */

const byId = (/** @type {string} */ id) => /** @type {HTMLElement} */ (document.getElementById(id));

function show(/** @type {string} */ id, /** @type {string} */ text, /** @type {Action[]} */ actions) {
  const place = byId(id);
  if (!text) return place.replaceChildren();
  const buttons = actions.map(({ text: caption, press }) => {
    const button = make("button", { type: "button", textContent: caption });
    button.addEventListener("click", press);
    return button;
  });
  place.replaceChildren(make("p", { textContent: text }), ...buttons);
}

/** In place of the news before; trouble that is over goes. */
export function tell(/** @type {string} */ text, /** @type {Action[]} */ actions = []) {
  show("trouble", "", []);
  show("news", text, actions);
}

export function warn(/** @type {string} */ text, /** @type {Action[]} */ actions = []) {
  show("news", "", []);
  show("trouble", text, actions);
}

/** In a place of its own, where nothing that is told takes it away; no text ends it. */
export function offer(/** @type {string} */ text, /** @type {Action[]} */ actions = []) {
  show("offer", text, actions);
}
