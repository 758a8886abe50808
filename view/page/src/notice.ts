// SPDX-License-Identifier: GPL-3.0-or-later
// A sentence in the middle of the page, where there is nothing to show instead.

export function showNotice(sentence: string): void {
  const notice = document.getElementById("notice")!;
  notice.textContent = sentence;
  notice.hidden = false;
}
