// Finds the words that are printed beside a field, to label fields that have no label of their own.

/** @typedef {{x: number, y: number, w: number, h: number}} Box in points from the top left of the page */
/** @typedef {Box & {text: string}} Phrase */

/** The largest gaps, in points, between a field and the words before, after and above it. */
const BEFORE = 120;
const AFTER = 24;
const ABOVE = 16;
const TOUCHING = 4;
const LONGEST = 80;
const LETTER = /\p{L}/u;

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

/** The piece without the dots or dashes at its end, which lead to a field or are under it. */
function withoutLeaders(/** @type {Phrase} */ piece) {
  const text = piece.text.replace(/[\s_.…-]+$/, "");
  return { ...piece, text, w: (piece.w * text.length) / piece.text.length };
}

/** The text without colons and blanks at its ends, and without what follows a row of dots. */
const tidy = (/** @type {string} */ text) => text.replace(/(?<=\S)\s*[._…]{4,}.*$/, "").replace(/\s+/g, " ").replace(/^[\s:]+|[\s:]+$/g, "").slice(0, LONGEST);

const isBeside = (/** @type {Phrase} */ a, /** @type {Box} */ b) =>
  Math.min(a.y + a.h, b.y + b.h) - Math.max(a.y, b.y) > 0.5 * Math.min(a.h, b.h);
const isOver = (/** @type {Phrase} */ a, /** @type {Box} */ b) => a.x < b.x + b.w && a.x + a.w > b.x;

/** The text of the nearest phrase: after a check box, before or above another field; "" when none is near. */
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

/**
 * The sides of a button where its words can be: after, before, below and above it. `gapOf` gives the distance of a
 * phrase, `most` the largest distance allowed, and `more` is added to the distance when sides are compared.
 */
const SIDES = [
  { most: AFTER, more: 0, gapOf: (/** @type {Box} */ a, /** @type {Box} */ b) => (isBeside(a, b) ? a.x - b.x - b.w : Infinity) },
  { most: BEFORE, more: 8, gapOf: (/** @type {Box} */ a, /** @type {Box} */ b) => (isBeside(a, b) ? b.x - a.x - a.w : Infinity) },
  { most: ABOVE, more: 8, gapOf: (/** @type {Box} */ a, /** @type {Box} */ b) => (isOver(a, b) ? b.y - a.y - a.h : Infinity) },
  { most: ABOVE, more: 12, gapOf: (/** @type {Box} */ a, /** @type {Box} */ b) => (isOver(a, b) ? a.y - b.y - b.h : Infinity) },
];

/** The nearest words on one side of each button, and how well they distinguish the buttons. */
function textsOnSide(/** @type {typeof SIDES[0]} */ { most, more, gapOf }, /** @type {Box[]} */ boxes, /** @type {Phrase[]} */ phrases) {
  let far = 0;
  const texts = boxes.map((box) => {
    let best = { gap: most, text: "" };
    for (const phrase of phrases) {
      const gap = gapOf(phrase, box);
      if (gap > -TOUCHING && gap < best.gap) best = { gap, text: phrase.text };
    }
    far += Math.max(best.gap, 0) + more;
    return best.text;
  });
  const different = new Set(texts.filter(Boolean));
  const words = [...different].filter((text) => LETTER.test(text)).length;
  return { texts, isWhole: different.size >= (boxes.length > 3 ? boxes.length - 1 : boxes.length), rank: [words, different.size, -far] };
}

/** The words of the radio buttons of one group, all on the same side of them; "" where none are found. */
export function wordsOfGroup(/** @type {Box[]} */ boxes, /** @type {Phrase[]} */ phrases) {
  const [after, ...others] = SIDES.map((side) => textsOnSide(side, boxes, phrases));
  // Words before, above or below a button may belong to something else. So these sides are used only if they have
  // different words for the buttons.
  const best = [after, ...others.filter(({ isWhole }) => isWhole)].reduce((one, two) => {
    const i = one.rank.findIndex((value, nth) => value !== two.rank[nth]);
    return i >= 0 && two.rank[i] > one.rank[i] ? two : one;
  });
  return best.texts;
}

/** The words beside or above a group of radio buttons, without those in `taken`; "" when none are near. */
export function questionOf(/** @type {Box[]} */ boxes, /** @type {Set<string>} */ taken, /** @type {Phrase[]} */ phrases) {
  const [x, y] = [Math.min(...boxes.map((box) => box.x)), Math.min(...boxes.map((box) => box.y))];
  const around = { x, y, w: Math.max(...boxes.map((box) => box.x + box.w)) - x, h: Math.max(...boxes.map((box) => box.y + box.h)) - y };
  return nearestText(around, false, phrases.filter(({ text }) => /\p{L}{2}/u.test(text) && !taken.has(text)));
}
