// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/cell_runs.h"
#include "detection/faces/face_tree.h"
#include "detection/regions/cloud_regions.h"

namespace orvix::detection {

/// A region's plane as the points with normal . p = height, project frame, and the largest distance
/// of a point that belongs to it.
struct PlaneHeight {
    Vector normal;
    double height = 0;
    double reach = 0;

    [[nodiscard]] double Distance(const Vector& p) const { return Dot(normal, p) - height; }
};

/// Finds the plane of each point: the nearest of the planes that pass its cell or one beside it,
/// unless the point is further away than that plane's reach.
///
///     PointAssignment assignment(regions, planes);
///     auto done = assignment.ForEachRun(reader, chunk, [&](auto points, auto choice) {
///         for (const auto& p : points) Use(p, assignment.Nearest({p.x, p.y, p.z}, choice));
///     });
///
/// Boundaries a point between two planes belongs to the nearer one; equally near ones, to the one
///            with the lower number. kNoRegion for none.
/// Lifetime   borrows what it is given.
/// Threads    const calls may run side by side, with a reader each.
class PointAssignment {
public:
    /// `faces`: what ForEachBlock and At number by face; nothing: by region.
    PointAssignment(const CloudRegions& regions, const std::vector<PlaneHeight>& planes,
                    const RegionFaces* faces = nullptr)
        : regions_(regions), planes_(planes), faces_(faces) {}

    /// Reads a chunk: use(points, choice) for stretches of points of one cell and the planes that
    /// each of them may belong to. Errors as of ForEachBlock.
    template <class Use>
    [[nodiscard]] Expected<void> ForEachRun(CAlivePointReader& reader, std::size_t chunk,
                                            Use&& use) const {
        CellNumbering numbering(regions_.cut.frame);
        return ForEachCellRun(reader, regions_.cut.chunks[chunk], numbering,
                              [&](std::span<const CCloudPoint<float>> points, std::uint32_t cell) {
                                  use(points, ChoiceOf(chunk, cell));
                              });
    }
    /// Reads a chunk in blocks: use(points, planes), with the plane of each point. Errors as of
    /// ForEachBlock.
    template <class Use>
    [[nodiscard]] Expected<void> ForEachBlock(CAlivePointReader& reader, std::size_t chunk,
                                              Use&& use) const {
        CellNumbering numbering(regions_.cut.frame);
        std::vector<std::int32_t> planes;
        const auto find = [&](std::span<const CCloudPoint<float>> points, std::uint32_t cell) {
            const std::span<const std::int32_t> choice = ChoiceOf(chunk, cell);
            for (const auto& p : points) planes.push_back(NearestFace({p.x, p.y, p.z}, choice));
        };
        return detection::ForEachBlock(reader, regions_.cut.chunks[chunk],
                                       [&](std::span<const CCloudPoint<float>> points) {
                                           planes.clear();
                                           ForEachCellRun(points, numbering, find);
                                           use(points, std::span<std::int32_t>(planes));
                                       });
    }
    /// The plane of a point among those it may belong to. `within` false: however far.
    // BEHAVIOUR A1
    [[nodiscard]] std::int32_t Nearest(const Vector& p, std::span<const std::int32_t> choice,
                                       bool within = true) const {
        std::int32_t best = kNoRegion;
        double smallest = 0;
        for (const std::int32_t plane : choice) {
            const PlaneHeight& its = planes_[static_cast<std::size_t>(plane)];
            const double away = std::abs(its.Distance(p));
            if (within && away > its.reach) continue;
            if (best != kNoRegion && away >= smallest) continue;
            best = plane;
            smallest = away;
        }
        return best;
    }
    /// The same, numbered by face.
    [[nodiscard]] std::int32_t NearestFace(const Vector& p, std::span<const std::int32_t> choice,
                                           bool within = true) const {
        const std::int32_t region = Nearest(p, choice, within);
        return faces_ != nullptr && region != kNoRegion ? faces_->NumberOf(region, p) : region;
    }
    /// The plane of a point at a place. `within` false: the nearest one, however far.
    [[nodiscard]] std::int32_t At(const Vector& place, bool within = true) const;

private:
    // Points that have moved since they were first read may lie in cells that are not there.
    [[nodiscard]] std::span<const std::int32_t> ChoiceOf(std::size_t chunk,
                                                         std::uint32_t number) const {
        const GrownTiles& grown = regions_.grown;
        const std::size_t tile = regions_.cut.chunks[chunk].tile;
        const std::uint64_t inTile = std::uint64_t{grown.firstNumber[chunk]} + number;
        if (number == kNoCell || inTile >= grown.map.CellsIn(tile)) return {};
        const auto cell = grown.map.CellOfNumber(tile, static_cast<std::uint32_t>(inTile));
        return regions_.choices.At(tile, cell);
    }

    const CloudRegions& regions_;
    const std::vector<PlaneHeight>& planes_;
    const RegionFaces* faces_ = nullptr;
};

}  // namespace orvix::detection
