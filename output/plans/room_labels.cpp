// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/room_labels.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "output/plans/plan_regions.h"

namespace orvix::output {

namespace {

using building::BoundKind;
using building::Building;
using building::Room;

constexpr double kName = 2.5, kArea = 2.2, kHeight = 1.8;  // millimetres of paper, capitals
constexpr int kCells = 32;    // of a first look at a room, along each axis
constexpr int kHalvings = 6;  // of the way to better places

double DistanceToEdge(const PlanPoint& p, const PlanPoint& a, const PlanPoint& b, double stretch) {
    const PlanPoint along{b.x - a.x, (b.y - a.y) * stretch};
    const PlanPoint to{p.x - a.x, (p.y - a.y) * stretch};
    const double squared = Dot(along, along);
    const double t = squared > 0 ? std::clamp(Dot(to, along) / squared, 0.0, 1.0) : 0;
    return Length(to - along * t);
}

class Places {
public:
    Places(const PlanRegion& region, const std::vector<PlanBounds>& covered, double stretch)
        : regions_{region}, stretch_(stretch), bounds_(BoundsOf(region.outer)) {
        for (const PlanBounds& box : covered)
            if (box.Meets(bounds_)) covered_.push_back(box);
    }

    [[nodiscard]] PlanPoint Widest() const {
        PlanPoint best = regions_[0].outer[0];
        double most = -1;
        const auto look = [&](const PlanPoint& p) {
            const double room = RoomAt(p);
            if (room > most + 1e-9) most = room, best = p;
        };
        const PlanPoint size = bounds_.Size();
        PlanPoint step{size.x / kCells, size.y / kCells};
        for (int row = 0; row < kCells; ++row)
            for (int column = 0; column < kCells; ++column)
                look(bounds_.low + PlanPoint{(column + 0.5) * step.x, (row + 0.5) * step.y});
        for (int k = 0; k < kHalvings; ++k) {
            step = step * 0.5;
            const PlanPoint middle = best;
            for (int row = -1; row <= 1; ++row)
                for (int column = -1; column <= 1; ++column)
                    look(middle + PlanPoint{column * step.x, row * step.y});
        }
        return best;
    }

private:
    // Below 0 where the place is no good.
    [[nodiscard]] double RoomAt(const PlanPoint& p) const {
        if (!Contains(regions_, p)) return -1;
        // Along a corridor many places are as good: the plain distance draws to the middle.
        double least = 1e300, plain = 1e300;
        const auto edges = [&](const PlanRing& ring) {
            for (std::size_t i = 0; i < ring.size(); ++i) {
                const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
                least = std::min(least, DistanceToEdge(p, a, b, stretch_));
                plain = std::min(plain, DistanceToEdge(p, a, b, 1));
            }
        };
        edges(regions_[0].outer);
        for (const PlanRing& hole : regions_[0].holes) edges(hole);
        for (const PlanBounds& box : covered_) {
            const double dx = std::max({box.low.x - p.x, 0.0, p.x - box.high.x});
            const double dy = std::max({box.low.y - p.y, 0.0, p.y - box.high.y}) * stretch_;
            least = std::min(least, Length({dx, dy}));
            plain = std::min(plain, Length({dx, dy / stretch_}));
        }
        return least + plain / 4;
    }

    std::vector<PlanRegion> regions_;
    double stretch_;
    PlanBounds bounds_;
    std::vector<PlanBounds> covered_;
};

std::string AreaText(const Room& room) {
    return fmt::format("{:.1f} m\u00B2", room.area.value);
}

bool HasSlopes(const Room& room) {
    return std::any_of(room.faces.begin(), room.faces.end(), [&room](const auto& face) {
        return face.kind == BoundKind::Ceiling &&
               std::any_of(face.ring.begin(), face.ring.end(),
                           [&room](const auto& p) { return p.z < room.ceiling - 0.1; });
    });
}

std::string HeightText(const Room& room) {
    return fmt::format("h {}{:.2f} m", HasSlopes(room) ? "up to " : "", room.height.value);
}

// Lines of text, one under the other around their middle.
struct Block {
    std::vector<PlanText> lines;
    double width = 0;
    double height = 0;
};

Block BlockOf(const Room& room, bool names, bool height, double size) {
    Block block;
    const auto add = [&block, size](std::string text, double capitals) {
        PlanText line;
        line.layer = PlanLayer::RoomText;
        line.height = capitals * size;
        line.text = std::move(text);
        block.width = std::max(block.width, WidthOf(line));
        block.height += line.height * (block.lines.empty() ? 1.0 : 1.75);
        block.lines.push_back(std::move(line));
    };
    if (names && !room.name.empty()) add(room.name, kName);
    if (room.area.value > 0) add(AreaText(room), kArea);
    if (height && room.height.value > 0) add(HeightText(room), kHeight);
    return block;
}

Block Placed(Block block, const PlanPoint& at) {
    double top = at.y + block.height / 2;
    for (std::size_t i = 0; i < block.lines.size(); ++i) {
        PlanText& line = block.lines[i];
        top -= i == 0 ? 0 : line.height * 0.75;
        line.at = {at.x, top - line.height / 2};
        top -= line.height;
    }
    return block;
}

// Whether the block's box lies inside the room and on nothing else.
bool Fits(const Block& block, const PlanPoint& at, const std::vector<PlanRegion>& room,
          const std::vector<PlanBounds>& covered) {
    const PlanPoint half{block.width / 2 * 1.04, block.height / 2 * 1.1};
    const PlanBounds box{at - half, at + half};
    const PlanRing corners{box.low, {box.high.x, box.low.y}, box.high, {box.low.x, box.high.y}};
    for (std::size_t i = 0; i < 4; ++i) {
        if (!Contains(room, corners[i])) return false;
        const PlanPoint &a = corners[i], &b = corners[(i + 1) % 4];
        if (!PartsOutside(room, a, b).empty()) return false;
    }
    return std::none_of(covered.begin(), covered.end(),
                        [&box](const PlanBounds& other) { return other.Meets(box); });
}

void DrawLabel(const Room& room, bool names, const std::vector<PlanBounds>& covered,
               PlanDrawing& drawing) {
    struct Attempt {
        bool names;
        bool height;
        double size;
    };
    static constexpr Attempt kAttempts[] = {
        {true, true, 1},   {true, true, 0.8},  {true, true, 0.65}, {true, false, 0.65},
        {true, true, 0.5}, {true, false, 0.5}, {false, false, 0.5}};
    Block last;
    for (const Attempt& attempt : kAttempts) {
        const Block block =
            BlockOf(room, names && attempt.names, attempt.height, drawing.Paper(attempt.size));
        if (block.lines.empty()) continue;
        const PlanPoint at = WidestPlace(room.plan, covered, block.width / block.height);
        last = Placed(block, at);
        if (Fits(last, at, {room.plan}, covered)) break;
    }
    for (PlanText& line : last.lines) drawing.Text(std::move(line));
}

// Edges of the floor that no wall bounds; the room's faces say which.
void DrawOpenBounds(const Room& room, PlanDrawing& drawing) {
    for (const building::RoomFace& face : room.faces) {
        if (face.kind != BoundKind::Wall || face.wall) continue;
        for (std::size_t i = 0; i < face.ring.size(); ++i) {
            const auto &a = face.ring[i], &b = face.ring[(i + 1) % face.ring.size()];
            if (a.z < room.floor + 0.01 && b.z < room.floor + 0.01)
                drawing.Line(PlanLayer::Bound, {a.x, a.y}, {b.x, b.y});
        }
    }
}

}  // namespace

PlanPoint WidestPlace(const PlanRegion& region, const std::vector<PlanBounds>& covered,
                      double stretch) {
    return Places(region, covered, stretch).Widest();
}

void DrawRooms(const Building& building, std::size_t storey, bool names,
               const std::vector<PlanBounds>& covered, PlanDrawing& drawing) {
    for (const Room& room : building.rooms) {
        if (room.storey != storey || std::abs(TwiceArea(room.plan.outer)) <= 0) continue;
        drawing.Area(PlanLayer::Room, room.plan);
        DrawOpenBounds(room, drawing);
        DrawLabel(room, names, covered, drawing);
    }
}

}  // namespace orvix::output
