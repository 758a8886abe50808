// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "orvix/gpu/section.h"
#include "orvix/platform/export.h"
#include "orvix/points/records.h"
#include "orvix/project/project_core.h"

namespace orvix {

/// Classifies and colours points against a section plane and snaps to points, on the processor or
/// on a graphics device, with the same results to the bit.
///
/// It holds what a host's view of a section is made of: a transformation into the section frame, a
/// slab around its XZ plane, points, and lists of those among them that count.
///
///     RevitAMP section;
///     section.SetTransformation(worldToSection);               // 4 x 4, by rows
///     section.SetOrigin(origin);                               // of the points' frame
///     section.SetSlab({.halfThickness = 0.02});
///     section.Hold(SectionPoints::Of(std::span<const SimplePointT<float>>(points)));
///     std::vector<SectionClass> classes(section.Count());
///     section.CheckPlaneXZ(classes);                           // and again after SetTransformation
///
/// Choose `SetProject` and `StreamPlaneXZ` for a project on disk: they read the cells that the
/// section touches.
///
/// Units      metres; world coordinates as doubles, points as floats in their frame, which the
///            origin takes to the world.
/// Shape      position = matrix * (origin + point). The matrix and the origin are composed in
///            double precision and rounded once, so that nothing large passes through a float;
///            then x' = ((x*m00 + y*m01) + z*m02) + m03 in single precision, each operation rounded
///            on its own, and y' and z' in the same way. That is the whole definition: results do not depend on
///            the device, the instruction set or the chunks (BEHAVIOUR V1).
/// Order      results are in the order of the points, or of the lists one after the other.
/// Boundaries see SectionSlab; points without a finite position are counted and left out.
/// Errors     false, with nothing written, for what a call says it does not take. A device that
///            fails, hangs or gives a wrong answer is dropped for good and its work is done again
///            on the processor: no call fails for it.
/// Lifetime   points and index lists are borrowed until the next SetPoints, Hold or Release, and
///            SetIndexLists or ClearIndexLists. What is held must not change meanwhile.
/// Threads    one thread at a time; several objects work side by side.
/// Cost       nothing is opened before the first call that needs it. The processor takes a pass over
///            memory at its speed. Opening a device takes up to some seconds, once an object; held
///            points are uploaded once, and then a moved plane costs a launch and a byte a point on
///            the way back.
class ORVIX_API RevitAMP {
public:
    RevitAMP();
    explicit RevitAMP(const SectionOptions& options);
    ~RevitAMP();
    RevitAMP(RevitAMP&& other) noexcept;
    RevitAMP& operator=(RevitAMP&& other) noexcept;

    /// World to section frame, affine, 16 numbers by rows. False where one is not finite or the
    /// last row is not 0 0 0 1. Before the first call: the identity.
    bool SetTransformation(std::span<const double, 16> matrix);
    /// A frame whose XZ plane holds `point` and whose `normal`, of any length above 0, looks at the
    /// viewer: y is its opposite, z as near to world z as that allows, and x = y x z; where the
    /// plane is level, x is world x. `point` becomes 0, 0, 0. False where the normal is 0 or a
    /// number is not finite.
    bool SetPlane(const SimplePointT<double>& point, const SimplePointT<double>& normal);
    /// The transformation in use, by rows.
    void GetTransformation(std::span<double, 16> matrix) const;
    /// Where the points' frame lies in the world; 0, 0, 0 before the first call. False where a
    /// coordinate is not finite.
    bool SetOrigin(const SimplePointT<double>& origin);
    /// False where the half thickness is negative or not finite, or a bound is not a number.
    bool SetSlab(const SectionSlab& slab);

    /// Points to classify from where they lie, with each call anew. False for a stride that is
    /// below 12 or not divisible by 4, and for null with a count. Index lists are forgotten.
    bool SetPoints(const SectionPoints& points);
    /// Points that many calls will speak of: they go to the device once, as far as the memory set
    /// for it allows, and snapping may build a tree over them. False as SetPoints.
    bool Hold(const SectionPoints& points);
    /// Forgets the points, the lists and what was made of them.
    void Release();

    /// Restricts every call to the points of these lists: list after list, in their order, a point
    /// as often as it is named. False, and the lists of before stay, where an index is beyond the
    /// points.
    bool SetIndexLists(std::span<const std::span<const std::uint64_t>> lists);
    void ClearIndexLists();
    /// How many points a call speaks of: those of the lists, or all.
    std::uint64_t Count() const;

    /// A class for each point. False unless `classes` holds Count() entries.
    bool CheckPlaneXZ(std::span<SectionClass> classes, SectionCounts* counts = nullptr);
    /// The counts alone.
    bool CheckPlaneXZ(SectionCounts& counts);
    /// Appends the indices of the points of one class, in ascending order; `counts` come with it.
    /// False for a class that does not exist.
    bool CheckPlaneXZ(SectionClass wanted, std::vector<std::uint64_t>& indices,
                      SectionCounts* counts = nullptr);

    /// Colours the points of the slab; the entries of others stay as they are. False unless
    /// `colours` holds Count() entries.
    bool CheckPlaneXZ_ColorIn(SectionColour colour, std::span<SectionColour> colours,
                              SectionCounts* counts = nullptr);
    /// Colours every point within the bounds by its signed distance from the plane; the entries of
    /// others stay as they are. False also for a ramp of other than 2 to 256 colours, or whose low
    /// is not below its high.
    bool CheckPlaneXZ_ColorPlane(const SectionRamp& ramp, std::span<SectionColour> colours,
                                 SectionCounts* counts = nullptr);
    /// Colours the points before and behind the slab; the entries of others stay as they are.
    bool CheckPlaneXZ_ColorSeparate(SectionColour before, SectionColour behind,
                                    std::span<SectionColour> colours,
                                    SectionCounts* counts = nullptr);

    /// For each ray the point nearest along it among those in its aperture, ties to the lower
    /// index. A point is in the aperture where its foot on the ray is not before the origin
    /// (along >= 0) and its distance is at most radius + along * tangent; compared in double
    /// precision. Bounds and slab do not matter. False unless there is an entry per ray, and where
    /// a number of a ray is not finite or beyond 1e100, its direction 0, its radius or tangent
    /// negative.
    ///
    /// Cost  a pass over the points a ray, until so many rays have come that a tree over the points
    ///       pays; then some microseconds a ray. The tree of held points stays.
    bool Snap(std::span<const PickingRay> rays, std::span<SnappedPoint> snapped);
    /// The point nearest to each position, no further away than `radius`; ties to the lower index.
    bool Snap(std::span<const SimplePointT<double>> positions, double radius,
              std::span<SnappedPoint> snapped);

    /// The project that the calls below speak of; reads the index of its 100 cm cells. Points and
    /// lists that were set do not matter to those calls, and stay. False, and the project of before
    /// is forgotten, where a cell leads outside the point file or the cells do not hold as many
    /// points as it does; `orvix check` names what is wrong.
    ///
    /// Lifetime  borrowed until the next SetProject or Release: `core` is open for reading, and
    ///           stays where it is. Its readers are not moved.
    /// Cost      24 bytes of memory a cell.
    bool SetProject(const CProjectCore& core);

    /// A stretch of a project's points with their classes; both end with the call.
    struct Chunk {
        std::uint64_t firstPoint = 0;  ///< in Grid.pts
        std::span<const CCloudPoint<float>> points;
        std::span<const SectionClass> classes;
    };
    /// Uses one chunk; false ends the stream. It may call anything of this object but its end.
    using UseChunk = std::function<bool(const Chunk&)>;
    /// The bit of a class in `wanted`.
    static constexpr std::uint32_t Bit(SectionClass wanted) {
        return 1U << static_cast<std::uint8_t>(wanted);
    }

    /// Classifies the points of the project, cell by cell in the order of the file, in chunks of up
    /// to 32 Ki points (1 Mi on a device). A cell of 100 cm that lies in one class as a whole is
    /// counted by its corners and not read, unless that class is in `wanted`; a chunk may hold points
    /// of classes that are not. False without a project, where points cannot be mapped, and where
    /// `use` returned false; `counts` are of what was done until then.
    ///
    /// Cost  memory for one chunk; a pass over the points of the cells that are read.
    bool StreamPlaneXZ(std::uint32_t wanted, const UseChunk& use, SectionCounts* counts = nullptr);
    /// Snap, to the points of the project: index counts through Grid.pts. False also where points
    /// cannot be mapped.
    ///
    /// Cost  a look at each 1000 cm cell a ray, and a pass over the points of the 100 cm cells that
    ///       the aperture meets, nearest first, until no nearer point can come.
    bool SnapInProject(std::span<const PickingRay> rays, std::span<SnappedPoint> snapped);
    bool SnapInProject(std::span<const SimplePointT<double>> positions, double radius,
                       std::span<SnappedPoint> snapped);

    /// What the last call worked on: "processor", or the device's own name.
    std::string Device() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orvix
