// What the fields of a form say: the one place where values live, whatever of the form is on the screen.

/**
 * A field by its full name; several widgets may show it.
 * @typedef {object} Field
 * @property {string} name
 * @property {"text" | "check" | "radio" | "choice"} kind
 * @property {string[]} values none when the field has no value; "Off" for a button that is off
 * @property {string[]} loaded what they were when the form came
 * @property {string[]} defaults
 * @property {boolean} readOnly
 * @property {boolean} required
 * @property {boolean} noExport
 * @property {boolean} secret a password: kept in no draft
 * @property {boolean} [visible] some widget shows it
 * @property {Set<string>} [states] of a button
 * @property {string[]} [own] what is stored of a button in words that no widget has; it stays while nobody touches it
 * @property {number} [nth] which of a radio button's widgets of the same state was pressed
 */

/** Bits of a submit action's flags (ISO 32000-1 table 237). */
const EXCLUDE = 1;
const WITH_NO_VALUE = 2;

const same = (/** @type {string[]} */ a, /** @type {string[]} */ b) =>
  a.length === b.length && a.every((value, i) => value === b[i]);
/** Nothing and an empty text are the same to who looks at it. */
const shown = (/** @type {string[]} */ values) => values.filter((value) => value !== "" && value !== "Off");

/** Whether the action is about the field; a listed one stands for all below it. */
export function isMeant(/** @type {{flags: number, fields: string[]}} */ { flags, fields }, /** @type {string} */ name) {
  const isListed = fields.some((one) => name === one || name.startsWith(`${one}.`));
  return !fields.length || isListed !== Boolean(flags & EXCLUDE);
}

export class FormModel {
  /** @type {Map<string, Field>} */
  #fields = new Map();
  /** @type {Map<string, Set<() => void>>} */
  #watchers = new Map();
  /** @type {Set<Field>} those that are not as they came */
  #changed = new Set();
  /** @type {{flags: number, fields: string[]} | null} what a save sends; the rest is kept in the browser alone */
  button = null;
  /** Called after each change by the user. */
  onChange = () => {};

  /** Takes the field in; of one that is there only what its other widgets add. */
  add(/** @type {Field} */ field) {
    const known = this.#fields.get(field.name);
    if (!known) {
      this.#fields.set(field.name, field);
      return;
    }
    known.visible ||= field.visible;
    for (const state of field.states ?? []) known.states?.add(state);
    if (!shown(known.loaded).length && shown(field.loaded).length) {
      known.values = known.loaded = field.loaded;
    }
  }

  /** @returns {Field | undefined} */
  get(/** @type {string} */ name) {
    return this.#fields.get(name);
  }

  values(/** @type {string} */ name) {
    return this.#fields.get(name)?.values ?? [];
  }

  /** The function is called whenever the field's values change, by whatever. */
  watch(/** @type {string} */ name, /** @type {() => void} */ watcher) {
    let watchers = this.#watchers.get(name);
    if (!watchers) this.#watchers.set(name, (watchers = new Set()));
    watchers.add(watcher);
  }

  #put(/** @type {Field} */ field, /** @type {string[]} */ values) {
    field.values = values;
    if (same(shown(values), shown(field.loaded))) this.#changed.delete(field);
    else this.#changed.add(field);
    for (const watcher of this.#watchers.get(field.name) ?? []) watcher();
  }

  /** What the user does. */
  set(/** @type {string} */ name, /** @type {string[]} */ values, nth = 0) {
    const field = this.#fields.get(name);
    if (!field || field.readOnly || (same(field.values, values) && nth === (field.nth ?? 0))) return;
    field.nth = nth;
    this.#put(field, values);
    this.onChange();
  }

  /** What the form comes with, beside what its file says. */
  load(/** @type {Record<string, string[]>} */ values) {
    for (const [name, texts] of Object.entries(values)) {
      const field = this.#fields.get(name);
      if (!field) continue;
      const isKnown = !field.states || texts.every((text) => text === "Off" || field.states?.has(text));
      field.own = isKnown ? undefined : texts;
      if (!isKnown) continue;
      field.loaded = texts;
      this.#put(field, texts);
    }
  }

  /** What the file says of its buttons, and of the fields that no page shows: the truth, whatever they look like. */
  take(/** @type {Record<string, string[]>} */ own) {
    for (const [name, values] of Object.entries(own)) {
      const field = this.#fields.get(name);
      if (field?.states) this.load(Object.fromEntries([[name, values]]));
      if (field) continue;
      this.add({ name, kind: "text", values, loaded: values, defaults: [], readOnly: true, required: false, noExport: false,
        secret: false });
    }
  }

  /** What was typed that no save sends, into the model of the form shown anew. */
  carry(/** @type {FormModel} */ from) {
    for (const { name, values } of from.#changed) {
      const field = this.#fields.get(name);
      if (field && !from.#isSent(field)) this.#put(field, values);
    }
  }

  /** Sets the named fields, all without names, to their defaults. */
  reset(/** @type {(name: string) => boolean} */ isMeant) {
    for (const field of this.#fields.values()) {
      if (isMeant(field.name)) this.set(field.name, field.defaults);
    }
  }

  /** Whether these values are others than the field's; not for one that is not there. */
  differs(/** @type {string} */ name, /** @type {string[]} */ values) {
    const field = this.#fields.get(name);
    return field !== undefined && !same(shown(field.values), shown(values));
  }

  /** What was sent is what is stored. */
  settle(/** @type {Set<string>} */ sent) {
    for (const field of this.#changed) {
      if (!sent.has(field.name)) continue;
      field.loaded = field.values;
      this.#changed.delete(field);
    }
  }

  #isSent(/** @type {Field} */ { name, noExport }) {
    return !noExport && (!this.button || isMeant(this.button, name));
  }

  /** Whether there is something to save. */
  get isDirty() {
    return [...this.#changed].some((field) => this.#isSent(field));
  }

  /** Whether something was typed that no save sends. */
  get hasUnsent() {
    return [...this.#changed].some((field) => !this.#isSent(field));
  }

  /**
   * What a draft keeps.
   * @returns {Record<string, string[]>}
   */
  changes() {
    const kept = [...this.#changed].filter((field) => !field.secret);
    return Object.fromEntries(kept.map(({ name, values }) => [name, values]));
  }

  /** What was typed and no draft keeps. */
  secrets() {
    const secret = [...this.#changed].filter((field) => field.secret);
    return new Map(secret.map(({ name, values }) => [name, values]));
  }

  /** Fields that have to have a value and have none: those that can be filled in, and are sent. */
  missing() {
    return [...this.#fields.values()].filter(
      (field) => field.required && field.visible && this.#isSent(field) && !field.readOnly && !shown(field.values).length);
  }

  /**
   * What a button submits, in the order of the form.
   * @param {{flags: number, fields: string[]}} button
   * @returns {[string, string[]][]}
   */
  submitted({ flags, fields }) {
    return [...this.#fields.values()]
      .filter(({ name, values, own, noExport }) =>
        !noExport && isMeant({ flags, fields }, name) && (values.length || own || flags & WITH_NO_VALUE))
      .map((field) => [field.name, this.#changed.has(field) ? field.values : field.own ?? field.values]);
  }
}
