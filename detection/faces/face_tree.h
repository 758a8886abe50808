// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "detection/outlines/plane_raster.h"
#include "orvix/geometry/plane_frame.h"

namespace orvix::detection {

/// The faces that lie in one plane, parted by straight cuts: each cut parts one piece in two.
///
/// Units      metres, in the plane's 2D frame.
/// Boundaries a place on a cut lies after it. A tree without cuts has one face.
class FaceTree {
public:
    /// Where x * p.x + y * p.y = at. What lies before and after it is another cut, or a face, whose
    /// number's bits are turned round.
    struct Cut {
        double x = 0;
        double y = 0;
        double at = 0;
        std::int32_t before = 0;
        std::int32_t after = 0;
    };

    FaceTree() = default;
    /// `cuts` begin with the one that parts the whole.
    explicit FaceTree(std::vector<Cut> cuts) : cuts_(std::move(cuts)) {}

    [[nodiscard]] std::size_t Faces() const { return cuts_.size() + 1; }
    [[nodiscard]] std::int32_t FaceOf(const SimplePoint2DT<double>& p) const {
        std::int32_t next = cuts_.empty() ? ~0 : 0;
        while (next >= 0) {
            const Cut& cut = cuts_[static_cast<std::size_t>(next)];
            next = cut.x * p.x + cut.y * p.y < cut.at ? cut.before : cut.after;
        }
        return ~next;
    }

private:
    std::vector<Cut> cuts_;
};

/// Cuts what was seen of a plane where a strip right across it is empty although points lie close
/// together on both sides: fronts of cupboards and drawers, boards and steps in one plane, whose gaps
/// are narrower than a cell.
///
/// A strip is up to 16 cm wide, and wider than the points on both sides are apart; along it at least
/// 15 cm hold points on both sides. What stays is 0.02 square metres and 8 cm wide at least, and a
/// fifth of the strip's length. Planes of more than 4 square metres are walls and floors, before
/// which things stand; they stay whole. Of a scanner's rows each gap is as wide as the next one: a
/// strip counts that is twice as wide as most gaps beside it. BEHAVIOUR A20
///
/// `raster`  marks of the points, a quarter as wide as these are apart: strips are four marks wide.
/// Order     a function of the marks; of equal strips, the one that is met first.
/// Cost      some 0.2 µs a mark, and ten times that where a strip is found.
FaceTree CutIntoFaces(const PlaneRaster& raster);

/// The faces of those regions that have several. The first face of a region has its number; the others
/// are numbered after the last region, in the order of their regions.
class RegionFaces {
public:
    RegionFaces() = default;
    /// `trees`, of each region, lie in the region's own frame.
    RegionFaces(std::vector<FaceTree> trees, std::vector<PlaneFrame> frames);

    [[nodiscard]] bool Empty() const { return numbers_.empty(); }
    [[nodiscard]] bool AreSeveral(std::int32_t region) const {
        return !numbers_.empty() && numbers_[static_cast<std::size_t>(region)] >= 0;
    }
    /// The number of the face of a region on which a place lies.
    [[nodiscard]] std::int32_t NumberOf(std::int32_t region,
                                        const SimplePointT<double>& place) const {
        if (!AreSeveral(region)) return region;
        const auto i = static_cast<std::size_t>(region);
        const std::int32_t face = trees_[i].FaceOf(frames_[i].To2D(place));
        return face == 0 ? region : numbers_[i] + face - 1;
    }
    /// The region of each face that is not the first of its own: those after the last region.
    [[nodiscard]] const std::vector<std::int32_t>& Others() const { return others_; }

private:
    std::vector<FaceTree> trees_;
    std::vector<PlaneFrame> frames_;
    std::vector<std::int32_t> numbers_;  // of each region's second face; -1: it has none
    std::vector<std::int32_t> others_;
};

}  // namespace orvix::detection
