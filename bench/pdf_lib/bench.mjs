// Fills, draws and saves a form with pdf-lib: "node bench.mjs PACKAGES FORM XFDF SECONDS". Prints the median time in
// milliseconds, and the fields and the bytes of their names and values as read back from the saved file.

import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { pathToFileURL } from "node:url";

const [packages, formPath, dataPath, seconds] = process.argv.slice(2);
const { PDFDocument, PDFTextField, PDFCheckBox } = createRequire(pathToFileURL(`${packages}/`))("pdf-lib");

// This simple reader is enough: the generated data have only one level of groups, and values contain no markup.
function readValues(text) {
  const plain = (escaped) => escaped.replaceAll("&lt;", "<").replaceAll("&amp;", "&");
  const values = [];
  let group = "";
  for (const [, name, value] of text.matchAll(/<field name="([^"]*)">(?:<value>([^<]*)<\/value>)?/g)) {
    if (value === undefined) group = name;
    else values.push([`${group}.${name}`, plain(value)]);
  }
  return values;
}

async function fill(bytes, values) {
  const document = await PDFDocument.load(bytes);
  const byName = new Map(document.getForm().getFields().map((field) => [field.getName(), field]));
  for (const [name, value] of values) {
    const field = byName.get(name);
    if (field instanceof PDFCheckBox) field.check();
    else field.setText(value);
  }
  return document.save({ updateFieldAppearances: true, useObjectStreams: false });
}

async function tally(bytes) {
  const fields = (await PDFDocument.load(bytes)).getForm().getFields();
  let size = 0;
  for (const field of fields) {
    const value = field instanceof PDFTextField ? field.getText() ?? "" : field.isChecked() ? "Yes" : "Off";
    size += Buffer.byteLength(field.getName()) + Buffer.byteLength(value);
  }
  return { items: fields.length, bytes: size };
}

const form = readFileSync(formPath);
const values = readValues(readFileSync(dataPath, "utf8"));
let saved = await fill(form, values); // this run is not measured: it compiles the code
const times = [];
const processorTimes = [];
for (const end = performance.now() + 1000 * Number(seconds); times.length < 3 || performance.now() < end; ) {
  const start = performance.now();
  const used = process.cpuUsage();
  saved = await fill(form, values);
  times.push(performance.now() - start);
  const { user, system } = process.cpuUsage(used);
  processorTimes.push((user + system) / 1000);
}
const median = (all) => all.sort((a, b) => a - b)[all.length >> 1];
console.log(JSON.stringify({ time: median(times), cpu_time: median(processorTimes), ...(await tally(saved)) }));
