// The notices of the page: information, which screen readers read later ("polite"), and errors, which they read at once
// ("assertive"). Each may have buttons for what the user can do.

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

/** Replaces the previous information and removes the error. */
export function tell(/** @type {string} */ text, /** @type {Action[]} */ actions = []) {
  show("trouble", "", []);
  show("news", text, actions);
}

export function warn(/** @type {string} */ text, /** @type {Action[]} */ actions = []) {
  show("news", "", []);
  show("trouble", text, actions);
}

/** Shows an offer in its own place, where other notices do not replace it; an empty text removes it. */
export function offer(/** @type {string} */ text, /** @type {Action[]} */ actions = []) {
  show("offer", text, actions);
}
