// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/surfaces/counted_memory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

std::size_t g_live = 0;
std::size_t g_peak = 0;

// Before each block: its size, and what keeps the block aligned.
constexpr std::size_t kHeader = alignof(std::max_align_t);
static_assert(kHeader >= sizeof(std::size_t));

}  // namespace

void* operator new(std::size_t size) {
    void* block = std::malloc(kHeader + size);
    if (block == nullptr) throw std::bad_alloc();
    *static_cast<std::size_t*>(block) = size;
    g_live += size;
    g_peak = std::max(g_peak, g_live);
    return static_cast<char*>(block) + kHeader;
}

void operator delete(void* pointer) noexcept {
    if (pointer == nullptr) return;
    void* block = static_cast<char*>(pointer) - kHeader;
    g_live -= *static_cast<std::size_t*>(block);
    std::free(block);
}

void operator delete(void* pointer, std::size_t) noexcept {
    operator delete(pointer);
}

namespace orvix::bench {

std::size_t LiveBytes() {
    return g_live;
}
std::size_t PeakBytes() {
    return g_peak;
}
void ForgetPeak() {
    g_peak = g_live;
}

}  // namespace orvix::bench
