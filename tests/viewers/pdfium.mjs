// Renders pages with PDFium: pdfium.mjs PACKAGES JOBS. JOBS is a JSON file: [{pdf, password, pages, out}]. Page N (from
// 1) becomes out-N.pgm at 72 dpi, and its text, annotations included, out-N.json: [[character, x, y], ...] with the
// middle of each character in the page's space. An error becomes out.error.

import { readFileSync, writeFileSync } from "node:fs";
import path from "node:path";
import { pathToFileURL } from "node:url";

const [packages, jobs] = process.argv.slice(2);
const { PDFiumLibrary } = await import(pathToFileURL(path.join(packages, "@hyzyla/pdfium/dist/index.esm.js")));
const { module: pdfium } = await PDFiumLibrary.init();

const GRAY = 1, ANNOTATIONS = 1, WHITE = 0xffffffff, FOR_DISPLAY = 0;

function pgm(page, form) {
  const width = Math.round(pdfium._FPDF_GetPageWidth(page)), height = Math.round(pdfium._FPDF_GetPageHeight(page));
  const bitmap = pdfium._FPDFBitmap_CreateEx(width, height, GRAY, 0, 0);
  pdfium._FPDFBitmap_FillRect(bitmap, 0, 0, width, height, WHITE);
  pdfium._FPDF_RenderPageBitmap(bitmap, page, 0, 0, width, height, 0, ANNOTATIONS);
  pdfium._FPDF_FFLDraw(form, bitmap, page, 0, 0, width, height, 0, ANNOTATIONS);
  const start = pdfium._FPDFBitmap_GetBuffer(bitmap), stride = pdfium._FPDFBitmap_GetStride(bitmap);
  const rows = [Buffer.from(`P5 ${width} ${height} 255\n`)];
  for (let y = 0; y < height; ++y) {
    const row = start + y * stride;
    rows.push(Buffer.from(pdfium.HEAPU8.slice(row, row + width)));
  }
  pdfium._FPDFBitmap_Destroy(bitmap);
  return Buffer.concat(rows);
}

function characters(page) {
  const text = pdfium._FPDFText_LoadPage(page), box = pdfium.wasmExports.malloc(32);
  const found = [];
  for (let i = 0; i < pdfium._FPDFText_CountChars(text); ++i) {
    if (!pdfium._FPDFText_GetCharBox(text, i, box, box + 8, box + 16, box + 24)) continue;
    const [left, right, bottom, top] = new Float64Array(pdfium.HEAPU8.slice(box, box + 32).buffer);
    const code = pdfium._FPDFText_GetUnicode(text, i);
    if (code) found.push([String.fromCodePoint(code), (left + right) / 2, (bottom + top) / 2]);
  }
  pdfium.wasmExports.free(box);
  pdfium._FPDFText_ClosePage(text);
  return found;
}

async function run({ pdf, password, pages, out }) {
  const document = await new PDFiumLibrary(pdfium).loadDocument(readFileSync(pdf), password);
  const form = document.initializeFormFields();
  for (const number of pages) {
    let page = pdfium._FPDF_LoadPage(document.documentIdx, number - 1);
    pdfium._FORM_OnAfterLoadPage(page, form);
    writeFileSync(`${out}-${number}.pgm`, pgm(page, form));
    pdfium._FORM_OnBeforeClosePage(page, form);
    pdfium._FPDFPage_Flatten(page, FOR_DISPLAY);  // in memory, so that the text of annotations is the page's text
    pdfium._FPDF_ClosePage(page);
    page = pdfium._FPDF_LoadPage(document.documentIdx, number - 1);
    writeFileSync(`${out}-${number}.json`, JSON.stringify(characters(page)));
    pdfium._FPDF_ClosePage(page);
  }
  document.destroy();
}

for (const job of JSON.parse(readFileSync(jobs))) {
  try {
    await run(job);
  } catch (error) {
    writeFileSync(`${job.out}.error`, String(error.stack ?? error));
  }
}
