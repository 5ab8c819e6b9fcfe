// Prints a PDF, with each page on a sheet of the page's size, and offers files for download.

import { make } from "./widgets.js";

/** The pixels per point of a printed page, and the largest number of its pixels. */
const DENSITY = 200 / 72;
const MAX_AREA = 12_000_000;

const place = () => /** @type {HTMLElement} */ (document.getElementById("print"));

async function imageOf(/** @type {import("./pdf_form.js").PDFPage} */ page) {
  const canvas = make("canvas");
  await page.drawWhole(canvas, Math.min(DENSITY, Math.sqrt(MAX_AREA / (page.width * page.height))));
  /** @type {Blob | null} */
  const blob = await new Promise((resolve) => canvas.toBlob(resolve));
  canvas.width = canvas.height = 0;
  if (!blob) throw new Error("a page could not be drawn for the printer");
  const image = make("img", { src: URL.createObjectURL(blob), alt: "" });
  await image.decode();
  return image;
}

/** Opens the browser's window for printing; resolves when it is closed. */
export async function printForm(/** @type {import("./pdf_form.js").PDFForm} */ form) {
  const images = [];
  for (const page of form.pages) images.push(await imageOf(page));
  const sizes = new CSSStyleSheet();
  sizes.replaceSync(form.pages.map(({ width, height }, i) =>
    `@page sheet${i} { size: ${width}pt ${height}pt; margin: 0; }\n` +
    // Makes the picture a little smaller than the sheet, because rounding must not add a second sheet.
    `#print img:nth-child(${i + 1}) { page: sheet${i}; width: ${width}pt; height: calc(${height}pt - 1px); }`).join("\n"));
  place().replaceChildren(...images);
  document.adoptedStyleSheets = [...document.adoptedStyleSheets, sizes];
  document.documentElement.classList.add("printing");
  try {
    globalThis.print();
  } finally {
    document.documentElement.classList.remove("printing");
    document.adoptedStyleSheets = document.adoptedStyleSheets.filter((sheet) => sheet !== sizes);
    place().replaceChildren();
    for (const { src } of images) URL.revokeObjectURL(src);
  }
}

/** Offers the PDF to be saved. */
export function download(/** @type {Uint8Array} */ bytes, /** @type {string} */ name) {
  save(new Blob([/** @type {BlobPart} */ (bytes)], { type: "application/pdf" }), `${name}.pdf`);
}

/** Offers a file to be saved under that name. */
export function save(/** @type {Blob} */ content, /** @type {string} */ name) {
  const href = URL.createObjectURL(content);
  make("a", { href, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(href), 60_000);
}
