// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>

#include "orvix/points/nearest_neighbour.h"

namespace {

std::size_t allocations = 0;
std::size_t allocatedBytes = 0;

}  // namespace

// Every allocation of this program passes here. Not inlined: seen side by side, malloc and delete are
// a mismatch to the compiler.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
    ++allocations;
    allocatedBytes += bytes;
    if (void* memory = std::malloc(bytes)) return memory;
    throw std::bad_alloc();
}
// A sanitizer's own new[] would not come here.
[[gnu::noinline]] void* operator new[](std::size_t bytes) {
    return operator new(bytes);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace orvix {
namespace {

constexpr int kSide = 100;

std::vector<SimplePointT<float>> Square() {
    std::vector<SimplePointT<float>> points;
    for (int x = 0; x < kSide; ++x) {
        for (int y = 0; y < kSide; ++y) points.push_back({float(x), float(y), 0.0F});
    }
    return points;
}

TEST(NearestNeighbourAllocations, AQueryAllocatesItsResultAndNothingElse) {
    const auto points = Square();
    CNearestNeighbour index(&points);
    const SimplePointT<double> middle{50.0, 50.0, 0.0};
    for (const double radius : {0.0, 4.0, 400.0, 1e6, 9.0, -1.0}) {
        int count = 0;
        allocations = allocatedBytes = 0;
        index.Find(&middle, radius, count);
        const std::size_t made = allocations;
        const std::size_t bytes = allocatedBytes;
        EXPECT_GT(count, 0);
        EXPECT_EQ(made, 1u) << "radius " << radius;
        EXPECT_EQ(bytes, static_cast<std::size_t>(count) * sizeof(int)) << "radius " << radius;
    }
}

TEST(NearestNeighbourAllocations, AQueryThatFindsNothingAllocatesNothing) {
    const auto points = Square();
    CNearestNeighbour index(&points);
    const SimplePointT<double> far{1e6, 0.0, 0.0};
    int count = 0;
    allocations = 0;
    index.Find(&far, 4.0, count);
    const std::size_t made = allocations;
    EXPECT_EQ(count, 0);
    EXPECT_EQ(made, 0u);
}

TEST(NearestNeighbourAllocations, FindWithinReusesTheCallersMemory) {
    const auto points = Square();
    const CNearestNeighbour index(&points);
    std::vector<int> found;
    found.reserve(points.size());
    allocations = 0;
    index.FindWithin({50.0, 50.0, 0.0}, 1e6, found);
    const std::size_t made = allocations;
    EXPECT_EQ(found.size(), points.size());
    EXPECT_EQ(made, 0u);
}

}  // namespace
}  // namespace orvix
