// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "orvix/planes/seed/cloud_source.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/index_reader.h"
#include "orvix/project/project_core.h"

namespace orvix::detail {

/// The alive points of an open project as a CloudSource: 1000 cm cells, the 100 cm cells inside
/// them, and the 10 cm cells of those 100 cm cells that hold many points.
///
/// Lifetime  `core` must stay open.
/// Errors    Damaged for a run outside its file, or 10 cm cells that do not add up to theirs.
class ProjectCloud : public CloudSource {
public:
    explicit ProjectCloud(CProjectCore& core);
    Expected<void> VisitCells(const Enter& enter, const Visit& visit) override;
    void ReadCell(const CloudCell& cell, std::vector<CCloudPoint<float>>& points) override;

private:
    Expected<void> Visit1000(const Enter& enter, const Visit& visit);
    Expected<void> Visit100(const Enter& enter, const Visit& visit);
    Expected<void> Visit10(const CloudCell& coarse, const Enter& enter, const Visit& visit);

    CProjectCore& core_;
    std::shared_ptr<CIndexReader> index_;
    std::shared_ptr<CAlivePointReader> reader_;
    std::uint64_t alivePoints_ = 0;
    std::uint64_t entries100_ = 0;
    bool has10cm_ = false;
};

}  // namespace orvix::detail
