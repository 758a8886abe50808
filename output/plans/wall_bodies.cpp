// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/wall_bodies.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace orvix::output {

namespace {

constexpr double kGap = 0.12;       // an end this far before another wall reaches it
constexpr double kPast = 0.03;      // and so far past it, it ends there
constexpr double kParallel = 0.17;  // the sine below which two walls have no corner
constexpr double kLongest = 4;      // a corner's tip, in thicknesses from where the axes meet

struct Line {
    PlanPoint at;
    PlanPoint way;
};

std::optional<PlanPoint> Meet(const Line& a, const Line& b) {
    const double sine = Cross(a.way, b.way);
    if (std::abs(sine) < 1e-9) return std::nullopt;
    return a.at + a.way * (Cross(b.at - a.at, b.way) / sine);
}

PlanPoint FootOn(const Line& line, const PlanPoint& p) {
    return line.at + line.way * Dot(p - line.at, line.way);
}

struct Band {
    std::size_t wall = 0;
    PlanPoint start;
    PlanPoint way;
    double length = 0;
    double left = 0;
    double right = 0;
    bool measured = true;

    [[nodiscard]] double Half() const { return std::max(left, -right); }
    [[nodiscard]] Line Axis() const { return {start, way}; }
    [[nodiscard]] Line Face(double offset) const { return {start + LeftOf(way) * offset, way}; }
    [[nodiscard]] PlanPoint End(int end) const { return start + way * (end == 1 ? length : 0.0); }
    [[nodiscard]] PlanPoint Out(int end) const { return end == 1 ? way : way * -1; }
    // The face on the left of one who looks out of the wall at this end.
    [[nodiscard]] Line OutLeft(int end) const { return Face(end == 1 ? left : right); }
    [[nodiscard]] Line OutRight(int end) const { return Face(end == 1 ? right : left); }
};

std::optional<Band> BandOf(const building::Building& building, std::size_t place) {
    const building::Wall& wall = building.walls[place];
    const PlanPoint along = wall.axis[1] - wall.axis[0];
    const double length = Length(along);
    if (!(length > 0)) return std::nullopt;
    Band band{place, wall.axis[0], along * (1 / length), length, 0, 0, wall.thickness.has_value()};
    const double thickness = wall.thickness ? wall.thickness->value : kAssumedThickness;
    // The axis of a wall of one face is this face, and the wall lies behind it.
    const bool leftAlone = !wall.thickness && wall.leftSeen && !wall.rightSeen;
    const bool rightAlone = !wall.thickness && wall.rightSeen && !wall.leftSeen;
    band.left = leftAlone ? 0 : rightAlone ? thickness : thickness / 2;
    band.right = band.left - thickness;
    return band;
}

// Where an end stops: corners as seen by one who looks out of the wall, and what lies between.
struct Stop {
    PlanPoint left;
    std::optional<PlanPoint> middle;
    PlanPoint right;
};

// A corner, as one of its walls sees it.
struct End {
    std::size_t band = 0;
    int side = 0;
};

class Joints {
public:
    explicit Joints(std::vector<Band> bands)
        : bands_(std::move(bands)), node_(2 * bands_.size()), stops_(2 * bands_.size()) {
        std::iota(node_.begin(), node_.end(), std::size_t{0});
    }

    std::vector<WallBody> Join() {
        FindCorners();
        StopAtCorners();
        for (std::size_t i = 0; i < stops_.size(); ++i)
            if (!stops_[i]) StopAtWall(i);
        std::vector<WallBody> bodies;
        for (std::size_t i = 0; i < bands_.size(); ++i) bodies.push_back(BodyOf(i));
        return bodies;
    }

private:
    // How another wall's axis crosses that of an end: metres out from the end, and metres past the
    // other's nearer end (below 0: inside it).
    struct Crossing {
        double out = 0;
        double past = 0;
        int nearer = 0;
        double sine = 1;
    };

    [[nodiscard]] std::optional<Crossing> CrossingOf(const End& end, std::size_t other) const;
    [[nodiscard]] bool Continues(const End& end, const End& other) const;
    [[nodiscard]] bool Reaches(double out, double half) const {
        return out <= half + kGap && -out <= half + kPast;
    }
    [[nodiscard]] bool KeepsLength(const End& end, double out) const {
        return -out < bands_[end.band].length / 2;
    }
    std::size_t NodeOf(std::size_t end) {
        while (node_[end] != end) end = node_[end] = node_[node_[end]];
        return end;
    }
    void FindCorners();
    void StopAtCorners();
    void StopAtCorner(std::vector<End> ends);
    void StopMeasured(const End& measured, const End& other);
    void StopAtWall(std::size_t end);
    [[nodiscard]] PlanPoint MiddleOfCorner(const std::vector<End>& ends) const;
    [[nodiscard]] WallBody BodyOf(std::size_t band) const;

    std::vector<Band> bands_;
    std::vector<std::size_t> node_;  // union-find over ends: 2 * band + side
    std::vector<std::optional<Stop>> stops_;
};

std::optional<Joints::Crossing> Joints::CrossingOf(const End& end, std::size_t other) const {
    const Band &own = bands_[end.band], &its = bands_[other];
    Crossing crossing;
    crossing.sine = std::abs(Cross(own.way, its.way));
    if (crossing.sine < kParallel) return std::nullopt;
    const auto at = Meet(own.Axis(), its.Axis());
    crossing.out = Dot(*at - own.End(end.side), own.Out(end.side));
    const double along = Dot(*at - its.start, its.way);
    crossing.nearer = along > its.length / 2 ? 1 : 0;
    crossing.past = crossing.nearer == 1 ? along - its.length : -along;
    return crossing;
}

// Two ends face each other on one line.
bool Joints::Continues(const End& end, const End& other) const {
    const Band &a = bands_[end.band], &b = bands_[other.band];
    const PlanPoint out = a.Out(end.side);
    if (Dot(out, b.Out(other.side)) > -0.98) return false;
    const PlanPoint between = b.End(other.side) - a.End(end.side);
    return std::abs(Dot(between, out)) <= kGap &&
           std::abs(Cross(out, between)) < std::min(a.Half(), b.Half());
}

void Joints::FindCorners() {
    for (std::size_t i = 0; i < node_.size(); ++i) {
        const End end{i / 2, static_cast<int>(i % 2)};
        for (std::size_t other = 0; other < bands_.size(); ++other) {
            if (other == end.band) continue;
            for (int side = 0; side < 2; ++side)
                if (Continues(end, {other, side})) node_[NodeOf(i)] = NodeOf(2 * other + side);
            const auto crossing = CrossingOf(end, other);
            if (!crossing || !KeepsLength(end, crossing->out)) continue;
            const double itsHalf = bands_[other].Half() / crossing->sine;
            const double ownHalf = bands_[end.band].Half() / crossing->sine;
            if (Reaches(crossing->out, itsHalf) && Reaches(crossing->past, ownHalf) &&
                KeepsLength({other, crossing->nearer}, crossing->past))
                node_[NodeOf(i)] = NodeOf(2 * other + crossing->nearer);
        }
    }
}

void Joints::StopAtCorners() {
    std::vector<std::vector<End>> corners(node_.size());
    for (std::size_t i = 0; i < node_.size(); ++i)
        corners[NodeOf(i)].push_back({i / 2, static_cast<int>(i % 2)});
    for (const std::vector<End>& ends : corners) {
        std::vector<End> measured, others;
        for (const End& end : ends) (bands_[end.band].measured ? measured : others).push_back(end);
        if (measured.size() == 1 && others.size() == 1) StopMeasured(measured[0], others[0]);
        if (measured.size() > 1) StopAtCorner(std::move(measured));
        if (others.size() > 1) StopAtCorner(std::move(others));
    }
}

// BEHAVIOUR M4. Nobody knows the outer corner: the wall whose thickness is known ends in the line of the other's
// face, and the other's far side runs past it.
void Joints::StopMeasured(const End& measured, const End& other) {
    const Band &a = bands_[measured.band], &b = bands_[other.band];
    const auto stop = [](const Band& band, int side, const Line& across) {
        return Stop{*Meet(band.OutLeft(side), across), std::nullopt,
                    *Meet(band.OutRight(side), across)};
    };
    if (std::abs(Cross(a.way, b.way)) < kParallel) return;
    const bool leftIsOuter = Cross(a.way, b.Out(other.side)) > 0;
    stops_[2 * measured.band + measured.side] = stop(a, measured.side, b.Axis());
    stops_[2 * other.band + other.side] =
        stop(b, other.side, a.Face(leftIsOuter ? a.left : a.right));
}

// The mean of where their axes meet, or of the ends where these are all on one line.
PlanPoint Joints::MiddleOfCorner(const std::vector<End>& ends) const {
    PlanPoint sum;
    int count = 0;
    for (std::size_t i = 0; i < ends.size(); ++i)
        for (std::size_t k = i + 1; k < ends.size(); ++k) {
            const Band &a = bands_[ends[i].band], &b = bands_[ends[k].band];
            if (std::abs(Cross(a.way, b.way)) < kParallel) continue;
            sum = sum + *Meet(a.Axis(), b.Axis());
            ++count;
        }
    if (count > 0) return sum * (1.0 / count);
    for (const End& end : ends) sum = sum + bands_[end.band].End(end.side);
    return sum * (1.0 / static_cast<double>(ends.size()));
}

// Grows with the angle of a direction as seen from +x, from 0 to 4.
double TurnOf(const PlanPoint& way) {
    const double share = way.y / (std::abs(way.x) + std::abs(way.y));
    return way.x < 0 ? 2 - share : way.y < 0 ? 4 + share : share;
}

void Joints::StopAtCorner(std::vector<End> ends) {
    const PlanPoint middle = MiddleOfCorner(ends);
    std::sort(ends.begin(), ends.end(), [this](const End& a, const End& b) {
        const double turnA = TurnOf(bands_[a.band].Out(a.side) * -1);
        const double turnB = TurnOf(bands_[b.band].Out(b.side) * -1);
        return std::pair(turnA, a.band) < std::pair(turnB, b.band);
    });
    for (const End& end : ends) {
        const Band& band = bands_[end.band];
        stops_[2 * end.band + end.side] = Stop{FootOn(band.OutLeft(end.side), middle), middle,
                                               FootOn(band.OutRight(end.side), middle)};
    }
    // Around the corner: what is left of one who looks into a wall is right of one who looks out.
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const End &one = ends[i], &next = ends[(i + 1) % ends.size()];
        const Band &a = bands_[one.band], &b = bands_[next.band];
        const auto tip = Meet(a.OutRight(one.side), b.OutLeft(next.side));
        const double longest = kLongest * 2 * std::max(a.Half(), b.Half());
        if (!tip || std::abs(Cross(a.way, b.way)) < kParallel || Length(*tip - middle) > longest)
            continue;
        stops_[2 * one.band + one.side]->right = *tip;
        stops_[2 * next.band + next.side]->left = *tip;
    }
}

// At the nearest wall that runs on, if there is one.
void Joints::StopAtWall(std::size_t index) {
    const End end{index / 2, static_cast<int>(index % 2)};
    const Band& own = bands_[end.band];
    std::optional<std::size_t> nearest;
    double least = 0;
    for (std::size_t other = 0; other < bands_.size(); ++other) {
        if (other == end.band) continue;
        const auto crossing = CrossingOf(end, other);
        if (!crossing || !KeepsLength(end, crossing->out)) continue;
        if (!Reaches(crossing->out, bands_[other].Half() / crossing->sine)) continue;
        if (crossing->past > own.Half()) continue;
        if (nearest && std::abs(crossing->out) >= least) continue;
        nearest = other;
        least = std::abs(crossing->out);
    }
    Line across{own.End(end.side), LeftOf(own.way)};
    if (nearest) across = bands_[*nearest].Axis();
    stops_[index] = Stop{*Meet(own.OutLeft(end.side), across), std::nullopt,
                         *Meet(own.OutRight(end.side), across)};
}

WallBody Joints::BodyOf(std::size_t index) const {
    const Band& band = bands_[index];
    const Stop &start = *stops_[2 * index], &end = *stops_[2 * index + 1];
    WallBody body{band.wall,
                  band.way,
                  band.length,
                  band.left,
                  band.right,
                  band.measured,
                  {start.right, end.left},
                  {start.left, end.right},
                  {}};
    body.ring = {start.left, end.right};
    if (end.middle) body.ring.push_back(*end.middle);
    body.ring.push_back(end.left);
    body.ring.push_back(start.right);
    if (start.middle) body.ring.push_back(*start.middle);
    return body;
}

}  // namespace

std::vector<WallBody> JoinWalls(const building::Building& building,
                                const std::vector<std::size_t>& walls) {
    std::vector<Band> bands;
    for (const std::size_t wall : walls)
        if (const auto band = BandOf(building, wall)) bands.push_back(*band);
    return Joints(std::move(bands)).Join();
}

}  // namespace orvix::output
