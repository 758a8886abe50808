// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/manifest/block_sums.h"

namespace orvix::detail {

/// What is wrong with one file of a project, in UTF-8.
struct CheckFault {
    std::string file;  ///< its path
    std::string what;  ///< one sentence with the numbers
};

/// What became of a project's sums.
enum class SumState {
    None,      ///< it has no manifest
    Damaged,   ///< the manifest itself cannot be used
    Compared,  ///< see the faults
};

struct SumReport {
    SumState state = SumState::None;
    std::uint64_t files = 0;           ///< compared
    std::uint64_t bytes = 0;           ///< of these
    std::vector<std::string> written;  ///< not compared: opened for writing since they were summed
};

struct CheckReport {
    std::vector<CheckFault> faults;  ///< in the order in which the files are read
    std::uint64_t total = 0;         ///< faults found; those not listed are counted here
    SumReport sums;
    [[nodiscard]] bool Ok() const { return total == 0; }
};

/// Which sums a check compares: those of the small files, or all.
enum class SumDepth { Records, All };

/// What is wrong with the bytes of a saved model; empty where nothing is. The room that writes them
/// reads them too, and stands above this one.
using ModelFault = std::function<std::string(std::span<const std::uint8_t> content)>;

struct CheckOptions {
    std::size_t maxFaults = 1000;  ///< listed at most
    /// Called with the part done, 0 to 1, about every 20 ms; false cancels the check.
    std::function<bool(double fraction)> progress;
    SumDepth sums = SumDepth::Records;
    BlockRunner runBlocks;  ///< looks at cells and sums blocks; empty: one by one
    ModelFault
        modelFault;  ///< building::FaultOfRecords; empty: what a saved model says is not read
};

/// Checks a project against itself: opens every file, and compares counts, sizes, records and
/// points with what the others say about them. Nothing is created, changed or locked.
///
///     auto report = CheckProject(L"scan.prj");
///     if (!report) return Report(report.error());
///     for (const CheckFault& fault : report->faults) Print(fault.file, fault.what);
///
/// It holds that
/// - the project file is a whole settings record of a known version, the head file is whole and
///   its counts, bounds, scale and stations are those of the point files;
/// - the runs of every index follow each other without a gap and cover their target, no entry is
///   empty, cells ascend strictly (x, then y, then z) and lie inside their parents;
/// - every alive point is finite and lies in the 100 cm cell and 10 cm cell whose runs hold it;
/// - skeleton and view files agree with each other and with the grid, cell by cell; a skeleton of
///   10 cm or 1 m has one point for each occupied cell of that size;
/// - every skeleton point is one of the cloud's points, and its data record holds that point's
///   intensity, colour, class and station (not its DCLC pair, which a host sets in either file);
/// - index_hash, where there is one, lists the 100 cm cells in the order of their index;
/// - the histograms' bins ascend and their counts sum up to the points;
/// - saved planes, where there are any, are whole, are of these points, and their numbers of points
///   are those of the planes of all points;
/// - a saved model, where there is one, has its checksum, is of these points, and says what a reader
///   takes where `modelFault` is there to judge it;
/// - the small files (settings, head, transform, histograms, stations) have the sizes and sums that
///   the manifest, where there is one, holds of them; with SumDepth::All every file.
///
/// Boundaries a project whose scale is 1.0 or more has no 10 cm level, and its files are not asked
///            for. Of many faults of one kind in one file three are listed and the rest counted.
/// Errors     BadInput when there is no such project, Cancelled, Failure when the system refuses to
///            read a file that is there, Damaged when another program cuts a file short meanwhile.
///            Damage of any sort is a fault in the report, never an error or a crash.
/// Threads    any number of checks at once, each on one thread and those of `runBlocks`, whose worker 0
///            is the calling thread; `progress` is called on that one alone.
/// Cost       every file is read once, points by as many jobs as run at a time, 3 ns a point; those of
///            stretches with a fault twice more, all once more where planes are saved, and with
///            SumDepth::All every file once more. Memory is some MiB at any size of the project, 1 MiB
///            a job, and some times what a saved model takes.
Expected<CheckReport> CheckProject(const CString& projectFile, const CheckOptions& options = {});

}  // namespace orvix::detail
