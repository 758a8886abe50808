// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/faces/square_lines.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "building/plan_length.h"

namespace orvix::building {
namespace {

using detection::FoundPlane;

// The quarter turn of a direction that is nearest to a line's normal.
PlanPoint Quarter(const PlanPoint& main, const PlanPoint& normal) {
    PlanPoint best = main;
    double most = -2;
    for (const PlanPoint& turn : {main, PlanPoint{-main.y, main.x}, PlanPoint{-main.x, -main.y},
                                  PlanPoint{main.y, -main.x}}) {
        const double cosine = turn.x * normal.x + turn.y * normal.y;
        if (cosine > most) most = cosine, best = turn;
    }
    return best;
}

// How far a line's ends move where its normal becomes another one.
double Moved(const FaceLine& line, const PlanPoint& normal) {
    const double sine = std::abs(line.normal.x * normal.y - line.normal.y * normal.x);
    return sine * (line.end - line.begin) / 2;
}

bool MayTurn(const std::vector<FoundPlane>& planes, const FaceLine& line, const PlanPoint& main) {
    return Moved(line, Quarter(main, line.normal)) <= planes[line.planes[0]].tolerance;
}

std::optional<PlanPoint> MainNormal(const std::vector<FoundPlane>& planes,
                                    const std::vector<FaceLine>& lines) {
    double most = 0;
    std::optional<PlanPoint> best;
    for (const FaceLine& candidate : lines) {
        double length = 0;
        for (const FaceLine& line : lines)
            if (MayTurn(planes, line, candidate.normal)) length += line.end - line.begin;
        if (length > most) most = length, best = candidate.normal;
    }
    if (!best) return best;
    PlanPoint sum;
    for (const FaceLine& line : lines) {
        if (!MayTurn(planes, line, *best)) continue;
        // Each line's normal, turned by quarters to lie beside the candidate.
        const PlanPoint n = Quarter(line.normal, *best);
        const double length = line.end - line.begin;
        sum = {sum.x + n.x * length, sum.y + n.y * length};
    }
    const double length = PlanLength(sum.x, sum.y);
    return PlanPoint{sum.x / length, sum.y / length};
}

}  // namespace

SquareReport SquareLines(const std::vector<FoundPlane>& planes, std::vector<FaceLine>& lines) {
    SquareReport report;
    const auto main = MainNormal(planes, lines);
    if (!main) return report;
    for (FaceLine& line : lines) {
        if (!MayTurn(planes, line, *main)) continue;
        const PlanPoint normal = Quarter(*main, line.normal);
        const double moved = Moved(line, normal), half = (line.end - line.begin) / 2;
        const PlanPoint middle = line.At((line.begin + line.end) / 2);
        line.normal = normal;
        line.offset = normal.x * middle.x + normal.y * middle.y;
        const double along = line.Along(middle);
        line.begin = along - half;
        line.end = along + half;
        line.squared = true;
        ++report.turned;
        report.moved = std::max(report.moved, moved);
    }
    return report;
}

}  // namespace orvix::building
