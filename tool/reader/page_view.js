// Displays the pages of a form: they are drawn when they come near the visible part, with the inputs of their fields
// above.

import { Layer, make } from "./widgets.js";
import { texts } from "./texts.js";

/** @typedef {import("./pdf_form.js").PDFForm} PDFForm */
/** @typedef {import("./pdf_form.js").PDFPage} PDFPage */

/** The most pixels of a canvas, at any zoom. */
const MAX_AREA = 16_000_000;
const NEAR = "100% 0px";
const SETTLED = 150;

const whenIdle = globalThis.requestIdleCallback ?? ((/** @type {() => void} */ work) => setTimeout(work, 20));

class PageView {
  element;
  /** @type {Layer | null} */
  #layer = null;
  /** @type {HTMLElement | null} */
  #text = null;
  /** @type {HTMLCanvasElement | null} */
  #canvas = null;
  #drawnAt = 0;
  /** @type {import("./pdf_form.js").Faces} */
  #faces = new Map();
  /** @type {(() => void) | null} */
  #cancel = null;
  #page;
  #makeLayer;
  #go;

  /** `go` shows another page. */
  constructor(/** @type {PDFPage} */ page, /** @type {string} */ label, /** @type {() => Layer} */ makeLayer,
    /** @type {(page: number) => void} */ go) {
    this.#page = page;
    this.#makeLayer = makeLayer;
    this.#go = go;
    this.element = make("section", { className: "page" });
    this.element.setAttribute("aria-label", label);
    this.element.style.setProperty("--w", `${page.width}`);
    this.element.style.setProperty("--h", `${page.height}`);
  }

  ensureLayer() {
    if (this.#layer) return;
    this.#layer = this.#makeLayer();
    this.#layer.setFaces(this.#faces);
    this.element.append(this.#layer.element);
    for (const link of this.#page.links) this.#layer.element.append(this.#makeLink(link));
  }

  #makeLink(/** @type {import("./pdf_form.js").Link} */ { box, url, page }) {
    const link = url ? make("a", { href: url, target: "_blank", rel: "noopener noreferrer" }) : make("button", { type: "button" });
    if (!url) link.addEventListener("click", () => this.#go(page));
    link.className = "link";
    link.title = url || texts.goTo(page + 1);
    link.setAttribute("aria-label", link.title);
    for (const [name, value] of Object.entries(box)) link.style.setProperty(`--${name}`, `${value}`);
    return link;
  }

  change(/** @type {string[]} */ ids, /** @type {import("./scripts.js").WidgetChange} */ change) {
    if (!this.#page.widgets.some(({ id }) => ids.includes(id))) return;
    this.ensureLayer();
    this.#layer?.change(ids, change);
  }

  /** Adds the text of the page, under the inputs of its fields. */
  ensureText() {
    if (this.#text) return;
    this.#text = make("div", { className: "text" });
    this.element.insertBefore(this.#text, this.#layer?.element ?? null);
    this.#page.addText(this.#text).catch(() => {});
  }

  /** Draws the page unless it is already drawn at that scale, in pixels per point. */
  async draw(/** @type {number} */ wanted) {
    const scale = Math.min(wanted, Math.sqrt(MAX_AREA / (this.#page.width * this.#page.height)));
    if (this.#drawnAt === scale) return;
    this.#cancel?.();
    this.#drawnAt = scale;
    const canvas = make("canvas");
    canvas.setAttribute("aria-hidden", "true");
    try {
      const { done, cancel } = this.#page.draw(canvas, scale);
      this.#cancel = cancel;
      this.#faces = await done;
      this.#canvas?.remove();
      this.#canvas = canvas;
      this.element.prepend(canvas);
      this.#layer?.setFaces(this.#faces);
    } catch {
      // The drawing was cancelled or failed, or the document was closed. It is repeated when the page comes near again.
      if (this.#drawnAt === scale) this.#drawnAt = 0;
    }
  }

  /** Removes the drawing of the page, to free its memory. */
  drop() {
    this.#cancel?.();
    this.#drawnAt = 0;
    if (this.#canvas) this.#canvas.width = this.#canvas.height = 0;
    this.#canvas?.remove();
    this.#canvas = null;
  }
}

/** All pages of one form, one below the other. */
export class FormView {
  element = make("div", { className: "pages" });
  #views;
  #near = new Set();
  #scale = 1;
  #timer = 0;
  #watcher;

  /** `presses` gives the actions of the push buttons of a page. */
  constructor(/** @type {PDFForm} */ form, /** @type {import("./model.js").FormModel} */ model,
    /** @type {import("./widgets.js").Presses} */ presses, /** @type {string} */ serial) {
    this.#views = form.pages.map((page, i) => new PageView(page, texts.page(i + 1, form.pages.length),
      () => new Layer(page.widgets, model, presses, serial), (to) => this.go(to)));
    if (form.language) this.element.lang = form.language;
    this.element.append(...this.#views.map((view) => view.element));
    this.widest = Math.max(1, ...form.pages.map((page) => page.width));
    this.#watcher = new IntersectionObserver((entries) => this.#notice(entries), { rootMargin: NEAR });
  }

  #notice(/** @type {IntersectionObserverEntry[]} */ entries) {
    for (const { target, isIntersecting } of entries) {
      const view = this.#views.find(({ element }) => element === target);
      if (!view) continue;
      if (isIntersecting) {
        this.#near.add(view);
        view.ensureLayer();
        view.draw(this.#pixels).then(() => view.ensureText());
      } else {
        this.#near.delete(view);
        view.drop();
      }
    }
  }

  get #pixels() {
    return this.#scale * (globalThis.devicePixelRatio || 1);
  }

  /** Draws the first page; resolves when it is drawn. Its fields may not be known yet. */
  drawFirst() {
    return this.#views[0]?.draw(this.#pixels);
  }

  /** Call it when the form is on the screen. Begins to draw pages that come near, and makes the inputs of all pages. */
  start() {
    this.#views[0]?.ensureLayer();
    for (const { element } of this.#views) this.#watcher.observe(element);
    const waiting = [...this.#views];
    const next = () => {
      const view = waiting.shift();
      view?.ensureLayer();
      view?.ensureText();
      if (waiting.length) whenIdle(next);
    };
    whenIdle(next);
  }

  /** Sets the scale in CSS pixels per point. */
  setScale(/** @type {number} */ scale) {
    const frame = this.element.parentElement;
    const top = (frame?.scrollTop ?? 0) * (scale / this.#scale);
    this.#scale = scale;
    this.element.style.setProperty("--scale", `${scale}`);
    // Scrolls so that the same part of the form stays at the top of the screen.
    if (frame && top) frame.scrollTop = top;
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.#near.forEach((view) => view.draw(this.#pixels)), SETTLED);
  }

  /** Shows the page with that index. */
  go(/** @type {number} */ page) {
    this.#views[page]?.element.scrollIntoView();
  }

  /** The index of the page in the middle of the screen. */
  get current() {
    const frame = this.element.parentElement;
    const middle = frame ? frame.scrollTop + frame.clientHeight / 2 : 0;
    return Math.max(0, this.#views.findLastIndex(({ element }) => element.offsetTop <= middle));
  }

  /** Makes all inputs, including those of pages that are not near. */
  ensureLayers() {
    for (const view of this.#views) view.ensureLayer();
  }

  /** Changes widgets as a script asks. */
  change(/** @type {string[]} */ ids, /** @type {import("./scripts.js").WidgetChange} */ change) {
    for (const view of this.#views) view.change(ids, change);
  }

  stop() {
    this.#watcher.disconnect();
    clearTimeout(this.#timer);
    for (const view of this.#views) view.drop();
  }
}
