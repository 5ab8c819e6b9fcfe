// Reads a form with pdf.js and converts it to the data structures of this page.

import * as pdfjs from "./pdfjs/pdf.min.mjs";
import { helpOf } from "./input_help.js";
import { nearestText, phrasesOf, questionOf, wordsOfGroup } from "./labels.js";
import { stateText } from "./state_text.js";
import { worker } from "./worker.js";

const folder = (/** @type {string} */ name) => new URL(`./pdfjs/${name}/`, import.meta.url).href;
const OPTIONS = {
  worker: new pdfjs.PDFWorker({ port: worker, verbosity: pdfjs.VerbosityLevel.ERRORS }),
  cMapUrl: folder("cmaps"),
  standardFontDataUrl: folder("standard_fonts"),
  wasmUrl: folder("wasm"),
  // Uses the decoders of pdf.js in JavaScript, because the page's policy may forbid compiling WebAssembly.
  useWasm: false,
  // Makes a form look the same on every machine.
  useSystemFonts: false,
  verbosity: pdfjs.VerbosityLevel.ERRORS,
};

/** Bits of "/Ff" and of "/F" (ISO 32000-1 tables 165, 221, 226, 228, 230). */
const NO_EXPORT = 1 << 2;
const NO_TOGGLE_TO_OFF = 1 << 14;
const EDITABLE = 1 << 18;
const IN_UNISON = 1 << 25;

/**
 * One widget on a page, which shows a field.
 * @typedef {object} Widget
 * @property {string} id
 * @property {string} name the full name of its field
 * @property {"text" | "check" | "radio" | "choice" | "push"} kind
 * @property {string} label
 * @property {string} group the label of a radio button's group; "" when it has none
 * @property {{x: number, y: number, w: number, h: number, turn: number}} box in points from the top left of the page
 * @property {boolean} readOnly
 * @property {boolean} required
 * @property {string} state the value of a check box or radio button when it is on
 * @property {boolean} canBeOff
 * @property {boolean} inUnison true when radio buttons with the same state are switched on together
 * @property {number} nth its index among the widgets of its field with the same state
 * @property {boolean} multiLine
 * @property {boolean} password
 * @property {number} comb the number of character positions; 0 when it is not a comb field
 * @property {number} maxLength 0 for no limit
 * @property {{value: string, text: string}[]} options
 * @property {boolean} combo
 * @property {boolean} editable
 * @property {boolean} multiple
 * @property {Set<string>} actions the events for which it has a script
 * @property {import("./input_help.js").InputHelp} help what its scripts say about its text
 * @property {{size: number, family: string, bold: boolean, colour: string, align: string}} style
 * @property {{background: string, border: string, width: number}} frame
 */

/**
 * The appearances of buttons as drawn from the file, by widget: one canvas, or two for the states on and off.
 * @typedef {Map<string, HTMLCanvasElement | HTMLCanvasElement[]>} Faces
 */

const colourText = (/** @type {Uint8ClampedArray | null} */ colour) =>
  colour && colour.length >= 3 ? `rgb(${colour[0]} ${colour[1]} ${colour[2]})` : "";

function kindOf(annotation) {
  if (annotation.pushButton) return "push";
  if (annotation.checkBox) return "check";
  if (annotation.radioButton) return "radio";
  return { Tx: "text", Ch: "choice" }[annotation.fieldType] ?? null;
}

function boxOf(annotation, viewport) {
  const [left, bottom, right, top] = annotation.rect;
  const [[x1, y1], [x2, y2]] = [viewport.convertToViewportPoint(left, bottom), viewport.convertToViewportPoint(right, top)];
  const turn = (viewport.rotation - (annotation.rotation ?? 0) + 360) % 360;
  return { x: Math.min(x1, x2), y: Math.min(y1, y2), w: Math.abs(x2 - x1), h: Math.abs(y2 - y1), turn };
}

function styleOf(annotation) {
  const { fontSize = 0, fontName = "", fontColor = null } = annotation.defaultAppearanceData ?? {};
  const family = /cour|mono/i.test(fontName) ? "mono" : /^ti|times|roman|(?<!sans.?)serif/i.test(fontName) ? "serif" : "sans";
  return {
    size: fontSize,
    family,
    bold: /bo(ld)?/i.test(fontName.slice(2)),
    colour: colourText(fontColor),
    align: ["left", "center", "right"][annotation.textAlignment ?? 0] ?? "left",
  };
}

/** The last part of a full name, used when there is no better label. */
const nameLabel = (/** @type {string} */ name) => name.slice(name.lastIndexOf(".") + 1).replace(/[_\s]+/g, " ").trim() || name;

const stateOf = (annotation, kind) => stateText((kind === "radio" ? annotation.buttonValue : annotation.exportValue) ?? "");

/** The label that the form gives a field; "" when it gives none. */
const ownLabel = (annotation, /** @type {Record<string, string>} */ labels) => annotation.alternativeText?.trim() ||
  (Object.hasOwn(labels, annotation.fieldName) && labels[annotation.fieldName].trim()) || "";

/** @returns {Widget} */
function widgetOf(annotation, kind, viewport, /** @type {string} */ given, /** @type {import("./labels.js").Phrase[]} */ phrases) {
  const flags = annotation.fieldFlags ?? 0;
  const name = annotation.fieldName;
  const isToggle = kind === "check" || kind === "radio";
  const near = given || kind === "push" || kind === "radio" ? "" : nearestText(boxOf(annotation, viewport), isToggle, phrases);
  return {
    id: annotation.id,
    name,
    kind,
    label: given || near || nameLabel(name),
    group: "",
    box: boxOf(annotation, viewport),
    readOnly: Boolean(annotation.readOnly),
    required: Boolean(annotation.required),
    state: stateOf(annotation, kind),
    canBeOff: kind === "check" || !(flags & NO_TOGGLE_TO_OFF),
    inUnison: Boolean(flags & IN_UNISON),
    nth: 0,
    multiLine: Boolean(annotation.multiLine),
    password: Boolean(annotation.password),
    comb: annotation.comb ? annotation.maxLen : 0,
    maxLength: annotation.maxLen ?? 0,
    options: (annotation.options ?? []).map(({ exportValue, displayValue }) =>
      ({ value: exportValue ?? "", text: displayValue ?? exportValue ?? "" })),
    combo: Boolean(annotation.combo),
    editable: Boolean(annotation.combo) && Boolean(flags & EDITABLE),
    multiple: Boolean(annotation.multiSelect),
    actions: new Set(annotation.actions?.keys()),
    help: helpOf(annotation.actions),
    style: styleOf(annotation),
    frame: {
      background: colourText(annotation.backgroundColor),
      border: colourText(annotation.borderColor),
      width: annotation.borderColor ? (annotation.borderStyle?.width ?? 1) : 0,
    },
  };
}

const linesOf = (/** @type {string} */ text) => text.replace(/\r\n?/g, "\n");

/** The value that the file has for a field. A text field with an empty value counts as without value. */
function valuesOf(/** @type {string} */ kind, value) {
  const texts = [value ?? []].flat().map(String);
  if (kind === "text") return texts.map(linesOf).filter((text) => text !== "");
  return kind === "choice" ? texts : texts.map(stateText);
}

/** @returns {import("./model.js").Field} */
function fieldOf(annotation, kind) {
  return {
    name: annotation.fieldName,
    kind,
    values: valuesOf(kind, annotation.fieldValue),
    loaded: valuesOf(kind, annotation.fieldValue),
    defaults: valuesOf(kind, annotation.defaultFieldValue),
    readOnly: Boolean(annotation.readOnly),
    required: Boolean(annotation.required),
    noExport: Boolean((annotation.fieldFlags ?? 0) & NO_EXPORT),
    secret: Boolean(annotation.password),
    visible: !annotation.hidden,
    ...((kind === "check" || kind === "radio") && { states: new Set([stateOf(annotation, kind)]) }),
  };
}

/** Sorts the widgets by rows or columns as "/Tabs" of the page says (ISO 32000-1 table 30), else keeps their order. */
function inTabOrder(/** @type {Widget[]} */ widgets, /** @type {string} */ order) {
  if (order !== "R" && order !== "C") return widgets;
  const [along, across, size] = order === "R" ? ["x", "y", "h"] : ["y", "x", "w"];
  const sorted = [...widgets].sort((a, b) => a.box[across] - b.box[across]);
  /** @type {Widget[][]} */
  const lines = [];
  for (const widget of sorted) {
    const line = lines.at(-1);
    const middle = widget.box[across] + widget.box[size] / 2;
    if (line && middle < line[0].box[across] + line[0].box[size]) line.push(widget);
    else lines.push([widget]);
  }
  return lines.flatMap((line) => line.sort((a, b) => a.box[along] - b.box[along]));
}

/**
 * Labels radio buttons with their own tool tips if these all differ, else with the words beside them. Adds the state
 * to a label that is missing or the same for two buttons. Labels their groups with the tool tip of the field, unless a
 * button has it as its label, else with the words before or above. `tips` are the tool tips of the widgets.
 */
function labelRadioButtons(/** @type {Widget[]} */ widgets, /** @type {Map<string, string>} */ tips,
  /** @type {Record<string, string>} */ labels, /** @type {import("./labels.js").Phrase[]} */ phrases) {
  const radios = widgets.filter(({ kind }) => kind === "radio");
  /** @type {Map<string, Widget[]>} */
  const groups = new Map(radios.map(({ name }) => [name, []]));
  for (const button of radios) groups.get(button.name)?.push(button);
  for (const [name, buttons] of groups) {
    const own = buttons.map(({ id }) => tips.get(id) ?? "");
    const hasOwn = new Set(own.filter(Boolean)).size === buttons.length;
    const words = hasOwn ? own : wordsOfGroup(buttons.map(({ box }) => box), phrases);
    for (const [i, button] of buttons.entries()) {
      const isShared = words.indexOf(words[i]) !== words.lastIndexOf(words[i]);
      button.label = [words[i], (isShared || !words[i]) && button.state].filter(Boolean).join(" – ") || nameLabel(name);
      button.group = (Object.hasOwn(labels, name) && labels[name].trim()) || own.find(Boolean) || "";
    }
  }
  const taken = new Set(radios.map(({ label }) => label));
  for (const buttons of groups.values()) {
    const boxes = buttons.map(({ box }) => box);
    const isButtons = buttons.some(({ label, group }) => label === group);
    const question = buttons[0].group && !isButtons ? buttons[0].group : questionOf(boxes, taken, phrases);
    for (const button of buttons) button.group = question;
  }
}

function countStates(/** @type {Widget[]} */ widgets) {
  /** @type {Map<string, number>} */
  const counts = new Map();
  for (const widget of widgets.filter(({ kind }) => kind === "radio")) {
    const key = JSON.stringify([widget.name, widget.state]);
    widget.nth = counts.get(key) ?? 0;
    counts.set(key, widget.nth + 1);
  }
}

/**
 * A link over a part of a page: to an address, or to another page of the form.
 * @typedef {{box: import("./labels.js").Box, url: string, page: number}} Link
 */

/** One page: its size in points, and its widgets and links after they are read. */
export class PDFPage {
  /** @type {Widget[]} */
  widgets = [];
  /** @type {Link[]} */
  links = [];
  #page;

  #pageOf;

  /** `pageOf` finds the index of the page to which a destination leads. */
  constructor(page, /** @type {(destination: any) => Promise<number>} */ pageOf) {
    this.#page = page;
    this.#pageOf = pageOf;
    this.viewport = page.getViewport({ scale: 1 });
    this.width = this.viewport.width;
    this.height = this.viewport.height;
  }

  /** Reads the widgets and adds their fields to the model. */
  async read(/** @type {import("./model.js").FormModel} */ model, /** @type {string} */ order,
    /** @type {Record<string, string>} */ labels) {
    const annotations = await this.#page.getAnnotations({ intent: "any" });
    const needsWords = (annotation) => annotation.fieldType && !annotation.pushButton && (annotation.radioButton || !ownLabel(annotation, labels));
    const phrases = annotations.some(needsWords) ? await this.#readPhrases() : [];
    for (const annotation of annotations) {
      if (annotation.subtype === "Link") await this.#addLink(annotation);
      const kind = annotation.fieldType ? kindOf(annotation) : null;
      if (!kind || !annotation.fieldName) continue;
      if (kind !== "push") model.add(fieldOf(annotation, kind));
      if (!annotation.hidden) this.widgets.push(widgetOf(annotation, kind, this.viewport, ownLabel(annotation, labels), phrases));
    }
    const tips = new Map(annotations.map(({ id, alternativeText }) => [id, alternativeText?.trim() ?? ""]));
    labelRadioButtons(this.widgets, tips, labels, phrases);
    this.widgets = inTabOrder(this.widgets, order);
  }

  async #readPhrases() {
    const { items } = await this.#page.getTextContent();
    return phrasesOf(items.filter(({ str }) => str?.trim()).map(({ str, transform, width, height }) => {
      const [x1, y1] = this.viewport.convertToViewportPoint(transform[4], transform[5]);
      const [x2, y2] = this.viewport.convertToViewportPoint(transform[4] + width, transform[5] + height);
      return { text: str, x: Math.min(x1, x2), y: Math.min(y1, y2), w: Math.abs(x2 - x1), h: Math.abs(y2 - y1) };
    }));
  }

  async #addLink(annotation) {
    const box = boxOf(annotation, this.viewport);
    if (annotation.url) this.links.push({ box, url: annotation.url, page: -1 });
    const page = annotation.dest ? await this.#pageOf(annotation.dest).catch(() => -1) : -1;
    if (page >= 0) this.links.push({ box, url: "", page });
  }

  /**
   * Puts the text of the page into the element, invisible: to be found, selected and read aloud. Rejects when the
   * document was closed.
   */
  async addText(/** @type {HTMLElement} */ container) {
    const { viewport } = this;
    return new pdfjs.TextLayer({ textContentSource: this.#page.streamTextContent(), container, viewport }).render();
  }

  /** Draws the page as it is printed, with all its annotations. */
  drawWhole(/** @type {HTMLCanvasElement} */ canvas, /** @type {number} */ scale) {
    const viewport = this.#page.getViewport({ scale });
    canvas.width = Math.round(viewport.width);
    canvas.height = Math.round(viewport.height);
    return this.#page.render({ canvas, viewport, intent: "print", annotationMode: pdfjs.AnnotationMode.ENABLE }).promise;
  }

  /**
   * Draws the page without its fields; returns the appearances of buttons separately, by widget.
   * @returns {{done: Promise<Faces>, cancel: () => void}}
   */
  draw(/** @type {HTMLCanvasElement} */ canvas, /** @type {number} */ scale) {
    const viewport = this.#page.getViewport({ scale });
    canvas.width = Math.round(viewport.width);
    canvas.height = Math.round(viewport.height);
    const appearances = new Map();
    const task = this.#page.render({
      canvas, viewport, annotationMode: pdfjs.AnnotationMode.ENABLE_FORMS, annotationCanvasMap: appearances,
    });
    return { done: task.promise.then(() => appearances), cancel: () => task.cancel() };
  }
}

/** An open document. */
export class PDFForm {
  /** @type {PDFPage[]} */
  pages = [];
  language = "";
  #document;
  #task;

  /** Rejects when the bytes are not a PDF. */
  static async open(/** @type {Uint8Array} */ bytes) {
    const form = new PDFForm();
    form.#task = pdfjs.getDocument({ data: bytes, ...OPTIONS });
    form.#document = await form.#task.promise;
    const { numPages } = form.#document;
    const pageOf = (destination) => form.#pageOf(destination);
    const numbers = Array.from({ length: numPages }, (_, i) => i + 1);
    form.pages = await Promise.all(numbers.map(async (n) => new PDFPage(await form.#document.getPage(n), pageOf)));
    return form;
  }

  async #pageOf(destination) {
    const place = typeof destination === "string" ? await this.#document.getDestination(destination) : destination;
    return typeof place[0] === "number" ? place[0] : this.#document.getPageIndex(place[0]);
  }

  /** Reads all fields: those on pages, and those that no page shows. */
  async readFields(/** @type {import("./model.js").FormModel} */ model,
    /** @type {{tabs: string[], labels: Record<string, string>}} */ { tabs, labels }) {
    await Promise.all(this.pages.map((page, i) => page.read(model, tabs[i] ?? "", labels)));
    countStates(this.pages.flatMap(({ widgets }) => widgets));
    const objects = (await this.#document.getFieldObjects()) ?? new Map();
    const entries = objects instanceof Map ? [...objects] : Object.entries(objects);
    for (const [name, [first]] of entries) {
      if (model.get(name) || first.type !== "text") continue;
      const values = valuesOf("text", first.value);
      model.add({ name, kind: "text", values, loaded: values, defaults: [], readOnly: true, required: false,
        noExport: false, secret: Boolean(first.password) });
    }
    const { info } = await this.#document.getMetadata();
    this.language = info?.Language ?? "";
  }

  /** The data that the sandbox needs to run the scripts of the form; null when it has none. */
  async scripts() {
    if (!(await this.#document.hasJSActions())) return null;
    const [objects, calculationOrder, actions, { info }] = await Promise.all([this.#document.getFieldObjects(),
      this.#document.getCalculationOrderIds(), this.#document.getJSActions(), this.#document.getMetadata()]);
    return {
      objects: objects ?? new Map(), calculationOrder, actions,
      info: { ...info, baseURL: "", filename: "", filesize: 0, numPages: this.pages.length, URL: "" },
    };
  }

  close() {
    this.#task?.destroy();
  }
}
