// Runs the scripts of a form in the sandbox of pdf.js: a separate interpreter (QuickJS as WebAssembly) that has the
// fields of this form, but no access to this page or the network. It is loaded only for forms that have scripts.

import { stateText } from "./state_text.js";

/** @typedef {import("./pdf_form.js").Widget} Widget */
/**
 * The properties of widgets that a script may change, besides their values.
 * @typedef {{hidden?: boolean, readonly?: boolean, required?: boolean, focus?: boolean, limit?: number}} WidgetChange
 */
/**
 * @typedef {object} Listener
 * @property {(ids: string[], change: WidgetChange) => void} onChange
 * @property {() => void} onPrint called when a script asks to print
 * @property {(reason: string) => void} onFailure called when a script has failed
 */

const folder = new URL("./pdfjs/", import.meta.url).href;

/** @returns {WidgetChange} */
function changeOf({ hidden, display, readonly, required, focus, charLimit }) {
  const change = { hidden: hidden ?? (display === undefined ? undefined : display % 2 === 1), readonly, required, focus, limit: charLimit };
  return Object.fromEntries(Object.entries(change).filter(([, value]) => value !== undefined));
}

export class FormScripts {
  #sandbox;
  #model;
  #listener;
  /** @type {Map<string, {name: string, isToggle: boolean, isDate: boolean, limit: number}>} by widget */
  #places = new Map();
  /** @type {{value: string, selection: [number, number] | null} | null} the result of the scripts for typeText */
  #answer = null;
  #receive = (/** @type {any} */ { detail }) => this.#update(detail);

  /** Starts the scripts of an open document; null when it has none. */
  static async start(/** @type {import("./pdf_form.js").PDFForm} */ form, /** @type {import("./model.js").FormModel} */ model,
    /** @type {Listener} */ listener) {
    const parts = await form.scripts();
    if (!parts) return null;
    const { QuickJSSandbox } = await import("./pdfjs/pdf.sandbox.min.mjs");
    const scripts = new FormScripts(await QuickJSSandbox(`${folder}wasm/`), model, listener);
    scripts.#open(parts);
    return scripts;
  }

  constructor(sandbox, /** @type {import("./model.js").FormModel} */ model, /** @type {Listener} */ listener) {
    this.#sandbox = sandbox;
    this.#model = model;
    this.#listener = listener;
  }

  #open({ objects, calculationOrder, actions, info }) {
    for (const [name, fields] of objects) {
      const values = this.#model.values(name);
      for (const field of fields) {
        const isToggle = field.type === "checkbox" || field.type === "radiobutton";
        this.#places.set(field.id, { name, isToggle, isDate: Boolean(field.datetimeFormat), limit: field.charLimit || Infinity });
        if (!this.#model.get(name)) continue;
        const raw = fields.map(({ exportValues }) => exportValues).find((state) => stateText(`${state}`) === values[0]);
        field.value = isToggle ? (raw ?? "Off") : values.length > 1 ? values : (values[0] ?? "");
      }
    }
    addEventListener("updatefromsandbox", this.#receive);
    this.#sandbox.create({
      objects, calculationOrder,
      appInfo: { platform: navigator.platform, language: navigator.language },
      docInfo: { ...info, actions },
    });
    this.#send({ id: "doc", name: "Open" });
  }

  stop() {
    removeEventListener("updatefromsandbox", this.#receive);
    this.#sandbox.nukeSandbox();
    this.#sandbox = null;
  }

  #send(/** @type {Record<string, unknown>} */ event) {
    this.#sandbox?.dispatchEvent(event);
  }

  /** Call it when the user has entered a text. Scripts check and format it, and compute fields that depend on it. */
  commitText(/** @type {Widget} */ { id }, /** @type {string} */ value) {
    this.#send({ id, name: "Keystroke", value, willCommit: true, commitKey: 1, selStart: value.length, selEnd: value.length });
  }

  /**
   * Call it when the user types or pastes. Returns the text and the selection that the form's scripts want instead;
   * null when they change nothing.
   */
  typeText(/** @type {Widget} */ { id }, /** @type {{value: string, change: string, from: number, to: number}} */ { value, change, from, to }) {
    this.#answer = null;
    this.#judging = id;
    this.#send({ id, name: "Keystroke", value, change, willCommit: false, selStart: from, selEnd: to });
    this.#judging = "";
    return this.#answer;
  }
  #judging = "";

  commitChoice(/** @type {Widget} */ { id }, /** @type {string} */ text, /** @type {string} */ value) {
    this.#send({ id, name: "Keystroke", value: text, change: text, changeEx: value, willCommit: false, commitKey: 1, keyDown: false });
    this.#send({ id, name: "Validate", value });
  }

  commitToggle(/** @type {Widget} */ { id }, /** @type {boolean} */ on) {
    for (const name of ["Mouse Down", "Validate", "Action", "Mouse Up"]) this.#send({ id, name, value: on });
  }

  press(/** @type {Widget} */ { id }) {
    for (const name of ["Mouse Down", "Action", "Mouse Up"]) this.#send({ id, name, value: "" });
  }

  /** Replaces the identifiers of widgets in a message of the sandbox by the names of their fields. */
  #withNames(/** @type {string} */ text) {
    return text.replace(/"(\w+)"/g, (whole, id) => (this.#places.has(id) ? `"${this.#places.get(id)?.name}"` : whole));
  }

  #update({ id, siblings = [], command, value, formattedValue, selRange, ...rest }) {
    if (!id) {
      if (command === "error") this.#listener.onFailure(this.#withNames(`${value}`.split("\n")[0]));
      if (command === "print") this.#listener.onPrint();
      return;
    }
    const place = this.#places.get(id);
    if (!place) return;
    if (id === this.#judging && value !== undefined) {
      this.#answer = { value: `${value}`, selection: selRange ?? null };
      return;
    }
    const { name, isToggle, isDate, limit } = place;
    const wasKnown = this.#model.values(name)[0] === `${value}`;
    if (value !== undefined && !(isDate && value)) {
      this.#model.compute(name, isToggle ? [stateText(`${value}`) || "Off"] : [value ?? ""].flat().map(String));
    }
    // For the scripts the value of a date is a number, so the formatted text is stored as the value. If it is longer
    // than the field allows, the typed text is kept.
    if (isDate && formattedValue && `${formattedValue}`.length <= limit) this.#model.compute(name, [`${formattedValue}`]);
    // After a script has changed other fields, the sandbox sends some values a second time, not formatted. These must
    // not replace the formatted texts.
    const isPlain = formattedValue === `${value}` && this.#model.formatted(name) !== null && wasKnown;
    if (formattedValue !== undefined && !isPlain) this.#model.format(name, formattedValue);
    const change = changeOf(rest);
    if (Object.keys(change).length) this.#listener.onChange([id, ...siblings], change);
  }
}
