// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orvix::importer {

template <std::size_t Bytes>
using UnsignedOf = std::conditional_t<
    Bytes == 1, std::uint8_t,
    std::conditional_t<Bytes == 2, std::uint16_t,
                       std::conditional_t<Bytes == 4, std::uint32_t, std::uint64_t>>>;

/// A number of a file in the given byte order, at any address.
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

/// Puts a number at any address, little-endian.
template <class T>
void Store(std::uint8_t* bytes, T value) {
    const auto bits = std::bit_cast<UnsignedOf<sizeof(T)>>(value);
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    }
}

}  // namespace orvix::importer
