// Keeps what is typed into a form and not saved, and gives it back.

import { forget, forgetDraft, recall, recallDrafts, remember } from "./drafts.js";

/** @typedef {import("./model.js").FormModel} FormModel */
/** @typedef {Map<string, string[]>} Values */

const DELAY = 300;

export class Drafter {
  /** @type {import("./drafts.js").Draft[]} what was kept before and is offered, until that is answered */
  #drafts = [];
  /** @type {Values} what they say, the newest of each field */
  #offered = new Map();
  #timer = 0;
  #form;
  #about;
  /** A draft of its own, whatever else shows the form. */
  #view = crypto.randomUUID();
  /** Called when the browser keeps nothing. */
  onFailure = () => {};

  /**
   * Without a session, of a form that cannot be submitted, nothing is kept. `more` is offered with what was kept, though
   * it may not be kept itself.
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
    // What a save that was under way has stored after all is no draft.
    if (![...this.#offered].some(([name, values]) => !model.get(name) || model.differs(name, values))) this.#close();
  }

  /** When the newest of what is offered was typed. */
  get when() {
    return this.#drafts.at(-1)?.memory.when ?? Date.now();
  }

  /** Whether there is something to give back that the form does not say. */
  get hasOffer() {
    return [...this.#offered].some(([name, values]) => this.model.differs(name, values));
  }

  /** The offer is answered. */
  #close() {
    this.#drafts.forEach(forgetDraft);
    this.#drafts = [];
    this.#offered.clear();
  }

  /** Puts what was kept into the model; it stays kept all the while. */
  restore(/** @type {FormModel} */ model) {
    this.model = model;
    for (const [name, values] of this.#offered) model.set(name, values);
    if (this.keep()) this.#close();
    else this.#offered.clear();
  }

  discard() {
    this.#close();
    // It was refused because something else was saved.
    if (recall(this.#form ?? "")?.state === "refused") this.mark("saved");
  }

  /** Keeps it soon; typing is not held up. */
  touch() {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.keep(), DELAY);
  }

  /** Keeps what was typed and is not saved; false when the browser does not. What is offered is kept apart. */
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

  /** Keeps how the form stands. */
  mark(/** @type {"saved" | "refused"} */ state) {
    if (this.#form) remember({ form: this.#form, ...this.#about, when: Date.now(), state });
  }

  /** The model is settled, as it was saved. What is offered and not answered stays. */
  settle() {
    if (!this.#offered.size) this.#close();
    this.mark("saved");
    this.keep();
  }
}
