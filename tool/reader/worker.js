// The thread on which pdf.js reads forms. The page loads this before all else, so that it starts while the rest comes.

export const worker = new Worker(new URL("./pdfjs/pdf.worker.min.mjs", import.meta.url), { type: "module" });
