// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/crc32c.h"

#include <array>
#include <cstddef>

#include "importer/formats/byte_order.h"

namespace orvix::importer {
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

}  // namespace

std::uint32_t Crc32c(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    std::size_t i = 0;
    for (; bytes.size() - i >= kStep; i += kStep) {
        const std::uint64_t word = Load<std::uint64_t>(bytes.data() + i) ^ crc;
        crc = 0;
        for (std::size_t k = 0; k < kStep; ++k) {
            crc ^= kTables[kStep - 1 - k][(word >> (8 * k)) & 0xFF];
        }
    }
    for (; i < bytes.size(); ++i) crc = (crc >> 8) ^ kTables[0][(crc ^ bytes[i]) & 0xFF];
    return ~crc;
}

}  // namespace orvix::importer
