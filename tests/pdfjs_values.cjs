// What pdf.js reads of a form: node pdfjs_values.cjs MODULES FILE PASSWORD, where MODULES holds pdfjs-dist (version 3).
// Prints the number of pages and, by full name, the values of the fields, as JSON.

const fs = require("fs");
const path = require("path");

// It warns of what only drawing needs, on standard output.
console.log = console.warn = () => {};

const [modules, file, password] = process.argv.slice(2);
const pdfjs = require(path.join(modules, "pdfjs-dist", "legacy", "build", "pdf.js"));

async function main() {
  const data = new Uint8Array(fs.readFileSync(file));
  const options = { data, password, verbosity: 0, isEvalSupported: false, useSystemFonts: false };
  const document = await pdfjs.getDocument(options).promise;
  const fields = (await document.getFieldObjects()) || {};
  const values = {};
  for (const [name, objects] of Object.entries(fields)) values[name] = objects.map((object) => object.value ?? null);
  process.stdout.write(JSON.stringify({ pages: document.numPages, values }));
}

main().catch((error) => {
  process.stderr.write(`${error && error.message}\n`);
  process.exit(1);
});
