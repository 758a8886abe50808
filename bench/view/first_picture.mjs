// SPDX-License-Identifier: GPL-3.0-or-later
// How long is it from the command to the first picture, and to a million points on screen?
//
//     build/release/bin/make_las big.las 100000000 --format 2
//     build/release/bin/orvix import big.las big.prj
//     node bench/view/first_picture.mjs build/release big.prj [RUNS]
//
// Chromium without a screen draws with SwiftShader, a renderer in software: what is measured is bound by
// it, and not by the data or a card; the budget that follows the frame rate is off, which would keep the
// picture below the million. Ceiling: the same browser's time to open the page alone, without a
// point. The page's counts are checked against the project's. Numbers are those of the median run.
import { spawn, spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join, resolve } from "node:path";

const [folder = "build/release", project, runs = "5"] = process.argv.slice(2);
if (!project) throw new Error("first_picture.mjs BUILD_FOLDER PROJECT.prj [RUNS]");
const build = resolve(folder);
const command = join(build, "bin", "orvix");
const cache = readFileSync(join(build, "CMakeCache.txt"), "utf8");
const packages = /^ORVIX_PAGE_BUILD:PATH=(.*)$/m.exec(cache)?.[1];
const { chromium } = createRequire(join(packages, "node_modules", "x.js"))("playwright-core");
const points = JSON.parse(
  spawnSync(command, ["info", project, "--json"], { encoding: "utf8" }).stdout,
).points;

/** Kilobytes of a line of a process's status. */
const memoryOf = (process, line) =>
  Number(
    new RegExp(`^${line}:\\s+(\\d+)`, "m").exec(
      readFileSync(`/proc/${process}/status`, "utf8"),
    )?.[1] ?? 0,
  );

/** Notes when pictures reach so many points; the clock is the system's, as in this program. */
function watchFigures() {
  const marks = {};
  window.marks = marks;
  const now = () => performance.timeOrigin + performance.now();
  const look = () => {
    const viewer = window.orvix?.viewer;
    if (viewer) {
      if (!marks.page) viewer.state.set({ adaptive: false });
      marks.page ??= now();
      const { drawn } = viewer.figures;
      if (drawn > 0) marks.first ??= now();
      if (drawn >= 1e6) marks.million ??= now();
    }
    requestAnimationFrame(look);
  };
  requestAnimationFrame(look);
}

async function once(browser) {
  const context = await browser.newContext({
    viewport: { width: 1280, height: 800 },
  });
  const page = await context.newPage();
  const client = await context.newCDPSession(page);
  await client.send("Network.enable");
  let bytes = 0;
  client.on("Network.dataReceived", (event) => (bytes += event.dataLength));
  await page.addInitScript(watchFigures);

  const began = performance.timeOrigin + performance.now();
  const server = spawn(command, ["view", project, "--no-open"], {
    stdio: ["ignore", "pipe", "ignore"],
  });
  const address = await new Promise((found, failed) => {
    server.stdout.once("data", (data) => found(String(data).trim()));
    server.once("exit", (code) => failed(new Error(`orvix view ended with ${code}`)));
  });
  const listening = performance.timeOrigin + performance.now();
  await page.goto(address);
  await page.waitForFunction(
    (least) => window.marks.million || window.orvix?.viewer.figures.drawn >= least,
    points,
    {
      timeout: 120_000,
    },
  );
  const marks = await page.evaluate(() => window.marks);
  const untilMillion = bytes;
  await page.evaluate(() => window.orvix.viewer.settled());
  const settled = performance.timeOrigin + performance.now();
  const { metrics } = await client.send("Performance.getMetrics").catch(() => ({ metrics: [] }));
  const shown = await page.evaluate(() => ({
    points: window.orvix.viewer.project.points,
    drawn: window.orvix.viewer.figures.drawn,
    heap: performance.memory?.usedJSHeapSize ?? 0,
  }));
  if (shown.points !== points)
    throw new Error(`the page shows ${shown.points} points of ${points}`);
  const result = {
    listening: listening - began,
    page: marks.page - began,
    first: marks.first - began,
    million: (marks.million ?? NaN) - began,
    settled: settled - began,
    untilMillion,
    bytes,
    drawn: shown.drawn,
    serverPeak: memoryOf(server.pid, "VmHWM"),
    serverOwn: memoryOf(server.pid, "RssAnon"),
    heap: shown.heap || (metrics.find((each) => each.name === "JSHeapUsedSize")?.value ?? 0),
  };
  await context.close();
  server.kill("SIGINT");
  await new Promise((ended) => server.once("exit", ended));
  return result;
}

const browser = await chromium.launch({
  executablePath: process.env.ORVIX_BROWSER ?? "/usr/bin/chromium",
  args: [
    "--no-sandbox",
    "--use-gl=angle",
    "--use-angle=swiftshader",
    "--enable-unsafe-swiftshader",
  ],
});
const results = [];
for (let run = 0; run < Number(runs); ++run) results.push(await once(browser));
const version = browser.version();
await browser.close();

const median = (key) =>
  results.map((each) => each[key]).sort((a, b) => a - b)[Math.floor(results.length / 2)];
const ms = (key) => `${Math.round(median(key)).toLocaleString("en")} ms`;
const mb = (value) => `${(value / 1e6).toFixed(1)} MB`;
console.log(
  `${points.toLocaleString("en")} points; Chromium ${version}, SwiftShader, 1280 x 800; median of ${results.length}`,
);
console.log(`from the command to its address      ${ms("listening")}`);
console.log(`to the page without a point          ${ms("page")}`);
console.log(
  `to the first picture                 ${ms("first")}  (${(median("first") / median("page")).toFixed(2)} times the page's)`,
);
console.log(`to a million points on screen        ${ms("million")}`);
console.log(
  `until nothing more is wanted         ${ms("settled")}, ${median("drawn").toLocaleString("en")} points drawn`,
);
console.log(
  `sent until the million, and in all   ${mb(median("untilMillion"))}, ${mb(median("bytes"))}`,
);
console.log(
  `server: peak with mapped pages, own  ${mb(1024 * median("serverPeak"))}, ${mb(1024 * median("serverOwn"))}`,
);
console.log(`page's own memory (JavaScript)       ${mb(median("heap"))}`);
