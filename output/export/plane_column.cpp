// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/plane_column.h"

#include <utility>

#include "orvix/project/project_paths.h"

namespace orvix::output {

Expected<PlaneColumn> PlaneColumn::Open(detail::OpenProject& project) {
    auto planes =
        detection::StoredPlanes::Open(detail::SavedPlanesPath(project.Manager()), project.Core());
    if (!planes) return ErrorOf(planes);
    PlaneColumn column;
    column.core_ = &project.Core();
    column.planes_ = std::move(*planes);
    column.reader_ = project.Core().CreateAlivePointReader();
    return column;
}

Expected<void> PlaneColumn::ReadBlockOf(std::uint64_t record) {
    const std::uint64_t block = record / detail::PlanesFileStart::kBlockPoints;
    return planes_->ReadChunk(*reader_, static_cast<std::size_t>(block),
                              [this](const detection::PlanePoints& points) {
                                  first_ = points.firstRecord;
                                  numbers_.clear();
                                  for (const std::int32_t plane : points.planes)
                                      numbers_.push_back(planes_->NumberOf(plane));
                              });
}

}  // namespace orvix::output
