// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::detail {

/// A view of a mapped file that slides to where bytes are asked for, and serves all that lie in it.
///
///     ViewWindow window;
///     const std::uint8_t* run = window.At(mapping, fileSize, position, bytes);
///
/// Boundaries a new view begins at the granule of 64 KiB that holds `position` and takes in up to
///            8 MiB, more only where `bytes` ask for more. Where so much cannot be mapped, what
///            was asked for alone decides.
/// Errors     null where the bytes cannot be mapped.
/// Lifetime   an address holds until the next call. The view outlives the mapping's handle: who
///            wants the file released calls Release, as RunViews does for readers of runs.
/// Cost       one map and one unmap per move, no allocation.
class ViewWindow {
public:
    static constexpr std::uint64_t kBytes = 8'388'608;

    ViewWindow() = default;
    ViewWindow(const ViewWindow&) = delete;
    ViewWindow& operator=(const ViewWindow&) = delete;
    ~ViewWindow();

    std::uint8_t* At(void* mapping, std::uint64_t fileSize, std::uint64_t position,
                     std::uint64_t bytes);
    void Release();
    /// Of the present view; 0 without one.
    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }

private:
    [[nodiscard]] bool Holds(std::uint64_t position, std::uint64_t bytes) const {
        return base_ != nullptr && position >= offset_ && bytes_ >= bytes &&
               position - offset_ <= bytes_ - bytes;
    }
    bool Map(void* mapping, std::uint64_t bytes);

    std::uint8_t* base_ = nullptr;
    std::uint64_t offset_ = 0;  // where the view starts in the file
    std::uint64_t bytes_ = 0;
};

}  // namespace orvix::detail
