// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "orvix/geometry/sine_cosine.h"
#include "orvix/points/records.h"

namespace orvix::detection {

using Place2D = SimplePoint2DT<double>;

/// Square metres that places cover, in squares of 5 cm.
[[nodiscard]] double AreaSeen(std::span<const Place2D> places);

/// A strip between two occupied steps across a direction.
struct EmptyStrip {
    double quality = 0;        ///< places that are missing in it, at a first guess
    std::uint32_t low = 0;     ///< the last step before it
    std::uint32_t high = 0;    ///< the first one after it
    std::uint32_t inside = 0;  ///< places in it
};

/// How many places of a piece of a plane lie in each step of a pixel across a direction.
class StepCounts {
public:
    StepCounts(std::span<const Place2D> places, const detail::SineCosine& direction, double pixel);

    /// The best strips that nearly nothing lies in, best first.
    [[nodiscard]] std::vector<EmptyStrip> Strips() const;
    /// The middle of a strip, across the direction.
    [[nodiscard]] double MiddleOf(const EmptyStrip& strip) const {
        return origin_ + (strip.low + strip.high + 1) * pixel_ / 2;
    }

    [[nodiscard]] const detail::SineCosine& Direction() const { return direction_; }
    [[nodiscard]] double Pixel() const { return pixel_; }
    [[nodiscard]] std::size_t Steps() const { return first_.size() - 1; }
    /// The step of one of the places; the lowest is 0.
    [[nodiscard]] std::uint32_t StepOf(const Place2D& place) const {
        const double at = direction_.cosine * place.x + direction_.sine * place.y;
        return static_cast<std::uint32_t>((at - origin_) / pixel_);
    }
    /// The places before a step.
    [[nodiscard]] std::uint32_t Before(std::size_t step) const { return first_[step]; }
    [[nodiscard]] std::uint32_t CountOf(std::size_t from, std::size_t to) const {
        return first_[to] - first_[from];
    }

private:
    [[nodiscard]] bool IsOneOfMany(const EmptyStrip& strip) const;

    detail::SineCosine direction_;
    double pixel_;
    double origin_ = 0;                 // across, of the first step
    std::vector<std::uint32_t> first_;  // places before each step, and all
};

/// Judges strips by the places around them.
class StripJudge {
public:
    /// Borrows the counts, which are those of the places.
    StripJudge(const StepCounts& counts, std::span<const Place2D> places);

    /// How surely a strip parts two faces: how many places are missing in it, times how much wider it
    /// is than the gaps beside it. None where it does not.
    [[nodiscard]] std::optional<double> SuretyOf(const EmptyStrip& strip) const;

private:
    struct Rim {
        double low = 0;  // along the strip
        double high = 0;
    };
    struct Beside {
        double coarse = 1;  // share of the rows' span that wide gaps make, without the widest
        double whole = 0;   // the same with the widest gap
        double second = 0;  // widest of the gaps
    };

    [[nodiscard]] Rim RimOf(std::size_t from, std::size_t to) const;
    [[nodiscard]] Beside GapsIn(std::size_t from, std::size_t to, const Rim& rim,
                                double width) const;
    [[nodiscard]] bool LiesAmongRows(const EmptyStrip& strip, const Rim& rim) const;
    [[nodiscard]] bool IsFace(std::size_t from, std::size_t to, double length) const;

    const StepCounts& counts_;
    double pixel_;
    std::vector<double> along_;         // in the order of their steps
    std::vector<std::uint32_t> steps_;  // of the same
};

}  // namespace orvix::detection
