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

/// A record's station number has 16 bits.
inline constexpr std::size_t kMaxStations =
    std::numeric_limits<std::uint16_t>::max() + std::size_t{1};

/// One input of an import: its open reader, and its path for messages.
struct ScanInput {
    CString path;
    std::unique_ptr<ScanReader> reader;
};

/// A scan that is imported.
struct Station {
    std::size_t input = 0;
    std::string name;              ///< never empty
    std::optional<ScanPose> pose;  ///< in world coordinates; unset: the file holds none
    PointPlacement placement;
};

/// Numbers the wanted scans of all inputs: the stations of an import.
///
/// A scan without a name of its own is called after its file ("north" for north.pcd), from the
/// file's second scan on with its number ("yard 2").
///
/// Order    from 0 in the order of the inputs, within one input in its own order. Scans are entered
///          in that order, so a number never depends on threads.
/// Errors   BadInput for more than 65,536 stations, or a wanted name that no scan has.
/// Lifetime borrows inputs and options.
/// Threads  one at a time.
class StationTable {
public:
    StationTable(const std::vector<ScanInput>& inputs, const ImportOptions& options);

    /// Enters the scans that the input's reader knows by now and makes it omit those not wanted.
    Expected<void> EnterScans(std::size_t input);
    /// Enters the scans that an earlier pass over the input found: all that there are, whatever the
    /// reader of this process has met.
    Expected<void> EnterFound(std::size_t input, const std::vector<ScanPart>& scans);
    /// After all inputs were read: whether there is a scan for every name asked for.
    [[nodiscard]] Expected<void> RequireChosen() const;

    /// The station of a scan that was entered; empty when it is not wanted.
    [[nodiscard]] std::optional<std::size_t> Find(std::size_t input, std::size_t scan) const {
        return numbers_[input][scan];
    }
    [[nodiscard]] std::size_t Count() const { return stations_.size(); }
    [[nodiscard]] const Station& operator[](std::size_t station) const {
        return stations_[station];
    }

private:
    Expected<void> EnterAll(std::size_t input, const std::vector<ScanPart>& scans);
    Expected<void> Enter(std::size_t input, const ScanPart& part);

    const std::vector<ScanInput>& inputs_;
    const ImportOptions& options_;
    InputAxes axes_;
    std::vector<Station> stations_;
    std::vector<std::vector<std::optional<std::size_t>>> numbers_;  // by input and scan
    std::vector<std::string> names_;                                // of all scans entered
    std::vector<bool> found_;                                       // by input: nothing to add
};

}  // namespace orvix::importer
