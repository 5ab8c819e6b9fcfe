// The texts of the page in the user's language, and times in the user's format.

import { german } from "./texts_de.js";
import { english } from "./texts_en.js";
import { spanish } from "./texts_es.js";
import { french } from "./texts_fr.js";
import { italian } from "./texts_it.js";
import { dutch } from "./texts_nl.js";

/** All supported languages.
 * @type {Record<string, typeof english>} */
export const all = { en: english, fr: french, de: german, es: spanish, it: italian, nl: dutch };

/** The first supported language of the list, else English. */
export function languageOf(/** @type {readonly string[]} */ languages) {
  return languages.map((one) => one.slice(0, 2).toLowerCase()).find((one) => Object.hasOwn(all, one)) ?? "en";
}

/** The user's languages, the preferred one first; none outside a browser. */
const wanted = globalThis.navigator?.languages ?? [];

export const language = languageOf(wanted);
export const texts = all[language];

/** The locale for the format of dates and times: the language, with the region of the user's preferred language. */
export function localeOf(/** @type {string} */ spoken, /** @type {readonly string[]} */ languages) {
  const { region } = new Intl.Locale(languages[0] ?? spoken).maximize();
  return region ? `${spoken}-${region}` : spoken;
}

/** The time of day, optionally with the day, in the user's format. */
export function timeText(/** @type {Date} */ time, withDay = false) {
  const style = /** @type {const} */ ({ timeStyle: "short", ...(withDay && { dateStyle: "medium" }) });
  return new Intl.DateTimeFormat(localeOf(language, wanted), style).format(time);
}
