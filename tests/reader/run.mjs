// Tests the page for filling in forms in a browser: run.mjs TOOL CHROMIUM PACKAGES FOLDER PICTURES [TEST...].

import * as drafts from "./drafts.mjs";
import * as forms from "./forms.mjs";
import { run } from "./harness.mjs";
import * as pages from "./pages.mjs";
import * as paper from "./paper.mjs";
import * as scripts from "./scripts.mjs";
import * as ways from "./ways.mjs";

await run([forms, drafts, pages, paper, scripts, ways].flatMap((file) => Object.values(file)));
