// Requests to the server, and their answers.

/**
 * The server's data about a form.
 * @typedef {object} FormInfo
 * @property {string} code
 * @property {string} title
 * @property {"modify" | "consult" | "readonly"} mode
 * @property {string} pdf the URL of its file
 * @property {string} f the absolute URL of its file, for submissions
 * @property {{original: string, modified: string}} ids
 * @property {SubmitButton[]} buttons
 * @property {string[]} tabs the tab order of each page ("/Tabs")
 * @property {string[]} unset the full names of fields without a value
 * @property {Record<string, string>} labels the fields' tool tips, by full name
 * @property {{name: string, flags: number, fields: string[]}[]} resets buttons that reset fields
 * @property {Record<string, string[]>} own the values in the file, by full name
 * @property {Record<string, string[]>} values the saved or prefilled values, by full name
 * @property {boolean} scripts whether the form's scripts run
 * @property {string} [form] the session, for a form that can be submitted
 */
/**
 * @typedef {object} SubmitButton
 * @property {string} name the full name of the button's field
 * @property {"save" | "modify"} does
 * @property {string} target
 * @property {number} flags the flags of its action
 * @property {string[]} fields
 */

/** The server answered with an error status, or did not answer (status 0). */
export class Refusal extends Error {
  constructor(/** @type {number} */ status) {
    super(`status ${status}`);
    this.status = status;
  }
}

const PATIENCE = 60000;
const XFDF = { "Content-Type": "application/vnd.adobe.xfdf" };

async function ask(/** @type {string} */ target, /** @type {RequestInit} */ options = {}) {
  let answer;
  try {
    // The address is relative to this module, because the list of forms, in the folder above, uses this function too.
    answer = await fetch(new URL(target, import.meta.url), { ...options, cache: "no-store", signal: AbortSignal.timeout(PATIENCE) });
  } catch {
    throw new Refusal(0);
  }
  if (!answer.ok) throw new Refusal(answer.status);
  return answer;
}

async function bodyOf(/** @type {Response} */ answer) {
  try {
    return new Uint8Array(await answer.arrayBuffer());
  } catch {
    throw new Refusal(0);
  }
}

/** @returns {Promise<FormInfo>} */
async function askJSON(/** @type {string} */ target, /** @type {string} */ method) {
  const answer = await ask(target, { method });
  try {
    return await answer.json();
  } catch {
    throw new Refusal(0);
  }
}

export const openForm = (/** @type {string} */ code) =>
  askJSON(`open.json?code=${encodeURIComponent(code)}`, "POST");
export const resumeForm = (/** @type {string} */ form) =>
  askJSON(`form.json?form=${encodeURIComponent(form)}`, "GET");
export const lookAtForm = (/** @type {string} */ code) =>
  askJSON(`form.json?code=${encodeURIComponent(code)}`, "GET");

/** The saved values of a form, even if the server can no longer show the form. */
export const fetchSaved = async (/** @type {string} */ form) =>
  (await askJSON(`saved.json?form=${encodeURIComponent(form)}`, "GET")).values;

/** The bytes of a form. */
export const fetchPDF = async (/** @type {string} */ target) => bodyOf(await ask(target));

/** The address of a form's file in another mode; the other parts of the address are kept. */
export const inMode = (/** @type {string} */ address, /** @type {string} */ mode) =>
  address.replace(/([?&]Action=)[^&#]*/, `$1${mode}`);

/** The bytes of a PDF of the form with these values drawn. With `isFlat` it has no fields. Nothing is stored. */
export const fetchDrawn = async (/** @type {string} */ xfdf, isFlat = false) =>
  bodyOf(await ask(isFlat ? "print.pdf?flat=yes" : "print.pdf", { method: "POST", body: xfdf, headers: XFDF }));

/** Posts the form; returns the form in the server's answer, and its mode. */
export async function submit(/** @type {string} */ target, /** @type {string} */ xfdf) {
  const answer = await ask(target, { method: "POST", body: xfdf, headers: XFDF });
  const address = new URL(answer.headers.get("Content-Location") ?? target, location.href);
  const pdf = await bodyOf(answer);
  return { pdf, mode: address.searchParams.get("Action") ?? "readonly" };
}
