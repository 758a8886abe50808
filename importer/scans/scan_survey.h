// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "importer/import_options.h"
#include "importer/import_pool.h"
#include "importer/scans/attribute_scale.h"
#include "importer/scans/coordinate_frame.h"
#include "importer/scans/kept_points.h"
#include "importer/scans/scan_reader.h"
#include "importer/scans/station_table.h"

namespace orvix::importer {

/// What the first pass found of one scan.
struct SurveyedScan {
    std::uint64_t points = 0;  ///< decoded, with rejected ones
    PointlessRecords pointless;
    AttributeRange range;

    [[nodiscard]] std::uint64_t Read() const { return points + pointless.Total(); }
};

/// Where a stretch of an input begins, and how many points were decoded from it.
struct SurveyMark {
    ReadPlace place{};
    std::uint64_t points = 0;
    std::uint64_t bytes = 0;  ///< for progress
};

/// Bounds of world coordinates; those of nothing at first.
struct WorldBox {
    SimplePointT<double> min{kMaxWorld, kMaxWorld, kMaxWorld};
    SimplePointT<double> max{-kMaxWorld, -kMaxWorld, -kMaxWorld};
};

/// What the first pass found in one input.
struct InputSurvey {
    std::vector<ScanPart> parts;            ///< all scans that the input holds
    std::vector<SurveyedScan> scans;        ///< by the input's own number of the scan
    std::uint64_t usable = 0;               ///< points that only their place may reject
    WorldBox box;                           ///< of plausible positions
    std::vector<WeightedPosition> medians;  ///< of its pieces, in their order
    std::vector<SurveyMark> marks;          ///< in order; together they are the whole input
    std::uint64_t markPoints = 0;           ///< a mark is set at the first piece after so many
};

/// What the first pass over the inputs found.
struct Survey {
    using Scan = SurveyedScan;
    std::vector<Scan> scans;   ///< by station
    std::uint64_t usable = 0;  ///< points that only their place may reject
    SimplePointT<double> origin;
    GridFrame frame;              ///< around the local coordinates of the points in range
    ExtendsT<float> frameBounds;  ///< the box that `frame` numbers
    float maxLocal = 0;           ///< largest magnitude of a coordinate in it

    [[nodiscard]] std::uint64_t Read() const;
};

/// Reads inputs `first` to `last` once and finds scans, counts, ranges, bounds and marks, by
/// input; the others' findings stay empty.
///
/// `kept`, unless null, takes the points of inputs that are dear to decode.
///
/// Order    the findings of pieces are joined in the order of the pieces, so the result is the same
///          at any number of threads.
/// Errors   those of the readers; Cancelled.
Expected<std::vector<InputSurvey>> SurveyInputs(const std::vector<ScanInput>& inputs,
                                                std::size_t first, std::size_t last,
                                                const ImportOptions& options,
                                                StationTable& stations, ImportPool& pool,
                                                KeptPoints* kept = nullptr);

/// Joins the findings of all inputs, whose scans are in the table: origin and frame follow from all
/// of them.
///
/// Errors   a scan that was asked for and is nowhere.
Expected<Survey> JoinSurveys(const std::vector<InputSurvey>& found,
                             const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             const StationTable& stations);

/// Both, for all inputs.
Expected<Survey> SurveyScans(const std::vector<ScanInput>& inputs, const ImportOptions& options,
                             StationTable& stations, ImportPool& pool);

}  // namespace orvix::importer
