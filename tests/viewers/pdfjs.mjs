// Renders pages with pdf.js in Chromium: pdfjs.mjs CHROMIUM PLAYWRIGHT PDFJS JOBS. JOBS is a JSON file: [{pdf, password,
// pages, out}]. Page N (from 1) becomes out-N.pgm at 72 dpi, annotations as their appearance streams show them. With
// "measure" the page becomes out-N.json instead, {"id": {"stream": [x, y, size], "own": [x, y, size]}}: where the text
// of each widget starts, and its font size. "stream" measures the appearance stream, "own" what pdf.js itself draws for
// the value. An error becomes out.error.

import { createReadStream, readFileSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import path from "node:path";

const [chromiumPath, playwright, pdfjs, jobsPath] = process.argv.slice(2);
const { chromium } = createRequire(path.join(playwright, "."))("playwright-core");
const jobs = JSON.parse(readFileSync(jobsPath));
const TYPES = { ".mjs": "text/javascript", ".wasm": "application/wasm", ".html": "text/html" };

const server = createServer((request, response) => {
  const [, kind, ...rest] = decodeURIComponent(new URL(request.url, "http://localhost").pathname).split("/");
  if (kind === "page") return response.setHeader("content-type", "text/html").end("<!doctype html><title>pdf.js</title>");
  const file = kind === "job" ? jobs[Number(rest[0])].pdf : path.join(pdfjs, ...rest);
  response.setHeader("content-type", TYPES[path.extname(file)] ?? "application/octet-stream");
  createReadStream(file).on("error", () => response.writeHead(404).end()).pipe(response);
});
await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));

/** Runs one job in the browser; returns its pages as gray pixels in base64, or the measures of their widgets. */
async function show({ index, password, pages, measure }) {
  const pdfjs = await import("/pdfjs/build/pdf.min.mjs");
  pdfjs.GlobalWorkerOptions.workerSrc = "/pdfjs/build/pdf.worker.min.mjs";
  const { AnnotationMode, OPS, Util } = pdfjs;
  const task = pdfjs.getDocument({ url: `/job/${index}`, password, standardFontDataUrl: "/pdfjs/standard_fonts/",
                                   cMapUrl: "/pdfjs/cmaps/", wasmUrl: "/pdfjs/wasm/", iccUrl: "/pdfjs/iccs/" });
  const document = await task.promise;
  const shown = {};

  async function pixels(page) {
    const viewport = page.getViewport({ scale: 1 });
    const canvas = new OffscreenCanvas(Math.round(viewport.width), Math.round(viewport.height));
    const canvasContext = canvas.getContext("2d", { willReadFrequently: true });
    await page.render({ canvasContext, canvas: null, viewport, annotationMode: AnnotationMode.ENABLE }).promise;
    const { data } = canvasContext.getImageData(0, 0, canvas.width, canvas.height);
    const gray = new Uint8Array(canvas.width * canvas.height);
    for (let i = 0; i < gray.length; ++i)
      gray[i] = 0.299 * data[4 * i] + 0.587 * data[4 * i + 1] + 0.114 * data[4 * i + 2];
    return { width: canvas.width, height: canvas.height, gray: gray.toBase64() };
  }

  /** Where the first text of each widget starts: id to [x, y, size] in the page's space. */
  function starts({ fnArray, argsArray }) {
    const found = {}, stack = [];
    let id = null, ctm = [1, 0, 0, 1, 0, 0], size = 0, scale = 1, matrix = ctm, line = ctm;
    const step = {
      [OPS.beginAnnotation]: ([name, rect, transform, inner]) => {
        id = name;
        ctm = Util.transform(Util.transform([1, 0, 0, 1, 0, 0], transform), inner);
      },
      [OPS.endAnnotation]: () => { id = null; ctm = [1, 0, 0, 1, 0, 0]; },
      [OPS.save]: () => stack.push([ctm, size]),
      [OPS.restore]: () => { if (stack.length) [ctm, size] = stack.pop(); },
      [OPS.transform]: (args) => { ctm = Util.transform(ctm, args[0]?.length ? args[0] : args); },
      [OPS.beginText]: () => { matrix = line = [1, 0, 0, 1, 0, 0]; },
      [OPS.setFont]: ([, given]) => { size = given; },
      [OPS.setHScale]: ([given]) => { scale = given / 100; },
      [OPS.setTextMatrix]: (args) => { matrix = line = [...(args[0]?.length ? args[0] : args)]; },
      [OPS.moveText]: ([x, y]) => { matrix = line = Util.transform(line, [1, 0, 0, 1, x, y]); },
      [OPS.setLeadingMoveText]: ([x, y]) => { matrix = line = Util.transform(line, [1, 0, 0, 1, x, y]); },
      [OPS.showText]: ([glyphs]) => {
        if (id === null || found[id] || !glyphs.some((one) => one?.unicode?.trim())) return;
        let shift = 0;
        for (const glyph of glyphs) {
          if (typeof glyph === "number") shift -= glyph / 1000 * size;
          else if (!glyph.unicode?.trim()) shift += glyph.width / 1000 * size;
          else break;
        }
        const all = Util.transform(ctm, matrix);
        found[id] = [all[0] * shift * scale + all[4], all[1] * shift * scale + all[5], size * Math.hypot(all[2], all[3])];
      },
    };
    fnArray.forEach((code, i) => step[code]?.(argsArray[i] ?? []));
    return found;
  }

  async function measured(page) {
    const widgets = (await page.getAnnotations()).filter((one) => one.fieldType === "Tx" || one.combo);
    const stream = starts(await page.getOperatorList({ annotationMode: AnnotationMode.ENABLE }));
    for (const { id, fieldValue } of widgets) {
      const value = Array.isArray(fieldValue) ? fieldValue[0] : fieldValue;
      if (value) document.annotationStorage.setValue(id, { value });
    }
    const own = starts(await page.getOperatorList({ annotationMode: AnnotationMode.ENABLE_STORAGE }));
    return Object.fromEntries(widgets.map(({ id }) => [id, { stream: stream[id], own: own[id] }]));
  }

  for (const number of pages) {
    if (number > document.numPages) continue;
    const page = await document.getPage(number);
    shown[number] = await (measure ? measured(page) : pixels(page));
    page.cleanup();
  }
  await task.destroy();
  return shown;
}

const browser = await chromium.launch({ executablePath: chromiumPath, args: ["--no-sandbox"] });
const page = await browser.newPage();
await page.goto(`http://127.0.0.1:${server.address().port}/page`);
for (const [index, { password, pages, out, measure }] of jobs.entries()) {
  try {
    const shown = await page.evaluate(show, { index, password, pages, measure });
    for (const [number, one] of Object.entries(shown)) {
      const head = Buffer.from(`P5 ${one.width} ${one.height} 255\n`);
      if (measure) writeFileSync(`${out}-${number}.json`, JSON.stringify(one));
      else writeFileSync(`${out}-${number}.pgm`, Buffer.concat([head, Buffer.from(one.gray, "base64")]));
    }
  } catch (error) {
    writeFileSync(`${out}.error`, String(error.stack ?? error));
  }
}
await browser.close();
server.close();
