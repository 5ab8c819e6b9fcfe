// Finds out from the scripts of a field what its text is: a date, a number, or digits at fixed places. The page then
// offers a calendar, a keyboard for numbers or a mask. The scripts are run in scripts.js.

/** The patterns of AFDate_Format, by number. */
const DATES = ["m/d", "m/d/yy", "mm/dd/yy", "mm/yy", "d-mmm", "d-mmm-yy", "dd-mmm-yy", "yy-mm-dd", "mmm-yy", "mmmm-yy",
  "mmm d, yyyy", "mmmm d, yyyy", "m/d/yy h:MM tt", "m/d/yy HH:MM"];
/** The masks of AFSpecial_Format, by number. */
const MASKS = ["99999", "99999-9999", "(999) 999-9999", "999-99-9999"];
const MONTHS = ["January", "February", "March", "April", "May", "June", "July", "August", "September", "October", "November", "December"];
const PART = /yyyy|yy|mmmm|mmm|mm|m|dd|d|[^a-zA-Z]+|./g;

/**
 * @typedef {object} InputHelp
 * @property {string} date the pattern of a date with day, month and year; "" for other fields
 * @property {string} mask "_" at the place of each digit, "" for none
 * @property {"decimal" | "numeric" | ""} keys
 */

/** True when the pattern has a day, a month and a year, each once, and no time. */
const isDay = (/** @type {string} */ pattern) => {
  const parts = pattern.match(PART) ?? [];
  return ["y", "m", "d"].every((kind) => parts.filter((part) => part[0] === kind).length === 1) &&
    parts.every((part) => /^[ymd]|^[^a-zA-Z]/.test(part));
};

/** @returns {InputHelp} what the scripts of a field, given by event, say about its text */
export function helpOf(/** @type {Map<string, string[]> | undefined | null} */ actions) {
  const code = (/** @type {string} */ event) => [actions?.get(event) ?? []].flat().join("\n");
  const [format, keys] = [code("Format"), code("Keystroke")];
  const number = (/** @type {RegExp} */ call) => Number(call.exec(format)?.[1] ?? -1);
  const pattern = /AFDate_FormatEx\(\s*["']([^"']+)["']\s*\)/.exec(format)?.[1] ?? DATES[number(/AFDate_Format\(\s*(\d+)\s*\)/)] ?? "";
  const special = MASKS[number(/AFSpecial_Format\(\s*(\d)\s*\)/)] ?? /AFSpecial_KeystrokeEx\(\s*["']([9 ().\/-]+)["']\s*\)/.exec(keys)?.[1] ?? "";
  return {
    date: isDay(pattern) ? pattern : "",
    mask: special.replaceAll("9", "_"),
    keys: special ? "numeric" : /AF(Number|Percent)_/.test(format + keys) ? "decimal" : "",
  };
}

/** Converts a day in the form "2026-11-22" to a date in the pattern. */
export function dateText(/** @type {string} */ day, /** @type {string} */ pattern) {
  const [year, month, date] = day.split("-");
  const texts = { yyyy: year, yy: year.slice(-2), mmmm: MONTHS[Number(month) - 1], mmm: MONTHS[Number(month) - 1]?.slice(0, 3), mm: month,
    m: `${Number(month)}`, dd: date, d: `${Number(date)}` };
  return pattern.replace(PART, (part) => texts[/** @type {keyof typeof texts} */ (part)] ?? part);
}

/** Converts a date in the pattern to the form "2026-11-22"; "" for another text, or a pattern with a month's name. */
export function dayOf(/** @type {string} */ text, /** @type {string} */ pattern) {
  const parts = pattern.match(PART) ?? [];
  const escaped = (/** @type {string} */ part) => part.replace(/[^\w\s]/g, "\\$&");
  const kinds = parts.filter((part) => /^[ymd]/.test(part));
  const shape = new RegExp(`^${parts.map((part) => (/^[ymd]/.test(part) ? `(\\d{1,4})` : escaped(part))).join("")}$`);
  const found = shape.exec(text.trim());
  if (!found || kinds.some((kind) => kind.length === 3 || kind === "mmmm")) return "";
  const of = (/** @type {string} */ kind) => found[kinds.findIndex((one) => one[0] === kind) + 1];
  const year = of("y").length > 2 ? of("y") : `${Number(of("y")) < 50 ? 20 : 19}${of("y").padStart(2, "0")}`;
  return [year.padStart(4, "0"), of("m").padStart(2, "0"), of("d").padStart(2, "0")].join("-");
}
