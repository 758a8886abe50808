// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orvix/gpu/revit_amp.h"
#include "reports/section_frame.h"
#include "reports/world_project.h"

namespace orvix::reports {

/// A slab around a section plane, and what works on it.
struct SectionRequest {
    SectionFrame frame{};
    SectionSlab slab{};  ///< bounds in the frame's x and z
    SectionDevice device = SectionDevice::Auto;
};

/// Streams the points of a project with the class that each has in a section.
///
///     auto section = ProjectSection::Open(project, request);
///     section->Stream(RevitAMP::Bit(SectionClass::In), use, proceed);
///
/// The classes are RevitAMP's: positions are taken into the section frame relative to the project's
/// own zero, which lies amid the points, so that single precision is enough wherever the world's zero
/// and the frame's origin lie.
///
/// Order    of the point file.
/// Errors   Damaged, with the project's name, where its cells do not lead to its points; Failure
///          where points cannot be mapped; Cancelled once `proceed` returns false.
/// Lifetime borrows the project.
/// Threads  one at a time.
/// Cost     of Open 24 bytes a 100 cm cell; of Stream a pass over the cells that may hold a wanted
///          class.
class ProjectSection {
public:
    using Vector = detail::Vector;
    using Use = std::function<void(const RevitAMP::Chunk&)>;
    /// Receives the share of the point file that was passed, 0 to 1; false cancels.
    using Proceed = std::function<bool(double)>;

    static Expected<ProjectSection> Open(const WorldProject& project,
                                         const SectionRequest& request);

    /// `wanted` holds a RevitAMP::Bit for each class whose points must come. A chunk may hold points
    /// of others too.
    Expected<SectionCounts> Stream(std::uint32_t wanted, const Use& use, const Proceed& proceed);

    /// A point in the frame of the request: x right, y away, z up.
    [[nodiscard]] Vector Place(const CCloudPoint<float>& p) const;
    [[nodiscard]] Vector ToWorld(const CCloudPoint<float>& p) const {
        return project_->frame.ToWorld(Vector{p.x, p.y, p.z});
    }
    [[nodiscard]] const WorldProject& Project() const { return *project_; }
    [[nodiscard]] const SectionRequest& Request() const { return request_; }
    [[nodiscard]] std::string Device() const { return section_->Device(); }

private:
    ProjectSection(const WorldProject& project, const SectionRequest& request);

    const WorldProject* project_;
    SectionRequest request_;
    std::unique_ptr<RevitAMP> section_;
    std::array<Vector, 3> rows_;  // the frame's directions, in the project's frame
    Vector base_;                 // the project's zero, in the section frame
};

/// What a section holds.
struct SectionReport {
    SectionCounts counts;
    Extends2DT<double> extent;  ///< of the points in the slab, frame (y stands for z); empty: none
    ExtendsT<double> bounds;    ///< of the same, world
    /// Every k-th of them, 262,144 at most, in the frame.
    std::vector<SimplePoint2DT<double>> sample;
};

/// Counts the points of a section by class and measures those in its slab.
///
/// Errors  those of ProjectSection::Stream.
/// Cost    a pass over the points of the cells that the slab touches.
Expected<SectionReport> ReportSection(ProjectSection& section,
                                      const ProjectSection::Proceed& proceed);

}  // namespace orvix::reports
