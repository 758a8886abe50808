// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/walls/wall_pieces.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "building/plan_length.h"

namespace orvix::building {
namespace {

constexpr double kBeyondSeen = 0.35;
constexpr double kLeastTurn = 0.26;  // sine of 15 degrees
constexpr double kWidestGap = 4;
constexpr double kWidestEndGap = 1.3;
constexpr double kNearEnd = 0.3;  // a wall that crosses here is the corner at the end

double Cross(const PlanPoint& a, const PlanPoint& b) {
    return a.x * b.y - a.y * b.x;
}
double Dot(const PlanPoint& a, const PlanPoint& b) {
    return a.x * b.x + a.y * b.y;
}

/// Where a piece's middle line meets another's.
struct Meeting {
    double along = 0;  ///< of the first
    double there = 0;  ///< along the other's way
    double sine = 0;   ///< of the angle between them
};

std::optional<Meeting> Meet(const WallPiece& a, const WallPiece& b) {
    const double sine = Cross(a.face.Way(), b.face.Way());
    if (std::abs(sine) < kLeastTurn) return std::nullopt;
    const PlanPoint start = a.Middle(0), other = b.Middle(0);
    const PlanPoint between{other.x - start.x, other.y - start.y};
    return Meeting{Cross(between, b.face.Way()) / sine, Cross(between, a.face.Way()) / sine,
                   std::abs(sine)};
}

/// What an end of a piece is brought to.
struct End {
    double along = 0;
    double moved = 0;
};

class Joiner {
public:
    explicit Joiner(const std::vector<WallPiece>& pieces) : pieces_(pieces) {}

    [[nodiscard]] std::optional<End> EndOf(std::size_t i, bool last) const {
        const WallPiece& piece = pieces_[i];
        const double end = last ? piece.run.end : piece.run.begin;
        const double out = last ? 1 : -1;
        std::optional<End> best;
        for (std::size_t k = 0; k < pieces_.size(); ++k) {
            if (k == i) continue;
            const WallPiece& other = pieces_[k];
            const auto meeting = Meet(piece, other);
            if (!meeting) continue;
            const double half = other.run.thickness / 2 / meeting->sine;
            const double beyond = (meeting->along - end) * out;
            if (beyond > half + kBeyondSeen || beyond < -half - piece.run.thickness) continue;
            const double slack = piece.run.thickness / 2 + kBeyondSeen;
            if (meeting->there < other.run.begin - slack || meeting->there > other.run.end + slack)
                continue;
            const double inside =
                std::min(meeting->there - other.run.begin, other.run.end - meeting->there);
            const bool corner = inside < piece.run.thickness / 2 + kBeyondSeen && other.run.other &&
                                piece.run.other;
            const double target =
                meeting->along + (corner && RunsThrough(i, k) ? out : -out) * half;
            if (!best || std::abs(beyond) < best->moved) best = End{target, std::abs(beyond)};
        }
        return best;
    }

private:
    [[nodiscard]] bool RunsThrough(std::size_t i, std::size_t k) const {
        constexpr double kSame = 0.005;
        const WallPiece &a = pieces_[i], &b = pieces_[k];
        if (std::abs(a.run.thickness - b.run.thickness) > kSame)
            return a.run.thickness > b.run.thickness;
        if (std::abs(a.Length() - b.Length()) > kSame) return a.Length() > b.Length();
        return i < k;
    }

    const std::vector<WallPiece>& pieces_;
};

bool CrossesAny(const std::vector<WallPiece>& pieces, const PlanPoint& from, const PlanPoint& to,
                std::size_t a, std::size_t b) {
    const PlanPoint way{to.x - from.x, to.y - from.y};
    const double length = PlanLength(way.x, way.y);
    for (std::size_t k = 0; k < pieces.size(); ++k) {
        if (k == a || k == b) continue;
        const PlanPoint p = pieces[k].Middle(pieces[k].run.begin),
                        q = pieces[k].Middle(pieces[k].run.end);
        const PlanPoint along{q.x - p.x, q.y - p.y};
        const double sine = Cross(way, along);
        if (std::abs(sine) < kLeastTurn * length * PlanLength(along.x, along.y)) continue;
        const double s = Cross({p.x - from.x, p.y - from.y}, along) / sine;
        const double t = Cross({p.x - from.x, p.y - from.y}, way) / sine;
        if (s > kNearEnd / length && s < 1 - kNearEnd / length && t > 0 && t < 1) return true;
    }
    return false;
}

PlanPoint EndPoint(const WallPiece& piece, bool last) {
    return piece.Middle(last ? piece.run.end : piece.run.begin);
}

}  // namespace

std::vector<WallPiece> JoinRuns(const std::vector<WallRun>& runs, const FaceLines& faces) {
    std::vector<WallPiece> pieces;
    for (const WallRun& run : runs) pieces.push_back({run, faces.lines[run.face], {}});
    const Joiner joiner(pieces);
    std::vector<WallPiece> joined = pieces;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (const auto begin = joiner.EndOf(i, false)) {
            joined[i].run.begin = begin->along;
            joined[i].bounded[0] = true;
        }
        if (const auto end = joiner.EndOf(i, true)) {
            joined[i].run.end = end->along;
            joined[i].bounded[1] = true;
        }
        if (joined[i].run.end - joined[i].run.begin < 0.05) joined[i] = pieces[i];
    }
    return joined;
}

std::vector<OpenBound> OpenBoundsOf(const std::vector<WallPiece>& pieces) {
    std::vector<OpenBound> bounds;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        for (const bool last : {false, true}) {
            const WallPiece& piece = pieces[i];
            const PlanPoint end = EndPoint(piece, last);
            const double out = last ? 1 : -1;
            const PlanPoint way{piece.face.Way().x * out, piece.face.Way().y * out};
            std::optional<OpenBound> best;
            double nearest = kWidestGap;
            for (std::size_t k = 0; k < pieces.size(); ++k) {
                if (k == i) continue;
                const WallPiece& other = pieces[k];
                if (const auto meeting = Meet(piece, other)) {
                    const double half = other.run.thickness / 2 / meeting->sine;
                    const double gap =
                        (meeting->along - (last ? piece.run.end : piece.run.begin)) * out - half;
                    if (piece.bounded[last] || gap < 0.02 || gap > kWidestEndGap || gap >= nearest)
                        continue;
                    if (meeting->there < other.run.begin || meeting->there > other.run.end)
                        continue;
                    const PlanPoint to{end.x + way.x * (gap + half), end.y + way.y * (gap + half)};
                    if (CrossesAny(pieces, end, to, i, k)) continue;
                    nearest = gap;
                    best = OpenBound{end, to, piece.run.thickness};
                    continue;
                }
                for (const bool otherLast : {false, true}) {
                    const PlanPoint start = EndPoint(other, otherLast);
                    const PlanPoint gap{start.x - end.x, start.y - end.y};
                    const double along = Dot(gap, way), aside = std::abs(Cross(way, gap));
                    const PlanPoint back{other.face.Way().x * (otherLast ? 1 : -1),
                                         other.face.Way().y * (otherLast ? 1 : -1)};
                    const double least = std::min(piece.run.thickness, other.run.thickness);
                    if (Dot(back, way) > 0 || along < 0.1 || along >= nearest ||
                        aside > std::max(0.06, least / 2))
                        continue;
                    if (CrossesAny(pieces, end, start, i, k)) continue;
                    nearest = along;
                    const PlanPoint straight{end.x + way.x * along, end.y + way.y * along};
                    best = OpenBound{end, straight, least};
                }
            }
            if (best) bounds.push_back(*best);
        }
    return bounds;
}

}  // namespace orvix::building
