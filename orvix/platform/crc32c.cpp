// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/crc32c.h"

#include <array>
#include <cstddef>
#include <cstring>

// Compilers that compile one function for more than the baseline; others take the tables.
#if defined(__x86_64__) && defined(__GNUC__)
#include <nmmintrin.h>
#define ORVIX_CRC_INSTRUCTION 1
#else
#define ORVIX_CRC_INSTRUCTION 0
#endif

namespace orvix::platform {
namespace {

constexpr std::uint32_t kReflectedPolynomial = 0x82F63B78;
constexpr std::size_t kStep = 8;

// Table k takes a byte to its remainder k bytes further on.
constexpr auto kTables = [] {
    std::array<std::array<std::uint32_t, 256>, kStep> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? kReflectedPolynomial : 0);
        }
        tables[0][byte] = crc;
    }
    for (std::size_t k = 1; k < kStep; ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t crc = tables[k - 1][byte];
            tables[k][byte] = (crc >> 8) ^ tables[0][crc & 0xFF];
        }
    }
    return tables;
}();

std::uint64_t WordAt(const std::uint8_t* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Polynomials modulo the one of the sum; the highest bit is the coefficient of x^0.
constexpr std::uint32_t Product(std::uint32_t a, std::uint32_t b) {
    std::uint32_t product = 0;
    for (std::uint32_t bit = 0x80000000u; bit != 0; bit >>= 1) {
        if ((a & bit) != 0) product ^= b;
        b = (b >> 1) ^ ((b & 1) != 0 ? kReflectedPolynomial : 0);
    }
    return product;
}

// x to the power of 8 times `bytes`: what a register is multiplied by where so many zeros follow.
constexpr std::uint32_t PowerOfBytes(std::uint64_t bytes) {
    std::uint32_t power = 0x80000000u;
    std::uint32_t square = 0x00800000u;  // x^8
    for (; bytes != 0; bytes >>= 1) {
        if ((bytes & 1) != 0) power = Product(square, power);
        square = Product(square, square);
    }
    return power;
}

std::uint32_t ThroughTables(std::uint32_t crc, std::span<const std::uint8_t> bytes) {
    std::size_t i = 0;
    for (; bytes.size() - i >= kStep; i += kStep) {
        const std::uint64_t word = WordAt(bytes.data() + i) ^ crc;
        crc = 0;
        for (std::size_t k = 0; k < kStep; ++k) {
            crc ^= kTables[kStep - 1 - k][(word >> (8 * k)) & 0xFF];
        }
    }
    for (; i < bytes.size(); ++i) crc = (crc >> 8) ^ kTables[0][(crc ^ bytes[i]) & 0xFF];
    return crc;
}

#if ORVIX_CRC_INSTRUCTION

// Multiplies a register by a constant, byte by byte.
using ShiftTables = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr ShiftTables ShiftBy(std::uint64_t bytes) {
    const std::uint32_t power = PowerOfBytes(bytes);
    ShiftTables tables{};
    for (std::size_t k = 0; k < tables.size(); ++k) {
        for (std::uint32_t bit = 1; bit < 256; bit <<= 1) {
            const std::uint32_t shifted = Product(power, bit << (8 * k));
            for (std::uint32_t below = 0; below < bit; ++below) {
                tables[k][bit | below] = shifted ^ tables[k][below];
            }
        }
    }
    return tables;
}

// An instruction takes three cycles, and one can begin each cycle: three stretches at a time.
constexpr std::size_t kStretch = 8192;
constexpr std::size_t kShortStretch = 256;
constexpr ShiftTables kByStretch = ShiftBy(kStretch);
constexpr ShiftTables kByShortStretch = ShiftBy(kShortStretch);

std::uint32_t Shifted(const ShiftTables& by, std::uint64_t crc) {
    return by[0][crc & 0xFF] ^ by[1][(crc >> 8) & 0xFF] ^ by[2][(crc >> 16) & 0xFF] ^
           by[3][(crc >> 24) & 0xFF];
}

__attribute__((target("sse4.2"))) std::uint64_t ThreeStretches(std::uint64_t crc,
                                                               const std::uint8_t* bytes,
                                                               std::size_t stretch,
                                                               const ShiftTables& by) {
    std::uint64_t second = 0;
    std::uint64_t third = 0;
    for (std::size_t i = 0; i < stretch; i += kStep) {
        crc = _mm_crc32_u64(crc, WordAt(bytes + i));
        second = _mm_crc32_u64(second, WordAt(bytes + stretch + i));
        third = _mm_crc32_u64(third, WordAt(bytes + 2 * stretch + i));
    }
    return Shifted(by, Shifted(by, crc) ^ second) ^ third;
}

__attribute__((target("sse4.2"))) std::uint32_t ByInstruction(std::uint32_t before,
                                                              std::span<const std::uint8_t> bytes) {
    std::uint64_t crc = before;
    const std::uint8_t* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 3 * kStretch; left -= 3 * kStretch, at += 3 * kStretch) {
        crc = ThreeStretches(crc, at, kStretch, kByStretch);
    }
    for (; left >= 3 * kShortStretch; left -= 3 * kShortStretch, at += 3 * kShortStretch) {
        crc = ThreeStretches(crc, at, kShortStretch, kByShortStretch);
    }
    for (; left >= kStep; left -= kStep, at += kStep) crc = _mm_crc32_u64(crc, WordAt(at));
    auto rest = static_cast<std::uint32_t>(crc);
    for (; left > 0; --left, ++at) rest = _mm_crc32_u8(rest, *at);
    return rest;
}

bool HasInstruction() {
    return __builtin_cpu_supports("sse4.2") != 0;
}

#else

std::uint32_t ByInstruction(std::uint32_t before, std::span<const std::uint8_t> bytes) {
    return ThroughTables(before, bytes);
}

bool HasInstruction() {
    return false;
}

#endif

}  // namespace

std::uint32_t Crc32c(std::span<const std::uint8_t> bytes, std::uint32_t before) {
    return HasInstruction() ? ~ByInstruction(~before, bytes) : PortableCrc32c(bytes, before);
}

std::uint32_t PortableCrc32c(std::span<const std::uint8_t> bytes, std::uint32_t before) {
    return ~ThroughTables(~before, bytes);
}

std::uint32_t JoinedCrc32c(std::uint32_t first, std::uint32_t second, std::uint64_t secondBytes) {
    return Product(PowerOfBytes(secondBytes), first) ^ second;
}

}  // namespace orvix::platform
