// SPDX-License-Identifier: GPL-3.0-or-later
// What tests of the page share: the command that serves a project, a browser without a screen whose
// renderer is software and the same everywhere, and comparing pictures.
import { spawn, spawnSync } from "node:child_process";
import { createRequire } from "node:module";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";

const setting = (name) => {
  if (!process.env[name]) throw new Error(`${name} is not set`);
  return process.env[name];
};
export const command = setting("ORVIX_COMMAND");
export const scratch = setting("ORVIX_SCRATCH");
const browserPath = setting("ORVIX_BROWSER");
// playwright-core is among the packages that the page is built with.
const { chromium } = createRequire(join(setting("ORVIX_PAGE_BUILD"), "node_modules", "x.js"))(
  "playwright-core",
);

/** Runs the command; what it says with --json. */
export function orvix(...words) {
  const ended = spawnSync(command, [...words, "--json"], {
    cwd: scratch,
    encoding: "utf8",
    maxBuffer: 1 << 28,
  });
  if (ended.status !== 0)
    throw new Error(`orvix ${words.join(" ")}: ${ended.stdout}${ended.stderr}`);
  return JSON.parse(ended.stdout);
}

/** A project of a PLY file of points as text: "x y z" or "x y z r g b" a line. */
export function projectOf(name, lines, colours = false) {
  const properties = ["float x", "float y", "float z"];
  if (colours) properties.push("uchar red", "uchar green", "uchar blue");
  const head = ["ply", "format ascii 1.0", `element vertex ${lines.length}`];
  const text = [
    ...head,
    ...properties.map((each) => `property ${each}`),
    "end_header",
    ...lines,
    "",
  ];
  writeFileSync(join(scratch, `${name}.ply`), text.join("\n"));
  orvix("import", "--overwrite", `${name}.ply`, `${name}.prj`);
  return join(scratch, `${name}.prj`);
}

/** Serves a project until `stop`; `address` is the page's. */
export async function serve(project) {
  const program = spawn(command, ["view", project, "--no-open", "--json"], {
    stdio: ["ignore", "pipe", "pipe"],
  });
  let said = "";
  const ended = new Promise((resolve) => program.once("exit", resolve));
  const address = await new Promise((resolve, reject) => {
    program.stderr.on("data", (data) => (said += data));
    program.stdout.on("data", (data) => {
      said += data;
      const found = /http:[^"\s]+/.exec(said);
      if (found) resolve(found[0]);
    });
    program.once("exit", (code) => reject(new Error(`orvix view ended with ${code}: ${said}`)));
  });
  return {
    address,
    process: program.pid,
    said: () => said,
    /** As Ctrl-C; "SIGKILL" is a program that vanishes. */
    async stop(signal = "SIGINT") {
      program.kill(signal);
      return ended;
    },
  };
}

export const openBrowser = () =>
  chromium.launch({
    executablePath: browserPath,
    // SwiftShader draws on the processor: the same picture on every machine.
    args: [
      "--no-sandbox",
      "--use-gl=angle",
      "--use-angle=swiftshader",
      "--enable-unsafe-swiftshader",
    ],
  });

/** A page of the viewer. Errors of its own and requests that leave the server are kept. */
export async function openPage(browser, address, { width = 1280, height = 800, ...options } = {}) {
  const context = await browser.newContext({
    colorScheme: "dark",
    viewport: { width, height },
    ...options,
  });
  const page = await context.newPage();
  page.troubles = [];
  page.on("pageerror", (error) => page.troubles.push(`error: ${error.message}`));
  page.on("console", (message) => {
    if (message.type() === "error") page.troubles.push(`console: ${message.text()}`);
  });
  page.on("request", (request) => {
    const url = request.url();
    if (!url.startsWith(address) && !/^(blob|data):/.test(url))
      page.troubles.push(`asked for ${url}`);
  });
  await page.goto(address);
  return page;
}

/** Waits until the view shows all it wants to show, with at least so many points. */
export async function settled(page, points = 1) {
  await page.waitForFunction(
    () => window.orvix || !document.getElementById("notice").hidden,
    undefined,
    { timeout: 20_000 },
  );
  const notice = await page.locator("#notice").textContent();
  if (notice) throw new Error(`the page says: ${notice}`);
  // A busy machine draws slowly, and would be shown fewer points.
  await page.evaluate(() => window.orvix.viewer.state.set({ adaptive: false }));
  await page.evaluate(() => window.orvix.viewer.settled());
  await page.waitForFunction((least) => window.orvix.viewer.figures.drawn >= least, points, {
    timeout: 20_000,
  });
  await page.evaluate(() => window.orvix.viewer.settled());
}

/** The view's middle as a PNG of 160 x 100: small enough to keep beside the tests. */
export async function smallPicture(page) {
  const shot = await page.locator("#canvas").screenshot();
  return page.evaluate(async (data) => {
    const bytes = Uint8Array.from(atob(data), (c) => c.charCodeAt(0));
    const [width, height] = [160, 100];
    const image = await createImageBitmap(new Blob([bytes], { type: "image/png" }), {
      resizeWidth: width,
      resizeHeight: height,
      resizeQuality: "high",
    });
    const canvas = new OffscreenCanvas(width, height);
    canvas.getContext("2d").drawImage(image, 0, 0);
    const file = new Uint8Array(await (await canvas.convertToBlob()).arrayBuffer());
    return btoa(Array.from(file, (byte) => String.fromCharCode(byte)).join(""));
  }, shot.toString("base64"));
}

/** How two pictures differ: the mean of all channels (0 to 255), and the share of pixels far off. */
export const difference = (page, first, second) =>
  page.evaluate(
    async (pictures) => {
      const pixels = pictures.map(async (data) => {
        const bytes = Uint8Array.from(atob(data), (c) => c.charCodeAt(0));
        const image = await createImageBitmap(new Blob([bytes], { type: "image/png" }));
        const context = new OffscreenCanvas(image.width, image.height).getContext("2d");
        context.drawImage(image, 0, 0);
        return context.getImageData(0, 0, image.width, image.height).data;
      });
      const [a, b] = await Promise.all(pixels);
      let sum = 0;
      let far = 0;
      for (let i = 0; i < a.length; i += 4) {
        const off = [0, 1, 2].map((channel) => Math.abs(a[i + channel] - b[i + channel]));
        sum += off[0] + off[1] + off[2];
        if (Math.max(...off) > 48) ++far;
      }
      return { mean: sum / (0.75 * a.length), far: far / (a.length / 4) };
    },
    [first, second],
  );

/**
 * The view against the picture that is kept under this name. Browsers of other versions shade a little
 * otherwise: a mean of 6 and 3 % of pixels far off are allowed, where a hole, a wrong colour or a turned
 * camera makes ten times that. ORVIX_NEW_PICTURES=1 keeps the present one instead: look at it.
 */
export async function expectPicture(page, name) {
  const file = join(
    import.meta.dirname ?? new URL(".", import.meta.url).pathname,
    "pictures",
    `${name}.png`,
  );
  const now = await smallPicture(page);
  if (process.env.ORVIX_NEW_PICTURES) {
    mkdirSync(join(file, ".."), { recursive: true });
    writeFileSync(file, Buffer.from(now, "base64"));
    return;
  }
  if (!existsSync(file)) throw new Error(`there is no picture ${file}`);
  const { mean, far } = await difference(page, now, readFileSync(file).toString("base64"));
  if (mean <= 6 && far <= 0.03) return;
  const seen = join(scratch, `${name}.png`);
  writeFileSync(seen, Buffer.from(now, "base64"));
  throw new Error(
    `${seen} differs from ${file}: mean ${mean.toFixed(1)}, ${(100 * far).toFixed(1)} % far off`,
  );
}
