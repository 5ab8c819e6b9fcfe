// Keeps what is typed into a form and not saved, and gives it back.

import { forget, recall, remember } from "./drafts.js";

/** @typedef {import("./model.js").FormModel} FormModel */
/** @typedef {Record<string, string[]>} Values */

const DELAY = 300;

export class Drafter {
  /** @type {Values} what was kept before and is offered */
  #offered = {};
  /** @type {"saved" | "refused" | null} what the form is without a draft */
  #state = null;
  #timer = 0;
  #form;
  #about;
  /** Called once, when the browser keeps nothing. */
  onFailure = () => {};

  /** Without a session, of a form that cannot be submitted, nothing is kept. */
  constructor(/** @type {string | undefined} */ form, /** @type {{code: string, title: string}} */ about,
    /** @type {FormModel} */ model) {
    this.#form = form;
    this.#about = about;
    this.model = model;
    const memory = form ? recall(form) : null;
    this.#state = memory && memory.state !== "draft" ? memory.state : null;
    this.#offered = this.#fromMemory(memory);
    this.when = memory?.when ?? 0;
  }

  // What a save that was under way has stored after all is no draft.
  #fromMemory(/** @type {import("./drafts.js").Memory | null} */ memory) {
    const entries = Object.entries(memory?.values ?? {});
    return Object.fromEntries(entries.filter(([name, values]) => this.model.differs(name, values)));
  }

  /** Whether there is something to give back. */
  get hasOffer() {
    return Object.keys(this.#offered).length > 0;
  }

  /** Puts what was kept into the model. */
  restore(/** @type {FormModel} */ model) {
    this.model = model;
    const offered = this.#offered;
    this.#offered = {};
    for (const [name, values] of Object.entries(offered)) model.set(name, values);
  }

  discard() {
    this.#offered = {};
    // It was refused because something else was saved.
    if (this.#state === "refused") this.#state = "saved";
    this.keep();
  }

  /** Keeps it soon; typing is not held up. */
  touch() {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.keep(), DELAY);
  }

  /** Keeps what is not saved, with what was offered and not answered. */
  keep(/** @type {"saved" | "refused" | null} */ state = this.#state) {
    clearTimeout(this.#timer);
    if (!this.#form) return;
    this.#state = state;
    const values = { ...this.#offered, ...this.model.changes() };
    const isDraft = Object.keys(values).length > 0;
    if (!isDraft && !state) return forget(this.#form);
    const kept = remember({ form: this.#form, ...this.#about, when: Date.now(),
      state: isDraft && state !== "refused" ? "draft" : state ?? "draft", ...(isDraft && { values }) });
    if (!kept) this.onFailure();
  }

  /** The form was saved as it is: there is nothing to keep of it but that. */
  settle() {
    clearTimeout(this.#timer);
    this.#offered = {};
    this.#state = "saved";
    if (this.#form) remember({ form: this.#form, ...this.#about, when: Date.now(), state: "saved" });
  }
}
