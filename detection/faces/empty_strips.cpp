// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/faces/empty_strips.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "orvix/geometry/quantile.h"

namespace orvix::detection {
namespace {

// Metres.
constexpr double kMinWidth = 0.007;  // of a strip
constexpr double kMaxWidth = 0.16;
constexpr std::uint32_t kMinSteps = 4;  // pixels: what is narrower may be how they fall
constexpr double kLook = 0.08;          // on both sides of a strip, for a first guess
constexpr double kSide = 0.1;           // and for what is expected in it
constexpr double kFar = 0.3;            // and for how far apart rows lie
constexpr double kBin = 0.04;           // along a strip
constexpr double kMinOverlap = 0.05;    // of both sides, along it
constexpr double kMinLength = 0.15;
constexpr double kLong = 1.6;  // a strip that is longer than that is narrower than the next
constexpr double kMaxWidthOfLong = 0.03;
constexpr double kMinFaceWidth = 0.08;
constexpr double kMinFaceArea = 0.02;  // square metres
constexpr double kAreaCell = 0.05;
constexpr double kMinAspect = 1.5;      // length of a strip to its width
constexpr double kMinFaceAspect = 0.2;  // width of a face to the strip's length
constexpr double kMinShare = 0.3;       // of the shorter side: the strip's length
constexpr double kSpread = 0.02;        // of a face's places lie beyond its width, on either side

constexpr std::uint32_t kMinPlaces = 50;  // on either side
constexpr double kMinGuess = 20;          // places that are missing
constexpr double kCostOfStray = 6;
constexpr std::size_t kStripsOfKind = 8;
constexpr double kMaxStrays = 0.008;      // of all places
constexpr double kMinExpected = 40;       // places
constexpr double kMaxInside = 0.15;       // of those expected
constexpr double kMinEmpty = 0.7;         // of the bins along the strip
constexpr double kMaxCoarse = 0.15;       // share of gaps half as wide, beside it
constexpr std::uint32_t kNearWidths = 3;  // of the strip: where the same share is
constexpr double kMaxNearCoarse = 0.3;    // at most
constexpr double kMinSpacings = 1.2;      // the strip's width to the distance of places
constexpr double kCostOfInside = 8;
constexpr double kMostTimes =
    6;  // a strip's width to that of gaps beside it: what more says no more

}  // namespace

double AreaSeen(std::span<const Place2D> places) {
    double left = std::numeric_limits<double>::infinity(), right = -left, bottom = left,
           top = -left;
    for (const Place2D& p : places) {
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        bottom = std::min(bottom, p.y);
        top = std::max(top, p.y);
    }
    if (places.empty()) return 0;
    const auto columns = static_cast<std::size_t>((right - left) / kAreaCell) + 1;
    std::vector<bool> seen(columns * (static_cast<std::size_t>((top - bottom) / kAreaCell) + 1));
    std::size_t count = 0;
    for (const Place2D& p : places) {
        const std::size_t at = static_cast<std::size_t>((p.y - bottom) / kAreaCell) * columns +
                               static_cast<std::size_t>((p.x - left) / kAreaCell);
        count += seen[at] ? 0 : 1;
        seen[at] = true;
    }
    return static_cast<double>(count) * kAreaCell * kAreaCell;
}

StepCounts::StepCounts(std::span<const Place2D> places, const detail::SineCosine& direction,
                       double pixel)
    : direction_(direction), pixel_(pixel) {
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (const Place2D& p : places) {
        const double at = direction_.cosine * p.x + direction_.sine * p.y;
        low = std::min(low, at);
        high = std::max(high, at);
    }
    origin_ = low;
    if (!(high - low >= 2 * kMinFaceWidth)) {
        first_.assign(1, 0);
        return;
    }
    first_.assign(static_cast<std::size_t>((high - low) / pixel_) + 2U, 0);
    for (const Place2D& p : places) ++first_[StepOf(p) + 1U];
    for (std::size_t i = 1; i < first_.size(); ++i) first_[i] += first_[i - 1];
}

// Whether rows lie half as far apart all around a strip.
bool StepCounts::IsOneOfMany(const EmptyStrip& strip) const {
    const auto far = static_cast<std::uint32_t>(kFar / pixel_);
    const std::uint32_t half = (strip.high - strip.low + 1) / 2;
    const auto coarse = [&](std::uint32_t from, std::uint32_t to) {
        std::uint32_t last = from, wide = 0, widest = 0;
        for (std::uint32_t i = from + 1; i <= to; ++i) {
            if (CountOf(i, i + 1U) == 0) continue;
            const std::uint32_t gap = i - last;
            wide += gap >= half ? gap : 0;
            widest = std::max(widest, gap);
            last = i;
        }
        if (widest >= half) wide -= widest;
        return wide > kMaxCoarse * (last - from - widest);
    };
    const auto end = static_cast<std::uint32_t>(Steps() - 1);
    return coarse(strip.low >= far ? strip.low - far : 0, strip.low) ||
           coarse(strip.high, std::min(end, strip.high + far));
}

std::vector<EmptyStrip> StepCounts::Strips() const {
    const auto look = static_cast<std::size_t>(kLook / pixel_);
    const std::size_t steps = Steps();
    if (steps == 0) return {};
    const std::uint32_t all = first_[steps];
    std::vector<std::uint32_t> occupied;
    for (std::uint32_t i = 0; i < steps; ++i)
        if (CountOf(i, i + 1U) > 0) occupied.push_back(i);
    std::vector<EmptyStrip> best;
    for (const std::uint32_t strays : {0U, 2U, 8U, 32U}) {
        if (strays > 0 && strays > kMaxStrays * all) break;
        std::vector<EmptyStrip> found;
        std::size_t far = 1;
        for (std::size_t i = 0; i + 1 < occupied.size(); ++i) {
            const std::uint32_t low = occupied[i];
            far = std::max(far, i + 1);
            while (far + 1 < occupied.size() && CountOf(low + 1U, occupied[far] + 1U) <= strays)
                ++far;
            const std::uint32_t high = occupied[far];
            const double width = (high - low) * pixel_;
            if (width < kMinWidth || width > kMaxWidth || high - low < kMinSteps) continue;
            if (first_[low + 1U] < kMinPlaces || all - first_[high] < kMinPlaces) continue;
            const std::uint32_t before = CountOf(low >= look ? low - look : 0, low + 1U);
            const std::uint32_t after = CountOf(high, std::min(steps, high + look + 1));
            const std::uint32_t inside = CountOf(low + 1U, high);
            const double quality = width * std::min(before, after) / kLook - kCostOfStray * inside;
            if (quality >= kMinGuess) found.push_back({quality, low, high, inside});
        }
        std::stable_sort(found.begin(), found.end(), [](const EmptyStrip& a, const EmptyStrip& b) {
            return a.quality > b.quality;
        });
        const std::size_t first = best.size();
        for (const EmptyStrip& strip : found) {
            const auto overlaps = [&](const EmptyStrip& other) {
                return strip.low < other.high && other.low < strip.high;
            };
            if (std::any_of(best.begin() + static_cast<std::ptrdiff_t>(first), best.end(),
                            overlaps))
                continue;
            best.push_back(strip);
            if (best.size() - first == kStripsOfKind) break;
        }
    }
    return best;
}

StripJudge::StripJudge(const StepCounts& counts, std::span<const Place2D> places)
    : counts_(counts), pixel_(counts.Pixel()), along_(places.size()), steps_(places.size()) {
    std::vector<std::uint32_t> next(counts.Steps());
    for (std::size_t i = 0; i < next.size(); ++i) next[i] = counts.Before(i);
    const detail::SineCosine& direction = counts.Direction();
    for (const Place2D& p : places) {
        const std::uint32_t step = counts.StepOf(p);
        const std::uint32_t at = next[step]++;
        along_[at] = direction.cosine * p.y - direction.sine * p.x;
        steps_[at] = step;
    }
}

// From step `from` to before step `to`.
StripJudge::Rim StripJudge::RimOf(std::size_t from, std::size_t to) const {
    Rim rim{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (std::size_t i = counts_.Before(from); i < counts_.Before(to); ++i) {
        rim.low = std::min(rim.low, along_[i]);
        rim.high = std::max(rim.high, along_[i]);
    }
    return rim;
}

// The gaps between the rows of places that follow each other across, along the rim.
StripJudge::Beside StripJudge::GapsIn(std::size_t from, std::size_t to, const Rim& rim,
                                      double width) const {
    double all = 0, wide = 0, widest = 0;
    Beside beside;
    std::optional<std::uint32_t> last;
    for (std::size_t i = counts_.Before(from); i < counts_.Before(to); ++i) {
        if (along_[i] < rim.low || along_[i] > rim.high) continue;
        if (last) {
            const double gap = (steps_[i] - *last) * pixel_;
            all += gap;
            if (gap >= width / 2) wide += gap;
            beside.second = std::max(beside.second, std::min(gap, widest));
            widest = std::max(widest, gap);
        }
        last = steps_[i];
    }
    if (all > 0) beside.whole = wide / all;
    // The widest may be the next strip.
    if (widest >= width / 2) wide -= widest;
    if (all > widest) beside.coarse = wide / (all - widest);
    return beside;
}

// Whether the nearest rows are about as far apart as the strip is wide, as at the height of scanners:
// there the rows of all of them lie side by side, farther up and down between each other.
bool StripJudge::LiesAmongRows(const EmptyStrip& strip, const Rim& rim) const {
    const double width = (strip.high - strip.low) * pixel_;
    const std::uint32_t near = kNearWidths * (strip.high - strip.low);
    const std::size_t from = strip.low >= near ? strip.low - near : 0;
    const std::size_t to = std::min<std::size_t>(counts_.Steps(), strip.high + near + 1U);
    return std::max(GapsIn(from, strip.low + 1U, rim, width).whole,
                    GapsIn(strip.high, to, rim, width).whole) > kMaxNearCoarse;
}

bool StripJudge::IsFace(std::size_t from, std::size_t to, double length) const {
    const auto first = static_cast<std::ptrdiff_t>(counts_.Before(from));
    const auto last = static_cast<std::ptrdiff_t>(counts_.Before(to));
    std::vector<double> along(along_.begin() + first, along_.begin() + last), across;
    std::vector<Place2D> places;
    for (std::ptrdiff_t i = first; i < last; ++i) {
        const auto at = static_cast<std::size_t>(i);
        across.push_back(steps_[at] * pixel_);
        places.push_back({across.back(), along_[at]});
    }
    if (AreaSeen(places) < kMinFaceArea) return false;
    const auto widthOf = [](std::vector<double>& values) {
        return detail::Quantile(values, 1 - kSpread) - detail::Quantile(values, kSpread);
    };
    const double width = std::min(widthOf(along), widthOf(across));
    return width >= kMinFaceWidth && width >= kMinFaceAspect * length;
}

std::optional<double> StripJudge::SuretyOf(const EmptyStrip& strip) const {
    const double width = (strip.high - strip.low) * pixel_;
    const auto side = static_cast<std::size_t>(kSide / pixel_);
    const std::size_t before = strip.low >= side ? strip.low - side : 0;
    const std::size_t after = std::min(counts_.Steps(), strip.high + side + 1);
    const Rim a = RimOf(before, strip.low + 1U), b = RimOf(strip.high, after);
    const Rim rim{std::max(a.low, b.low), std::min(a.high, b.high)};
    if (!(rim.high - rim.low >= kMinOverlap)) return {};

    struct Bin {
        std::uint32_t before = 0, inside = 0, after = 0;
    };
    std::vector<Bin> bins(static_cast<std::size_t>(std::ceil((rim.high - rim.low) / kBin)));
    const double bin = (rim.high - rim.low) / static_cast<double>(bins.size());
    const auto count = [&](std::size_t from, std::size_t to, std::uint32_t Bin::*part) {
        for (std::size_t i = counts_.Before(from); i < counts_.Before(to); ++i) {
            if (along_[i] < rim.low || along_[i] > rim.high) continue;
            const auto at = static_cast<std::size_t>((along_[i] - rim.low) / bin);
            ++(bins[std::min(at, bins.size() - 1)].*part);
        }
    };
    count(before, strip.low + 1U, &Bin::before);
    count(strip.low + 1U, strip.high, &Bin::inside);
    count(strip.high, after, &Bin::after);
    const double depthBefore = static_cast<double>(strip.low + 1U - before) * pixel_;
    const double depthAfter = static_cast<double>(after - strip.high) * pixel_;
    double perMetre = 0, filled = 0, empty = 0;
    for (const Bin& each : bins) {
        if (each.before == 0 || each.after == 0) continue;
        perMetre += std::min(each.before / depthBefore, each.after / depthAfter);
        filled += 1;
        empty += each.inside == 0 ? 1 : 0;
    }
    const double expected = perMetre * width, length = filled * bin;
    if (expected < kMinExpected || strip.inside > kMaxInside * expected) return {};
    if (length < kMinLength || length < kMinAspect * width) return {};
    if (length > kLong && width > kMaxWidthOfLong) return {};
    if (empty < kMinEmpty * filled) return {};

    const auto far = static_cast<std::size_t>(kFar / pixel_);
    const Beside left = GapsIn(strip.low >= far ? strip.low - far : 0, strip.low + 1U, rim, width);
    const Beside right =
        GapsIn(strip.high, std::min(counts_.Steps(), strip.high + far + 1), rim, width);
    const double coarse = std::max(left.coarse, right.coarse);
    if (coarse > kMaxCoarse || LiesAmongRows(strip, rim)) return {};
    if (width * std::sqrt(perMetre / length) < kMinSpacings) return {};
    const Rim wholeBefore = RimOf(0, strip.low + 1U),
              wholeAfter = RimOf(strip.high, counts_.Steps());
    const double shorter =
        std::min(wholeBefore.high - wholeBefore.low, wholeAfter.high - wholeAfter.low);
    if (length < kMinShare * shorter) return {};
    if (!IsFace(0, strip.low + 1U, length) || !IsFace(strip.high, counts_.Steps(), length))
        return {};
    const double second = std::max({left.second, right.second, width / kMostTimes});
    return (expected - kCostOfInside * strip.inside) * width / second;
}

}  // namespace orvix::detection
