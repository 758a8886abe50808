// SPDX-License-Identifier: GPL-3.0-or-later
// The page in a real browser, on the sample: what a person does is done by clicks and keys, and held
// against what the command says of the same project.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, beforeEach, test } from "node:test";
import {
  command,
  difference,
  expectPicture,
  openBrowser,
  openPage,
  orvix,
  scratch,
  serve,
  settled,
  smallPicture,
} from "./desk.mjs";

const sample = process.argv[2] ?? process.env.ORVIX_SAMPLE;
const seed = [3.7, -4.0, 12.9];
let browser;
let server;
let page;

before(async () => {
  orvix("import", "--overwrite", sample, "sample.prj");
  [browser, server] = await Promise.all([openBrowser(), serve(join(scratch, "sample.prj"))]);
  page = await openPage(browser, server.address);
  await settled(page, 50_000);
});

after(async () => {
  await browser?.close();
  await server?.stop();
});

// Each test begins alike, also where the one before it failed.
beforeEach(async () => {
  await page.evaluate(() => {
    const { viewer, planes, toolbox } = window.orvix;
    viewer.state.set({ section: null, slab: null, projection: "perspective", theme: "dark" });
    planes.choose();
    toolbox.take("look");
  });
});

/** Where a place is on the page. */
const onPage = (place) =>
  page.evaluate((at) => {
    const { x, y } = window.orvix.viewer.project2d(at);
    const edge = window.orvix.viewer.canvas.getBoundingClientRect();
    return { x: x + edge.left, y: y + edge.top };
  }, place);

const clickAt = async (place) => {
  const { x, y } = await onPage(place);
  await page.mouse.click(x, y);
};

/** Rows of the tool's card: {Area: "273.6 m²", ...}. */
const cardRows = () =>
  page.evaluate(() =>
    Object.fromEntries(
      [...document.querySelectorAll(".tool-card dt")].map((dt) => [
        dt.textContent,
        dt.nextElementSibling.textContent,
      ]),
    ),
  );

const cardRow = async (caption) => {
  await page
    .locator(".tool-card dt", { hasText: new RegExp(`^${caption}$`) })
    .waitFor({ timeout: 15_000 });
  return (await cardRows())[caption];
};

/** "1 234.5 m²" as a number. */
const numberOf = (text) => Number(text.replace("\u2212", "-").replace(/[^\d.+-]/g, ""));

const press = async (key) => {
  await page.evaluate(() => window.orvix.viewer.canvas.focus());
  await page.keyboard.press(key);
};

const look = async (side) => {
  await page.evaluate((from) => window.orvix.viewer.camera.look(from), side);
  await page.waitForTimeout(500);
  await settled(page);
};

test("the sample is shown whole, without a trouble, and asks nobody else", async () => {
  assert.equal(await page.title(), "sample - Orvix");
  assert.match(await page.locator(".bar").textContent(), /100\u2009000 points/);
  assert.deepEqual(page.troubles, []);
  await expectPicture(page, "home");
});

test("a drag turns the cloud, and home shows it as before", async () => {
  const before = await smallPicture(page);
  const box = await page.locator("#canvas").boundingBox();
  await page.mouse.move(box.x + 300, box.y + 300);
  await page.mouse.down();
  await page.mouse.move(box.x + 500, box.y + 340, { steps: 5 });
  await page.mouse.up();
  await settled(page);
  assert.ok((await difference(page, before, await smallPicture(page))).far > 0.1);
  await look("home");
  assert.ok((await difference(page, before, await smallPicture(page))).mean < 3);
});

test("a click reads the point under it, in world coordinates", async () => {
  await look("top");
  await press("2");
  await clickAt(seed);
  const east = numberOf(await cardRow("East"));
  const rows = await cardRows();
  assert.ok(Math.hypot(east - seed[0], numberOf(rows.North) - seed[1]) < 0.5, JSON.stringify(rows));
  assert.ok(numberOf(rows.Height) > 10, "the roof, not the floor below it");
});

test("the distance of two points is that of their coordinates", async () => {
  const places = [];
  for (const place of [
    [3, -4, 13],
    [-6, 2, 13],
  ]) {
    await press("2");
    await clickAt(place);
    await cardRow("East");
    const rows = await cardRows();
    places.push([rows.East, rows.North, rows.Height].map(numberOf));
  }
  await press("3");
  await clickAt([3, -4, 13]);
  await clickAt([-6, 2, 13]);
  const expected = Math.hypot(...places[0].map((value, axis) => value - places[1][axis]));
  assert.ok(Math.abs(numberOf(await cardRow("Distance")) - expected) < 0.002);
  const rows = await cardRows();
  assert.ok(Math.abs(numberOf(rows.Vertical) - (places[1][2] - places[0][2])) < 0.002);
  await press("Escape");
  assert.equal(await page.locator(".tool-card").isVisible(), false, "Escape ends a tool");
});

test("a click on a roof grows its plane, as large as the command's", async () => {
  await press("7");
  await clickAt(seed);
  const area = numberOf(await cardRow("Area"));
  const local = await page.evaluate(() => window.orvix.planes.store.get().grown.at(-1).seed);
  const expected = orvix("plane", "sample.prj", "--seed", local.join(","));
  assert.ok(Math.abs(area - expected.area) <= 0.06, `${area} is not ${expected.area}`);
  assert.ok(area > 200);
  assert.ok(Math.abs(numberOf((await cardRows()).rms) - 1000 * expected.rms) < 0.06);
  await expectPicture(page, "grown");
  await press("Delete");
  assert.equal(await page.evaluate(() => window.orvix.planes.all.length), 0);
});

test("all planes are found and listed, narrowed, hidden and written to a file", async () => {
  await look("home");
  await page.getByRole("tab", { name: "Planes" }).click();
  await page.getByRole("button", { name: "Find all planes" }).click();
  await page.locator(".plane-table tbody tr").first().waitFor({ timeout: 15_000 });
  const expected = orvix("planes", "sample.prj").planes;
  const listed = await page.evaluate(() =>
    window.orvix.planes.all.map(({ number, area }) => [number, area]),
  );
  assert.equal(listed.length, expected.length);
  for (const { number, area } of expected)
    assert.ok(Math.abs(new Map(listed).get(number) - area) < 1e-6 * Math.max(area, 1));
  const areas = await page.locator(".plane-table tbody td:nth-child(3)").allTextContents();
  const shown = areas.map(numberOf);
  assert.deepEqual(
    shown,
    [...shown].sort((a, b) => b - a),
    "largest first",
  );
  await settled(page);
  await expectPicture(page, "planes");

  await page.getByLabel("Kinds of planes").selectOption("walls");
  const kinds = await page.locator(".plane-table tbody td:nth-child(2)").allTextContents();
  assert.equal(kinds.length, expected.filter((plane) => plane.class === "wall").length);
  const before = await smallPicture(page);
  await page.getByRole("button", { name: "Show or hide what is listed" }).click();
  await settled(page);
  assert.ok(
    (await difference(page, before, await smallPicture(page))).far > 0.02,
    "walls are gone",
  );
  await page.getByRole("button", { name: "Show or hide what is listed" }).click();
  await page.getByLabel("Kinds of planes").selectOption("All kinds");

  await page.locator(".plane-table tbody tr").nth(0).click();
  await page
    .locator(".plane-table tbody tr")
    .nth(2)
    .click({ modifiers: ["Shift"] });
  await page.getByLabel("Format").selectOption("dxf");
  const [download] = await Promise.all([
    page.waitForEvent("download"),
    page.getByRole("button", { name: "Export" }).click(),
  ]);
  const text = readFileSync(await download.path(), "latin1");
  assert.match(download.suggestedFilename(), /\.dxf$/);
  assert.ok(text.includes("SECTION") && text.trimEnd().endsWith("EOF"));
  await press("Escape");
});

test("a click chooses the plane under it, and two clicks give the angle of two planes", async () => {
  const planes = new Map(
    orvix("planes", "sample.prj").planes.map((plane) => [plane.number, plane]),
  );
  await look("top");
  await press("1");
  const roofs = [seed, [-3, 12, 13]];
  const chosen = [];
  for (const place of roofs) {
    await clickAt(place);
    const numbers = await page.evaluate(() => [...window.orvix.viewer.state.get().chosenPlanes]);
    assert.equal(numbers.length, 1);
    assert.equal(planes.get(numbers[0]).class, "roof");
    chosen.push(planes.get(numbers[0]).equation);
    assert.equal(
      await page.locator("tr[aria-selected=true]").getAttribute("data-plane"),
      String(numbers[0]),
    );
  }
  const cosine = Math.abs(
    chosen[0].slice(0, 3).reduce((sum, value, axis) => sum + value * chosen[1][axis], 0),
  );
  await page.evaluate(() => window.orvix.planes.choose());
  await press("6");
  for (const place of roofs) await clickAt(place);
  const angle = numberOf(await cardRow("Angle"));
  assert.ok(Math.abs(angle - (Math.acos(cosine) * 180) / Math.PI) < 0.01, String(angle));
  assert.ok(angle > 40, `the roof has a ridge, not ${angle}`);
});

test("each colouring that the cloud has shows something else", async () => {
  await look("home");
  const seen = new Map();
  for (;;) {
    const colour = await page.evaluate(() => window.orvix.viewer.state.get().colour);
    if (seen.has(colour)) break;
    await settled(page);
    seen.set(colour, await smallPicture(page));
    await press("c");
  }
  assert.ok(seen.size >= 3, [...seen.keys()].join());
  const pictures = [...seen.entries()];
  for (let i = 1; i < pictures.length; ++i) {
    const { mean } = await difference(page, pictures[i][1], pictures[i - 1][1]);
    assert.ok(mean > 1, `${pictures[i][0]} looks like ${pictures[i - 1][0]}`);
  }
  assert.ok(seen.has("plane") && seen.has("height"));
  await page.evaluate(() => window.orvix.viewer.state.set({ colour: "height" }));
  await page.getByRole("tab", { name: "View" }).click();
  await page.locator(".histogram").waitFor();
  await settled(page);
  await expectPicture(page, "height");
});

test("a box cuts: nothing is picked outside of it", async () => {
  await look("top");
  const pick = (place) =>
    page.evaluate((at) => {
      const { x, y } = window.orvix.viewer.project2d(at);
      return window.orvix.viewer.pick(x, y)?.position ?? null;
    }, place);
  assert.notEqual(await pick(seed), null);
  await press("b");
  await page.getByRole("tab", { name: "Cut" }).click();
  // The box's first side goes to the middle, by the slider's upper thumb.
  const thumb = page.getByLabel("Across, to");
  await thumb.evaluate((input) => {
    input.valueAsNumber = 0;
    input.dispatchEvent(new Event("input"));
  });
  await settled(page);
  const [min, max] = await page.evaluate(() => {
    const { bounds } = window.orvix.viewer.project;
    return [bounds.min, bounds.max];
  });
  const middle = (min[0] + max[0]) / 2;
  const inside = await pick([middle - 4, seed[1], seed[2]]);
  const outside = await pick([middle + 4, seed[1], seed[2]]);
  assert.notEqual(inside, null);
  assert.equal(outside, null);
  await expectPicture(page, "cut");
  await press("b");
  assert.equal(await page.evaluate(() => window.orvix.viewer.state.get().section), null);
});

test("a plan is seen from above, without vanishing lines", async () => {
  await look("home");
  await press("l");
  await page.waitForTimeout(500);
  await settled(page);
  const { projection, slab } = await page.evaluate(() => window.orvix.viewer.state.get());
  assert.equal(projection, "orthographic");
  assert.ok(slab.high - slab.low <= 0.5 + 1e-9);
  await expectPicture(page, "plan");
  await press("l");
  assert.equal(await page.evaluate(() => window.orvix.viewer.state.get().slab), null);
});

test("the view is saved as a picture of its own size", async () => {
  const [download] = await Promise.all([page.waitForEvent("download"), press("i")]);
  assert.equal(download.suggestedFilename(), "sample.png");
  const file = readFileSync(await download.path());
  const size = await page.evaluate(() => window.orvix.viewer.size);
  // The size stands behind the signature and the head of the first part.
  assert.deepEqual([file.readUInt32BE(16), file.readUInt32BE(20)], [size.width, size.height]);
  assert.ok(file.length > 20_000, "it is not of one colour");
});

test("keys are explained on a sheet, and the page can be light", async () => {
  await press("?");
  const sheet = page.getByRole("dialog");
  await sheet.waitFor();
  assert.match(await sheet.textContent(), /Grow the plane of a wall/);
  await page.keyboard.press("Escape");
  await sheet.waitFor({ state: "hidden" });
  await look("home");
  await press("t");
  assert.equal(await page.evaluate(() => document.documentElement.dataset.theme), "light");
  await settled(page);
  await expectPicture(page, "light");
});

test("nothing is cut off or covered from 1280 to 3840 pixels, and letters grow", async () => {
  const letters = [];
  for (const [width, height] of [
    [1280, 720],
    [1920, 1080],
    [3840, 2160],
  ]) {
    await page.setViewportSize({ width, height });
    const state = await page.evaluate(() => {
      const wide = (each) => each.scrollWidth > each.clientWidth + 1;
      const cut = [...document.querySelectorAll(".bar, .bar h1, .tabs, .tab-body, .actions")]
        .filter((each) => each.offsetParent && wide(each))
        .map((each) => each.className || each.tagName);
      const canvas = document.querySelector("#canvas").getBoundingClientRect();
      const side = document.querySelector(".side").getBoundingClientRect();
      return {
        cut,
        over: canvas.right - side.left,
        letters: parseFloat(getComputedStyle(document.body).fontSize),
      };
    });
    assert.deepEqual(state.cut, []);
    assert.ok(state.over <= 1);
    letters.push(state.letters);
  }
  assert.ok(letters[2] >= 1.3 * letters[0]);
  await page.setViewportSize({ width: 1280, height: 800 });
});

test("fingers turn, pinch and tap", async () => {
  const touch = await openPage(browser, server.address, {
    width: 800,
    height: 600,
    hasTouch: true,
  });
  await settled(touch, 50_000);
  const pose = () => touch.evaluate(() => window.orvix.viewer.camera.pose);
  const client = await touch.context().newCDPSession(touch);
  const fingers = (type, ...points) =>
    client.send("Input.dispatchTouchEvent", {
      type,
      touchPoints: points.map(([x, y]) => ({ x, y })),
    });
  const first = await pose();
  await fingers("touchStart", [300, 300]);
  for (let x = 310; x <= 400; x += 10) await fingers("touchMove", [x, 300]);
  await fingers("touchEnd");
  const turned = await pose();
  assert.notEqual(turned.yaw, first.yaw);
  await fingers("touchStart", [300, 300], [400, 300]);
  for (let by = 5; by <= 60; by += 5) await fingers("touchMove", [300 - by, 300], [400 + by, 300]);
  await fingers("touchEnd");
  assert.ok((await pose()).distance < 0.8 * turned.distance, "a pinch comes nearer");
  await touch.evaluate(() => window.orvix.viewer.camera.look("top"));
  await touch.waitForTimeout(500);
  await settled(touch);
  await touch.getByRole("button", { name: "Read a point" }).tap();
  const place = await touch.evaluate((at) => {
    const { x, y } = window.orvix.viewer.project2d(at);
    const edge = window.orvix.viewer.canvas.getBoundingClientRect();
    return { x: x + edge.left, y: y + edge.top };
  }, seed);
  await touch.touchscreen.tap(place.x, place.y);
  await touch.locator(".tool-card dt", { hasText: "East" }).waitFor();
  assert.deepEqual(touch.troubles, []);
  await touch.context().close();
});

test("the page made no trouble in all this", () => {
  assert.deepEqual(page.troubles, []);
  assert.ok(command);
});
