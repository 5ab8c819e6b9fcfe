// What this browser remembers of the forms that it opened: how they stand, and what was typed and not saved. It is kept
// per origin by the browser, and per form by the session that nobody else knows.

/**
 * @typedef {object} Memory
 * @property {string} form the session
 * @property {string} code
 * @property {string} title
 * @property {number} when of the last change, in milliseconds
 * @property {"saved" | "refused" | "draft"} state
 * @property {Record<string, string[]>} [values] the draft: fields that were changed
 */

const PREFIX = "zforms.form.";
const MAX_AGE = 30 * 24 * 3600 * 1000;

/** @returns {Memory | null} */
function parse(/** @type {string | null} */ text) {
  try {
    const memory = JSON.parse(text ?? "null");
    return typeof memory?.when === "number" ? memory : null;
  } catch {
    return null;
  }
}

/** Null when nothing is known of the form, or the browser keeps nothing. */
export function recall(/** @type {string} */ form) {
  try {
    return parse(localStorage.getItem(PREFIX + form));
  } catch {
    return null;
  }
}

/** False when the browser keeps nothing, or no more. */
export function remember(/** @type {Memory} */ memory) {
  try {
    localStorage.setItem(PREFIX + memory.form, JSON.stringify(memory));
    return true;
  } catch {
    return false;
  }
}

export function forget(/** @type {string} */ form) {
  try {
    localStorage.removeItem(PREFIX + form);
  } catch {
    // It kept nothing.
  }
}

/** All that is remembered, the newest first; what is too old is forgotten. */
export function recallAll() {
  /** @type {Memory[]} */
  const memories = [];
  try {
    for (const key of Object.keys(localStorage).filter((one) => one.startsWith(PREFIX))) {
      const memory = parse(localStorage.getItem(key));
      if (memory && Date.now() - memory.when < MAX_AGE) memories.push(memory);
      else localStorage.removeItem(key);
    }
  } catch {
    // It keeps nothing.
  }
  return memories.sort((a, b) => b.when - a.when);
}
