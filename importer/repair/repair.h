// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "importer/import_options.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"

namespace orvix::importer {

struct RepairOptions {
    bool dryRun = false;   ///< find out what would be done, and leave the project as it is
    bool accept = false;   ///< take damaged bytes that nothing can replace as they are
    unsigned threads = 0;  ///< 0: every core
};

/// What became of one file.
enum class FileState {
    Sound,     ///< as it was written, or as it would be made
    Rebuilt,   ///< was missing or damaged and is made anew
    Mended,    ///< had one flipped bit, which its sum shows
    Accepted,  ///< damaged, and from now on taken as it is
    Lost,      ///< damaged or missing, and nothing says what it held
};

struct RepairedFile {
    std::string name;  ///< as the manifest has it (docs/FORMAT.md)
    CString path;
    FileState state = FileState::Sound;
    std::string why;  ///< for people; empty for a sound one
};

/// A stretch of Grid.pts that is not as it was written.
struct DamagedPoints {
    std::uint64_t firstByte = 0;
    std::uint64_t lastByte = 0;
    std::uint64_t firstPoint = 0;
    std::uint64_t points = 0;     ///< that lie in these bytes, in whole or in part
    std::uint64_t firstCell = 0;  ///< numbers in Grid.idx of the 100 cm cells that hold them ...
    std::uint64_t cells = 0;      ///< ... 0 where that index is not sound
    SimplePointT<double> min{};   ///< box of these cells, metres, local
    SimplePointT<double> max{};
};

struct RepairReport {
    std::uint64_t points = 0;
    std::uint64_t skeletonPoints = 0;  ///< 0 where nothing was rebuilt
    std::vector<RepairedFile> files;
    std::vector<DamagedPoints> damaged;
    bool summed = false;                ///< the manifest was made anew
    std::vector<std::string> warnings;  ///< sentences: files of unfinished names that stay
    /// Nothing damaged is left: neither points nor a file.
    [[nodiscard]] bool Ok() const;
};

/// Makes what a project's points determine anew: indexes, skeleton, view tables, histograms, head and
/// manifest; the settings record, where it is damaged, from defaults. Files that are made again are
/// those that the import made, byte by byte.
///
///     auto report = Repair(L"scan.prj", {}, {});
///
/// Order      all files are made beside those that are there (their names end in .orvix-part) and are
///            on the disk before the first is replaced; each is replaced in one step, the manifest
///            last. A repair that was ended is begun again by the next.
/// Boundaries Grid.pts is never written. Damage in it is reported, and nothing else happens, unless
///            `accept` takes it. transform and station files come from the scans and are not made
///            anew; where the sum shows that one bit flipped, that is undone. What a project without a
///            manifest holds is compared with what is made. Pairs in GridSkelet.datapts that a host
///            set are kept where the file is sound, and zero where it is rebuilt.
/// Errors     BadInput where there is no project, Damaged where its points cannot be read as points,
///            Failure where another repair is at work or a file cannot be read; those of writing;
///            Cancelled. What then stays under an unfinished name is named in the sentence.
/// Threads    call it from one thread; it starts its own.
/// Cost       up to four passes over the points; disk space of the rebuilt files.
Expected<RepairReport> Repair(const CString& project, const RepairOptions& options,
                              const ImportCallback& callback = {});

}  // namespace orvix::importer
