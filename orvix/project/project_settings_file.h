// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_settings.h"

namespace orvix::detail {

/// The project file's bytes: the version and the 53 fields of PROJECT_SETTINGS, little-endian and
/// without gaps, in an order of their own (docs/FORMAT.md lists it).
///
///     PROJECT_SETTINGS settings;
///     DecodeSettings(bytesOfProjectFile, settings);
///
/// Boundaries a file that ends inside a field does not hold that field, nor any later one. A
///            field that the file's version promises and the file does not hold keeps the value
///            that `settings` has; one that the version lacks takes its fixed value. A version
///            that is not held reads as 0.
/// Errors     none: every sequence of bytes can be decoded.
void DecodeSettings(std::span<const std::uint8_t> bytes, PROJECT_SETTINGS& settings);

/// `version` is written as given; the layout is always that of version 13.
std::array<std::uint8_t, kProjectFileBytes> EncodeSettings(std::int32_t version,
                                                           const PROJECT_SETTINGS& settings);

/// The version that a project file starts with; 0 for fewer than four bytes.
std::int32_t SettingsVersionOf(std::span<const std::uint8_t> bytes);

/// Bytes of a whole project file of a version: 204 up to version 4, 322 from version 13 on.
std::uint64_t SettingsBytesOfVersion(std::int32_t version);

/// What a file is, judged as a project file.
enum class SettingsRecord {
    Whole,    ///< it begins with a version from 1 to 13 and holds all that this version takes
    Cut,      ///< it begins so and ends early, or is empty, as one that was just created
    Foreign,  ///< some other file, or the record of a newer version
};

/// Looks at a file's start and size. A file longer than a whole record of version 13 is foreign:
/// other programs give their files the ending .prj too.
///
/// Errors     Failure, with the path, for a file that cannot be read.
Expected<SettingsRecord> ExamineSettingsFile(const CString& path);

}  // namespace orvix::detail
