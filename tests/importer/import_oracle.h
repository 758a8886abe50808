// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "importer/import.h"
#include "orvix/points/records.h"

namespace orvix::importer::test {

using Bytes = std::vector<std::uint8_t>;

/// The files of a project's folder by their path in it ("Index/Grid.pts"); the project file is "".
using ProjectBytes = std::map<std::string, Bytes>;

/// Reads every file of a project but the note in its station folder, which each opening rewrites.
ProjectBytes ReadProject(const CString& project);

/// What an import must write for records in input order, worked out the slow and obvious way:
/// stable_sort, ordered maps, every file in memory.
ProjectBytes ExpectedProject(std::vector<CCloudPoint<float>> records, SkeletonSize skeleton,
                             std::uint32_t stations, const std::array<double, 3>& origin);

}  // namespace orvix::importer::test
