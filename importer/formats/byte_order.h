// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orvix::importer {

/// The unsigned type of 1, 2, 4 or 8 bytes.
template <std::size_t Bytes>
using UnsignedOf = std::conditional_t<
    Bytes == 1, std::uint8_t,
    std::conditional_t<Bytes == 2, std::uint16_t,
                       std::conditional_t<Bytes == 4, std::uint32_t, std::uint64_t>>>;

/// Reads a number of the given byte order from any address.
template <class T, std::endian Order = std::endian::little>
T Load(const std::uint8_t* bytes) {
    using Unsigned = UnsignedOf<sizeof(T)>;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        const std::size_t place = Order == std::endian::little ? i : sizeof(T) - 1 - i;
        value |= std::uint64_t{bytes[i]} << (8 * place);
    }
    return std::bit_cast<T>(static_cast<Unsigned>(value));
}

/// Writes a number, little-endian, to any address.
template <class T>
void Store(std::uint8_t* bytes, T value) {
    const auto bits = std::bit_cast<UnsignedOf<sizeof(T)>>(value);
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    }
}

}  // namespace orvix::importer
