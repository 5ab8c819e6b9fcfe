// Saves drafts of a form in the browser (values that were typed but not saved) and restores them.

import { bringBack, forget, forgetDraft, recall, recallDrafts, remember } from "./drafts.js";

/** @typedef {import("./model.js").FormModel} FormModel */
/** @typedef {Map<string, string[]>} Values */

const DELAY = 300;

export class Drafter {
  /** @type {import("./drafts.js").Draft[]} earlier drafts, offered until the user restores or discards them */
  #drafts = [];
  /** @type {Values} their values, the newest of each field */
  #offered = new Map();
  #timer = 0;
  #form;
  #about;
  /** The key of this view's own draft; other views of the form have other keys. */
  #view = crypto.randomUUID();
  /** Called when the browser cannot store the draft. */
  onFailure = () => {};

  /**
   * Without a session (for a form that cannot be submitted) no draft is saved. `more` is offered together with the
   * earlier drafts; it may contain values that are never saved in drafts.
   */
  constructor(/** @type {string | undefined} */ form, /** @type {{code: string, title: string}} */ about,
    /** @type {FormModel} */ model, /** @type {Values} */ more = new Map()) {
    this.#form = form;
    this.#about = about;
    this.model = model;
    if (!form) return;
    this.#drafts = recallDrafts(form);
    for (const { memory } of this.#drafts) {
      for (const [name, values] of Object.entries(memory.values)) this.#offered.set(name, values);
    }
    for (const [name, values] of more) this.#offered.set(name, values);
    // A save whose answer was lost may have stored all offered values. Then there is nothing to offer.
    if (![...this.#offered].some(([name, values]) => !model.get(name) || model.differs(name, values))) this.#close();
  }

  /** The time at which the newest of the offered values was typed, in milliseconds since 1970. */
  get when() {
    return this.#drafts.at(-1)?.memory.when ?? Date.now();
  }

  /** True when an offered value differs from the form's. */
  get hasOffer() {
    return [...this.#offered].some(([name, values]) => this.model.differs(name, values));
  }

  /** Ends the offer and deletes the earlier drafts. */
  #close() {
    this.#drafts.forEach(forgetDraft);
    this.#drafts = [];
    this.#offered.clear();
  }

  /** Puts the offered values into the model. Deletes the earlier drafts only after this view's draft has been saved. */
  restore(/** @type {FormModel} */ model) {
    this.model = model;
    for (const [name, values] of this.#offered) model.set(name, values);
    if (this.keep()) this.#close();
    else this.#offered.clear();
  }

  /** Deletes the offered drafts; returns a function that restores them. */
  discard() {
    const [drafts, offered, before] = [this.#drafts, new Map(this.#offered), recall(this.#form ?? "")];
    this.#close();
    // In the state "refused", a save was refused because another view had saved the form. Without the draft, the form
    // is only saved.
    if (before?.state === "refused") this.mark("saved");
    return () => {
      drafts.forEach(bringBack);
      if (before) remember(before);
      [this.#drafts, this.#offered] = [drafts, offered];
    };
  }

  /** Saves the draft after a short delay, so that typing is not slowed down. */
  touch() {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.keep(), DELAY);
  }

  /** Saves the unsaved values as this view's draft; false when the browser cannot. The offered drafts are not changed. */
  keep() {
    clearTimeout(this.#timer);
    if (!this.#form) return false;
    const values = this.model.changes();
    if (!Object.keys(values).length) {
      forget(this.#form, this.#view);
      return true;
    }
    const kept = remember({ form: this.#form, ...this.#about, when: Date.now(), state: "draft", values }, this.#view);
    if (!kept) this.onFailure();
    return kept;
  }

  /** Stores that the form is open or was saved, unless a state of it is stored already. */
  meet(/** @type {"opened" | "saved"} */ state) {
    if (this.#form && !recall(this.#form)) this.mark(state);
  }

  /** Stores the state of the form. */
  mark(/** @type {"opened" | "saved" | "refused"} */ state) {
    if (this.#form) remember({ form: this.#form, ...this.#about, when: Date.now(), state });
  }

  /** Call it after a save, after FormModel.settle. An offer that the user has not answered remains. */
  settle() {
    if (!this.#offered.size) this.#close();
    this.mark("saved");
    this.keep();
  }
}
