// Finds the words that a page prints for a field: the label of fields that have none of their own.

/** @typedef {{x: number, y: number, w: number, h: number}} Box in points from the top left of the page */
/** @typedef {Box & {text: string}} Phrase */

/** The largest gaps, in points, between a field and the words before, after and above it. */
const BEFORE = 120;
const AFTER = 24;
const ABOVE = 16;
const TOUCHING = 4;
const LONGEST = 80;

/** Joins pieces of text on one line, as a PDF has them, into phrases. */
export function phrasesOf(/** @type {Phrase[]} */ pieces) {
  const sorted = pieces.map(withoutLeaders).filter(({ text }) => text.trim()).sort((a, b) => (Math.abs(a.y - b.y) > 2 ? a.y - b.y : a.x - b.x));
  /** @type {Phrase[]} */
  const phrases = [];
  for (const piece of sorted) {
    const last = phrases.at(-1);
    const gap = last ? piece.x - last.x - last.w : 0;
    if (last && Math.abs(piece.y - last.y) <= 2 && gap > -TOUCHING && gap < 0.7 * last.h) {
      last.text += gap > 0.15 * last.h && !/\s$/.test(last.text) ? ` ${piece.text}` : piece.text;
      last.w = Math.max(last.w, piece.x + piece.w - last.x);
    } else {
      phrases.push({ ...piece });
    }
  }
  return phrases.map((phrase) => ({ ...phrase, text: tidy(phrase.text) })).filter(({ text }) => /[\p{L}\p{N}]/u.test(text));
}

/** Without the dots or dashes at its end that lead to a field, or lie below it. */
function withoutLeaders(/** @type {Phrase} */ piece) {
  const text = piece.text.replace(/[\s_.…-]+$/, "");
  return { ...piece, text, w: (piece.w * text.length) / piece.text.length };
}

/** Without colons and blanks at its ends. */
const tidy = (/** @type {string} */ text) => text.replace(/\s+/g, " ").replace(/^[\s:]+|[\s:]+$/g, "").slice(0, LONGEST);

const isBeside = (/** @type {Phrase} */ a, /** @type {Box} */ b) =>
  Math.min(a.y + a.h, b.y + b.h) - Math.max(a.y, b.y) > 0.5 * Math.min(a.h, b.h);
const isOver = (/** @type {Phrase} */ a, /** @type {Box} */ b) => a.x < b.x + b.w && a.x + a.w > b.x;

/** The nearest phrase; words follow a check box and precede or stand above other fields. "" when none is near. */
export function nearestText(/** @type {Box} */ box, /** @type {boolean} */ isToggle, /** @type {Phrase[]} */ phrases) {
  let best = { far: Infinity, text: "" };
  const offer = (/** @type {number} */ gap, /** @type {number} */ most, /** @type {number} */ rank, /** @type {string} */ text) => {
    const far = Math.max(gap, 0) + rank;
    if (gap > -TOUCHING && gap <= most && far < best.far) best = { far, text };
  };
  for (const phrase of phrases) {
    if (isBeside(phrase, box)) {
      offer(box.x - phrase.x - phrase.w, BEFORE, isToggle ? 1000 : 8, phrase.text);
      if (isToggle) offer(phrase.x - box.x - box.w, AFTER, 0, phrase.text);
    } else if (isOver(phrase, box)) {
      offer(box.y - phrase.y - phrase.h, ABOVE, isToggle ? 2000 : 0, phrase.text);
    }
  }
  return best.text;
}
