// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/c/short_memory.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {
long long allocationsLeft = -1;
}

namespace orvix::test {

#ifdef __SANITIZE_ADDRESS__
LeaksOfTriangulations::LeaksOfTriangulations() {
    __lsan_disable();
}
LeaksOfTriangulations::~LeaksOfTriangulations() {
    __lsan_enable();
}
#else
LeaksOfTriangulations::LeaksOfTriangulations() = default;
LeaksOfTriangulations::~LeaksOfTriangulations() = default;
#endif

void LimitAllocations(long long count) {
    allocationsLeft = count;
}

}  // namespace orvix::test

void* operator new(std::size_t bytes) {
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    if (void* made = std::malloc(bytes == 0 ? 1 : bytes)) return made;
    throw std::bad_alloc();
}

// Some runtimes have a form of their own, whose memory is released by the plain delete as well.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    try {
        return operator new(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* made) noexcept {
    std::free(made);
}

void operator delete(void* made, std::size_t) noexcept {
    std::free(made);
}
