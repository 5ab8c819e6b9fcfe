// Prints the values of a form's widgets as pdf.js reads them: pdfjs_values.mjs PDFJS FILE [PASSWORD], where PDFJS is the
// folder of its package. The output is JSON: [[full name, value], ...].

import { readFileSync } from "node:fs";

// Defines the functions that pdf.js needs and older versions of Node lack.
Promise.withResolvers ??= function () {
  const made = {};
  made.promise = new this((resolve, reject) => Object.assign(made, { resolve, reject }));
  return made;
};
Promise.try ??= function (work, ...args) { return new this((resolve) => resolve(work(...args))); };

const [place, file, password] = process.argv.slice(2);
const warn = console.warn;
console.warn = () => {};  // hides warnings about packages that pdf.js would need to draw
const { getDocument } = await import(`${place}/legacy/build/pdf.mjs`);
console.warn = warn;
const document = await getDocument({ data: new Uint8Array(readFileSync(file)), password, verbosity: 0 }).promise;
const values = [];
for (let number = 1; number <= document.numPages; number++) {
  for (const widget of await (await document.getPage(number)).getAnnotations()) {
    if (widget.fieldName) values.push([widget.fieldName, widget.fieldValue ?? null]);
  }
}
console.log(JSON.stringify(values));
process.exit(0);
