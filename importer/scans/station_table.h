// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "importer/import_options.h"
#include "importer/scans/coordinate_frame.h"
#include "importer/scans/scan_reader.h"

namespace orvix::importer {

inline constexpr std::size_t kMaxStations =
    std::numeric_limits<std::uint16_t>::max() + std::size_t{1};

/// An input of an import: its path for messages and its open reader.
struct ScanInput {
    CString path;
    std::unique_ptr<ScanReader> reader;
};

/// A scan that is imported.
struct Station {
    std::size_t input = 0;
    std::string name;              ///< never empty
    std::optional<ScanPose> pose;  ///< in the world; unset: not told
    PointPlacement placement;
};

/// The stations of an import: the scans of all inputs that are wanted, numbered from 0 in the order
/// of the inputs, within one in its own order.
///
/// A scan without a name of its own is called after its file ("north" for north.pcd), from the
/// file's second scan on with its number ("yard 2").
///
/// Order    inputs are met one after the other, so a number never depends on threads.
/// Errors   BadInput for more than 65,536 stations, or a wanted name that no scan bears.
/// Lifetime borrows inputs and options.
/// Threads  one at a time.
class StationTable {
public:
    StationTable(const std::vector<ScanInput>& inputs, const ImportOptions& options);

    /// Enters what the input's reader tells of its scans by now, and tells it which are not wanted.
    Expected<void> Meet(std::size_t input);
    /// After all inputs were met: whether there is a scan for every name asked for.
    [[nodiscard]] Expected<void> RequireChosen() const;

    /// The station of a scan that was met; empty when it is not wanted.
    [[nodiscard]] std::optional<std::size_t> Find(std::size_t input, std::size_t scan) const {
        return numbers_[input][scan];
    }
    [[nodiscard]] std::size_t Count() const { return stations_.size(); }
    [[nodiscard]] const Station& operator[](std::size_t station) const {
        return stations_[station];
    }

private:
    Expected<void> Enter(std::size_t input, const ScanPart& part);

    const std::vector<ScanInput>& inputs_;
    const ImportOptions& options_;
    InputAxes axes_;
    std::vector<Station> stations_;
    std::vector<std::vector<std::optional<std::size_t>>> numbers_;  // by input and scan
    std::vector<std::string> names_;                                // of all scans met
};

}  // namespace orvix::importer
