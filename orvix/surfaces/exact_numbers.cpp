// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/exact_numbers.h"

#include <CGAL/config.h>

#if defined(CGAL_USE_GMP)
#include <cstddef>
#include <cstdlib>
#include <gmp.h>
#include <new>
#endif

namespace orvix::detail {

#if defined(CGAL_USE_GMP)

namespace {

void* OrThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void* Request(std::size_t bytes) {
    return OrThrow(std::malloc(bytes));
}

void* RequestMore(void* memory, std::size_t, std::size_t bytes) {
    return OrThrow(std::realloc(memory, bytes));
}

void Free(void* memory, std::size_t) {
    std::free(memory);
}

}  // namespace

void ThrowWhereNumbersLackMemory() {
    mp_set_memory_functions(&Request, &RequestMore, &Free);
}

#else

// These numbers ask for memory as everybody does.
void ThrowWhereNumbersLackMemory() {}

#endif

}  // namespace orvix::detail
