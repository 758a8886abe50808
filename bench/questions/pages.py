# SPDX-License-Identifier: GPL-3.0-or-later
"""Tables of figures, and the places of a page that they belong to.

A place is what lies between a line `<!-- figures: NAME -->` and the next `<!-- end -->`. Everything
outside of such places is written by hand and stays, byte by byte.
"""
import re

PLACE = re.compile(r"^<!-- figures: ([\w-]+) -->\n(.*?)^<!-- end -->$", re.MULTILINE | re.DOTALL)


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "".join("| " + " | ".join(str(cell) for cell in line) + " |\n" for line in lines)


def number(value):
    """Three digits that count, without an exponent."""
    if value == 0:
        return "0"
    if abs(value) >= 1000:
        return f"{value:,.0f}"
    return f"{value:.2f}" if 1 <= abs(value) < 10 else f"{value:.3g}"


def shown(figure):
    unit = figure["unit"]
    return number(figure["value"]) + (f" {unit}" if unit else "")


def seconds(value):
    return f"{value * 1e3:.3g} ms" if value < 1 else f"{value:.3g} s"


def aim(figure):
    return f"{figure['aim_kind']} {figure['aim']:.3g}" if "aim" in figure else ""


def command(question):
    return "`" + question["command"] + "`"


def against(question, figure):
    return figure.get("against", question["against"])


def aims(store):
    """Every figure that has an aim."""
    rows = []
    for name, question in store["questions"].items():
        for each in question["figures"]:
            if "aim" in each:
                value = shown(each) if each["met"] else f"**{shown(each)}**, missed"
                rows.append([f"{name}: {each['what']}", against(question, each), value, aim(each),
                             command(question)])
    return table(["work", "rival or ceiling", "today", "aim", "command"], rows)


def matrix(figures):
    """Of figures that name their row and column."""
    columns = list(dict.fromkeys(each["column"] for each in figures))
    rows = {}
    for each in figures:
        rows.setdefault(each["row"], {})[each["column"]] = number(each["value"])
    return table(["", *columns], [[row, *(cells.get(column, "") for column in columns)]
                                  for row, cells in rows.items()])


def question(store, name):
    """Every figure of one question."""
    asked = store["questions"][name]
    if asked["figures"] and all("column" in each for each in asked["figures"]):
        return f"{matrix(asked['figures'])}\n{command(asked)}, measured {asked['measured']}.\n"
    rows = [[each["what"],
             seconds(each["ceiling_seconds"]) if "ceiling_seconds" in each else "",
             seconds(each["seconds"]) if "seconds" in each else "", shown(each), aim(each)]
            for each in asked["figures"]]
    text = table(["what", asked["against"], "here", "figure", "aim"], rows)
    return f"{text}\n{command(asked)}, measured {asked['measured']}.\n"


def machine(store):
    it = store["machine"]
    return (f"Machine: {it['cores']} cores, {it['processor']}, {it['last_cache']} of last cache, "
            f"{it['memory_gib']} GiB memory; {it['system']}, {it['compiler']}, preset `release`.\n")


def place(store, name):
    """What belongs to a place; nothing where it was never measured."""
    if name == "aims":
        return aims(store)
    if name == "machine":
        return machine(store)
    return question(store, name) if name in store["questions"] else ""


def places(page):
    return [match.group(1) for match in PLACE.finditer(page)]


def written(page, store):
    """The page with its places filled. A place without figures stays as it is."""
    def fill(match):
        text = place(store, match.group(1))
        return f"<!-- figures: {match.group(1)} -->\n{text}<!-- end -->" if text else match.group(0)
    return PLACE.sub(fill, page)
