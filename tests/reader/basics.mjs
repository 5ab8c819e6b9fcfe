// Shared by all tests in browsers: the arguments, the checks, the server.

import { execFileSync, spawn } from "node:child_process";
import path from "node:path";

export const [tool, browserPath, packages, folder, pictures, ...wanted] = process.argv.slice(2);

const failures = [];
let test = "";

export function expect(condition, label, ...details) {
  if (!condition) failures.push([`${test}: ${label}`, ...details.map((one) => JSON.stringify(one)?.slice(0, 600))].join("\n    "));
  return Boolean(condition);
}
export function same(got, wantedValue, label) {
  return expect(JSON.stringify(got) === JSON.stringify(wantedValue), label, got, wantedValue);
}

const running = new Set();

/** Kills the servers that a failed test left running. */
export function endServers() {
  for (const left of running) left.kill("SIGKILL");
  running.clear();
}

export class PlainServer {
  static async start(data, port = 0, ...more) {
    const server = new this();
    server.data = path.join(folder, data);
    const options = ["--templates", path.join(folder, "templates"), "--data", server.data, "--port", `${port}`, ...more];
    server.process = spawn(tool, ["serve", ...options], { stdio: ["ignore", "pipe", "pipe"] });
    running.add(server.process);
    server.log = "";
    server.process.stderr.on("data", (text) => (server.log += text));
    let said = "";
    await new Promise((resolve, reject) => {
      server.process.stdout.on("data", (text) => /^Stop:/m.test((said += text)) && resolve());
      server.process.once("exit", () => reject(new Error(`the server ended: ${server.log}`)));
    });
    server.port = Number(/localhost:(\d+)/.exec(said)[1]);
    server.origin = `http://localhost:${server.port}`;
    server.saved = /^Saved: +(\S+)/m.exec(said)?.[1];
    return server;
  }
  async stop(signal) {
    const ended = new Promise((resolve) => this.process.once("exit", resolve));
    this.process.kill(signal ?? "SIGTERM");
    await ended;
    running.delete(this.process);
    expect(!this.log.includes("Sanitizer"), "the sanitizer has a finding", this.log.slice(-3000));
  }
  /** The values of the newest submission of a form. */
  stored(...options) {
    const text = execFileSync(tool, ["submissions", "--data", this.data, "--format", "json", ...options]);
    return JSON.parse(text);
  }
}

/**
 * Runs the tests that the command line names, or all; then ends the process. `tidy` closes what a test left open, `end`
 * closes the browser.
 */
export async function runTests(name, tests, tidy, end) {
  for (const title of wanted) expect(tests.some(([known]) => known === title), "no test has this name", title);
  for (const [title, one] of tests) {
    if (wanted.length && !wanted.includes(title)) continue;
    test = title;
    const start = Date.now();
    const before = failures.length;
    try {
      await one();
    } catch (error) {
      expect(false, "threw", String(error?.stack ?? error));
    }
    await tidy();
    console.log(`${failures.length === before ? "ok  " : "FAIL"} ${title} ${Date.now() - start} ms`);
  }
  await end();
  for (const failure of failures) console.log(failure);
  console.log(`${name}: ${failures.length ? `${failures.length} failures` : "passed"}`);
  process.exit(failures.length ? 1 : 0);
}

/** Replaces print() by a function that keeps the images and style sheets to be printed, in globalThis.printed. */
export function keepPrinted() {
  globalThis.print = () => {
    const images = [...document.querySelectorAll("#print img")].map((image) => {
      const canvas = Object.assign(document.createElement("canvas"), { width: image.naturalWidth, height: image.naturalHeight });
      canvas.getContext("2d").drawImage(image, 0, 0);
      return canvas.toDataURL();
    });
    globalThis.printed = { images, sheets: [...document.adoptedStyleSheets] };
  };
}

/** Runs in the page; returns the number of dark pixels that the field has on its printed page. */
export async function inkOf(name) {
  const input = document.querySelector(`[data-name=${JSON.stringify(name)}]`);
  const sheet = input.closest(".page");
  const image = Object.assign(new Image(), { src: globalThis.printed.images[[...document.querySelectorAll(".page")].indexOf(sheet)] });
  await image.decode();
  const canvas = Object.assign(document.createElement("canvas"), { width: image.width, height: image.height });
  const pen = canvas.getContext("2d");
  pen.drawImage(image, 0, 0);
  const [whole, at] = [sheet.getBoundingClientRect(), input.getBoundingClientRect()];
  const scale = image.width / whole.width;
  const { data } = pen.getImageData((at.x - whole.x) * scale, (at.y - whole.y) * scale, at.width * scale, at.height * scale);
  return data.filter((value, i) => i % 4 === 0 && value < 100).length;
}
