// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/section_loop.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>

#include "orvix/gpu/section_counts.h"

// Compilers with vectors as values, which compile one function for more than the baseline; others
// take the loop over single points.
#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define ORVIX_SECTION_VECTORS 1
#pragma GCC diagnostic ignored "-Wpsabi"  // the functions that pass vectors are inlined
#else
#define ORVIX_SECTION_VECTORS 0
#endif

namespace orvix::detail {
namespace {

constexpr float kLargest = std::numeric_limits<float>::max();

// Sums of 32 bits a lane, of values of up to 4, count so many points at a time.
constexpr std::uint64_t kCountedAtOnce = std::uint64_t{1} << 28;

const std::byte* RecordAt(const SectionPoints& points, std::uint64_t i) {
    return static_cast<const std::byte*>(points.data) + i * points.stride;
}

void ClassifySingly(const SectionRule& rule, const SectionPoints& points, std::uint64_t first,
                    SectionClass* classes, std::uint8_t* steps, SectionCounts& counts) {
    for (std::uint64_t i = first; i < points.count; ++i) {
        SimplePointT<float> point;
        std::memcpy(&point, RecordAt(points, i), sizeof point);
        classes[i] = ClassOf(rule, point);
        Count(counts, classes[i]);
        if (steps != nullptr) {
            steps[i] = classes[i] < SectionClass::Outside ? StepOf(rule, point) : std::uint8_t{0};
        }
    }
}

#if ORVIX_SECTION_VECTORS

using Four = float __attribute__((vector_size(16)));

// Four points at a time, with what every x86-64 processor has.
namespace fours {

#define ORVIX_TARGET [[gnu::always_inline]]

constexpr std::uint64_t kCount = 4;
using Floats = Four;
using Ints = std::int32_t __attribute__((vector_size(16)));

ORVIX_TARGET inline Floats Load(const std::byte* from, std::uint64_t) {
    Floats four;
    std::memcpy(&four, from, sizeof four);
    return four;
}

template <int kA, int kB, int kC, int kD>
ORVIX_TARGET inline Floats Mix(Floats a, Floats b) {
    return __builtin_shufflevector(a, b, kA, kB, kC, kD);
}

// The lowest bytes of numbers of 0 to 255.
ORVIX_TARGET inline void Store(const Ints* numbers, std::uint8_t* to) {
    const auto lower = _mm_packs_epi32((__m128i)numbers[0], (__m128i)numbers[1]);
    const auto upper = _mm_packs_epi32((__m128i)numbers[2], (__m128i)numbers[3]);
    const auto bytes = _mm_packus_epi16(lower, upper);
    std::memcpy(to, &bytes, sizeof bytes);
}

#include "orvix/gpu/section_vectors.inc"
#undef ORVIX_TARGET

}  // namespace fours

// Eight at a time, as two times four: every shuffle stays within four. Multiplication and addition
// stay two operations, as AVX2 alone does not bring the fused one.
namespace eights {

#define ORVIX_TARGET __attribute__((target("avx2"), always_inline))

constexpr std::uint64_t kCount = 8;
using Floats = float __attribute__((vector_size(32)));
using Ints = std::int32_t __attribute__((vector_size(32)));

ORVIX_TARGET inline Floats Load(const std::byte* from, std::uint64_t toUpperFour) {
    Four lower;
    Four upper;
    std::memcpy(&lower, from, sizeof lower);
    std::memcpy(&upper, from + toUpperFour, sizeof upper);
    return __builtin_shufflevector(lower, upper, 0, 1, 2, 3, 4, 5, 6, 7);
}

constexpr int Of(int number) {
    return number < 4 ? number : number + 4;
}

// Numbers below 4 are of `a`, others of `b`, in the lower four, and the same in the upper.
template <int kA, int kB, int kC, int kD>
ORVIX_TARGET inline Floats Mix(Floats a, Floats b) {
    return __builtin_shufflevector(a, b, Of(kA), Of(kB), Of(kC), Of(kD), Of(kA) + 4, Of(kB) + 4,
                                   Of(kC) + 4, Of(kD) + 4);
}

ORVIX_TARGET inline void Store(const Ints* numbers, std::uint8_t* to) {
    const auto lower = _mm256_packs_epi32((__m256i)numbers[0], (__m256i)numbers[1]);
    const auto upper = _mm256_packs_epi32((__m256i)numbers[2], (__m256i)numbers[3]);
    const auto mixed = _mm256_packus_epi16(lower, upper);  // fours of 0, 1, 2, 3, and once more
    const auto bytes =
        _mm256_permutevar8x32_epi32(mixed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    std::memcpy(to, &bytes, sizeof bytes);
}

#include "orvix/gpu/section_vectors.inc"
#undef ORVIX_TARGET

}  // namespace eights

__attribute__((target("avx2"))) std::uint64_t ClassifyEights(const SectionRule& rule,
                                                             const SectionPoints& points,
                                                             SectionClass* classes,
                                                             std::uint8_t* steps,
                                                             SectionCounts& counts) {
    return eights::ClassifyWhole(rule, points, classes, steps, counts);
}

std::uint64_t ClassifyFours(const SectionRule& rule, const SectionPoints& points,
                            SectionClass* classes, std::uint8_t* steps, SectionCounts& counts) {
    return fours::ClassifyWhole(rule, points, classes, steps, counts);
}

bool HasEights() {
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
}

#else

std::uint64_t ClassifyFours(const SectionRule&, const SectionPoints&, SectionClass*, std::uint8_t*,
                            SectionCounts&) {
    return 0;
}
std::uint64_t ClassifyEights(const SectionRule&, const SectionPoints&, SectionClass*, std::uint8_t*,
                             SectionCounts&) {
    return 0;
}
bool HasEights() {
    return false;
}

#endif

SectionCounts Classify(const SectionRule& rule, const SectionPoints& points, SectionClass* classes,
                       std::uint8_t* steps, bool eights) {
    SectionCounts counts;
    for (std::uint64_t first = 0; first < points.count; first += kCountedAtOnce) {
        const std::uint64_t count = std::min(kCountedAtOnce, points.count - first);
        const SectionPoints piece{RecordAt(points, first), count, points.stride};
        std::uint8_t* const pieceSteps = steps != nullptr ? steps + first : nullptr;
        const std::uint64_t done =
            eights ? ClassifyEights(rule, piece, classes + first, pieceSteps, counts)
                   : ClassifyFours(rule, piece, classes + first, pieceSteps, counts);
        ClassifySingly(rule, piece, done, classes + first, pieceSteps, counts);
    }
    return counts;
}

}  // namespace

SectionCounts ClassifyPoints(const SectionRule& rule, const SectionPoints& points,
                             SectionClass* classes, std::uint8_t* steps) {
    return Classify(rule, points, classes, steps, HasEights());
}

SectionCounts ClassifyPointsPortably(const SectionRule& rule, const SectionPoints& points,
                                     SectionClass* classes, std::uint8_t* steps) {
    return Classify(rule, points, classes, steps, false);
}

SectionCounts CountsOf(const SectionClass* classes, std::uint64_t count) {
    SectionCounts counts;
    std::array<std::uint64_t, 256> times{};
    for (std::uint64_t i = 0; i < count; ++i) ++times[static_cast<std::uint8_t>(classes[i])];
    for (std::uint8_t k = 0; k <= 4; ++k) Count(counts, static_cast<SectionClass>(k), times[k]);
    return counts;
}

}  // namespace orvix::detail
