// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "importer/import_options.h"
#include "importer/import_pool.h"
#include "importer/scans/attribute_scale.h"
#include "importer/scans/scan_reader.h"
#include "importer/scans/station_table.h"

namespace orvix::importer {

/// What the first pass over the inputs found.
struct Survey {
    struct Scan {
        std::uint64_t points = 0;  ///< decoded, with rejected ones
        PointlessRecords pointless;
        AttributeRange range;

        [[nodiscard]] std::uint64_t Read() const { return points + pointless.Total(); }
    };
    std::vector<Scan> scans;   ///< by station
    std::uint64_t usable = 0;  ///< points that only their place may reject
    SimplePointT<double> origin;
    GridFrame frame;     ///< around the local coordinates of the points in range
    float maxLocal = 0;  ///< largest magnitude of a coordinate in it

    [[nodiscard]] std::uint64_t Read() const;
};

/// Reads every input once and finds stations, counts, ranges, bounds and the origin.
///
/// Order    the findings of pieces are joined in the order of the pieces, so the result is the same
///          at any number of threads.
/// Errors   those of the readers; Cancelled.
Expected<Survey> SurveyScans(const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             StationTable& stations, ImportPool& pool);

}  // namespace orvix::importer
