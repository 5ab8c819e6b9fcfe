// Fills a form for each row of a table with pdf-lib: see ../bindings_bench.cpp.
//   node fill.mjs PACKAGES FORM.pdf ROWS.json FOLDER fill|draw

import { readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { pathToFileURL } from "node:url";

const [packages, formPath, rowsPath, folder, mode] = process.argv.slice(2);
const { PDFDocument } = createRequire(pathToFileURL(`${packages}/`))("pdf-lib");
const bytes = readFileSync(formPath);
const rows = JSON.parse(readFileSync(rowsPath, "utf8"));

const start = [performance.now(), process.cpuUsage()];
for (const [index, row] of rows.entries()) {
  const document = await PDFDocument.load(bytes);
  const form = document.getForm();
  for (const [name, value] of Object.entries(row)) form.getTextField(name).setText(value);
  writeFileSync(`${folder}/${index + 1}.pdf`, await document.save({ updateFieldAppearances: mode === "draw" }));
}
const { user, system } = process.cpuUsage(start[1]);
console.log(JSON.stringify({ clock: (performance.now() - start[0]) / 1000, processor: (user + system) / 1e6 }));
