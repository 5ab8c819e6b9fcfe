// The thread on which pdf.js reads forms. The page loads this module first, so that the thread starts while the rest is
// loading.

export const worker = new Worker(new URL("./pdfjs/pdf.worker.min.mjs", import.meta.url), { type: "module" });
