// What this browser remembers of the forms that it opened: how they stand, and what was typed and not saved. It is kept
// per origin by the browser, and per form by the session that nobody else knows. Each view of a form keeps a draft of its
// own: two tabs that show one form do not write over each other.

/**
 * @typedef {object} Memory
 * @property {string} form the session
 * @property {string} code
 * @property {string} title
 * @property {number} when of the last change, in milliseconds
 * @property {"saved" | "refused" | "draft"} state
 * @property {Record<string, string[]>} [values] of a draft: fields that were changed
 */
/**
 * @typedef {object} Draft
 * @property {string} key
 * @property {string} text as it is kept
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

/** How the form stands; null when nothing is known of it, or the browser keeps nothing. */
export function recall(/** @type {string} */ form) {
  try {
    return parse(localStorage.getItem(keyOf(form, "")));
  } catch {
    return null;
  }
}

/** Keeps how the form stands, or with a view the draft of that; false when the browser keeps nothing, or no more. */
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
    // It kept nothing.
  }
}

/** Forgets the draft unless it has changed since. */
export function forgetDraft(/** @type {Draft} */ { key, text }) {
  try {
    if (localStorage.getItem(key) === text) localStorage.removeItem(key);
  } catch {
    // It kept nothing.
  }
}

/** The drafts of the form, from whichever view, the oldest first. */
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
    // It keeps nothing.
  }
  return drafts.sort((a, b) => a.memory.when - b.memory.when);
}

/** What is known of the form, in one: that it was refused says more than that there is a draft. */
function inOne(/** @type {Memory[]} */ memories) {
  const draft = memories.find(({ values, state }) => values && state === "draft");
  const standing = memories.find(({ values }) => !values) ?? memories[0];
  if (!draft) return standing;
  return { ...draft, state: standing.state === "refused" ? standing.state : draft.state };
}

/** All forms that are remembered, the newest first; what is too old is forgotten. */
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
    // It keeps nothing.
  }
  const newestFirst = (/** @type {Memory} */ a, /** @type {Memory} */ b) => b.when - a.when;
  return [...forms.values()].map((memories) => inOne(memories.sort(newestFirst))).sort(newestFirst);
}
