// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/openings/find_openings.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace orvix::building {
namespace {

constexpr double kLeastSide = 0.3;
constexpr double kLeastArea = 0.15;
constexpr double kLeastDoor = 1.75;  // metres high
constexpr double kWidestDoor = 2.6;
constexpr double kNarrowestLeaf = 0.55;
constexpr double kWidestLeaf = 1.4;
constexpr double kTallestLeaf = 2.5;
constexpr double kLeastFree = 0.05;     // of a window: what no ray went through is a niche
constexpr double kSill = 0.065;         // of a door, at most
constexpr double kUnderCeiling = 0.06;  // of a hole's top

struct Rect {
    std::int64_t left = 0, bottom = 0, right = 0, top = 0;  // the last ones are not in it

    [[nodiscard]] std::int64_t Size() const { return (right - left) * (top - bottom); }
};

using Squares = std::vector<std::pair<std::int64_t, std::int64_t>>;

class OpeningFinder {
public:
    explicit OpeningFinder(const WallView& view) : view_(view), open_(view.looks.size()) {
        for (std::size_t i = 0; i < open_.size(); ++i) open_[i] = view.looks[i] == WallView::kOpen;
        FillUnknown();
        FindFrames();
        Thin();
    }

    [[nodiscard]] std::vector<Rect> Find() {
        std::vector<Rect> found = frames_;
        ForEachPart([&](const Squares& part) {
            const Rect rect = RectOf(part, BoxOf(part));
            if (Fits(rect)) Take(rect, found);
        });
        return found;
    }
    [[nodiscard]] std::size_t Count(const Rect& rect, WallView::Look look) const {
        std::size_t count = 0;
        for (std::int64_t row = rect.bottom; row < rect.top; ++row)
            for (std::int64_t column = rect.left; column < rect.right; ++column)
                count += view_.looks[view_.At(column, row)] == look;
        return count;
    }
    [[nodiscard]] std::size_t Through(const Rect& rect) const {
        std::size_t count = 0;
        for (std::int64_t row = rect.bottom; row < rect.top; ++row)
            for (std::int64_t column = rect.left; column < rect.right; ++column)
                count += view_.through[view_.At(column, row)];
        return count;
    }

private:
    // Bars and leaves part an opening: what overlaps is one.
    static void Take(Rect rect, std::vector<Rect>& found) {
        for (std::size_t k = 0; k < found.size();) {
            const Rect& other = found[k];
            const Rect common{std::max(rect.left, other.left), std::max(rect.bottom, other.bottom),
                              std::min(rect.right, other.right), std::min(rect.top, other.top)};
            const bool overlap = common.left < common.right && common.bottom < common.top &&
                                 common.Size() * 2 > std::min(rect.Size(), other.Size());
            if (!overlap) {
                ++k;
                continue;
            }
            rect = {std::min(rect.left, other.left), std::min(rect.bottom, other.bottom),
                    std::max(rect.right, other.right), std::max(rect.top, other.top)};
            found.erase(found.begin() + static_cast<std::ptrdiff_t>(k));
            k = 0;
        }
        found.push_back(rect);
    }
    // A square that no ray came back from is open where two of those beside it are.
    void FillUnknown() {
        const std::vector<std::uint8_t> old = open_;
        for (std::int64_t row = 1; row + 1 < view_.rows; ++row)
            for (std::int64_t column = 1; column + 1 < view_.columns; ++column) {
                const std::size_t at = view_.At(column, row);
                if (view_.looks[at] != WallView::kUnknown) continue;
                const int beside = old[at - 1] + old[at + 1] + old[view_.At(column, row - 1)] +
                                   old[view_.At(column, row + 1)];
                open_[at] = beside >= 2;
            }
    }
    // Bridges squares between open ones, and asks each part whether it rings a leaf.
    void FindFrames() {
        const std::vector<std::uint8_t> old = open_;
        for (std::int64_t row = 0; row < view_.rows; ++row)
            for (std::int64_t column = 0; column < view_.columns; ++column)
                open_[view_.At(column, row)] = AnyBeside(old, column, row);
        ForEachPart([this](const Squares& part) {
            const Rect box = BoxOf(part);
            const Rect inner{box.left + 1, box.bottom, box.right - 1, box.top - 1};
            if (inner.left < inner.right && inner.bottom < inner.top && IsFrame(inner))
                frames_.push_back(inner);
        });
        open_ = old;
    }
    [[nodiscard]] bool AnyBeside(const std::vector<std::uint8_t>& open, std::int64_t column,
                                 std::int64_t row) const {
        for (std::int64_t r = std::max(row - 1, std::int64_t{0});
             r <= std::min(row + 1, view_.rows - 1); ++r)
            for (std::int64_t c = std::max(column - 1, std::int64_t{0});
                 c <= std::min(column + 1, view_.columns - 1); ++c)
                if (open[view_.At(c, r)] != 0) return true;
        return false;
    }
    // Takes out threads: a square stays where it is in an open block of three by three.
    void Thin() {
        std::vector<std::uint8_t> core(open_.size());
        for (std::int64_t row = 1; row + 1 < view_.rows; ++row)
            for (std::int64_t column = 1; column + 1 < view_.columns; ++column) {
                bool all = true;
                for (std::int64_t r = row - 1; r <= row + 1 && all; ++r)
                    for (std::int64_t c = column - 1; c <= column + 1 && all; ++c)
                        all = open_[view_.At(c, r)] != 0;
                core[view_.At(column, row)] = all;
            }
        std::fill(open_.begin(), open_.end(), 0);
        for (std::int64_t row = 1; row + 1 < view_.rows; ++row)
            for (std::int64_t column = 1; column + 1 < view_.columns; ++column) {
                if (core[view_.At(column, row)] == 0) continue;
                for (std::int64_t r = row - 1; r <= row + 1; ++r)
                    for (std::int64_t c = column - 1; c <= column + 1; ++c)
                        open_[view_.At(c, r)] = 1;
            }
    }
    template <class Use>
    void ForEachPart(const Use& use) const {
        std::vector<std::uint8_t> done(open_.size());
        for (std::int64_t column = 0; column < view_.columns; ++column)
            for (std::int64_t row = 0; row < view_.rows; ++row)
                if (open_[view_.At(column, row)] != 0 && done[view_.At(column, row)] == 0)
                    use(Part(column, row, done));
    }
    Squares Part(std::int64_t column, std::int64_t row, std::vector<std::uint8_t>& done) const {
        Squares part{{column, row}};
        done[view_.At(column, row)] = 1;
        for (std::size_t k = 0; k < part.size(); ++k) {
            const auto [c, r] = part[k];
            for (const auto& [nc, nr] : {std::pair{c - 1, r}, std::pair{c + 1, r},
                                         std::pair{c, r - 1}, std::pair{c, r + 1}}) {
                if (nc < 0 || nr < 0 || nc >= view_.columns || nr >= view_.rows) continue;
                const std::size_t at = view_.At(nc, nr);
                if (open_[at] == 0 || done[at] != 0) continue;
                done[at] = 1;
                part.emplace_back(nc, nr);
            }
        }
        return part;
    }
    [[nodiscard]] Rect BoxOf(const Squares& part) const {
        Rect box{view_.columns, view_.rows, 0, 0};
        for (const auto& [c, r] : part)
            box = {std::min(box.left, c), std::min(box.bottom, r), std::max(box.right, c + 1),
                   std::max(box.top, r + 1)};
        return box;
    }
    // The columns and rows half of which a part fills, then on over what is hidden, to what is solid.
    [[nodiscard]] Rect RectOf(const Squares& part, const Rect& box) const {
        const auto span = [&](bool columns) {
            const std::int64_t from = columns ? box.left : box.bottom,
                               to = columns ? box.right : box.top;
            std::vector<std::int64_t> fill(static_cast<std::size_t>(to - from));
            for (const auto& [c, r] : part)
                ++fill[static_cast<std::size_t>((columns ? c : r) - from)];
            const std::int64_t most = *std::max_element(fill.begin(), fill.end());
            std::int64_t first = 0, last = to - from;
            while (first < last && fill[static_cast<std::size_t>(first)] * 2 < most) ++first;
            while (last > first && fill[static_cast<std::size_t>(last - 1)] * 2 < most) --last;
            return std::pair{from + first, from + last};
        };
        const auto [left, right] = span(true);
        const auto [bottom, top] = span(false);
        Rect rect{left, bottom, right, top};
        Grow(rect);
        return rect;
    }
    void Grow(Rect& rect) const {
        const auto most = [&](std::int64_t c0, std::int64_t c1, std::int64_t r0, std::int64_t r1) {
            std::int64_t all = 0, solid = 0;
            for (std::int64_t r = r0; r < r1; ++r)
                for (std::int64_t c = c0; c < c1; ++c) {
                    ++all;
                    const std::uint8_t look = view_.looks[view_.At(c, r)];
                    solid += look == WallView::kSolid || look == WallView::kBeyond;
                }
            return solid * 5 < all;  // less than a fifth is solid
        };
        while (rect.bottom > 0 && most(rect.left, rect.right, rect.bottom - 1, rect.bottom))
            --rect.bottom;
        while (rect.top < view_.rows && most(rect.left, rect.right, rect.top, rect.top + 1))
            ++rect.top;
        while (rect.left > 0 && most(rect.left - 1, rect.left, rect.bottom, rect.top)) --rect.left;
        while (rect.right < view_.columns &&
               most(rect.right, rect.right + 1, rect.bottom, rect.top))
            ++rect.right;
    }
    [[nodiscard]] bool Fits(const Rect& rect) const {
        const double width = static_cast<double>(rect.right - rect.left) * view_.cell;
        const double height = static_cast<double>(rect.top - rect.bottom) * view_.cell;
        if (width < kLeastSide || height < kLeastSide || width * height < kLeastArea) return false;
        // At its end a wall is not seen through where it meets another.
        const bool atEnd = rect.left == 0 || rect.right == view_.columns;
        if (atEnd && Through(rect) * 10 < static_cast<std::size_t>(rect.Size())) return false;
        return Count(rect, WallView::kOpen) * 10 >= static_cast<std::size_t>(rect.Size()) * 5;
    }
    // A closed leaf that is flush with the wall: all around it, but at the floor, a groove or a frame.
    [[nodiscard]] bool IsFrame(const Rect& rect) const {
        const double width = static_cast<double>(rect.right - rect.left) * view_.cell;
        const double height = static_cast<double>(rect.top - rect.bottom) * view_.cell;
        constexpr double kBand = 0.125;  // metres from the rim
        const auto band =
            std::max(std::int64_t{2}, static_cast<std::int64_t>(kBand / view_.cell + 0.5));
        if (width < kNarrowestLeaf || width > kWidestLeaf || height < kLeastDoor ||
            height > kTallestLeaf)
            return false;
        if (view_.Height(rect.bottom) - view_.bottom > kSill) return false;
        const Rect leaf{rect.left + band, rect.bottom, rect.right - band, rect.top - band};
        if (leaf.left >= leaf.right || leaf.bottom >= leaf.top) return false;
        if (Count(leaf, WallView::kSolid) * 10 < static_cast<std::size_t>(leaf.Size()) * 6)
            return false;
        const auto opens = [&](std::int64_t c0, std::int64_t c1, std::int64_t r0, std::int64_t r1) {
            for (std::int64_t r = r0; r < r1; ++r)
                for (std::int64_t c = c0; c < c1; ++c)
                    if (open_[view_.At(c, r)] != 0) return true;
            return false;
        };
        std::int64_t sides = 0, above = 0;
        for (std::int64_t r = rect.bottom; r < rect.top; ++r) {
            sides += opens(rect.left, rect.left + band, r, r + 1);
            sides += opens(rect.right - band, rect.right, r, r + 1);
        }
        for (std::int64_t c = rect.left; c < rect.right; ++c)
            above += opens(c, c + 1, rect.top - band, rect.top);
        return sides * 10 >= (rect.top - rect.bottom) * 2 * 8 &&
               above * 10 >= (rect.right - rect.left) * 8;
    }

    const WallView& view_;
    std::vector<std::uint8_t> open_;
    std::vector<Rect> frames_;  // of closed leaves that are flush with the wall
};

}  // namespace

std::vector<Opening> FindOpenings(const WallView& view, const WallPiece& wall, double floor,
                                  double ceiling) {
    std::vector<Opening> openings;
    OpeningFinder finder(view);
    for (const Rect& rect : finder.Find()) {
        Opening opening;
        const double left = view.Along(rect.left), right = view.Along(rect.right);
        double bottom = view.Height(rect.bottom);
        const double top = view.Height(rect.top);
        const bool fromFloor = bottom - floor <= kSill;
        if (fromFloor) bottom = floor;
        const double width = right - left, height = top - bottom;
        const auto size = static_cast<double>(rect.Size());
        const auto share = [&](std::size_t count) { return static_cast<double>(count) / size; };
        opening.along = (left + right) / 2 - wall.run.begin;
        opening.bottom = bottom;
        opening.width = {width, width - 2 * view.cell, width + 2 * view.cell};
        opening.height = {height, height - 2 * view.cell, height + 2 * view.cell};
        opening.free = share(finder.Through(rect));
        opening.hidden = share(finder.Count(rect, WallView::kHidden));
        opening.unknown = share(finder.Count(rect, WallView::kUnknown));
        const bool toCeiling = top > ceiling - kUnderCeiling;
        if (fromFloor && opening.free > 0.5 && (width > kWidestDoor || toCeiling))
            opening.kind = OpeningKind::Hole;
        else if (fromFloor && height >= kLeastDoor && width <= kWidestDoor)
            opening.kind = OpeningKind::Door;
        else
            opening.kind = OpeningKind::Window;
        if (opening.kind == OpeningKind::Window && opening.free < kLeastFree) continue;
        opening.state = opening.free > 0.5 ? OpeningState::Free : OpeningState::Closed;
        openings.push_back(opening);
    }
    std::stable_sort(openings.begin(), openings.end(), [](const Opening& a, const Opening& b) {
        return std::tuple(a.along, a.bottom) < std::tuple(b.along, b.bottom);
    });
    return openings;
}

}  // namespace orvix::building
