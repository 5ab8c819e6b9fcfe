// Navigation in a form of several pages: the number of the page that is shown, and a list of small pictures.

import { texts } from "./texts.js";
import { make } from "./widgets.js";

/** The number of pages from which on the navigation is shown. */
const SEVERAL = 3;
const WIDTH = 120;

const byId = (/** @type {string} */ id) => /** @type {HTMLElement} */ (document.getElementById(id));

export class PageList {
  #number = /** @type {HTMLInputElement} */ (byId("page-number"));
  #list = byId("page-list");
  #toggle = byId("toggle-list");
  #frame = byId("pages");
  /** @type {import("./page_view.js").FormView | null} */
  #view = null;
  /** @type {import("./pdf_form.js").PDFPage[]} */
  #pages = [];
  /** @type {IntersectionObserver | null} */
  #watcher = null;
  #now = -1;

  constructor() {
    this.#number.setAttribute("aria-label", texts.pageNumber);
    this.#list.setAttribute("aria-label", texts.pageList);
    this.#toggle.setAttribute("aria-label", texts.pageList);
    this.#number.addEventListener("change", () => this.#go(Math.trunc(Number(this.#number.value)) - 1));
    this.#number.addEventListener("focus", () => this.#number.select());
    this.#toggle.addEventListener("click", () => this.#open(this.#list.hidden));
    this.#frame.addEventListener("scroll", () => this.#mark(), { passive: true });
  }

  /** Sets the form that is shown now. */
  follow(/** @type {import("./pdf_form.js").PDFForm} */ form, /** @type {import("./page_view.js").FormView} */ view) {
    [this.#view, this.#pages, this.#now] = [view, form.pages, -1];
    byId("way").hidden = this.#pages.length < SEVERAL;
    byId("page-count").textContent = `/ ${this.#pages.length}`;
    this.#open(!this.#list.hidden && this.#pages.length >= SEVERAL);
    this.#mark();
  }

  #go(/** @type {number} */ page) {
    const to = Math.min(Math.max(page || 0, 0), this.#pages.length - 1);
    this.#view?.go(to);
    this.#number.value = `${to + 1}`;
  }

  #mark() {
    const now = this.#view?.current ?? 0;
    if (now === this.#now) return;
    this.#now = now;
    this.#number.value = `${now + 1}`;
    for (const [i, one] of [...this.#list.children].entries()) one.toggleAttribute("aria-current", i === now);
    this.#list.children[now]?.scrollIntoView({ block: "nearest" });
  }

  #open(/** @type {boolean} */ open) {
    this.#watcher?.disconnect();
    this.#list.replaceChildren();
    this.#list.hidden = !open;
    this.#toggle.setAttribute("aria-expanded", `${open}`);
    if (!open) return;
    this.#watcher = new IntersectionObserver((entries) => entries.filter(({ isIntersecting }) => isIntersecting).forEach(({ target }) => this.#draw(target)),
      { root: this.#list, rootMargin: "200px" });
    for (const [i, page] of this.#pages.entries()) {
      const one = make("button", { type: "button" });
      one.setAttribute("aria-label", texts.goTo(i + 1));
      one.dataset.page = `${i + 1}`;
      one.style.aspectRatio = `${page.width} / ${page.height}`;
      one.addEventListener("click", () => this.#go(i));
      this.#list.append(one);
      this.#watcher.observe(one);
    }
    this.#now = -1;
    this.#mark();
  }

  async #draw(/** @type {Element} */ place) {
    this.#watcher?.unobserve(place);
    const page = this.#pages[[...this.#list.children].indexOf(place)];
    const canvas = make("canvas");
    await page?.drawWhole(canvas, (WIDTH * (globalThis.devicePixelRatio || 1)) / page.width).then(() => place.replaceChildren(canvas), () => {});
  }
}
