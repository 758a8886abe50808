// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "orvix/points/records.h"

namespace orvix::detail {

/// A 64-bit hash of bytes that come piece by piece; how they were divided does not matter.
///
/// Source  xxHash's XXH3 64-bit hash (Y. Collet), seed 0.
class StreamHash {
public:
    StreamHash();
    ~StreamHash();
    StreamHash(const StreamHash&) = delete;
    StreamHash& operator=(const StreamHash&) = delete;

    void Add(const void* bytes, std::size_t count);
    [[nodiscard]] std::uint64_t Value() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The same of bytes that lie together.
std::uint64_t HashOf(const void* bytes, std::size_t count);

/// The same of coordinates alone, 12 bytes a point in their order: other attributes have no part.
std::uint64_t PlacesHash(std::span<const SimplePointT<float>> places);
std::uint64_t PlacesHash(std::span<const CCloudPoint<float>> points);

}  // namespace orvix::detail
