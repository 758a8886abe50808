// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "support/dice.h"
#include "tests/gpu/kernels/tested_devices.h"

// The bounds of the kernel are held against every point's exact value, by a plain loop in doubles.
namespace orvix::test {
namespace {

constexpr double kNone = std::numeric_limits<double>::infinity();
constexpr std::uint32_t kNoneBits = 0x7F800000;

using Vector = std::array<double, 3>;

struct Aim {
    Vector origin{};
    Vector direction{0, 0, 1};
    double radius = 0.01;
    double tangent = 0;
    bool position = false;
};

double Product(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The value of a point; kNone where it is not eligible within an aperture that is wider by `wider`.
double PlainValue(const Aim& aim, const float* p, double wider = 0) {
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) return kNone;
    const Vector w{p[0] - aim.origin[0], p[1] - aim.origin[1], p[2] - aim.origin[2]};
    const double square = Product(w, w);
    const double radius = aim.radius + wider;
    if (aim.position) return square <= radius * radius ? square : kNone;
    const double along = Product(w, aim.direction);
    const Vector q{w[0] - along * aim.direction[0], w[1] - along * aim.direction[1],
                   w[2] - along * aim.direction[2]};
    const double reach = radius + along * aim.tangent;
    return along >= -wider && Product(q, q) <= reach * reach ? along : kNone;
}

using Words = std::array<std::uint32_t, platform::kComputeParameters>;

Words WordsOf(const Aim& aim, std::uint32_t count) {
    Words words{};
    const auto rounded = [](double value) { return BitsOf(static_cast<float>(value)); };
    std::transform(aim.origin.begin(), aim.origin.end(), words.begin(), rounded);
    std::transform(aim.direction.begin(), aim.direction.end(), words.begin() + 3, rounded);
    words[6] = rounded(aim.radius);
    words[7] = rounded(aim.tangent);
    words[8] = aim.position ? 1 : 0;
    words[17] = count;
    return words;
}

class SnapKernel : public EachWay {
protected:
    struct Tally {
        std::size_t groups = 0;
        std::size_t tooHigh = 0;  // a bound above a value: the nearest point could be missed
        std::size_t inVain = 0;   // groups that look eligible and are not
    };

    std::vector<std::uint32_t> Bounds(const Words& words, std::span<const float> positions,
                                      std::span<const std::uint32_t> numbers = {}) {
        const std::uint32_t groups = (words[17] + 255) / 256;
        return Run(detail::kSnapKernel, positions, numbers, words, groups, groups).first;
    }

    /// `error`: what bounds may be below the values of points that nearly are eligible.
    Tally Check(const Aim& aim, std::span<const float> positions, double error) {
        const auto count = static_cast<std::uint32_t>(positions.size() / 3);
        const std::vector<std::uint32_t> bounds = Bounds(WordsOf(aim, count), positions);
        Tally tally;
        for (std::uint32_t group = 0; group < bounds.size(); ++group) {
            double least = kNone;
            double nearly = kNone;
            for (std::uint32_t i = group * 256; i < std::min(count, group * 256 + 256); ++i) {
                const float* const p = positions.data() + std::size_t{3} * i;
                least = std::min(least, PlainValue(aim, p));
                nearly = std::min(nearly, PlainValue(aim, p, error));
            }
            const double bound = FloatOf(bounds[group]);
            ++tally.groups;
            if (!(bound <= least)) {
                if (tally.tooHigh++ < 3) {
                    ADD_FAILURE() << "group " << group << ": bound " << bound << " above " << least;
                }
            }
            if (bound != kNone && least == kNone) ++tally.inVain;
            const double slack = aim.position ? error * (1 + 2 * std::sqrt(bound)) : error;
            EXPECT_GE(bound, std::max(0.0, nearly - 2 * slack)) << "group " << group;
        }
        return tally;
    }
};
INSTANTIATE_TEST_SUITE_P(On, SnapKernel, ::testing::ValuesIn(kTestedWays),
                         [](const auto& way) { return way.param.name; });

Aim RandomAim(Dice& dice, double size) {
    Aim aim;
    for (double& value : aim.origin) value = size * (dice.Share() - 0.5);
    for (double& value : aim.direction) value = dice.Normal();
    const double length = std::sqrt(Product(aim.direction, aim.direction));
    for (double& value : aim.direction) value /= length;
    aim.radius = 0.001 + 0.02 * size * dice.Share();
    if (dice.Share() < 0.5) aim.tangent = 0.2 * dice.Share();
    return aim;
}

TEST_P(SnapKernel, BoundsRandomPointsFromBelowAndClosely) {
    std::uint64_t seed = 21;
    Dice dice(seed);
    Tally sum;
    for (int round = 0; round < 24; ++round) {
        Aim aim = RandomAim(dice, 60);
        aim.position = round % 3 == 0;
        std::vector<float> positions(3 * (20'000 + static_cast<std::size_t>(300 * dice.Share())));
        for (float& value : positions) value = static_cast<float>(60 * (dice.Share() - 0.5));
        const Tally tally = Check(aim, positions, 2e-3);
        sum.groups += tally.groups;
        sum.tooHigh += tally.tooHigh;
        sum.inVain += tally.inVain;
    }
    std::printf("%s: %zu groups, %zu bounds too high, %zu groups in vain\n", GetParam().name,
                sum.groups, sum.tooHigh, sum.inVain);
    EXPECT_EQ(sum.tooHigh, 0U);
    EXPECT_LT(sum.inVain * 100, sum.groups);
}

TEST_P(SnapKernel, NeverMissesAPointOnTheApertureOrBesideTheOrigin) {
    // One point a group can be eligible: on the aperture, but for some units in the last place.
    std::uint64_t seed = 22;
    Dice dice(seed);
    std::size_t eligible = 0;
    for (int round = 0; round < 40; ++round) {
        Aim aim = RandomAim(dice, 100);
        aim.position = round % 4 == 0;
        std::vector<float> positions;
        for (int group = 0; group < 100; ++group) {
            const double along = dice.Share() < 0.2 ? 1e-6 * dice.Share() : 20 * dice.Share();
            Vector side{dice.Normal(), dice.Normal(), dice.Normal()};
            const double over = Product(side, aim.direction);
            for (std::size_t i = 0; i < 3 && !aim.position; ++i) side[i] -= over * aim.direction[i];
            const double length = std::sqrt(Product(side, side));
            const double reach = aim.position ? aim.radius : aim.radius + along * aim.tangent;
            for (std::size_t i = 0; i < 3; ++i) {
                const double forward = aim.position ? 0 : along * aim.direction[i];
                const auto exact =
                    static_cast<float>(aim.origin[i] + forward + side[i] / length * reach);
                positions.push_back(Stepped(exact, static_cast<int>(5 * dice.Share()) - 2));
            }
            if (PlainValue(aim, positions.data() + positions.size() - 3) != kNone) ++eligible;
            for (int other = 1; other < 256; ++other)
                positions.insert(positions.end(), {1e6F, 1e6F, -1e6F});
        }
        EXPECT_EQ(Check(aim, positions, 1e-3).tooHigh, 0U);
    }
    std::printf("%s: %zu of 4000 points beside the aperture are eligible\n", GetParam().name,
                eligible);
    EXPECT_GT(eligible, 1000U);
    EXPECT_LT(eligible, 3000U);
}

TEST_P(SnapKernel, TakesSpecialNumbers) {
    const float tiny = FloatOf(1);
    const float largest = std::numeric_limits<float>::max();
    const float values[] = {0,
                            -0.0F,
                            tiny,
                            -tiny,
                            1.1754944e-38F,
                            1e-20F,
                            1e-10F,
                            1,
                            -1,
                            1e6F,
                            -3e14F,
                            1e20F,
                            1e30F,
                            largest,
                            -largest,
                            -1e-25F,
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN()};
    // One triple a group, among points without a position.
    std::vector<float> positions;
    std::vector<std::array<float, 3>> triples;
    for (const float x : values) {
        for (const float y : values) {
            for (const float z : values) triples.push_back({x, y, z});
        }
    }
    for (std::size_t i = 0; i < triples.size(); i += 8) {
        positions.insert(positions.end(), triples[i].begin(), triples[i].end());
        for (int other = 1; other < 256; ++other) {
            const float none = std::numeric_limits<float>::quiet_NaN();
            positions.insert(positions.end(), {none, 1, 1});
        }
    }
    const auto count = static_cast<std::uint32_t>(positions.size() / 3);
    Aim exact;
    exact.radius = 0;
    Aim tilted;
    tilted.direction = {std::sqrt(0.5), 0, std::sqrt(0.5)};
    tilted.origin = {1e-39, 1, -1e6};
    tilted.tangent = 1e-40;
    Aim open;
    open.radius = 1e30;
    Aim position = exact;
    position.position = true;
    Aim anywhere = position;
    anywhere.radius = 3e38;
    Aim far;
    far.origin = {1e17, 0, 0};
    Aim none;
    none.origin[1] = std::numeric_limits<double>::quiet_NaN();
    for (const Aim& aim : {exact, tilted, open, position, anywhere, far}) {
        const std::vector<std::uint32_t> bounds = Bounds(WordsOf(aim, count), positions);
        for (std::size_t group = 0; group < bounds.size(); ++group) {
            const float* const p = positions.data() + group * 256 * 3;
            const double value = PlainValue(aim, p);
            EXPECT_LE(FloatOf(bounds[group]), value) << p[0] << " " << p[1] << " " << p[2];
            const bool finite = std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
            if (!finite) {
                EXPECT_EQ(bounds[group], kNoneBits);
            }
        }
    }
    for (const std::uint32_t bound : Bounds(WordsOf(none, 256), std::span(positions).first(768)))
        EXPECT_EQ(bound, 0U) << "an aim that makes no sense is left to the processor";
}

TEST_P(SnapKernel, WritesTheGroupsOfItsLaunchAndTakesListedPoints) {
    std::uint64_t seed = 23;
    Dice dice(seed);
    std::vector<float> positions(3 * 4000);
    for (float& value : positions) value = static_cast<float>(10 * (dice.Share() - 0.5));
    std::vector<std::uint32_t> numbers(1000);
    for (std::uint32_t& number : numbers) number = static_cast<std::uint32_t>(4000 * dice.Share());
    Aim aim;
    aim.position = true;
    aim.radius = 100;
    for (const bool listed : {false, true}) {
        Words words = WordsOf(aim, 1000);
        words[18] = 1300;
        words[19] = listed ? 1 : 0;
        words[23] = 1;
        const auto bounds = Run(detail::kSnapKernel, positions, numbers, words, 4, 6).first;
        EXPECT_EQ(bounds[0], 0xEEEEEEEEU);
        EXPECT_EQ(bounds[4], 0xEEEEEEEEU) << "there are 4 groups of points, 0 to 3";
        for (std::uint32_t group = 1; group < 4; ++group) {
            double least = kNone;
            for (std::uint32_t i = group * 256; i < std::min(1000U, group * 256 + 256); ++i) {
                const std::uint32_t point = listed ? numbers[i] : 1300 + i;
                least = std::min(least, PlainValue(aim, positions.data() + std::size_t{3} * point));
            }
            EXPECT_LE(FloatOf(bounds[group]), least);
            EXPECT_NEAR(FloatOf(bounds[group]), least, 1e-3);
        }
    }
}

}  // namespace
}  // namespace orvix::test
