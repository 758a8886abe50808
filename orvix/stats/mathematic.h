// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <vector>

#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

/// Natural breaks, and small numeric helpers for hosts.
///
/// Natural breaks divide sorted values into classes so that the sum of the squared distances of the
/// values from the mean of their class is the smallest possible. Draw a bounded sample from a
/// histogram, then classify it; a few thousand values place the boundaries of a cloud of any size.
///
///     std::vector<double> samples;
///     manager.ReadHistogram4Jenks(manager.zHist, &samples, 0.0, 8000, 0);
///     const std::vector<double> breaks = Mathematic::GetJenksBreaks(samples, 5, samples.front());
///     // class i: above breaks[i], up to and including breaks[i + 1]
///
/// Errors     none are reported; degenerate input gives what the member says. Allocation failures
///            propagate.
/// Threads    no state of its own; calls may run side by side, except that `Rand` and the sampler
///            share the C runtime's generator with the whole process.
class ORVIX_API Mathematic {
public:
    Mathematic() {}
    Mathematic(const Mathematic&) {}
    Mathematic(Mathematic&&) noexcept {}
    ~Mathematic() {}
    Mathematic& operator=(const Mathematic&) { return *this; }
    Mathematic& operator=(Mathematic&&) noexcept { return *this; }

    /// The boundaries of `classes` natural classes of `values`, which are sorted ascending and not
    /// changed.
    ///
    /// Shape      classes + 1 values: `lowerBound` as it is given, the largest value of each class
    ///            but the last, and the last value.
    /// Order      of equally good divisions the one with the longer last class is taken, then the
    ///            longer last but one, and so on. "Equally good" is decided on the sums as they are
    ///            computed, from a class's last value to its first, on every system alike.
    /// Boundaries one class: {lowerBound, last value}; none: {last value}. With more classes than
    ///            values boundaries repeat. No value: every element is `lowerBound`. A negative
    ///            number of classes: none. Unsorted values, infinities and NaN go through the same
    ///            arithmetic.
    /// Cost       docs/BENCHMARKS.md; 12 bytes per value and class, for at least one class.
    /// Source     W. D. Fisher, "On grouping for maximum homogeneity", JASA 53 (1958).
    static std::vector<double> GetJenksBreaks(std::vector<double>& values, const int& classes,
                                              const double& lowerBound);

    /// Draws up to `sampleCount` values from a histogram, appends them to `samples` and sorts all
    /// that `samples` then holds. The second argument is not used.
    ///
    /// Units      a key of `histogram` is the number of points up to and including a bin, `total`
    ///            the number of all points; a draw takes the first bin whose key is above it.
    /// Order      seeded with the time in seconds: two calls within a second draw the same.
    /// Boundaries a draw that reaches the last key adds nothing, so there may be fewer values. A
    ///            draw has 32,768 levels and single precision: of more than 16,777,216 points it
    ///            reaches every other one at best; from 2^31 on it wraps in 32 bits. NaN is last.
    static void PreapareHistogram4Jenks(const int& sampleCount, const int& unused,
                                        std::map<long long, double>& histogram,
                                        std::vector<double>* samples, const long long& total);

    /// Sum in order, by count; NaN for no value.
    static double Average(const std::vector<double>& values);

    /// The sums of x, y and z (each widened to double) in `sums`; the caller divides by the number
    /// of points, who can add several clouds first.
    static void CalculateCentroid(const std::vector<CCloudPoint<float>>& points,
                                  CCloudPoint<double>& sums);

    /// Pearson's correlation of the first n values of each, n being the size of `x`, in single
    /// precision; the mean of `y` is that of all its values. 0 for n < 2, NaN where x or y do not
    /// vary. Precondition: `y` holds at least n values.
    static float PearsonCorrelation(std::vector<float>& x, std::vector<float>& y);

    /// The four bytes of the low 32 bits of `packed`, `a` the least significant. Bits 31 to 24 are
    /// signed: they and the rest divide toward zero, so a negative packed value has a negative `d`
    /// and `c`. True, unless `d` exceeds 999.
    static bool GetMultipliers(unsigned long long& packed, int& a, int& b, int& c, int& d);

    /// A whole number from `lower` to `upper`, both included, from the C runtime's generator as the
    /// caller seeded it; 32,768 levels, in single precision.
    static long long Rand(long long upper, long long lower);

    /// To three decimals, halves away from zero: 1.2345 to 1.235. Where 1000 x leaves the range of
    /// 64-bit integers, and for NaN, -9223372036854775.808.
    static double round(const double& x);

    /// Radians to degrees, in place.
    static void rad2deg(double& x);
};

}  // namespace orvix
