// SPDX-License-Identifier: GPL-3.0-or-later
// Elements in one call. Text is always text: names out of a project are never read as HTML.

type Child = Node | string | null | undefined | false;
type Attributes = Record<string, string | number | boolean | ((event: Event) => void) | undefined>;

function fill(made: Element, attributes: Attributes, children: readonly Child[]): void {
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === false) continue;
    if (typeof value === "function") made.addEventListener(name, value);
    else made.setAttribute(name, value === true ? "" : String(value));
  }
  for (const child of children) if (child) made.append(child);
}

/** `element("button", { class: "flat", click: save }, "Save")`: functions are listeners. */
export function element<Name extends keyof HTMLElementTagNameMap>(
  name: Name,
  attributes: Attributes = {},
  ...children: readonly Child[]
): HTMLElementTagNameMap[Name] {
  const made = document.createElement(name);
  fill(made, attributes, children);
  return made;
}

export function svg<Name extends keyof SVGElementTagNameMap>(
  name: Name,
  attributes: Attributes = {},
  ...children: readonly Child[]
): SVGElementTagNameMap[Name] {
  const made = document.createElementNS("http://www.w3.org/2000/svg", name);
  fill(made, attributes, children);
  return made;
}

/** Shows or hides without taking part in the layout. */
export function show(shown: boolean, ...elements: readonly HTMLElement[]): void {
  for (const each of elements) each.hidden = !shown;
}

/** Hands a file to the browser to save. */
export function save(file: Blob, name: string): void {
  const address = URL.createObjectURL(file);
  const link = element("a", { href: address, download: name });
  link.click();
  // The browser reads the address after this turn of the loop.
  setTimeout(() => URL.revokeObjectURL(address), 10_000);
}
