// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvix::importer {

/// The unit of an input's coordinates.
enum class LengthUnit { Metre, Millimetre, Centimetre, Foot, UsSurveyFoot };
/// Which axis of an input points upward.
enum class UpAxis { Z, Y };
/// The size of the cells of which the skeleton, the thinned cloud, keeps one point each.
enum class SkeletonSize { OneCentimetre, TenCentimetres, OneMetre };

/// How inputs are read and what the project is made of.
struct ImportOptions {
    LengthUnit unit = LengthUnit::Metre;  ///< of the coordinates in the inputs
    UpAxis up = UpAxis::Z;                ///< Y: (x, y, z) of the input becomes (z, x, y)
    bool dropZeros = false;               ///< reject points at exactly (0, 0, 0) in the input
    bool dedupe = false;                  ///< keep the first of points at the same local position
    bool overwrite = false;               ///< replace an existing project
    bool resume = false;  ///< go on where an import of the same was ended; keep what is done
    std::vector<std::string> stationNames;  ///< import the scans of these names; empty: all
    SkeletonSize skeleton = SkeletonSize::TenCentimetres;
    std::uint64_t memoryLimitBytes = std::uint64_t{1} << 30;  ///< resident, whole process; about
    unsigned threads = 0;                                     ///< 0: every core
};

/// The phases of an import, in their order.
enum class ImportPhase { Scan, Sort, Write, Index, Skeleton, Finish };

/// How far an import is. `fraction` runs from 0 to 1 over the whole import and never falls.
struct ImportProgress {
    ImportPhase phase = ImportPhase::Scan;
    double fraction = 0;
    std::uint64_t bytes = 0;   ///< handled so far in this phase
    std::uint64_t points = 0;  ///< handled so far in this phase
    double secondsLeft = -1;   ///< estimate; negative while unknown
};

/// Called on the importing thread at least ten times a second; false cancels the import, which
/// cleans up and ends with ErrorCode::Cancelled within half a second.
using ImportCallback = std::function<bool(const ImportProgress&)>;

}  // namespace orvix::importer
