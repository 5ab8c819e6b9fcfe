// The page: opens a form, submits what the user fills in, and shows the form that the server returns.

import { Drafter } from "./drafter.js";
import { forget, forgetDraft, recallAll, recallDrafts, remember } from "./drafts.js";
import { FormModel, isMeant } from "./model.js";
import { offer, tell, warn } from "./notices.js";
import { PageList } from "./page_list.js";
import { FormView } from "./page_view.js";
import { Refusal, fetchDrawn, fetchPDF, fetchSaved, inMode, lookAtForm, openForm, resumeForm, submit } from "./server.js";
import { FormScripts } from "./scripts.js";
import { language, texts, timeText } from "./texts.js";
import { showLabels } from "./widgets.js";
import { writeXFDF } from "./xfdf.js";
import { Zoom } from "./zoom.js";

/** @typedef {import("./server.js").FormInfo} FormInfo */
/** @typedef {import("./server.js").SubmitButton} SubmitButton */
/** @typedef {"modify" | "consult" | "readonly"} Mode */
/** @typedef {import("./pdf_form.js").PDFForm} PDFForm */

/** The module for printing, which is loaded when it is first needed. */
const printing = () => import("./printing.js");

/** The largest module. It loads while the form is requested. */
const pdfForm = import("./pdf_form.js");

const byId = (/** @type {string} */ id) => /** @type {HTMLElement} */ (document.getElementById(id));

/** The parameters in the fragment of the page's address. It has the form's session and is never sent to a server. */
const fragment = () => new URLSearchParams(location.hash.slice(1));

/** The status of the server's answer, 0 without an answer; -1 for another error, which is written to the console. */
function statusOf(/** @type {unknown} */ error) {
  if (error instanceof Refusal) return error.status;
  console.error(error);
  return -1;
}

/** The reserved field by which the server recognizes the form. */
const SESSION = "ZOR.SessionID";

class Reader {
  /** @type {FormInfo} */
  #info;
  /** @type {Mode} */
  #mode = "readonly";
  #model = new FormModel();
  /** @type {PDFForm | null} */
  #form = null;
  /** @type {FormView | null} */
  #view = null;
  /** @type {Drafter} */
  #drafter;
  /** @type {FormScripts | null} */
  #scripts = null;
  #zoom = new Zoom(byId("pages"));
  #pageList = new PageList();
  #shown = 0;
  #busy = false;

  constructor(/** @type {FormInfo} */ info) {
    this.#info = info;
    this.#drafter = this.#makeDrafter();
    this.#zoom.onChange = (scale) => {
      byId("fit").textContent = `${Math.round(this.#zoom.factor * 100)} %`;
      this.#view?.setScale(scale);
    };
    byId("smaller").addEventListener("click", () => this.#zoom.step(-1));
    byId("larger").addEventListener("click", () => this.#zoom.step(1));
    byId("fit").addEventListener("click", () => this.#zoom.fit());
    byId("press").addEventListener("click", () => this.#pressMain());
    byId("print-form").addEventListener("click", () => this.#print());
    byId("download").addEventListener("click", () => this.#download());
    byId("download-flat").addEventListener("click", () => this.#download(true));
    addEventListener("keydown", (event) => this.#onKey(event));
    addEventListener("beforeunload", (event) => this.#onLeave(event));
    addEventListener("pagehide", () => this.#drafter.keep());
  }

  get #title() {
    return this.#info.title || this.#info.code || texts.untitled;
  }

  #makeDrafter(/** @type {Map<string, string[]>} */ more = new Map()) {
    const drafter = new Drafter(this.#info.form, { code: this.#info.code, title: this.#title }, this.#model, more);
    drafter.onFailure = () => {
      drafter.onFailure = () => {};
      warn(texts.noKeeping);
    };
    return drafter;
  }

  /** Shows the form as the server has it, and offers to restore unsaved values. */
  async start(/** @type {FormInfo} */ info, /** @type {Mode} */ mode) {
    const pdf = await fetchPDF(inMode(info.pdf, mode));
    const [typed, before] = [this.#model, this.#drafter];
    this.#info = info;
    await this.#show(pdf, mode, info.values);
    // The previous drafter saves what was typed so far. Passwords are never saved in drafts, so they are taken from the
    // previous model.
    before.keep();
    this.#drafter = this.#makeDrafter(typed.secrets());
    this.#drafter.keep();
    this.#drafter.meet(info.mode === "consult" ? "saved" : "opened");
    tell("");
    this.#showOffer();
  }

  /** Offers to restore the draft. The offer remains until the user answers, also when other notices appear. */
  #showOffer() {
    if (!this.#drafter.hasOffer) return offer("");
    offer(texts.draft(timeText(new Date(this.#drafter.when), true)), [
      { text: texts.restore, press: () => this.#restore() },
      { text: texts.discard, press: () => this.#discard() },
    ]);
  }

  async #restore() {
    let isBack = false;
    await this.#alone(async () => {
      try {
        if (this.#mode !== "modify") {
          // Loads the form again, to keep values that were saved in the meantime. Restored values replace some of them.
          this.#info = await resumeForm(this.#info.form ?? "");
          await this.#show(await fetchPDF(inMode(this.#info.pdf, "modify")), "modify", this.#info.values);
        }
      } catch (error) {
        return this.#onFailure(error, () => this.#restore());
      }
      this.#drafter.restore(this.#model);
      this.#showOffer();
      tell(texts.restored);
      isBack = true;
    });
    if (isBack) byId("pages").focus();
  }

  #discard() {
    if (this.#busy) return;
    const drafter = this.#drafter;
    const takeBack = drafter.discard();
    const undo = () => {
      takeBack();
      tell("");
      // If the form was shown again meanwhile, makes a new drafter, which reads the restored drafts.
      if (drafter !== this.#drafter) this.#drafter = this.#makeDrafter();
      this.#showOffer();
      /** @type {HTMLElement | null} */ (byId("offer").querySelector("button"))?.focus();
    };
    this.#showOffer();
    tell(texts.discarded, [{ text: texts.undo, press: undo }]);
    byId("pages").focus();
  }

  // --- showing ---

  /** Shows the form in the mode; `values` are its saved values, null for the values of the file. */
  async #show(/** @type {Uint8Array} */ pdf, /** @type {Mode} */ mode, /** @type {Record<string, string[]> | null} */ values) {
    const { PDFForm } = await pdfForm;
    const form = await PDFForm.open(pdf);
    const model = new FormModel();
    const view = new FormView(form, model, (widget) => this.#pressOf(widget), `f${++this.#shown}.`);
    const before = { view: this.#view, form: this.#form, top: byId("pages").scrollTop };
    this.#zoom.width = view.widest;
    view.setScale(this.#zoom.scale);
    const drawn = view.drawFirst();
    await form.readFields(model, this.#info);
    model.load(Object.fromEntries(this.#info.unset.map((name) => [name, []])));
    if (values) model.take(this.#info.own);
    model.load(values ?? {});
    model.button = this.#info.buttons.find(({ does }) => does === "save") ?? null;
    model.carry(this.#model);
    await drawn;
    this.#mode = mode;
    [this.#form, this.#view, this.#model] = [form, view, model];
    byId("pages").replaceChildren(view.element);
    byId("pages").scrollTop = before.top;
    view.start();
    this.#pageList.follow(form, view);
    before.view?.stop();
    this.#scripts?.stop();
    this.#scripts = null;
    before.form?.close();
    model.onChange = () => {
      this.#showState();
      this.#showWhatIsFilled();
      this.#drafter.touch();
    };
    if (this.#info.form) {
      const mark = new URLSearchParams({ form: this.#info.form, ...(mode !== "consult" && { mode }) });
      history.replaceState(null, "", `#${mark}`);
    }
    this.#showState();
    this.#zoom.onChange(this.#zoom.scale);
    if (mode === "modify" && this.#info.scripts) await this.#startScripts(form, model, view);
  }

  async #startScripts(/** @type {PDFForm} */ form, /** @type {FormModel} */ model, /** @type {FormView} */ view) {
    let isSaid = false;
    const onFailure = (/** @type {string} */ reason) => {
      if (!isSaid) warn(texts.script(reason));
      isSaid = true;
    };
    try {
      this.#scripts = model.scripts = await FormScripts.start(form, model, {
        onChange: (ids, change) => view.change(ids, change), onPrint: () => this.#print(), onFailure,
      });
    } catch (error) {
      onFailure(`${error}`);
    }
  }

  #showState() {
    const dirty = this.#model.isDirty;
    const mode = byId("mode");
    mode.textContent = dirty ? texts.unsaved : texts.modes[this.#mode];
    mode.dataset.mode = dirty ? "unsaved" : this.#mode;
    document.title = `${dirty ? "• " : ""}${this.#title}`;
    byId("title").textContent = this.#title;
    const main = this.#mainButton();
    mode.hidden = byId("zoom").hidden = false;
    // Hides printing and downloading for a form without a session, which is for viewing only: the server draws only
    // forms with a session.
    byId("file").hidden = !this.#info.form;
    byId("press").hidden = !main;
    byId("press").textContent = main ? texts[main.does] : "";
  }

  // --- what the user does ---

  #onKey(/** @type {KeyboardEvent} */ event) {
    const key = event.key.toLowerCase();
    if (!(event.ctrlKey || event.metaKey) || event.altKey || event.shiftKey) return;
    if (key === "p" && this.#info.form) {
      event.preventDefault();
      this.#print();
    }
    if (key !== "s") return;
    event.preventDefault();
    if (this.#mode === "modify") this.#pressMain();
  }

  #onLeave(/** @type {BeforeUnloadEvent} */ event) {
    if (!this.#model.isDirty) return;
    event.preventDefault();
    // Older browsers ask the user only when this is set.
    event.returnValue = "";
  }

  /** The submit button for the mode; a form may show it more than once. */
  #mainButton() {
    const does = { modify: "save", consult: "modify", readonly: "" }[this.#mode];
    return this.#info.buttons.find((button) => button.does === does);
  }

  #pressMain() {
    const button = this.#mainButton();
    if (button) this.#submit(button);
  }

  #pressOf(/** @type {import("./pdf_form.js").Widget} */ widget) {
    const button = this.#info.buttons.find(({ name }) => name === widget.name);
    if (button && this.#mode !== "readonly") return () => this.#submit(button);
    const reset = this.#info.resets.find(({ name }) => name === widget.name);
    if (this.#mode !== "modify") return null;
    if (reset) return () => this.#model.reset((name) => name !== SESSION && isMeant(reset, name));
    const hasScript = this.#info.scripts && ["Action", "Mouse Up", "Mouse Down"].some((event) => widget.actions.has(event));
    return hasScript ? () => this.#scripts?.press(widget) : null;
  }

  #isComplete() {
    const missing = new Set(this.#model.missing().map(({ name }) => name));
    this.#view?.ensureLayers();
    const inputs = /** @type {HTMLElement[]} */ ([...byId("pages").querySelectorAll("[data-name]")]);
    for (const input of inputs) {
      if (missing.has(input.dataset.name ?? "")) input.setAttribute("aria-invalid", "true");
      else input.removeAttribute("aria-invalid");
    }
    if (!missing.size) return true;
    warn(texts.required(missing.size));
    inputs.find((input) => missing.has(input.dataset.name ?? ""))?.focus();
    return false;
  }

  /** Removes the marks of missing fields that have a value now. */
  #showWhatIsFilled() {
    const marked = /** @type {NodeListOf<HTMLElement>} */ (byId("pages").querySelectorAll("[aria-invalid]"));
    if (!marked.length) return;
    const missing = new Set(this.#model.missing().map(({ name }) => name));
    for (const input of marked) {
      if (!missing.has(input.dataset.name ?? "")) input.removeAttribute("aria-invalid");
    }
    if (!missing.size) tell("");
  }

  // --- printing ---

  /** The form as it is on the screen, drawn by the server. */
  #draw(isFlat = false) {
    const { f, ids } = this.#info;
    return fetchDrawn(writeXFDF({ f: inMode(f, this.#mode), ids, fields: this.#model.all() }), isFlat);
  }

  #print() {
    return this.#withDrawn(async (bytes) => {
      const { PDFForm } = await pdfForm;
      const form = await PDFForm.open(bytes);
      await (await printing()).printForm(form);
      form.close();
    }, () => this.#print());
  }

  /** Downloads the drawn form. With `isFlat` the fields are part of the pages, and nobody can fill them in. */
  #download(isFlat = false) {
    return this.#withDrawn(async (bytes) => (await printing()).download(bytes, this.#title), () => this.#download(isFlat), isFlat);
  }

  #withDrawn(/** @type {(bytes: Uint8Array) => Promise<void>} */ use, /** @type {() => void} */ again, isFlat = false) {
    return this.#alone(async () => {
      tell(texts.drawing);
      try {
        await use(await this.#draw(isFlat));
        tell(this.#model.isDirty ? texts.drawnUnsaved : "");
      } catch (error) {
        tell("");
        this.#onFailure(error, again);
      }
    });
  }

  // --- submitting ---

  async #submit(/** @type {SubmitButton} */ button) {
    if (this.#busy || (button.does === "save" && !this.#isComplete())) return;
    const fields = this.#model.submitted(button);
    await this.#alone(async () => {
      tell(button.does === "save" ? texts.saving : texts.asking);
      try {
        const { f, ids } = this.#info;
        const answer = await submit(button.target, writeXFDF({ f: inMode(f, this.#mode), ids, fields }));
        await this.#onAnswer(button, answer, fields);
      } catch (error) {
        if (button.does === "save" && (await this.#isStored(fields))) return this.#showStored(fields);
        this.#onFailure(error, () => this.#submit(button));
      }
    });
  }

  /** Runs one action at a time: until it ends, the user can neither type nor press a button. */
  async #alone(/** @type {() => Promise<void>} */ work) {
    if (this.#busy) return;
    const focused = /** @type {HTMLElement | null} */ (document.activeElement);
    const [name, place] = [focused?.dataset.name, this.#inputs(focused?.dataset.name).indexOf(focused)];
    this.#setBusy(true);
    await work();
    this.#setBusy(false);
    if (focused?.isConnected && !focused.hidden) focused.focus();
    // If the form was displayed again meanwhile, moves the focus to the new input.
    else if (name) this.#inputs(name).at(place)?.focus();
  }

  /** The inputs of the field, in order. */
  #inputs(/** @type {string | undefined} */ name) {
    this.#view?.ensureLayers();
    const inputs = /** @type {HTMLElement[]} */ ([...byId("pages").querySelectorAll("[data-name]")]);
    return inputs.filter((input) => input.dataset.name === name);
  }

  #setBusy(/** @type {boolean} */ busy) {
    this.#busy = busy;
    byId("pages").inert = busy;
    byId("pages").setAttribute("aria-busy", `${busy}`);
    for (const id of ["press", "print-form", "download", "download-flat"]) byId(id).setAttribute("aria-disabled", `${busy}`);
  }

  async #onAnswer(/** @type {SubmitButton} */ button, /** @type {{pdf: Uint8Array, mode: string}} */ { pdf, mode },
    /** @type {[string, string[]][]} */ fields) {
    const isSave = button.does === "save";
    if (isSave && mode !== "consult") return (await this.#isStored(fields)) ? this.#showStored(fields) : this.#onStale();
    // Marks the values as stored now, because showing the answer may fail.
    if (isSave) this.#settle(fields);
    try {
      await this.#showAnswer(pdf, /** @type {Mode} */ (mode), fields);
    } catch (error) {
      if (!isSave) throw error;
      statusOf(error);
      return this.#tellUnshown();
    }
    tell(isSave ? this.#savedText : texts.editable);
  }

  async #showAnswer(/** @type {Uint8Array} */ pdf, /** @type {Mode} */ mode, /** @type {[string, string[]][]} */ fields) {
    const sent = new Set(fields.map(([name]) => name));
    this.#info.unset = this.#info.unset.filter((name) => !sent.has(name));
    const saved = await fetchSaved(this.#info.form ?? "").catch(() => null);
    await this.#show(pdf, mode, saved);
    this.#drafter.model = this.#model;
    this.#showOffer();
  }

  get #savedText() {
    return texts.saved(timeText(new Date())) + (this.#model.hasUnsent ? texts.unsent : "");
  }

  #settle(/** @type {[string, string[]][]} */ fields) {
    this.#model.settle(new Set(fields.map(([name]) => name)));
    this.#drafter.settle();
  }

  /** True when the sent values are those saved last: then they are stored, although the answer may have been lost. */
  async #isStored(/** @type {[string, string[]][]} */ fields) {
    const saved = new Map(Object.entries(await fetchSaved(this.#info.form ?? "").catch(() => ({}))));
    const isOwn = (/** @type {import("./model.js").Field | undefined} */ field) => field?.visible && !field.readOnly;
    const own = fields.filter(([name]) => isOwn(this.#model.get(name)));
    return saved.size > 0 && own.every(([name, values]) => values.join("\0") === (saved.get(name) ?? []).join("\0"));
  }

  async #showStored(/** @type {[string, string[]][]} */ fields) {
    this.#settle(fields);
    try {
      await this.start(await resumeForm(this.#info.form ?? ""), "consult");
    } catch (error) {
      statusOf(error);
      return this.#tellUnshown();
    }
    tell(this.#savedText);
  }

  #tellUnshown() {
    warn(texts.savedUnshown, [{ text: texts.showSaved, press: () => this.#showSaved() }]);
    this.#showState();
  }

  #onStale() {
    this.#drafter.keep();
    this.#drafter.mark("refused");
    warn(texts.stale, [{ text: texts.showSaved, press: () => this.#showSaved() }]);
  }

  #showSaved() {
    return this.#alone(async () => {
      this.#drafter.keep();
      try {
        await this.start(await resumeForm(this.#info.form ?? ""), "consult");
      } catch (error) {
        this.#onFailure(error, () => this.#showSaved());
      }
    });
  }

  #onFailure(/** @type {unknown} */ error, /** @type {() => void} */ again) {
    this.#drafter.keep();
    const status = statusOf(error);
    const retry = { text: texts.again, press: again };
    if (status === 0) return warn(texts.unreachable, [retry]);
    if (status === -1) return warn(texts.unreadable);
    warn(texts.reasons[status] ?? texts.refused(status), status === 503 ? [retry] : []);
  }
}

// --- opening ---

function label() {
  document.documentElement.lang = language;
  byId("back").textContent = texts.back;
  byId("title").textContent = texts.untitled;
  byId("zoom").setAttribute("aria-label", texts.zoom);
  for (const id of /** @type {const} */ (["smaller", "larger"])) byId(id).setAttribute("aria-label", texts[id]);
  showLabels(document.body);
  byId("fit").title = texts.fit;
  byId("print-form").textContent = texts.print;
  byId("download").textContent = texts.download;
  byId("download-flat").textContent = texts.downloadFlat;
  byId("way").setAttribute("aria-label", texts.pageNumber);
}

/** Opens a new form in place of one that the server no longer knows, with the values typed into that one. */
async function openAnew(/** @type {string} */ code, /** @type {string} */ old) {
  const info = await openForm(code);
  for (const draft of recallDrafts(old)) {
    if (info.form && remember({ ...draft.memory, form: info.form, state: "draft" }, crypto.randomUUID())) forgetDraft(draft);
  }
  forget(old);
  return info;
}

function askForm(/** @type {string} */ code, /** @type {string | null} */ form) {
  const query = new URLSearchParams(location.search);
  if (form) return resumeForm(form);
  return query.has("look") ? lookAtForm(code) : openForm(code);
}

async function open(/** @type {() => Promise<FormInfo>} */ ask) {
  const form = fragment().get("form");
  const code = new URLSearchParams(location.search).get("code") ?? recallAll().find((one) => one.form === form)?.code ?? "";
  tell(texts.opening);
  try {
    const info = await ask();
    const asked = info.form === form ? fragment().get("mode") : null;
    await new Reader(info).start(info, asked === "modify" || asked === "readonly" ? asked : info.mode);
  } catch (error) {
    const status = statusOf(error);
    if (status === 404 && form && code) {
      const anew = { text: texts.openAnew, press: () => open(() => openAnew(code, form)) };
      return warn(texts.unknown, [anew]);
    }
    const again = { text: texts.again, press: () => open(ask) };
    if (status <= 0) return warn(status ? texts.unreadable : texts.unreachable, [again]);
    warn(texts.reasons[status] ?? texts.refused(status), [again]);
  }
}

label();
addEventListener("hashchange", () => location.reload());
const form = fragment().get("form");
open(() => askForm(new URLSearchParams(location.search).get("code") ?? "", form));
