// SPDX-License-Identifier: GPL-3.0-or-later
// The settings of a search as fields, made from what the server says of them. Only what a person
// changed is sent: the search has the project's own value for all others.

import type { SettingInfo, SettingValues } from "../api/protocol";
import { button, numberField, select } from "../ui/controls";
import { element } from "../ui/dom";

export function settingFields(
  settings: readonly SettingInfo[],
  values: SettingValues,
  change: (values: SettingValues) => void,
): HTMLElement {
  const holder = element("div", { class: "settings" });
  let changed: Record<string, number | string> = { ...values };
  const put = (info: SettingInfo, value: number | string | null) => {
    if (value === null || value === info.value) delete changed[info.name];
    else changed[info.name] = value;
    change({ ...changed });
  };
  const fill = () => {
    const rows = settings.map((info) => {
      const value = changed[info.name] ?? info.value;
      const row = info.choices
        ? select(info.caption, info.choices, value ?? info.choices[0]!.value, (v) => put(info, v))
            .row
        : numberField({
            caption: info.caption,
            unit: info.unit,
            min: info.min,
            max: info.max,
            value: typeof value === "number" ? value : null,
            change: (v) => put(info, v),
          }).row;
      row.title = info.meaning;
      return row;
    });
    const reset = button("Project's own", () => {
      changed = {};
      change({});
      fill();
    });
    holder.replaceChildren(...rows, element("div", { class: "actions" }, reset));
  };
  fill();
  return holder;
}
