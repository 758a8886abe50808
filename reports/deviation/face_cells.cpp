// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/face_cells.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

namespace orvix::reports {

namespace {

using detail::Dot, detail::Vector;
using Flat = SimplePoint2DT<double>;

// Triangles of one plane differ by rounding; those a millimetre or a twentieth of a degree apart are
// of two.
constexpr double kTurnStep = 1e-3;
constexpr double kOffsetStep = 1e-3;
constexpr float kLeastArea = 1e-7F;  // square metres: a rounding error's share of a square

/// The part of a convex polygon where sign * (coordinate - limit) >= 0, along x or along y.
void Clip(std::vector<Flat>& polygon, std::vector<Flat>& spare, bool alongX, double limit,
          double sign) {
    spare.clear();
    const auto inside = [&](const Flat& p) { return sign * ((alongX ? p.x : p.y) - limit); };
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Flat &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        const double da = inside(a), db = inside(b);
        if (da >= 0) spare.push_back(a);
        if ((da >= 0) == (db >= 0)) continue;
        const double share = da / (da - db);
        spare.push_back({a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share});
    }
    std::swap(polygon, spare);
}

double AreaOf(const std::vector<Flat>& polygon) {
    double twice = 0;
    for (std::size_t i = 2; i < polygon.size(); ++i)
        twice += (polygon[i - 1].x - polygon[0].x) * (polygon[i].y - polygon[0].y) -
                 (polygon[i - 1].y - polygon[0].y) * (polygon[i].x - polygon[0].x);
    return std::abs(twice) / 2;
}

}  // namespace

FaceCells::FaceCells(const std::vector<Face>& faces, double side, std::uint64_t most)
    : faces_(faces), side_(side), planeOf_(faces.size()) {
    FindPlanes();
    while (!Fits(side_, most)) side_ *= 2;
    LayOut();
    for (std::uint32_t i = 0; i < faces_.size(); ++i)
        if (planeOf_[i] < planes_.size()) Cover(i);
}

void FaceCells::FindPlanes() {
    using Key = std::tuple<std::uint32_t, double, double, double, double>;
    std::map<Key, std::uint32_t> known;
    for (std::uint32_t i = 0; i < faces_.size(); ++i) {
        const Face& face = faces_[i];
        planeOf_[i] = std::numeric_limits<std::uint32_t>::max();
        if (Dot(face.normal, face.normal) == 0) continue;
        const Vector& n = face.normal;
        const Key key{face.element, std::floor(n.x / kTurnStep + 0.5),
                      std::floor(n.y / kTurnStep + 0.5), std::floor(n.z / kTurnStep + 0.5),
                      std::floor(face.offset / kOffsetStep + 0.5)};
        const auto [place, isNew] =
            known.try_emplace(key, static_cast<std::uint32_t>(planes_.size()));
        planeOf_[i] = place->second;
        if (isNew) planes_.push_back({face.element, PlaneFrame(n.x, n.y, n.z, face.offset)});
    }
    // Least x and y of each plane's corners, and greatest.
    std::vector<std::array<double, 4>> bounds(
        planes_.size(),
        {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
         std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest()});
    for (std::uint32_t i = 0; i < faces_.size(); ++i) {
        if (planeOf_[i] >= planes_.size()) continue;
        auto& b = bounds[planeOf_[i]];
        for (const Vector& corner : faces_[i].corners) {
            const Flat at = planes_[planeOf_[i]].frame.To2D(corner);
            b = {std::min(b[0], at.x), std::min(b[1], at.y), std::max(b[2], at.x),
                 std::max(b[3], at.y)};
        }
    }
    bounds_ = std::move(bounds);
}

bool FaceCells::Fits(double side, std::uint64_t most) const {
    double places = 0, widest = 0;
    for (const auto& b : bounds_) {
        places += ((b[2] - b[0]) / side + 2) * ((b[3] - b[1]) / side + 2);
        widest = std::max({widest, b[2] - b[0], b[3] - b[1]});
    }
    // Beyond the widest face larger squares are as many: four of each face at most.
    return places <= static_cast<double>(most) || side > widest;
}

std::int64_t FaceCells::SquareOf(double coordinate) const {
    return static_cast<std::int64_t>(std::floor(coordinate / side_));
}

void FaceCells::LayOut() {
    std::uint64_t next = 0;
    for (std::size_t i = 0; i < planes_.size(); ++i) {
        Plane& plane = planes_[i];
        const auto& b = bounds_[i];
        plane.left = SquareOf(b[0]);
        plane.bottom = SquareOf(b[1]);
        plane.columns = SquareOf(b[2]) - plane.left + 1;
        plane.rows = SquareOf(b[3]) - plane.bottom + 1;
        plane.first = next;
        next += static_cast<std::uint64_t>(plane.columns * plane.rows);
    }
    slots_.assign(next, 0);
    bounds_ = {};
}

// Rows first, so that a long thin triangle costs what it covers and not its rectangle.
void FaceCells::Cover(std::uint32_t triangle) {
    const Plane& plane = planes_[planeOf_[triangle]];
    std::vector<Flat> whole, row, square, spare;
    for (const Vector& corner : faces_[triangle].corners) whole.push_back(plane.frame.To2D(corner));
    const auto along = [](const std::vector<Flat>& polygon, double Flat::*axis) {
        std::array<double, 2> range{std::numeric_limits<double>::max(),
                                    std::numeric_limits<double>::lowest()};
        for (const Flat& p : polygon)
            range = {std::min(range[0], p.*axis), std::max(range[1], p.*axis)};
        return range;
    };
    const auto rows = along(whole, &Flat::y);
    for (std::int64_t y = SquareOf(rows[0]); y <= SquareOf(rows[1]); ++y) {
        row = whole;
        Clip(row, spare, false, static_cast<double>(y) * side_, 1);
        Clip(row, spare, false, static_cast<double>(y + 1) * side_, -1);
        if (row.size() < 3) continue;
        const auto columns = along(row, &Flat::x);
        for (std::int64_t x = SquareOf(columns[0]); x <= SquareOf(columns[1]); ++x) {
            square = row;
            Clip(square, spare, true, static_cast<double>(x) * side_, 1);
            Clip(square, spare, true, static_cast<double>(x + 1) * side_, -1);
            const auto area = static_cast<float>(AreaOf(square));
            const std::int64_t column = x - plane.left, line = y - plane.bottom;
            if (area < kLeastArea || column < 0 || column >= plane.columns || line < 0 ||
                line >= plane.rows)
                continue;
            std::uint32_t& slot =
                slots_[plane.first + static_cast<std::uint64_t>(line * plane.columns + column)];
            if (slot == 0) {
                cells_.emplace_back();
                slot = static_cast<std::uint32_t>(cells_.size());
            }
            cells_[slot - 1].area += area;
        }
    }
}

void FaceCells::Add(std::uint32_t triangle, const Vector& place, std::int64_t micrometres) {
    const Plane& plane = planes_[planeOf_[triangle]];
    const Flat at = plane.frame.To2D(place);
    const std::int64_t column = SquareOf(at.x) - plane.left, row = SquareOf(at.y) - plane.bottom;
    // A foot beside the rim, as far as it may lie there, has no square.
    if (column < 0 || column >= plane.columns || row < 0 || row >= plane.rows) return;
    const std::uint32_t slot =
        slots_[plane.first + static_cast<std::uint64_t>(row * plane.columns + column)];
    if (slot == 0) return;
    FaceCell& cell = cells_[slot - 1];
    std::atomic_ref<std::int64_t>(cell.sum).fetch_add(micrometres, std::memory_order_relaxed);
    std::atomic_ref<std::uint32_t>(cell.points).fetch_add(1, std::memory_order_relaxed);
}

}  // namespace orvix::reports
