// Stores in the browser, for each form that it has opened, the form's state and drafts of values that were typed but
// not saved. The browser separates the data of different origins. This module finds them by the form's session, which
// is secret. Each view of a form has its own draft, so two tabs with the same form do not overwrite each other's.

/**
 * @typedef {object} Memory
 * @property {string} form the session of the form
 * @property {string} code
 * @property {string} title
 * @property {number} when the time of the last change, in milliseconds since 1970
 * @property {"opened" | "saved" | "refused" | "draft"} state
 * @property {boolean} [hasSaved] true when the server has saved values of the form; set only by recallAll
 * @property {Record<string, string[]>} [values] for a draft: the changed fields
 */
/**
 * @typedef {object} Draft
 * @property {string} key
 * @property {string} text the stored JSON
 * @property {Memory & {values: Record<string, string[]>}} memory
 */

const PREFIX = "zforms.form.";
const MAX_AGE = 30 * 24 * 3600 * 1000;

const keyOf = (/** @type {string} */ form, /** @type {string} */ view) => `${PREFIX}${form}${view && "."}${view}`;

/** @returns {Memory | null} */
function parse(/** @type {string | null} */ text) {
  try {
    const memory = JSON.parse(text ?? "null");
    return typeof memory?.when === "number" ? memory : null;
  } catch {
    return null;
  }
}

/** The state of the form; null when it is unknown, or the browser stores nothing. */
export function recall(/** @type {string} */ form) {
  try {
    return parse(localStorage.getItem(keyOf(form, "")));
  } catch {
    return null;
  }
}

/** Stores the state of the form, or with a view that view's draft; false when the browser cannot store it. */
export function remember(/** @type {Memory} */ memory, view = "") {
  try {
    localStorage.setItem(keyOf(memory.form, view), JSON.stringify(memory));
    return true;
  } catch {
    return false;
  }
}

export function forget(/** @type {string} */ form, view = "") {
  try {
    localStorage.removeItem(keyOf(form, view));
  } catch {
    // Nothing was stored.
  }
}

/** Deletes the draft unless it has changed since it was read. */
export function forgetDraft(/** @type {Draft} */ { key, text }) {
  try {
    if (localStorage.getItem(key) === text) localStorage.removeItem(key);
  } catch {
    // Nothing was stored.
  }
}

/** Stores a deleted draft again. */
export function bringBack(/** @type {Draft} */ { key, text }) {
  try {
    localStorage.setItem(key, text);
  } catch {
    // The browser stores nothing.
  }
}

/** The drafts of the form from all views, the oldest first. */
export function recallDrafts(/** @type {string} */ form) {
  /** @type {Draft[]} */
  const drafts = [];
  try {
    for (const key of Object.keys(localStorage).filter((one) => one.startsWith(PREFIX + form))) {
      const text = localStorage.getItem(key);
      const memory = parse(text);
      if (text && memory?.form === form && memory.values) drafts.push(/** @type {Draft} */ ({ key, text, memory }));
    }
  } catch {
    // The browser does not allow storing.
  }
  return drafts.sort((a, b) => a.memory.when - b.memory.when);
}

/** Combines the state and the drafts of one form. The state "refused" takes precedence over "draft". */
function inOne(/** @type {Memory[]} */ memories) {
  const draft = memories.find(({ values, state }) => values && state === "draft");
  const standing = memories.find(({ values }) => !values) ?? memories[0];
  const hasSaved = standing.state === "saved" || standing.state === "refused";
  if (!draft) return { ...standing, hasSaved };
  return { ...draft, hasSaved, state: standing.state === "refused" ? standing.state : draft.state };
}

/** All forms that are stored, the newest first; entries that are too old are deleted. */
export function recallAll() {
  /** @type {Map<string, Memory[]>} */
  const forms = new Map();
  try {
    for (const key of Object.keys(localStorage).filter((one) => one.startsWith(PREFIX))) {
      const memory = parse(localStorage.getItem(key));
      if (!memory || Date.now() - memory.when >= MAX_AGE) localStorage.removeItem(key);
      else forms.set(memory.form, [...(forms.get(memory.form) ?? []), memory]);
    }
  } catch {
    // The browser does not allow storing.
  }
  const newestFirst = (/** @type {Memory} */ a, /** @type {Memory} */ b) => b.when - a.when;
  return [...forms.values()].map((memories) => inOne(memories.sort(newestFirst))).sort(newestFirst);
}
