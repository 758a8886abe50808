// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace orvix::detail {

inline constexpr int kMaxDraw = 32'767;

/// The next number of the C runtime's generator, brought to 0..32767: the top 15 bits of its range.
///
/// Where rand() ends at 32767 that is the number itself. A host that seeds the generator with
/// srand() repeats a sequence on the same system; another system's runtime draws other numbers.
int DrawOfRuntime();

/// A generator of our own with the same range, for results that must be the same on every system.
///
/// Source  the linear congruential generator x <- 214013 x + 2531011 (mod 2^32), bits 16 to 30.
class SeededDraws {
public:
    explicit SeededDraws(std::uint32_t seed) : state_(seed) {}
    int operator()() {
        state_ = state_ * 214'013u + 2'531'011u;
        return static_cast<int>(state_ >> 16 & kMaxDraw);
    }

private:
    std::uint32_t state_;
};

/// The whole number from `lower` to `lower` + `extent` that a draw of 0..32767 stands for, both
/// ends included, in single precision throughout: an extent above 16,777,216 is reached in steps.
std::int64_t ScaleDraw(int draw, std::int64_t extent, std::int64_t lower);

/// In how many bits a draw is looked up; what is beyond them wraps.
enum class DrawRange { Bits32, Bits64 };

/// Seeds the C runtime's generator with the time in seconds, draws up to `count` values, appends
/// them to `samples` and sorts all of it, NaN last. A key of `values` is the number of points up to
/// and including a bin; a draw takes the first bin whose key is above it, and none where the draw
/// reaches `total`.
void DrawSamples(int count, const std::map<long long, double>& values, std::int64_t total,
                 DrawRange range, std::vector<double>& samples);

}  // namespace orvix::detail
