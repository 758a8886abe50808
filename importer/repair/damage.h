// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "importer/repair/repair.h"
#include "orvix/project/covered_files.h"

namespace orvix::importer {

/// How a file stands to its sum.
enum class Judgement {
    Sound,     ///< it has the size and the sums that the manifest holds
    Unsummed,  ///< the manifest does not hold it, or it was opened for writing since
    Missing,
    Damaged,
};

/// A file of the project, judged.
struct JudgedFile {
    std::string name;
    CString path;
    Judgement judgement = Judgement::Unsummed;
    /// What the manifest holds of it: where it is sound, what it is now; else the latest state.
    std::optional<detail::FileSums> stored;
    std::vector<std::uint32_t> found;  ///< the sums of its blocks as they are, where they were read
};

/// Judges every file that the project has, may have made anew, or has lost.
///
/// Errors  those of reading: a file that the system refuses.
Expected<std::vector<JudgedFile>> JudgeFiles(const ProjectManager& paths,
                                             const std::optional<detail::Manifest>& manifest,
                                             const detail::BlockRunner& run);

/// The stretches of Grid.pts whose sums differ, and the cells that they lie in.
Expected<std::vector<DamagedPoints>> DamagedStretches(const JudgedFile& points,
                                                      const JudgedFile& cells100);

/// The bytes with the one bit turned back that makes their sum what is stored; nothing where there is
/// no such bit.
///
/// Cost  the square of the bytes; for small files.
std::optional<std::vector<std::uint8_t>> WithoutFlippedBit(std::vector<std::uint8_t> bytes,
                                                           std::uint32_t stored);

}  // namespace orvix::importer
