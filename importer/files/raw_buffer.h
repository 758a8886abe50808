// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>

namespace orvix::importer {

/// A growing array of plain records that leaves new ones uninitialised.
///
/// In the import's inner loops new records are overwritten at once; a std::vector would fill them
/// with zeros first.
///
/// Errors    std::bad_alloc, as std::vector.
/// Lifetime  Resize and Grow keep the records that are there; both may move them.
template <class T>
class RawBuffer {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    [[nodiscard]] T* Data() { return reinterpret_cast<T*>(bytes_.get()); }
    [[nodiscard]] const T* Data() const { return reinterpret_cast<const T*>(bytes_.get()); }
    [[nodiscard]] std::size_t Size() const { return size_; }
    [[nodiscard]] std::span<T> All() { return {Data(), size_}; }
    [[nodiscard]] std::span<const T> All() const { return {Data(), size_}; }
    T& operator[](std::size_t i) { return Data()[i]; }
    const T& operator[](std::size_t i) const { return Data()[i]; }

    void Clear() { size_ = 0; }
    /// Records beyond the old size are not initialised.
    void Resize(std::size_t size) {
        if (size > capacity_) Reserve(std::max(size, capacity_ + capacity_ / 2));
        size_ = size;
    }
    /// Appends `count` uninitialised records and returns the first.
    T* Grow(std::size_t count) {
        const std::size_t old = size_;
        Resize(old + count);
        return Data() + old;
    }

private:
    void Reserve(std::size_t capacity) {
        auto bytes = std::make_unique_for_overwrite<std::byte[]>(capacity * sizeof(T));
        if (size_ != 0) std::memcpy(bytes.get(), bytes_.get(), size_ * sizeof(T));
        bytes_ = std::move(bytes);
        capacity_ = capacity;
    }

    std::unique_ptr<std::byte[]> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace orvix::importer
