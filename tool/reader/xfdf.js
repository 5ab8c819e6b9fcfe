// Writes XFDF as PDF readers submit it (ISO 19444-1): in UTF-8, with LF as the end of line. Fields are nested: a period
// in a full name separates the levels.

/**
 * @typedef {object} Submission
 * @property {string} f the address of the form
 * @property {{original: string, modified: string}} ids
 * @property {[string, string[]][]} fields full names and values; a field without values has an empty list
 */

/** Replaces characters that XML does not allow by U+FFFD (XML 1.0, 2.2). */
function sound(/** @type {string} */ text) {
  return text.replace(/\r\n?/g, "\n").replace(/[^\t\n\u0020-\uD7FF\uE000-\uFFFD\u{10000}-\u{10FFFF}]/gu, "\uFFFD");
}

const entities = { "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "\n": "&#10;", "\t": "&#9;" };
const escapeText = (/** @type {string} */ text) => sound(text).replace(/[&<>]/g, (c) => entities[c]);
const escapeName = (/** @type {string} */ text) => sound(text).replace(/[&<>"\n\t]/g, (c) => entities[c]);

/** @typedef {{values: string[] | null, kids: Map<string, Level>}} Level */

/** @returns {Level} */
function nest(/** @type {[string, string[]][]} */ fields) {
  /** @type {Level} */
  const top = { values: null, kids: new Map() };
  for (const [name, values] of fields) {
    let level = top;
    for (const part of name.split(".")) {
      let next = level.kids.get(part);
      if (!next) level.kids.set(part, (next = { values: null, kids: new Map() }));
      level = next;
    }
    level.values = values;
  }
  return top;
}

/** @returns {string} */
function write(/** @type {Level} */ level) {
  let text = "";
  for (const [name, kid] of level.kids) {
    const values = (kid.values ?? []).map((value) => `<value>${escapeText(value)}</value>`).join("");
    text += `<field name="${escapeName(name)}">${values}${write(kid)}</field>\n`;
  }
  return text;
}

export function writeXFDF(/** @type {Submission} */ { f, ids, fields }) {
  return '<?xml version="1.0" encoding="UTF-8"?>\n<xfdf xmlns="http://ns.adobe.com/xfdf/" xml:space="preserve">\n' +
    `<f href="${escapeName(f)}"/>\n<ids original="${escapeName(ids.original)}" modified="${escapeName(ids.modified)}"/>\n` +
    `<fields>\n${write(nest(fields))}</fields>\n</xfdf>\n`;
}
