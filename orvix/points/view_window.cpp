// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/view_window.h"

#include <algorithm>

#include "orvix/platform/mapping.h"

namespace orvix::detail {

ViewWindow::~ViewWindow() {
    Release();
}

std::uint8_t* ViewWindow::At(void* mapping, std::uint64_t fileSize, std::uint64_t position,
                             std::uint64_t bytes) {
    if (!Holds(position, bytes)) {
        offset_ = position - position % platform::kMappingGranularity;
        const std::uint64_t needed = position - offset_ + bytes;
        const std::uint64_t left = fileSize - std::min(fileSize, offset_);
        if (!Map(mapping, std::max(needed, std::min(left, kBytes))) && !Map(mapping, needed))
            return nullptr;
    }
    return base_ + (position - offset_);
}

bool ViewWindow::Map(void* mapping, std::uint64_t bytes) {
    base_ = platform::MoveFileView(base_, mapping, platform::kViewRead, offset_, bytes);
    bytes_ = base_ == nullptr ? 0 : bytes;
    return base_ != nullptr;
}

void ViewWindow::Release() {
    UnmapFileView(base_);
    base_ = nullptr;
    bytes_ = 0;
}

}  // namespace orvix::detail
