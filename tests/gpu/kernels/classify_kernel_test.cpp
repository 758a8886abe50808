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

// What the kernel decides is held against the plain loop below, written apart from all others; what it
// leaves to the processor is counted.
namespace orvix::test {
namespace {

constexpr float kLargest = std::numeric_limits<float>::max();
constexpr std::uint32_t kUndecided = 255;

struct Slab {
    std::array<float, 12> rows{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    float half = 1;
    float xLow = -kLargest, xHigh = kLargest, zLow = -kLargest, zHigh = kLargest;
    float rampLow = 0, rampScale = 0;
    std::uint32_t steps = 0;  // 0: no ramp
};

struct Answer {
    std::uint32_t kind = 0;
    std::uint32_t step = 0;
};

/// In single precision, one operation after the other.
Answer PlainAnswer(const Slab& slab, const float* p) {
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) return {4, 0};
    std::array<float, 3> across{};
    for (std::size_t row = 0; row < 3; ++row) {
        const float* r = slab.rows.data() + 4 * row;
        float sum = p[0] * r[0];
        sum = sum + p[1] * r[1];
        sum = sum + p[2] * r[2];
        across[row] = sum + r[3];
    }
    if (across[0] < slab.xLow || across[0] > slab.xHigh) return {3, 0};
    if (across[2] < slab.zLow || across[2] > slab.zHigh) return {3, 0};
    const float y = across[1];
    Answer answer;
    if (y > slab.half) answer.kind = 1;
    if (y < -slab.half) answer.kind = 2;
    if (slab.steps == 0) return answer;
    float q = y - slab.rampLow;
    q = q * slab.rampScale;
    const float floored = std::floor(q);
    const float last = static_cast<float>(slab.steps - 1);
    answer.step = static_cast<std::uint32_t>(std::clamp(floored, 0.0F, last));
    return answer;
}

using Words = std::array<std::uint32_t, platform::kComputeParameters>;

Words WordsOf(const Slab& slab, std::uint32_t count) {
    Words words{};
    std::transform(slab.rows.begin(), slab.rows.end(), words.begin(), BitsOf);
    const float borders[] = {slab.half, slab.xLow, slab.xHigh, slab.zLow, slab.zHigh};
    std::transform(std::begin(borders), std::end(borders), words.begin() + 12, BitsOf);
    words[17] = count;
    words[19] = slab.steps != 0 ? 2 : 0;
    words[20] = BitsOf(slab.rampLow);
    words[21] = BitsOf(slab.rampScale);
    words[22] = slab.steps;
    return words;
}

struct Tally {
    std::size_t answers = 0;
    std::size_t undecided = 0;
    std::size_t wrong = 0;
    void Add(const Tally& other) {
        answers += other.answers;
        undecided += other.undecided;
        wrong += other.wrong;
    }
};

class ClassifyKernel : public EachWay {
protected:
    Tally Check(const Slab& slab, std::span<const float> positions) {
        const auto count = static_cast<std::uint32_t>(positions.size() / 3);
        const std::uint32_t items = (count + 3) / 4;
        const Outputs outputs = Run(detail::kClassifyKernel, positions, {}, WordsOf(slab, count),
                                    (items + 255) / 256, items);
        return Compare(slab, positions, outputs, count);
    }

    static Tally Compare(const Slab& slab, std::span<const float> positions, const Outputs& outputs,
                         std::uint32_t count) {
        Tally tally;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t kind = outputs.first[i / 4] >> i % 4 * 8 & 255;
            const std::uint32_t step = outputs.second[i / 4] >> i % 4 * 8 & 255;
            const float* const p = positions.data() + std::size_t{3} * i;
            const Answer plain = PlainAnswer(slab, p);
            ++tally.answers;
            if (kind == kUndecided) {
                ++tally.undecided;
            } else if (kind != plain.kind || (slab.steps != 0 && step != plain.step)) {
                if (tally.wrong++ < 3) {
                    ADD_FAILURE() << p[0] << " " << p[1] << " " << p[2] << " is " << plain.kind
                                  << " step " << plain.step << ", the kernel says " << kind
                                  << " step " << step;
                }
            }
        }
        return tally;
    }

    void Print(const char* what, const Tally& tally) {
        std::printf("%s, %s: %zu points, %zu wrong, %.2g left to the processor\n", GetParam().name,
                    what, tally.answers, tally.wrong,
                    static_cast<double>(tally.undecided) / static_cast<double>(tally.answers));
    }
};
INSTANTIATE_TEST_SUITE_P(On, ClassifyKernel, ::testing::ValuesIn(kTestedWays),
                         [](const auto& way) { return way.param.name; });

/// A turned and moved frame with a slab, bounds and, every other time, a ramp.
Slab RandomSlab(Dice& dice) {
    Slab slab;
    std::array<double, 4> turn{};
    for (double& part : turn) part = dice.Normal();
    const double length =
        std::sqrt(turn[0] * turn[0] + turn[1] * turn[1] + turn[2] * turn[2] + turn[3] * turn[3]);
    for (double& part : turn) part /= length;
    const auto [w, x, y, z] = turn;
    const double rotation[] = {
        1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
        2 * (x * y + w * z),     1 - 2 * (x * x + z * z), 2 * (y * z - w * x),
        2 * (x * z - w * y),     2 * (y * z + w * x),     1 - 2 * (x * x + y * y)};
    for (std::size_t i = 0; i < 9; ++i)
        slab.rows[i / 3 * 4 + i % 3] = static_cast<float>(rotation[i]);
    for (std::size_t row = 0; row < 3; ++row)
        slab.rows[row * 4 + 3] = static_cast<float>(20 * dice.Share() - 10);
    slab.half = static_cast<float>(2 * dice.Share());
    slab.xLow = static_cast<float>(-30 * dice.Share());
    slab.xHigh = static_cast<float>(30 * dice.Share());
    slab.zLow = static_cast<float>(-30 * dice.Share());
    if (dice.Share() < 0.5) return slab;
    slab.steps = static_cast<std::uint32_t>(2 + 255 * dice.Share());
    const double width = 0.01 + 5 * dice.Share();
    slab.rampLow = static_cast<float>(-width * dice.Share());
    slab.rampScale = static_cast<float>(static_cast<double>(slab.steps) / width);
    return slab;
}

std::vector<float> RandomPositions(Dice& dice, std::size_t count, double size) {
    std::vector<float> positions(count * 3);
    for (float& value : positions) value = static_cast<float>(size * (dice.Share() - 0.5));
    return positions;
}

TEST_P(ClassifyKernel, DecidesRandomPointsAsThePlainLoopDoes) {
    std::uint64_t seed = 11;
    Dice dice(seed);
    Tally tally;
    for (int round = 0; round < 12; ++round) {
        const std::size_t count = 40'000 + static_cast<std::size_t>(5 * dice.Share());
        tally.Add(Check(RandomSlab(dice), RandomPositions(dice, count, 60)));
    }
    Print("random", tally);
    EXPECT_EQ(tally.wrong, 0U);
    // Ramps of up to 256 steps in 10 mm are among these.
    EXPECT_LT(static_cast<double>(tally.undecided), 0.01 * static_cast<double>(tally.answers));
}

TEST_P(ClassifyKernel, LeavesFewPointsOfAMillimetreGridToTheProcessor) {
    Slab slab;
    std::uint64_t seed = 12;
    Dice dice(seed);
    slab.rows = {0.8F, 0.6F, 0, -3, -0.6F, 0.8F, 0, 2, 0, 0, 1, 0};
    slab.half = 0.05F;
    std::vector<float> positions(std::size_t{3} * 200'000);
    for (float& value : positions)
        value = static_cast<float>(std::round(20'000 * dice.Share()) / 1000);
    const Tally tally = Check(slab, positions);
    Print("millimetres", tally);
    EXPECT_EQ(tally.wrong, 0U);
    EXPECT_LT(static_cast<double>(tally.undecided), 0.01 * static_cast<double>(tally.answers));
}

/// Points whose row `row` is within some units in the last place of `border`.
void AddNear(Dice& dice, const Slab& slab, std::size_t row, double border,
             std::vector<float>& positions) {
    const float* r = slab.rows.data() + 4 * row;
    // The coordinate that moves it the most.
    const std::size_t axis = static_cast<std::size_t>(
        std::max_element(r, r + 3, [](float a, float b) { return std::fabs(a) < std::fabs(b); }) -
        r);
    std::array<float, 3> p{};
    for (float& value : p) value = static_cast<float>(10 * dice.Share() - 5);
    double rest = border - static_cast<double>(r[3]);
    for (std::size_t i = 0; i < 3; ++i) {
        if (i != axis) rest -= static_cast<double>(p[i]) * static_cast<double>(r[i]);
    }
    const auto exact = static_cast<float>(rest / static_cast<double>(r[axis]));
    for (int steps = -2; steps <= 2; ++steps) {
        p[axis] = Stepped(exact, steps);
        positions.insert(positions.end(), p.begin(), p.end());
    }
}

TEST_P(ClassifyKernel, DecidesNothingWronglyBesideABorder) {
    std::uint64_t seed = 13;
    Dice dice(seed);
    Tally tally;
    for (int round = 0; round < 12; ++round) {
        const Slab slab = RandomSlab(dice);
        std::vector<float> positions;
        for (int i = 0; i < 1500; ++i) {
            AddNear(dice, slab, 1, slab.half, positions);
            AddNear(dice, slab, 1, -slab.half, positions);
            AddNear(dice, slab, 0, slab.xLow, positions);
            AddNear(dice, slab, 0, slab.xHigh, positions);
            AddNear(dice, slab, 2, slab.zLow, positions);
            if (slab.steps == 0) continue;
            const double end = std::floor(slab.steps * dice.Share());
            AddNear(dice, slab, 1, slab.rampLow + end / slab.rampScale, positions);
        }
        tally.Add(Check(slab, positions));
    }
    Print("beside borders", tally);
    EXPECT_EQ(tally.wrong, 0U);
}

TEST_P(ClassifyKernel, DecidesSpecialNumbersAsThePlainLoopDoes) {
    const float tiny = FloatOf(1);
    const float infinite = std::numeric_limits<float>::infinity();
    const float values[] = {0,
                            -0.0F,
                            tiny,
                            -tiny,
                            FloatOf(0x007FFFFF),
                            1.1754944e-38F,
                            1e-30F,
                            -1e-30F,
                            1,
                            -1,
                            Stepped(1, 1),
                            Stepped(1, -1),
                            -Stepped(1, 1),
                            3e9F,
                            -2.8e14F,
                            3e14F,
                            1e30F,
                            -1e30F,
                            kLargest,
                            -kLargest,
                            infinite,
                            -infinite,
                            std::numeric_limits<float>::quiet_NaN(),
                            FloatOf(0xFF800001)};
    std::vector<float> positions;
    for (const float x : values) {
        for (const float y : values) {
            for (const float z : values) positions.insert(positions.end(), {x, y, z});
        }
    }
    Slab plain;
    Slab bounded;
    bounded.xLow = bounded.zLow = 0;
    bounded.xHigh = bounded.zHigh = 1;
    bounded.half = 0;
    Slab ramped;
    ramped.steps = 256;
    ramped.rampLow = -1;
    ramped.rampScale = 128;
    Slab large = ramped;
    large.rows = {1e14F, -1e14F, 1, 1e20F, 1, 1e-20F, tiny, 0, 0, tiny, 2e14F, -1e28F};
    large.rampScale = 5e8F;
    Slab open;
    open.half = kLargest;
    Slab infiniteRows;
    infiniteRows.rows[5] = infinite;
    Slab noNumber;
    noNumber.xLow = std::numeric_limits<float>::quiet_NaN();
    Tally tally;
    for (const Slab& slab : {plain, bounded, ramped, large, open})
        tally.Add(Check(slab, positions));
    Print("special numbers", tally);
    EXPECT_EQ(tally.wrong, 0U);
    EXPECT_LT(tally.undecided, tally.answers);
    // What makes no sense is left to the processor.
    for (const Slab& slab : {infiniteRows, noNumber}) {
        const Tally none = Check(
            slab,
            RandomPositions(*std::make_unique<Dice>(*std::make_unique<std::uint64_t>(1)), 100, 10));
        EXPECT_EQ(none.undecided, none.answers);
    }
}

TEST_P(ClassifyKernel, WritesTheBytesOfTheItemsOfItsLaunchAndNoOthers) {
    std::uint64_t seed = 14;
    Dice dice(seed);
    Slab slab = RandomSlab(dice);
    slab.steps = 0;
    constexpr std::uint32_t kHeld = 5000;
    constexpr std::uint32_t kCount = 2501;
    constexpr std::uint32_t kFirst = 37;
    constexpr std::uint32_t kFirstItem = 100;
    const std::vector<float> positions = RandomPositions(dice, kHeld, 60);
    std::vector<std::uint32_t> numbers(kCount);
    for (std::uint32_t& number : numbers) number = static_cast<std::uint32_t>(kHeld * dice.Share());
    for (const bool listed : {false, true}) {
        Words words = WordsOf(slab, kCount);
        words[18] = kFirst;
        words[19] = listed ? 1 : 0;
        words[23] = kFirstItem;
        const Outputs outputs = Run(detail::kClassifyKernel, positions, numbers, words, 2, 700);
        for (std::uint32_t i = 0; i < 700 * 4; ++i) {
            const std::uint32_t kind = outputs.first[i / 4] >> i % 4 * 8 & 255;
            if (i / 4 < kFirstItem || i / 4 >= kFirstItem + 512 || i / 4 > kCount / 4) {
                EXPECT_EQ(kind, 0xEEU) << i;
            } else if (i >= kCount) {
                EXPECT_EQ(kind, 0U) << i;
            } else if (kind != kUndecided) {
                const std::uint32_t point = listed ? numbers[i] : kFirst + i;
                const float* const p = positions.data() + std::size_t{3} * point;
                EXPECT_EQ(kind, PlainAnswer(slab, p).kind) << i;
            }
        }
        EXPECT_TRUE(std::all_of(outputs.second.begin(), outputs.second.end(),
                                [](std::uint32_t word) { return word == 0xEEEEEEEE; }))
            << "no ramp, no steps";
    }
}

}  // namespace
}  // namespace orvix::test
