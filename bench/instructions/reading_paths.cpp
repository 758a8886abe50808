// SPDX-License-Identifier: GPL-3.0-or-later
#include <bit>
#include <memory>
#include <random>

#include "bench/instructions/hot_paths.h"
#include "bench/points/alive_file.h"
#include "orvix/points/nearest_neighbour.h"

namespace orvix::bench {

namespace {

constexpr std::uint64_t kPoints = 1'000'000;

/// ReadNextPoint with ReadCurrentPoint, and again with ReadCurrentDCLC.
CountedWork StreamPoints() {
    return [file = std::make_shared<AliveFile>(kPoints)] {
        std::uint64_t sum = 0;
        CCloudPoint<float> point;
        auto points = file->Reader();
        for (std::uint64_t i = 0; i < kPoints && points.ReadNextPoint(); ++i) {
            points.ReadCurrentPoint(point);
            sum += std::bit_cast<std::uint32_t>(point.x);
        }
        unsigned short first = 0;
        unsigned char second = 0;
        auto pairs = file->Reader();
        for (std::uint64_t i = 0; i < kPoints && pairs.ReadNextPoint(); ++i) {
            pairs.ReadCurrentDCLC(first, second);
            sum += first * std::uint64_t{second};
        }
        return sum;
    };
}

/// ReadPoint: half of the positions near the one before, half anywhere.
CountedWork ReadRandomPoints() {
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> records(kPoints);
    std::uint64_t at = 0;
    for (std::uint64_t& record : records) {
        at = random() % 2 == 0 ? random() % kPoints : (at + random() % 1'000) % kPoints;
        record = at;
    }
    return [file = std::make_shared<AliveFile>(kPoints), records = std::move(records)] {
        auto reader = file->Reader();
        std::uint64_t sum = 0;
        CCloudPoint<float> point;
        for (const std::uint64_t record : records) {
            reader.ReadPoint(static_cast<std::int64_t>(record * kAlivePointBytes), point);
            sum += std::bit_cast<std::uint32_t>(point.x);
        }
        return sum;
    };
}

/// CNearestNeighbour over a wall and a floor, then Find of some tens of points each.
CountedWork FindNeighbours() {
    std::mt19937_64 random(1);
    const auto draw = [&](float most) {
        return static_cast<float>(random() >> 40) * 0x1p-24f * most;
    };
    std::vector<SimplePointT<float>> points(40'000);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i] = i % 2 == 0 ? SimplePointT<float>{draw(6), draw(4), draw(0.01f)}
                               : SimplePointT<float>{draw(6), draw(0.01f), draw(3)};
    }
    return [points = std::move(points)] {
        CNearestNeighbour index(&points);
        std::uint64_t found = 0;
        for (std::size_t i = 0; i < points.size(); i += 4) {
            const SimplePointT<double> query{points[i].x, points[i].y, points[i].z};
            int count = 0;
            index.Find(&query, 0.1 * 0.1, count);
            found += static_cast<std::uint64_t>(count);
        }
        return found;
    };
}

}  // namespace

std::vector<HotPath> ReadingPaths() {
    return {{"stream_points", StreamPoints},
            {"random_points", ReadRandomPoints},
            {"find_neighbours", FindNeighbours}};
}

}  // namespace orvix::bench
