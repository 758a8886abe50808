// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/mathematic.h"

#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <numeric>

#include "orvix/platform/truncate.h"
#include "orvix/stats/natural_breaks.h"
#include "orvix/stats/random_draw.h"

namespace orvix {
namespace {

float MeanOf(const std::vector<float>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0f) / static_cast<float>(values.size());
}

}  // namespace

std::vector<double> Mathematic::GetJenksBreaks(std::vector<double>& values, const int& classes,
                                               const double& lowerBound) {
    return detail::NaturalBreaks(values, classes, lowerBound);
}

void Mathematic::PreapareHistogram4Jenks(const int& sampleCount, const int&,
                                         std::map<long long, double>& histogram,
                                         std::vector<double>* samples, const long long& total) {
    detail::DrawSamples(sampleCount, histogram, total, detail::DrawRange::Bits32, *samples);
}

double Mathematic::Average(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

void Mathematic::CalculateCentroid(const std::vector<CCloudPoint<float>>& points,
                                   CCloudPoint<double>& sums) {
    sums.x = sums.y = sums.z = 0.0;
    for (const CCloudPoint<float>& point : points) {
        sums.x += static_cast<double>(point.x);  // BEHAVIOUR H10
        sums.y += static_cast<double>(point.y);
        sums.z += static_cast<double>(point.z);
    }
}

float Mathematic::PearsonCorrelation(std::vector<float>& x, std::vector<float>& y) {
    if (x.size() < 2) return 0.0f;
    assert(y.size() >= x.size());
    const float meanX = MeanOf(x);
    const float meanY = MeanOf(y);
    // The square of a float is exact in double, and rounded once.
    const auto squared = [](float value) {
        return static_cast<float>(static_cast<double>(value) * static_cast<double>(value));
    };
    float sumXX = 0;
    float sumYY = 0;
    float sumXY = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const float fromX = x[i] - meanX;
        const float fromY = y[i] - meanY;
        sumXX += squared(fromX);
        sumYY += squared(fromY);
        sumXY += fromX * fromY;
    }
    return sumXY / std::sqrt(sumXX * sumYY);
}

bool Mathematic::GetMultipliers(unsigned long long& packed, int& a, int& b, int& c, int& d) {
    const auto value = static_cast<std::int32_t>(static_cast<std::uint32_t>(packed));
    a = b = c = 0;
    d = value / 16'777'216;
    // No 32-bit value has such a part; the check holds for wider ones.
    if (d > 999) return false;
    const std::int32_t rest = value - d * 16'777'216;
    a = rest & 255;
    b = (rest >> 8) & 255;
    c = rest / 65'536;
    return true;
}

long long Mathematic::Rand(long long upper, long long lower) {
    // Unsigned: bounds more than 2^63 apart wrap.
    const auto extent = static_cast<std::int64_t>(static_cast<std::uint64_t>(upper) -
                                                  static_cast<std::uint64_t>(lower));
    return detail::ScaleDraw(detail::DrawOfRuntime(), extent, lower);
}

double Mathematic::round(const double& x) {
    const double half = x < 0.0 ? -0.5 : 0.5;
    // BEHAVIOUR H11
    return static_cast<double>(detail::TruncateTo<std::int64_t>(x * 1000.0 + half)) / 1000.0;
}

void Mathematic::rad2deg(double& x) {
    x = x * 180.0 / std::numbers::pi;
}

}  // namespace orvix
