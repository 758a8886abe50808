// SPDX-License-Identifier: GPL-3.0-or-later
// What cannot be shown is said in a sentence, on the page.
import assert from "node:assert/strict";
import { readdirSync, statSync, truncateSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { openBrowser, openPage, orvix, projectOf, scratch, serve, settled } from "./desk.mjs";

let browser;
before(async () => {
  browser = await openBrowser();
});
after(() => browser?.close());

async function withProject(project, use) {
  const server = await serve(project);
  const page = await openPage(browser, server.address, {
    width: 900,
    height: 600,
  });
  try {
    await use(page, server);
  } finally {
    await page.context().close();
    await server.stop();
  }
}

const sentences = (page) =>
  page.evaluate(() =>
    [...document.querySelectorAll("#notice:not([hidden]), .notices .card span")].map(
      (each) => each.textContent,
    ),
  );

/** Waits for a sentence that matches. */
const waitFor = (page, pattern) =>
  page.waitForFunction(
    (source) =>
      [...document.querySelectorAll("#notice:not([hidden]), .notices .card span")].some((each) =>
        new RegExp(source, "i").test(each.textContent),
      ),
    pattern,
    { timeout: 20_000 },
  );

/** No import makes one, but a host may: a project whose files of points and cells are empty. */
function emptyProject() {
  const project = projectOf("empty", ["1 2 3"]);
  const folder = project.replace(/\.prj$/, "_Project_Files");
  for (const name of readdirSync(folder, { recursive: true }).map(String))
    if (/\.(idx|pts|coordpts|datapts|lv|dtv)$/.test(name)) truncateSync(join(folder, name), 0);
  return project;
}

test("a project without points says so", () =>
  withProject(emptyProject(), async (page) => {
    await waitFor(page, "no points");
    assert.deepEqual(page.troubles, []);
  }));

test("one point is shown, and can be read", () =>
  withProject(projectOf("one", ["1 2 3"]), async (page) => {
    await settled(page, 1);
    await page.getByRole("button", { name: "Read a point" }).click();
    const { x, y } = await page.evaluate(() => {
      const at = window.orvix.viewer.project2d([1, 2, 3]);
      const edge = window.orvix.viewer.canvas.getBoundingClientRect();
      return { x: at.x + edge.left, y: at.y + edge.top };
    });
    await page.mouse.click(x, y);
    await page.locator(".tool-card dt", { hasText: "East" }).waitFor();
    assert.match(await page.locator(".tool-card dl").textContent(), /1\.000.*2\.000.*3\.000/);
    assert.deepEqual(page.troubles, []);
  }));

test("a cloud without colours offers none", () =>
  withProject(projectOf("grey", ["0 0 0", "1 0 0", "0 1 1", "1 1 2"]), async (page) => {
    await settled(page, 4);
    const disabled = await page
      .locator(".bar select[aria-label='Points show'] option:disabled")
      .allTextContents();
    assert.ok(disabled.includes("Colour") && disabled.includes("Intensity"), disabled.join());
    assert.notEqual(await page.evaluate(() => window.orvix.viewer.state.get().colour), "rgb");
  }));

test("a plane where there is none ends in a sentence", () =>
  withProject(projectOf("few", ["0 0 0", "9 0 0", "0 9 9"]), async (page) => {
    await settled(page, 3);
    await page.evaluate(() => window.orvix.planes.grow([0, 0, 0]));
    await waitFor(page, "[a-z]{3,} .*[a-z]{2,}");
    const [said] = await sentences(page);
    assert.match(said, /^[A-Z a-z].*\w/);
  }));

function pointFile(project) {
  const folder = project.replace(/\.prj$/, "_Project_Files");
  const found = readdirSync(folder, { recursive: true }).find((name) =>
    String(name).endsWith("Grid.pts"),
  );
  return join(folder, String(found));
}

test("a damaged point file is said to be damaged, and what can be shown is shown", async () => {
  const lines = Array.from(
    { length: 4000 },
    (_, i) => `${i % 60} ${Math.floor(i / 60)} ${(i * 7) % 5}`,
  );
  const project = projectOf("damaged", lines);
  const server = await serve(project);
  const file = pointFile(project);
  truncateSync(file, Math.floor(statSync(file).size / 2));
  const page = await openPage(browser, server.address, {
    width: 900,
    height: 600,
  });
  await waitFor(page, "damaged|cut short|does not|shorter|check");
  await page.context().close();
  await server.stop();
});

test("a program that vanished is said to be gone", () =>
  withProject(projectOf("gone", ["0 0 0", "1 1 1", "2 0 1"]), async (page, server) => {
    await settled(page, 3);
    await server.stop("SIGKILL");
    await waitFor(page, "does not answer|has ended|gone|start it again");
  }));
