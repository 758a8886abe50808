// SPDX-License-Identifier: GPL-3.0-or-later
// node run.mjs [NAME ...]: runs *.test.ts beside this file, or those named, with Node's own test runner.
// Node 18 reads no TypeScript, so each is bundled first; types are checked where the page is built.
import { spawnSync } from "node:child_process";
import { mkdtempSync, readdirSync, rmSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

const here = dirname(fileURLToPath(import.meta.url));
const wanted = process.argv.slice(2);
const tests = readdirSync(here)
  .filter((name) => name.endsWith(".test.ts"))
  .filter((name) => wanted.length === 0 || wanted.some((each) => name.startsWith(each)));
if (tests.length === 0) throw new Error("no such test");
// Beside the packages, which bundles may need.
const out = mkdtempSync(join(here, "..", "test-out-"));
try {
  await build({
    entryPoints: tests.map((name) => join(here, name)),
    outdir: out,
    outExtension: { ".js": ".mjs" },
    bundle: true,
    platform: "node",
    format: "esm",
    target: "node18",
    sourcemap: "inline",
    loader: { ".css": "empty" },
    logLevel: "warning",
  });
  const bundles = tests.map((name) => join(out, name.replace(/\.ts$/, ".mjs")));
  const ended = spawnSync(process.execPath, ["--enable-source-maps", "--test", ...bundles], {
    stdio: "inherit",
  });
  process.exitCode = ended.status ?? 1;
} finally {
  rmSync(out, { recursive: true, force: true });
}
