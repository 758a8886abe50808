// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/stream_hash.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <vector>

namespace orvix::detail {

struct StreamHash::State {
    XXH3_state_t hash;
};

StreamHash::StreamHash() : state_(new State) {
    XXH3_64bits_reset(&state_->hash);
}

StreamHash::~StreamHash() = default;

void StreamHash::Add(const void* bytes, std::size_t count) {
    XXH3_64bits_update(&state_->hash, bytes, count);
}

std::uint64_t StreamHash::Value() const {
    return XXH3_64bits_digest(&state_->hash);
}

std::uint64_t HashOf(const void* bytes, std::size_t count) {
    return XXH3_64bits(bytes, count);
}

std::uint64_t PlacesHash(std::span<const SimplePointT<float>> places) {
    return HashOf(places.data(), places.size_bytes());
}

std::uint64_t PlacesHash(std::span<const CCloudPoint<float>> points) {
    std::vector<SimplePointT<float>> places;
    places.reserve(points.size());
    for (const CCloudPoint<float>& p : points) places.push_back({p.x, p.y, p.z});
    return PlacesHash(places);
}

}  // namespace orvix::detail
