# SPDX-License-Identifier: GPL-3.0-or-later
"""Which elements of a model are which of a truth: walls, rooms, openings, slabs and roof slopes.

Each function returns a Match. What the truth holds but nobody can ask for (a wall of which one side was
seen, a room without a station) is neither missed when it is absent nor false when it is there.
"""
import dataclasses
import math

import numpy as np

from plan import Grid, area_of, overlap, plan_overlap, share

SEEN = 0.2  # share of a face from which on it counts as seen
LEAST_AREA = 4.0  # of slabs and slopes that are judged
LEVEL = 0.02  # heights that agree
FLAT = 0.9995  # z of a normal from which on a slab is level


@dataclasses.dataclass
class Match:
    asked: int = 0  # elements of the truth that a scan can show
    found: int = 0  # of those, the ones that the model has
    given: int = 0  # elements of the model
    right: int = 0  # of those, the ones that the truth has
    missed: list = dataclasses.field(default_factory=list)  # sentences
    false: list = dataclasses.field(default_factory=list)
    errors: dict = dataclasses.field(default_factory=dict)  # what is off by how much, a list each

    def ask(self, found, sentence):
        self.asked += 1
        self.found += bool(found)
        if not found:
            self.missed.append(sentence)

    def give(self, right, sentence):
        self.given += 1
        self.right += bool(right)
        if not right:
            self.false.append(sentence)


def place(point):
    return "(" + ", ".join(f"{value:.2f}" for value in point) + ")"


class Line:
    """A wall's axis: along it, and to the left of it."""

    def __init__(self, axis):
        self.start, end = np.array(axis[0], float), np.array(axis[1], float)
        self.length = float(np.linalg.norm(end - self.start))
        self.way = (end - self.start) / self.length if self.length else np.array([1.0, 0])
        self.left = np.array([-self.way[1], self.way[0]])
        self.ends = [self.start, end]

    def along(self, point):
        return float((np.array(point, float) - self.start) @ self.way)

    def across(self, point):
        return float((np.array(point, float) - self.start) @ self.left)

    def moved(self, left):
        return [list(end + left * self.left) for end in self.ends]


def judged_walls(truth):
    return [wall for wall in truth["walls"] if "axis" in wall and not wall.get("irregular")]


def bodies_of(truth):
    """(wall, axis, thickness): each wall alone, and again as the body of all walls that touch it side to
    side, which is all that a scan can see."""
    by_id = {wall["id"]: wall for wall in truth["walls"]}
    for wall in judged_walls(truth):
        yield wall, wall["axis"], wall["thickness"]
        touching, todo = set(), [wall["id"]]
        while todo:
            number = todo.pop()
            if number not in touching:
                touching.add(number)
                todo += by_id[number].get("layers", [])
        if len(touching) < 2:
            continue
        line, sides = Line(wall["axis"]), []
        for number in touching:
            middle = line.across(by_id[number]["axis"][0])
            sides += [middle - by_id[number]["thickness"] / 2, middle + by_id[number]["thickness"] / 2]
        yield wall, line.moved((min(sides) + max(sides)) / 2), max(sides) - min(sides)


def covered(stretches):
    """Length of stretches together."""
    total, end = 0.0, -math.inf
    for low, high in sorted(stretches):
        total += max(0.0, high - max(low, end))
        end = max(end, high)
    return total


def stretch_on(line, base, top, axis, wall, offset):
    """From where to where on a true axis a found wall runs; None where it is another wall."""
    found = Line(axis)
    if abs(line.way @ found.way) < math.cos(math.radians(2)):
        return None
    if min(wall["top"], top) - max(wall["base"], base) < 0.3 * (top - base):
        return None
    if max(abs(line.across(end)) for end in found.ends) > offset:
        return None
    at = sorted(line.along(end) for end in found.ends)
    low, high = max(0.0, at[0]), min(line.length, at[1])
    return (low, high) if high > low else None


def text_of(wall, what):
    return (f"{what} {place(wall['axis'][0])} to {place(wall['axis'][1])}, z {wall['base']:.2f} to "
            f"{wall['top']:.2f}")


def match_walls(truth, model, offset=0.05):
    match, walls = Match(errors={"thickness": []}), model.get("walls", [])
    best, error, touched, on_truth = {}, {}, set(), [[] for _ in walls]
    for true, axis, thickness in bodies_of(truth):
        line, stretches = Line(axis), []
        for i, wall in enumerate(walls):
            at = stretch_on(line, true["base"], true["top"], wall["axis"], wall, offset)
            if at is None:
                continue
            stretches.append((*at, i))
            touched.add(i)
            own = Line(wall["axis"])
            on_truth[i].append(sorted(own.along(line.start + x * line.way) for x in at))
        part = share(covered([at[:2] for at in stretches]), line.length)
        best[true["id"]] = max(part, best.get(true["id"], 0))
        if part >= 0.8:
            off = float(np.mean([abs(walls[i]["thickness"] - thickness) for _, _, i in stretches]))
            error[true["id"]] = min(off, error.get(true["id"], math.inf))
    for true in judged_walls(truth):
        if true.get("both"):
            match.ask(best[true["id"]] >= 0.8, text_of(true, f"wall {true['name']}")
                      + f", {true['thickness']:.3f} m thick: {100 * best[true['id']]:.0f} % of it found")
    for i, wall in enumerate(walls):
        part = share(covered(on_truth[i]), Line(wall["axis"]).length)
        match.give(part >= 0.8, text_of(wall, f"wall {wall['number']}")
                   + f", {wall['thickness']:.3f} m thick: {100 * part:.0f} % of it true")
    match.errors["thickness"] = list(error.values())
    match.touched = len(touched)  # on a true wall with any part
    return match


def match_faces(truth, model):
    """Walls of which the scan saw one side: their face, or the wall that somebody made of it."""
    match = Match()
    given = model.get("faces", []) + model.get("walls", [])
    for true in judged_walls(truth):
        seen = [side["seen"] >= SEEN for side in true["sides"]]
        if sum(seen) != 1:
            continue
        line, stretches = Line(true["axis"]), []
        half = true["thickness"] / 2
        for wall in given:
            at = stretch_on(line, true["base"], true["top"], wall["axis"], wall, half + 0.05)
            if at is not None:
                stretches.append(at)
        part = share(covered(stretches), line.length)
        match.ask(part >= 0.8, text_of(true, f"one side of wall {true['name']}")
                  + f": {100 * part:.0f} % of it found")
    return match


def match_rooms(truth, model):
    match = Match(errors={"area": [], "height": [], "volume": []})
    rooms, used = model.get("rooms", []), {}
    for true in truth["rooms"]:
        ious = [(plan_overlap(true["polygon"], room["polygon"]), i) for i, room in enumerate(rooms)
                if abs(room["floor"] - true["floor"]) < 0.5]
        iou, i = max(ious, default=(0.0, -1))
        if iou >= 0.9:
            used[i] = true
        if true["stations"] > 0:
            match.ask(iou >= 0.9, f"room {true['name']} {true['longName']}, {true['area']:.2f} m2 at "
                      f"{place(np.mean(true['polygon'][0], 0))}, floor {true['floor']:.2f}: "
                      f"best overlap {iou:.2f}")
    for i, room in enumerate(rooms):
        match.give(i in used, f"{room.get('name', 'room')}, {area_of(room['polygon']):.2f} m2 at "
                   f"{place(np.mean(room['polygon'][0], 0))}, floor {room['floor']:.2f}")
        true = used.get(i)
        if true is None:
            continue
        match.errors["area"].append(abs(area_of(room["polygon"]) / area_of(true["polygon"]) - 1))
        match.errors["height"].append(abs(room["ceiling"] - room["floor"] - true["height"]))
        if isinstance(room.get("volume"), dict) and true["volume"]:
            match.errors["volume"].append(abs(room["volume"]["value"] / true["volume"] - 1))
    return match


def rectangle_overlap(true, found, across):
    """Of two rectangles in one wall's plane; 0 where the found one is in another."""
    way = np.array(true["direction"], float)
    if abs(way @ np.array(found["direction"], float)) < 0.99:
        return 0.0
    off = np.array(found["centre"], float) - true["centre"]
    if abs(off[1] * way[0] - off[0] * way[1]) > across:
        return 0.0

    def common(at, one, other):
        return min(one / 2, at + other / 2) - max(-one / 2, at - other / 2)

    x = common(off[:2] @ way, true["width"], found["width"])
    z = common(off[2], true["height"], found["height"])
    if x <= 0 or z <= 0:
        return 0.0
    return x * z / (true["width"] * true["height"] + found["width"] * found["height"] - x * z)


def opening_text(opening, what):
    return (f"{what} {opening['width']:.2f} x {opening['height']:.2f} m at {place(opening['centre'])}, "
            f"state {opening.get('state')}")


def match_openings(truth, model):
    """Doors and windows by their kind; `all` as one, with holes, beside them."""
    hosts, openings = {wall["id"]: wall for wall in judged_walls(truth)}, model.get("openings", [])
    matches = {kind: Match(errors={"width": [], "height": []}) for kind in ("door", "window", "all")}
    used = {}
    for true in truth["openings"]:
        host = hosts.get(true["host"])
        asked = bool(host and host["both"] and true["kind"] in ("door", "window"))
        across = (host or {}).get("thickness", 0.3) + 0.1
        ious = [(rectangle_overlap(true, opening, across), i) for i, opening in enumerate(openings)
                if not asked or opening["kind"] == true["kind"]]
        iou, i = max(ious, default=(0.0, -1))
        if iou >= 0.7:
            used[i] = true
        if asked:
            text = opening_text(true, true["kind"]) + f": best overlap {iou:.2f}"
            matches[true["kind"]].ask(iou >= 0.7, text)
            matches["all"].ask(iou >= 0.7, text)
    for i, opening in enumerate(openings):
        text = opening_text(opening, f"{opening['kind']} {opening['number']}")
        matches["all"].give(i in used, text)
        if opening["kind"] in ("door", "window"):
            match = matches[opening["kind"]]
            match.give(i in used, text)
            if i in used:
                for size in ("width", "height"):
                    match.errors[size].append(abs(opening[size] - used[i][size]))
    return matches


def value_of(measure):
    """A measure, a number or nothing."""
    return measure["value"] if isinstance(measure, dict) else measure


def level_faces(truth):
    """('top' or 'bottom', height, rings, asked, name) of every level face: of slabs and ceilings, and of
    rooms, whose floors and ceilings a model may give though no slab of the truth has them."""
    for slab in truth["slabs"]:
        if slab["normal"][2] < FLAT or not slab["polygon"]:
            continue
        large = area_of(slab["polygon"]) >= LEAST_AREA
        for face, height in (("top", slab["top"]), ("bottom", slab["top"] - slab["thickness"])):
            seen = slab["seenTop" if face == "top" else "seenBottom"]
            yield face, height, slab["polygon"], large and seen >= SEEN, slab["name"]
    for room in truth["rooms"]:
        yield "top", room["floor"], room["polygon"], False, room["name"]
        if abs(room["area"] * room["height"] - room["volume"]) < 0.02 * max(room["volume"], 1):
            yield "bottom", room["ceiling"], room["polygon"], False, room["name"]


def wall_rings(truth):
    for wall in judged_walls(truth):
        line, half = Line(wall["axis"]), wall["thickness"] / 2
        a, b = line.moved(half), line.moved(-half)
        yield [a[0], a[1], b[1], b[0]]


def match_slabs(truth, model):
    """Level faces, by height and plan. A model may make one slab of a storey or one of each room, so a
    true face is found where slabs that are right cover three quarters of it, or where those that lie
    in it are it; a slab is right where, at each of its heights, the true faces within it are it. What
    lies under walls counts for neither."""
    match = Match(errors={"height": []})
    slabs = [slab for slab in model.get("slabs", []) if sum(map(area_of, slab["regions"])) >= LEAST_AREA]
    faces = list(level_faces(truth))
    rings = [ring for *_, polygon, _, _ in faces for ring in polygon]
    rings += [ring for slab in slabs for region in slab["regions"] for ring in region]
    if not rings:
        return match
    grid = Grid(rings, 0.04)
    walls = grid.none()
    for ring in wall_rings(truth):
        walls |= grid.fill([ring])
    true = [grid.fill(polygon) & ~walls for _, _, polygon, _, _ in faces]
    plans = [[grid.fill(region) & ~walls for region in slab["regions"]] for slab in slabs]
    whole = [np.logical_or.reduce(plan) if plan else grid.none() for plan in plans]

    def mostly_in(inner, outer):
        return share(int((inner & outer).sum()), int(inner.sum())) >= 0.5

    right = []
    for slab, plan in zip(slabs, whole):
        agrees = {}
        for face in ("top", "bottom"):
            height = value_of(slab.get(face))
            if height is None:
                continue
            union = grid.none()
            for (kind, level, *_), pixels in zip(faces, true):
                if kind == face and abs(level - height) <= LEVEL and mostly_in(pixels, plan):
                    union |= pixels
            agrees[face] = overlap(union, plan)
        right.append({face for face, iou in agrees.items() if iou >= 0.75})
        at = np.argwhere(plan)
        middle = at.mean(0) * grid.cell + [grid.x[0, 0], grid.y[0, 0]] if len(at) else [0, 0]
        heights = ", ".join(f"{face} {value_of(slab[face]):.3f} (overlap {iou:.2f})"
                            for face, iou in agrees.items())
        match.give(agrees and len(right[-1]) == len(agrees),
                   f"slab {slab['number']}, {grid.area(plan):.1f} m2 about {place(middle)}: {heights}")
    for (face, level, _, asked, name), pixels in zip(faces, true):
        if not asked:
            continue
        cover, own, off = grid.none(), grid.none(), []
        for slab, plan, parts, good in zip(slabs, whole, plans, right):
            height = value_of(slab.get(face))
            if height is None or abs(height - level) > LEVEL:
                continue
            if face in good:
                cover |= plan
            if (plan & pixels).any():
                off.append(abs(height - level))
            for part in parts:
                if mostly_in(part, pixels):
                    own |= part
        part = share(int((cover & pixels).sum()), int(pixels.sum()))
        found = part >= 0.75 or overlap(own, pixels) >= 0.75
        if found and off:
            match.errors["height"].append(min(off))
        match.ask(found, f"{face} of slab {name} at z {level:.3f}, {grid.area(pixels):.1f} m2: "
                  f"{100 * part:.0f} % of it found")
    return match


def slope_faces(truth):
    """(unit normal up, offset, rings, share seen, name) of the faces of roof slopes that were seen."""
    for slab in truth["slabs"]:
        normal = np.array(slab["normal"], float)
        if not 0.3 < normal[2] < FLAT or area_of(slab["polygon"]) / normal[2] < LEAST_AREA:
            continue
        for seen, offset in ((slab["seenTop"], slab["top"]), (slab["seenBottom"], slab["top"] - slab["thickness"])):
            yield normal, offset, slab["polygon"], seen, slab["name"]


def match_slopes(truth, model):
    """A slope is a true one's where its plane is within 2 cm and 1 degree of one of its faces, and its
    plan is three quarters of it: of all of it, or of as much of it as was seen."""
    match = Match(errors={"plane": [], "turn": []})
    slopes = [slope for slope in model.get("slopes", []) if slope["area"] >= LEAST_AREA]
    right, found_of = set(), {}
    for normal, offset, rings, seen, name in slope_faces(truth):
        best = 0.0
        for i, slope in enumerate(slopes):
            own = np.array(slope["equation"][:3], float)
            turn = math.degrees(math.atan2(float(np.linalg.norm(np.cross(own, normal))), float(own @ normal)))
            outline = np.array(slope["outline"], float)
            off = abs(float(np.mean(outline @ normal)) - offset)
            if turn > 1 or off > LEVEL:
                continue
            plan = [[list(point[:2]) for point in slope["outline"]]]
            iou = plan_overlap(rings, plan)
            inside = iou * (area_of(rings) + area_of(plan)) / (1 + iou) / area_of(plan)
            of_seen = inside * area_of(plan) / (seen * area_of(rings)) if seen >= SEEN else 0
            if iou >= 0.75 or (inside >= 0.9 and of_seen >= 0.75):
                right.add(i)
                match.errors["plane"].append(off)
                match.errors["turn"].append(turn)
                iou = max(iou, 0.75)
            best = max(best, iou)
        known = found_of.setdefault(name, [False, 0.0])
        known[0] |= seen >= SEEN
        known[1] = max(known[1], best)
    for name, (asked, best) in found_of.items():
        if asked:
            match.ask(best >= 0.75, f"slope {name}: best overlap {best:.2f}")
    for i, slope in enumerate(slopes):
        match.give(i in right, f"slope {slope.get('number', i + 1)}, {slope['area']:.1f} m2 about "
                   f"{place(np.mean(np.array(slope['outline'], float), 0))}")
    return match
