// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/rim_tracer.h"

#include <algorithm>
#include <bit>
#include <unordered_map>
#include <utility>

#include "detection/outlines/corner_geometry.h"

namespace orvix::detection {
namespace {

constexpr std::uint32_t kUntraced = ~std::uint32_t{0};

// Headings: right, up, left, down; and the pixel ahead of a corner to the left of each.
constexpr std::int64_t kDx[4] = {1, 0, -1, 0};
constexpr std::int64_t kDy[4] = {0, 1, 0, -1};
constexpr std::int64_t kAheadX[4] = {0, -1, -1, 0};
constexpr std::int64_t kAheadY[4] = {0, 0, -1, -1};

/// The upright pixel edges between filled and empty, row by row, and the rim that each belongs to.
class Borders {
public:
    explicit Borders(const PlaneRaster& raster);

    [[nodiscard]] std::size_t First(std::int64_t row) const {
        return first_[static_cast<std::size_t>(row)];
    }
    [[nodiscard]] std::size_t End(std::int64_t row) const { return First(row + 1); }
    [[nodiscard]] std::int64_t Column(std::size_t border) const { return columns_[border]; }
    [[nodiscard]] std::uint32_t Rim(std::size_t border) const { return rims_[border]; }
    void Mark(const RimCorner& edge, std::uint32_t rim) {
        const auto row = columns_.begin();
        const auto at = std::lower_bound(row + static_cast<std::ptrdiff_t>(First(edge.y)),
                                         row + static_cast<std::ptrdiff_t>(End(edge.y)), edge.x);
        rims_[static_cast<std::size_t>(at - row)] = rim;
    }

private:
    std::vector<std::size_t> first_;  // of each row, and where the last ends
    std::vector<std::uint32_t> columns_;
    std::vector<std::uint32_t> rims_;
};

Borders::Borders(const PlaneRaster& raster) {
    for (std::int64_t row = 0; row < raster.Height(); ++row) {
        first_.push_back(columns_.size());
        std::uint64_t carry = 0;
        for (std::size_t word = 0; word < raster.Words(); ++word) {
            const std::uint64_t bits = raster.Word(row, word);
            std::uint64_t changes = bits ^ (bits << 1 | carry);
            carry = bits >> 63;
            for (; changes != 0; changes &= changes - 1)
                columns_.push_back(static_cast<std::uint32_t>(word * 64) +
                                   static_cast<std::uint32_t>(std::countr_zero(changes)));
        }
        if (carry != 0) columns_.push_back(static_cast<std::uint32_t>(raster.Words() * 64));
    }
    first_.push_back(columns_.size());
    rims_.assign(columns_.size(), kUntraced);
}

std::int64_t TwiceAreaOf(const std::vector<RimCorner>& corners) {
    std::int64_t twice = 0;
    for (std::size_t i = 1; i + 1 < corners.size(); ++i)
        twice += TwiceAreaOf(corners[0], corners[i], corners[i + 1]);
    return twice;
}

class RimTracer {
public:
    explicit RimTracer(const PlaneRaster& raster) : raster_(raster), borders_(raster) {}

    std::vector<Rim> Trace();

private:
    void Walk(const RimCorner& start, int startHeading);
    void Visit(const RimCorner& at, bool touching);
    void Close(std::size_t from);
    [[nodiscard]] std::size_t Around(std::size_t border, bool begins) const;
    [[nodiscard]] bool Filled(std::int64_t column, std::int64_t row) const {
        return column >= 0 && row >= 0 && column < raster_.Width() && row < raster_.Height() &&
               raster_.At(column, row);
    }

    const PlaneRaster& raster_;
    Borders borders_;
    std::vector<Rim> rims_;
    std::vector<RimCorner> walk_;
    std::unordered_map<std::uint64_t, std::size_t> touches_;  // corner to place in walk_
};

// Rows from below, borders from the left: what lies to the left of a border is always known.
std::vector<Rim> RimTracer::Trace() {
    for (std::int64_t row = 0; row < raster_.Height(); ++row) {
        for (std::size_t i = borders_.First(row); i < borders_.End(row); ++i) {
            if (borders_.Rim(i) != kUntraced) continue;
            const std::size_t fresh = rims_.size();
            const bool begins = (i - borders_.First(row)) % 2 == 0;
            const std::size_t parent = i == borders_.First(row) ? kNoRim : Around(i - 1, !begins);
            const std::int64_t column = borders_.Column(i);
            if (begins) {
                Walk({column, row + 1}, 3);
            } else {
                Walk({column, row}, 1);
            }
            std::size_t outer = parent;
            for (std::size_t rim = fresh; rim < rims_.size(); ++rim)
                if (rims_[rim].twiceArea > 0) outer = rim;
            for (std::size_t rim = fresh; rim < rims_.size(); ++rim)
                rims_[rim].parent = rim == outer ? parent : outer;
        }
    }
    return std::move(rims_);
}

// The rim around what begins to the right of a border: the border's own where one enters that
// there, else the one around that.
std::size_t RimTracer::Around(std::size_t border, bool begins) const {
    const std::size_t rim = borders_.Rim(border);
    return (rims_[rim].twiceArea > 0) == begins ? rim : rims_[rim].parent;
}

// Once around, with the filled pixels to the left.
void RimTracer::Walk(const RimCorner& start, int startHeading) {
    RimCorner at = start;
    int heading = startHeading;
    do {
        at = {at.x + kDx[heading], at.y + kDy[heading]};
        const bool left = Filled(at.x + kAheadX[heading], at.y + kAheadY[heading]);
        const int toRight = (heading + 3) % 4;
        const bool right = Filled(at.x + kAheadX[toRight], at.y + kAheadY[toRight]);
        if (!left) {
            Visit(at, right);
            heading = (heading + 1) % 4;
        } else if (right) {
            Visit(at, false);
            heading = toRight;
        }
    } while (at != start || heading != startHeading);
    Close(0);
    touches_.clear();
}

void RimTracer::Visit(const RimCorner& at, bool touching) {
    if (touching) {  // BEHAVIOUR A7
        const auto key = static_cast<std::uint64_t>(at.y * (raster_.Width() + 1) + at.x);
        const auto [known, fresh] = touches_.try_emplace(key, walk_.size());
        if (!fresh && known->second < walk_.size() && walk_[known->second] == at) {
            Close(known->second);
        } else {
            known->second = walk_.size();
        }
    }
    walk_.push_back(at);
}

// Makes a rim of the walk's last corners.
void RimTracer::Close(std::size_t from) {
    const auto number = static_cast<std::uint32_t>(rims_.size());
    Rim rim;
    rim.corners.assign(walk_.begin() + static_cast<std::ptrdiff_t>(from), walk_.end());
    walk_.resize(from);
    for (std::size_t i = 0; i < rim.corners.size(); ++i) {
        const RimCorner &a = rim.corners[i], &b = rim.corners[(i + 1) % rim.corners.size()];
        for (std::int64_t y = std::min(a.y, b.y); y < std::max(a.y, b.y); ++y)
            borders_.Mark({a.x, y}, number);
    }
    const auto first = std::min_element(rim.corners.begin(), rim.corners.end(),
                                        [](const RimCorner& a, const RimCorner& b) {
                                            return std::pair(a.x, a.y) < std::pair(b.x, b.y);
                                        });
    std::rotate(rim.corners.begin(), first, rim.corners.end());
    rim.twiceArea = TwiceAreaOf(rim.corners);
    rims_.push_back(std::move(rim));
}

}  // namespace

std::vector<Rim> TraceRims(const PlaneRaster& raster) {
    return RimTracer(raster).Trace();
}

}  // namespace orvix::detection
