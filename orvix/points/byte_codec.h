// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

namespace orvix::detail {

/// Appends a number's bytes, as it lies in memory.
template <class T>
void PutValue(std::vector<std::uint8_t>& bytes, const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    const auto* first = reinterpret_cast<const std::uint8_t*>(&value);
    bytes.insert(bytes.end(), first, first + sizeof value);
}

/// Takes numbers from bytes that may end anywhere.
///
/// Errors  false, with the value untouched, where fewer bytes are left than the value has.
class ByteTaker {
public:
    explicit ByteTaker(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    template <class T>
    [[nodiscard]] bool Take(T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (bytes_.size() < sizeof value) return false;
        std::memcpy(&value, bytes_.data(), sizeof value);
        bytes_ = bytes_.subspan(sizeof value);
        return true;
    }
    [[nodiscard]] std::size_t Left() const { return bytes_.size(); }

private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace orvix::detail
