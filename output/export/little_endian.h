// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace orvix::output {

/// Puts a number's bytes, the lowest first; returns the place behind them.
template <class T>
std::uint8_t* PutNumber(std::uint8_t* at, T value) {
    std::uint64_t bits = 0;
    if constexpr (sizeof(T) == 8) {
        bits = std::bit_cast<std::uint64_t>(value);
    } else {
        bits = static_cast<std::uint64_t>(value);
    }
    for (std::size_t i = 0; i < sizeof(T); ++i) at[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    return at + sizeof(T);
}

/// Appends a number's bytes, the lowest first.
template <class T>
void AppendNumber(std::vector<std::uint8_t>& bytes, T value) {
    bytes.resize(bytes.size() + sizeof(T));
    PutNumber(bytes.data() + bytes.size() - sizeof(T), value);
}

/// Appends a text in a field of `width` bytes, the rest of it zeros.
inline void AppendText(std::vector<std::uint8_t>& bytes, std::string_view text, std::size_t width) {
    const std::size_t end = bytes.size() + width;
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.resize(end);
}

}  // namespace orvix::output
