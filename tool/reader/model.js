// The values of a form's fields. This is the only place where they are stored, independent of what is displayed.

/**
 * A field with its full name; several widgets may show it.
 * @typedef {object} Field
 * @property {string} name
 * @property {"text" | "check" | "radio" | "choice"} kind
 * @property {string[]} values empty when the field has no value; "Off" for a button that is off
 * @property {string[]} loaded the values when the form was loaded or last saved
 * @property {string[]} defaults
 * @property {boolean} readOnly
 * @property {boolean} required
 * @property {boolean} noExport
 * @property {boolean} secret a password, which is never saved in a draft
 * @property {boolean} [visible] true when a widget shows it
 * @property {Set<string>} [states] the states of a button's widgets
 * @property {string[]} [own] the stored value of a button if no widget has that state; kept until the user changes the button
 * @property {number} [nth] the index of the pressed widget among a radio button's widgets of the same state
 */

/** Bits of a submit action's flags (ISO 32000-1 table 237). */
const EXCLUDE = 1;
const WITH_NO_VALUE = 2;

const same = (/** @type {string[]} */ a, /** @type {string[]} */ b) =>
  a.length === b.length && a.every((value, i) => value === b[i]);
/** The values that the user can see: no value, an empty text and "Off" look the same. */
const shown = (/** @type {string[]} */ values) => values.filter((value) => value !== "" && value !== "Off");

/** True when the action includes the field; a listed field includes all fields below it. */
export function isMeant(/** @type {{flags: number, fields: string[]}} */ { flags, fields }, /** @type {string} */ name) {
  const isListed = fields.some((one) => name === one || name.startsWith(`${one}.`));
  return !fields.length || isListed !== Boolean(flags & EXCLUDE);
}

export class FormModel {
  /** @type {Map<string, Field>} */
  #fields = new Map();
  /** @type {Map<string, Set<() => void>>} */
  #watchers = new Map();
  /** @type {Set<Field>} the fields with changed values */
  #changed = new Set();
  /** @type {{flags: number, fields: string[]} | null} the button that determines what a save sends; other values stay in the browser */
  button = null;
  /** Called after each change by the user or by a script. */
  onChange = () => {};
  /** @type {import("./scripts.js").FormScripts | null} the scripts that check what the user enters */
  scripts = null;
  /** @type {Map<string, string>} the text that is shown in place of a value, by field */
  #formatted = new Map();

  /** Adds the field; if it exists already, adds only what this widget contributes. */
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

  /** Calls the function whenever the field's values change, for any reason. */
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

  /** Sets values by an action of the user. */
  set(/** @type {string} */ name, /** @type {string[]} */ values, nth = 0) {
    const field = this.#fields.get(name);
    if (!field || field.readOnly || (same(field.values, values) && nth === (field.nth ?? 0))) return;
    field.nth = nth;
    this.#put(field, values);
    this.onChange();
  }

  /** Sets values by a script, even those of a field that the user cannot change. */
  compute(/** @type {string} */ name, /** @type {string[]} */ values) {
    const field = this.#fields.get(name);
    if (!field || same(field.values, values)) return;
    this.#put(field, values);
    this.onChange();
  }

  /** The text that the field shows in place of its value while the user is not typing; null when it shows the value. */
  formatted(/** @type {string} */ name) {
    return this.#formatted.get(name) ?? null;
  }

  format(/** @type {string} */ name, /** @type {unknown} */ text) {
    if ((text ?? null) === this.formatted(name)) return;
    if (text === null || text === undefined) this.#formatted.delete(name);
    else this.#formatted.set(name, `${text}`);
    for (const watcher of this.#watchers.get(name) ?? []) watcher();
  }

  /** Sets saved or prefilled values, which replace those of the file. */
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

  /** Sets the file's values of buttons, whose appearance may show another state, and adds fields that no page shows. */
  take(/** @type {Record<string, string[]>} */ own) {
    for (const [name, values] of Object.entries(own)) {
      const field = this.#fields.get(name);
      if (field?.states) this.load(Object.fromEntries([[name, values]]));
      if (field) continue;
      this.add({ name, kind: "text", values, loaded: values, defaults: [], readOnly: true, required: false, noExport: false,
        secret: false });
    }
  }

  /** Copies the changed values that a save does not send from the model of the form displayed before. */
  carry(/** @type {FormModel} */ from) {
    for (const { name, values } of from.#changed) {
      const field = this.#fields.get(name);
      if (field && !from.#isSent(field)) this.#put(field, values);
    }
  }

  /** Sets the fields for which the function returns true to their defaults. */
  reset(/** @type {(name: string) => boolean} */ isMeant) {
    for (const field of this.#fields.values()) {
      if (isMeant(field.name)) this.set(field.name, field.defaults);
    }
  }

  /** True when these values differ from the field's; false for an unknown field. */
  differs(/** @type {string} */ name, /** @type {string[]} */ values) {
    const field = this.#fields.get(name);
    return field !== undefined && !same(shown(field.values), shown(values));
  }

  /** Marks the sent values as stored. */
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

  /** True when there are changes to save. */
  get isDirty() {
    return [...this.#changed].some((field) => this.#isSent(field));
  }

  /** True when there are changes that a save does not send. */
  get hasUnsent() {
    return [...this.#changed].some((field) => !this.#isSent(field));
  }

  /**
   * The changes that a draft contains.
   * @returns {Record<string, string[]>}
   */
  changes() {
    const kept = [...this.#changed].filter((field) => !field.secret);
    return Object.fromEntries(kept.map(({ name, values }) => [name, values]));
  }

  /** The changes that no draft contains (passwords). */
  secrets() {
    const secret = [...this.#changed].filter((field) => field.secret);
    return new Map(secret.map(({ name, values }) => [name, values]));
  }

  /** The required fields that have no value, among those that can be filled in and are sent. */
  missing() {
    return [...this.#fields.values()].filter(
      (field) => field.required && field.visible && this.#isSent(field) && !field.readOnly && !shown(field.values).length);
  }

  /** @returns {[string, string[]][]} the names and current values of all fields with a value */
  all() {
    return [...this.#fields.values()].filter(({ values }) => values.length).map(({ name, values }) => [name, values]);
  }

  /**
   * The fields that a button submits, in the order of the form.
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
