// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "orvix/c/boundary.h"
#include "orvix/gpu/revit_amp.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/transform_file.h"

/// What stands behind the C interface's section handle: the class, and what it borrows.
///
/// The class knows the points' frame as a shift. A project whose transform turns as well has it
/// composed into the class's transformation, and its rays are brought into its own frame.
struct orvix_section {
    explicit orvix_section(const orvix::SectionOptions& options) : amp(options) {}

    /// False, and nothing changes, where the two together are not finite.
    bool Take(const std::array<double, 16>& worldToSection,
              const orvix::detail::LocalToWorld& pointsToWorld);

    std::shared_ptr<orvix::detail::OpenProject> project;  ///< open as long as the class reads it
    orvix::RevitAMP amp;
    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    orvix::detail::LocalToWorld frame;
    std::vector<std::uint64_t> indices;
};

namespace orvix::detail {

/// Whether a frame is the world but for a shift.
bool IsShift(const LocalToWorld& frame);

inline SimplePointT<double> PositionAt(const double* xyz) {
    return {xyz[0], xyz[1], xyz[2]};
}

/// Runs `work(counts)` between a look at the caller's struct, so that a wrong one is refused before
/// any work, and filling it; null is not asked for.
template <class Work>
Answer Counted(orvix_section_counts* out, const Work& work) {
    if (out != nullptr) {
        if (auto sized = Give(orvix_section_counts{}, out, "counts"); !sized) return sized;
    }
    SectionCounts counts;
    if (auto done = work(counts); !done) return done;
    if (out == nullptr) return {};
    orvix_section_counts record{};
    record.in_slab = counts.in;
    record.behind = counts.behind;
    record.before = counts.before;
    record.outside = counts.outside;
    record.no_position = counts.noPosition;
    return Give(record, out, "counts");
}

}  // namespace orvix::detail
