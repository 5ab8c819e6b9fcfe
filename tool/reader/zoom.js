// The zoom of the form: as wide as the window, or as set by the user.

const STEPS = [0.25, 0.33, 0.5, 0.67, 0.75, 0.9, 1, 1.1, 1.25, 1.5, 1.75, 2, 2.5, 3, 4];
/** CSS pixels per point at 100 %. */
const NATURAL = 96 / 72;
const MAX_FIT = 1.5;
const MARGIN = 24;

export class Zoom {
  /** @type {number | null} */
  #set = null;
  #width = 1;
  /** Called with the scale in CSS pixels per point. */
  onChange = (/** @type {number} */ _scale) => {};

  constructor(/** @type {HTMLElement} */ frame) {
    this.frame = frame;
    new ResizeObserver(() => this.#set === null && this.onChange(this.scale)).observe(frame);
  }

  /** The width of the form in points. */
  set width(/** @type {number} */ points) {
    this.#width = points;
  }

  get #fit() {
    const room = this.frame.clientWidth - (this.frame.clientWidth > 600 ? 2 * MARGIN : 8);
    return Math.min(MAX_FIT, Math.max(0.2, room / (this.#width * NATURAL)));
  }
  get factor() {
    return this.#set ?? this.#fit;
  }
  get scale() {
    return this.factor * NATURAL;
  }

  step(/** @type {number} */ by) {
    const now = this.factor;
    const next = by > 0 ? STEPS.find((one) => one > now + 0.01) : STEPS.findLast((one) => one < now - 0.01);
    if (next) this.#set = next;
    this.onChange(this.scale);
  }
  fit() {
    this.#set = null;
    this.onChange(this.scale);
  }
}
