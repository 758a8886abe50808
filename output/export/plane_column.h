// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "detection/saved/stored_planes.h"
#include "orvix/project/access/open_project.h"

namespace orvix::output {

/// The number of the saved plane of each point, for points that come in the order of the file.
///
///     auto column = PlaneColumn::Open(project);
///     if (auto read = column->Reach(record); !read) return read;
///     Write(column->NumberOf(record));
///
/// Errors   those of detection::StoredPlanes, which compares every block with the points.
/// Lifetime borrows the project. A copy shares the planes and reads by itself.
/// Threads  a column is one thread's; copies may be made and used on any.
/// Cost     the points are read once more, a block of 32,768 at a time.
class PlaneColumn {
public:
    static Expected<PlaneColumn> Open(detail::OpenProject& project);
    PlaneColumn(const PlaneColumn& other)
        : core_(other.core_), planes_(other.planes_), reader_(core_->CreateAlivePointReader()) {}
    PlaneColumn(PlaneColumn&&) = default;
    PlaneColumn& operator=(const PlaneColumn& other) { return *this = PlaneColumn(other); }
    PlaneColumn& operator=(PlaneColumn&&) = default;

    /// Reads on to the block that holds a record, unless it is at hand.
    [[nodiscard]] Expected<void> Reach(std::uint64_t record) {
        return record < first_ + numbers_.size() ? Expected<void>() : ReadBlockOf(record);
    }
    /// 0 for none. Precondition: Reach(record), and no call with a later one.
    [[nodiscard]] std::uint32_t NumberOf(std::uint64_t record) const {
        return numbers_[static_cast<std::size_t>(record - first_)];
    }

private:
    [[nodiscard]] Expected<void> ReadBlockOf(std::uint64_t record);

    PlaneColumn() = default;

    const CProjectCore* core_ = nullptr;
    std::shared_ptr<const detection::StoredPlanes> planes_;
    std::shared_ptr<CAlivePointReader> reader_;
    std::uint64_t first_ = 0;
    std::vector<std::uint32_t> numbers_;  // of the block at hand
};

}  // namespace orvix::output
