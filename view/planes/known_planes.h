// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "detection/found_plane.h"
#include "reports/planes_report.h"
#include "view/data/record_file.h"

namespace orvix::view {

/// All planes that a search found, or that the project keeps, and what gives each point its plane.
struct PlaneList {
    std::uint64_t id = 0;
    reports::WorldProject project;  ///< opened for it alone: a search keeps its core to itself
    reports::PlanesFinding finding;

    /// The numbers of the skeleton's planes as a file, made when it is first asked for.
    mutable std::mutex skeletonMutex;
    mutable RecordFile skeletonNumbers;
    mutable bool skeletonDone = false;
};

/// A plane with its number, for files.
struct NumberedPlane {
    std::uint32_t number = 0;
    detection::FoundPlane plane;
};

/// The planes that pages know by number: those of the present list, and grown ones, which count from
/// 1,000,001.
///
/// Boundaries the 1,000 latest grown planes are kept.
/// Threads    any. A list stays as long as somebody holds it.
class KnownPlanes {
public:
    /// Null before the first list.
    [[nodiscard]] std::shared_ptr<const PlaneList> List() const;
    /// Takes the place of the list before, under an identifier of its own, which is returned.
    std::uint64_t Replace(const std::shared_ptr<PlaneList>& list);
    /// Its number.
    std::uint32_t Add(detection::FoundPlane grown);
    /// Planes in the order asked for.
    ///
    /// Errors  BadInput for a number that no plane has.
    [[nodiscard]] Expected<std::vector<NumberedPlane>> Choose(
        const std::vector<std::uint32_t>& numbers) const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const PlaneList> list_;
    std::uint64_t lists_ = 0;
    std::deque<NumberedPlane> grown_;
    std::uint32_t nextGrown_ = 1'000'001;
};

}  // namespace orvix::view
