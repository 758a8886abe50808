// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <numeric>

#include "bench/bench_support.h"
#include "bench/peers/plane_peers.h"

namespace orvix::bench {

/// What a user of a library writes around its search for one plane: the best plane of what is left,
/// over and over. What lies on it is taken apart into clusters: those of enough points are planes,
/// the others go back. It ends when five planes in a row had no such cluster.
///
/// `Rest` is a library's cloud of points that belong to no plane yet:
///
///     Indices BestPlane() const;                       // places in the rest
///     std::vector<Indices> Clusters(const Indices&) const;  // of it
///     void Keep(const std::vector<bool>& left);        // drops the others
template <class Rest>
PeerResult IteratePlanes(Rest rest, std::size_t points, const PeerSettings& settings) {
    PeerResult result;
    result.labels.assign(points, -1);
    std::vector<std::size_t> places(points);
    std::iota(places.begin(), places.end(), 0);
    std::int32_t number = 0;
    const auto round = [&] {
        const auto inliers = rest.BestPlane();
        std::vector<bool> left(places.size(), true);
        bool found = false;
        for (const auto& cluster : rest.Clusters(inliers)) {
            if (cluster.size() < settings.minPoints) continue;
            found = true;
            for (const auto at : cluster) {
                result.labels[places[static_cast<std::size_t>(at)]] = number;
                left[static_cast<std::size_t>(at)] = false;
            }
            ++number;
        }
        // A plane without a cluster would come again.
        if (!found)
            for (const auto at : inliers) left[static_cast<std::size_t>(at)] = false;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < places.size(); ++i)
            if (left[i]) places[kept++] = places[i];
        places.resize(kept);
        rest.Keep(left);
        return found;
    };
    result.seconds = Seconds([&] {
        for (int failures = 0; failures < 5 && places.size() >= settings.minPoints;)
            failures = round() ? 0 : failures + 1;
    });
    return result;
}

}  // namespace orvix::bench
