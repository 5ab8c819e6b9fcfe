// The inputs over a page: one for each widget, bound to the value of its field.

import { dateText, dayOf } from "./input_help.js";
import { texts } from "./texts.js";

/** @typedef {import("./model.js").FormModel} FormModel */
/** @typedef {import("./pdf_form.js").Widget} Widget */
/**
 * Returns what pressing a button does; null for a button that this page does not support.
 * @typedef {(widget: Widget) => (() => void) | null} Presses
 */

const OFF = "Off";
/** The font size of a text without its own size: this part of the field's height, but at most MAX_AUTO_SIZE. */
const FULL_HEIGHT = 0.7;
const MAX_AUTO_SIZE = 12;

const sizeOf = (/** @type {Widget} */ { style, box, multiLine }) =>
  style.size || Math.max(4, Math.min(MAX_AUTO_SIZE, multiLine ? MAX_AUTO_SIZE : box.h * FULL_HEIGHT));

/**
 * @template {keyof HTMLElementTagNameMap} T
 * @param {T} tag
 * @param {Partial<HTMLElementTagNameMap[T]>} properties
 */
export function make(tag, properties = {}) {
  return Object.assign(document.createElement(tag), properties);
}

function place(/** @type {HTMLElement} */ element, /** @type {Widget} */ widget) {
  const { x, y, w, h, turn } = widget.box;
  const lies = turn === 90 || turn === 270;
  const set = (/** @type {string} */ name, /** @type {string | number} */ value) => element.style.setProperty(name, `${value}`);
  set("--x", lies ? x + (w - h) / 2 : x);
  set("--y", lies ? y + (h - w) / 2 : y);
  set("--w", lies ? h : w);
  set("--h", lies ? w : h);
  if (turn) set("--turn", `${turn}deg`);
  if (widget.kind === "text" || widget.kind === "choice") {
    set("--size", sizeOf(widget));
    if (widget.style.colour) set("--ink", widget.style.colour);
    set("--align", widget.style.align);
    if (widget.comb) set("--places", widget.comb);
    if (widget.frame.background) set("--ground", widget.frame.background);
    if (widget.frame.border) set("--frame", `calc(var(--scale) * ${widget.frame.width}px) solid ${widget.frame.border}`);
  }
  element.classList.add("field", widget.style.family);
  if (widget.style.bold) element.classList.add("bold");
}

function describe(/** @type {HTMLElement} */ element, /** @type {Widget} */ widget) {
  element.setAttribute("aria-label", widget.label);
  element.dataset.name = widget.name;
  if (widget.required && !widget.readOnly && widget.kind !== "radio") element.setAttribute("aria-required", "true");
}

/** Shows labels beside the pointer. Sets the titles only then, because screen readers would read each label twice. */
export function showLabels(/** @type {HTMLElement} */ place) {
  const labelOf = (/** @type {any} */ target) => (target.matches("button, input, select, textarea") ? target.getAttribute("aria-label") : null);
  place.addEventListener("pointerover", ({ target }) => {
    const label = labelOf(target);
    if (label) /** @type {HTMLElement} */ (target).title = label;
  });
  place.addEventListener("pointerout", ({ target }) => labelOf(target) && /** @type {HTMLElement} */ (target).removeAttribute("title"));
}

function makeText(/** @type {Widget} */ widget, /** @type {FormModel} */ model) {
  const input = widget.multiLine ? make("textarea") : make("input", { type: widget.password ? "password" : "text" });
  input.readOnly = widget.readOnly;
  input.autocomplete = "off";
  input.dir = "auto";
  // Turns off spell checking, because typed text must not be sent to a spelling service.
  input.spellcheck = false;
  if (widget.maxLength) input.maxLength = widget.maxLength;
  if (widget.comb) {
    input.classList.add("comb");
    // Undoes the scrolling by which the browser shows a cursor after the last position: it would hide the first
    // character.
    input.addEventListener("scroll", () => {
      if (input.value.length <= widget.comb) input.scrollLeft = 0;
    });
  }
  const show = () => {
    const isEdited = input === document.activeElement && !input.readOnly;
    const formatted = isEdited ? null : model.formatted(widget.name);
    const text = formatted ?? model.values(widget.name)[0] ?? "";
    if (input.value !== text) input.value = text;
  };
  input.addEventListener("input", () => {
    model.set(widget.name, [input.value]);
    model.format(widget.name, null);
  });
  // Compares the texts, because the browser's "change" event does not notice texts that a script has set.
  let before = "";
  const commit = () => {
    if (input.value !== before) model.scripts?.commitText(widget, (before = input.value));
  };
  input.addEventListener("focus", () => {
    const formatted = input.value;
    show();
    // Selects the whole text, because the browser has set the cursor or the selection in the formatted text.
    if (input.value !== formatted) input.select();
    before = input.value;
  });
  input.addEventListener("keydown", (event) => /** @type {KeyboardEvent} */ (event).key === "Enter" && !widget.multiLine && commit());
  input.addEventListener("blur", () => {
    commit();
    show();
  });
  if (widget.actions.has("Keystroke")) judgeKeys(input, widget, model);
  if (widget.maxLength) sayWhatIsLeftOut(input, widget);
  const { mask, keys, date } = widget.help;
  if (keys) input.inputMode = keys;
  if (mask && !widget.comb) input.placeholder = mask;
  const choose = (/** @type {string} */ text) => {
    input.focus();
    input.value = text;
    model.set(widget.name, [text]);
    model.format(widget.name, null);
    commit();
  };
  return { element: input, show, extras: date && !widget.readOnly ? makeCalendar(input, widget, choose) : [] };
}

/** The browser's calendar for a field whose script formats a date. A button or Alt+ArrowDown in the field opens it. */
function makeCalendar(/** @type {HTMLInputElement | HTMLTextAreaElement} */ input, /** @type {Widget} */ widget, /** @type {(text: string) => void} */ choose) {
  const button = make("button", { type: "button", className: "calendar", tabIndex: -1, textContent: "▾" });
  button.setAttribute("aria-label", `${texts.calendar} – ${widget.label}`);
  const days = make("input", { type: "date", className: "days", tabIndex: -1 });
  days.setAttribute("aria-hidden", "true");
  for (const part of [button, days]) {
    for (const side of /** @type {const} */ (["x", "y", "w", "h"])) part.style.setProperty(`--${side}`, `${widget.box[side]}`);
  }
  const open = () => {
    days.value = dayOf(input.value, widget.help.date);
    days.showPicker();
  };
  input.setAttribute("aria-keyshortcuts", "Alt+ArrowDown");
  input.addEventListener("keydown", (event) => {
    const { key, altKey } = /** @type {KeyboardEvent} */ (event);
    if (key !== "ArrowDown" || !altKey) return;
    event.preventDefault();
    open();
  });
  // Keeps the focus in the field.
  button.addEventListener("pointerdown", (event) => event.preventDefault());
  button.addEventListener("click", open);
  days.addEventListener("change", () => days.value && choose(dateText(days.value, widget.help.date)));
  return [button, days];
}

/** Lets the form's script accept, change or refuse what is typed. */
function judgeKeys(/** @type {HTMLInputElement | HTMLTextAreaElement} */ input, /** @type {Widget} */ widget, /** @type {FormModel} */ model) {
  input.addEventListener("beforeinput", (event) => {
    const { data, dataTransfer, inputType, isComposing } = /** @type {InputEvent} */ (event);
    const change = data ?? dataTransfer?.getData("text/plain") ?? "";
    // Deletions are not checked here: the scripts check the whole text when it is entered.
    if (!model.scripts || isComposing || !inputType.startsWith("insert") || !change) return;
    const [from, to] = [input.selectionStart ?? 0, input.selectionEnd ?? 0];
    if (widget.maxLength && input.value.length - (to - from) + change.length > widget.maxLength) return;
    const answer = model.scripts.typeText(widget, { value: input.value, change, from, to });
    if (!answer) return;
    event.preventDefault();
    input.value = answer.value;
    if (answer.selection) input.setSelectionRange(...answer.selection);
    model.set(widget.name, [input.value]);
  });
}

/** Shows beside the field the part of a text that the browser left out because the text is too long. */
function sayWhatIsLeftOut(/** @type {HTMLInputElement | HTMLTextAreaElement} */ input, /** @type {Widget} */ { maxLength, box }) {
  let left = "";
  const hint = make("span", { className: "hint" });
  hint.setAttribute("role", "status");
  for (const side of /** @type {const} */ (["x", "y", "h"])) hint.style.setProperty(`--${side}`, `${box[side]}`);
  const clear = () => {
    left = "";
    hint.remove();
  };
  input.addEventListener("beforeinput", (event) => {
    const { data, dataTransfer, inputType } = /** @type {InputEvent} */ (event);
    const added = (data ?? dataTransfer?.getData("text/plain") ?? "").replace(/\r\n?/g, "\n");
    if (!inputType.startsWith("insert") || !added) return inputType.startsWith("delete") && clear();
    const kept = input.value.length - ((input.selectionEnd ?? 0) - (input.selectionStart ?? 0));
    const over = kept + added.length - maxLength;
    if (over <= 0) return;
    left += added.slice(Math.max(added.length - over, 0));
    hint.textContent = texts.tooLong(maxLength, left.slice(0, 40));
    input.parentElement?.append(hint);
  });
  input.addEventListener("blur", clear);
}

function makeToggle(/** @type {Widget} */ widget, /** @type {FormModel} */ model, /** @type {string} */ group) {
  const input = make("input", { type: widget.kind === "radio" ? "radio" : "checkbox", disabled: widget.readOnly });
  // Puts buttons that are on together into different groups, because in one group the browser allows only one to be on.
  const apart = widget.inUnison ? widget.nth : 0;
  if (widget.kind === "radio") input.name = `${group}${apart}.${widget.name}`;
  const isPressed = () => widget.kind === "check" || widget.inUnison || (model.get(widget.name)?.nth ?? 0) === widget.nth;
  const isOn = () => model.values(widget.name)[0] === widget.state && isPressed();
  const set = (/** @type {boolean} */ on) => model.set(widget.name, [on ? widget.state : OFF], widget.nth);
  input.addEventListener("change", () => {
    set(input.checked);
    model.scripts?.commitToggle(widget, input.checked);
  });
  if (widget.kind === "radio" && widget.canBeOff) {
    // Switches the button off when it is pressed again. The browser's radio buttons do not do that.
    let wasOn = false;
    input.addEventListener("pointerdown", () => (wasOn = input.checked));
    input.addEventListener("keydown", ({ key }) => (wasOn = key === " " && input.checked));
    input.addEventListener("click", () => {
      if (wasOn) set(false);
      wasOn = false;
    });
  }
  return { element: input, show: () => (input.checked = isOn()) };
}

function makeList(/** @type {Widget} */ widget, /** @type {FormModel} */ model) {
  const select = make("select", { multiple: widget.multiple, disabled: widget.readOnly });
  if (!widget.combo) select.size = Math.max(2, widget.options.length);
  select.append(...widget.options.map(({ value, text }) => make("option", { value, text })));
  const show = () => {
    const values = model.values(widget.name);
    const known = new Set(widget.options.map(({ value }) => value));
    for (const old of select.querySelectorAll("option[data-other]")) old.remove();
    // A value that is not among the options is displayed, and stays until the user selects another one.
    const other = widget.combo ? (values[0] ?? "") : "";
    if (widget.combo && !known.has(other)) {
      const option = make("option", { value: other, text: other });
      option.dataset.other = "";
      select.prepend(option);
    }
    for (const option of select.options) option.selected = values.includes(option.value) || (widget.combo && !values.length && option.value === "");
  };
  select.addEventListener("change", () => {
    const chosen = [...select.selectedOptions].map(({ value }) => value);
    model.set(widget.name, chosen.length ? chosen : [""]);
    model.scripts?.commitChoice(widget, select.selectedOptions[0]?.text ?? "", chosen[0] ?? "");
  });
  return { element: select, show };
}

/** A combo box that accepts other text than its options, or that is read-only. */
function makeTypedChoice(/** @type {Widget} */ widget, /** @type {FormModel} */ model, /** @type {string} */ id) {
  const textOf = (/** @type {string} */ value) => widget.options.find((one) => one.value === value)?.text ?? value;
  const valueOf = (/** @type {string} */ text) => widget.options.find((one) => one.text === text)?.value ?? text;
  const input = make("input", { type: "text", readOnly: widget.readOnly, autocomplete: "off", spellcheck: false });
  const show = () => {
    const text = textOf(model.values(widget.name)[0] ?? "");
    if (valueOf(input.value) !== valueOf(text) || input !== document.activeElement) input.value = text;
  };
  const extras = [];
  if (!widget.readOnly) {
    const list = make("datalist", { id });
    list.append(...widget.options.map(({ text }) => make("option", { value: text })));
    input.setAttribute("list", id);
    extras.push(list);
    input.addEventListener("input", () => model.set(widget.name, [valueOf(input.value)]));
    input.addEventListener("change", () => model.scripts?.commitChoice(widget, input.value, valueOf(input.value)));
  }
  return { element: input, show, extras };
}

function makeButton(/** @type {Widget} */ widget, /** @type {Presses} */ presses) {
  const press = presses(widget);
  const button = make("button", { type: "button", disabled: !press });
  if (press) button.addEventListener("click", press);
  return { element: button, show: () => {} };
}

/** The elements of a page's widgets, in order. `serial` is a part of their names, different for each displayed form. */
export class Layer {
  element = make("div", { className: "layer" });
  /** @type {Map<string, HTMLElement>} */
  #inputs = new Map();
  #serial;

  constructor(/** @type {Widget[]} */ widgets, /** @type {FormModel} */ model, /** @type {Presses} */ presses,
    /** @type {string} */ serial) {
    this.#serial = serial;
    for (const widget of widgets) this.#add(widget, this.#placeFor(widget), model, presses);
  }

  /** The parent of the elements of a widget: the group of radio buttons, or the layer. */
  #placeFor(/** @type {Widget} */ { kind, name, group, required, readOnly }) {
    const last = /** @type {HTMLElement | null} */ (this.element.lastElementChild);
    if (kind !== "radio" || !group) return this.element;
    if (last?.dataset.group === name) return last;
    const place = make("div");
    place.dataset.group = name;
    place.setAttribute("role", "radiogroup");
    place.setAttribute("aria-label", group);
    if (required && !readOnly) place.setAttribute("aria-required", "true");
    this.element.append(place);
    return place;
  }

  #add(/** @type {Widget} */ widget, /** @type {HTMLElement} */ parent, /** @type {FormModel} */ model, /** @type {Presses} */ presses) {
    const { element, show, extras = [] } = this.#make(widget, model, presses);
    place(element, widget);
    describe(element, widget);
    show();
    if (widget.kind !== "push") model.watch(widget.name, show);
    this.#inputs.set(widget.id, element);
    if (widget.kind === "check" || widget.kind === "radio" || widget.kind === "push") {
      // Adds an element for the button's appearance from the file, which is drawn behind the button.
      const face = make("span", { className: "face" });
      place(face, widget);
      face.dataset.of = widget.id;
      parent.append(element, face);
    } else {
      parent.append(element, ...extras);
    }
  }

  #make(/** @type {Widget} */ widget, /** @type {FormModel} */ model, /** @type {Presses} */ presses) {
    switch (widget.kind) {
      case "push": return makeButton(widget, presses);
      case "check":
      case "radio": return makeToggle(widget, model, this.#serial);
      case "choice": {
        const typed = widget.combo && (widget.editable || widget.readOnly);
        return typed ? makeTypedChoice(widget, model, `${this.#serial}${widget.id}`) : makeList(widget, model);
      }
      default: return makeText(widget, model);
    }
  }

  /** Changes the widgets as a script asks. */
  change(/** @type {string[]} */ ids, /** @type {import("./scripts.js").WidgetChange} */ { hidden, readonly, required, focus, limit }) {
    for (const input of ids.map((id) => /** @type {any} */ (this.#inputs.get(id)))) {
      if (!input) continue;
      if (hidden !== undefined) input.hidden = hidden;
      if (hidden !== undefined && input.nextElementSibling?.matches(".face")) input.nextElementSibling.hidden = hidden;
      if (readonly !== undefined) input.matches("input:not([type=checkbox], [type=radio]), textarea") ? (input.readOnly = readonly) : (input.disabled = readonly);
      if (required !== undefined) input.toggleAttribute("aria-required", required);
      if (limit !== undefined) limit ? (input.maxLength = limit) : input.removeAttribute("maxlength");
      if (focus) input.focus();
    }
  }

  /** Adds the appearances that the file has for its buttons. */
  setFaces(/** @type {import("./pdf_form.js").Faces} */ appearances) {
    for (const face of /** @type {NodeListOf<HTMLElement>} */ (this.element.querySelectorAll(".face"))) {
      const drawn = appearances.get(face.dataset.of ?? "");
      if (drawn) face.replaceChildren(...[drawn].flat());
    }
  }
}
