// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

namespace orvix {

/// A project's processing settings: 53 fields, kept in the project file, whose byte order of
/// fields differs from this one (docs/FORMAT.md lists it). The plane search owns the named fields;
/// the `hostField` ones belong to the host's modules, and the library carries their bits unread.
///
///     orvix::PROJECT_SETTINGS settings;
///     manager.GetProjectSettings(&settings);
///     settings.aliveSplitSize = 0.25;
///     manager.SetProjectSettings(settings);
///
/// Units      lengths in metres; the Diff fields are largest differences of unit normal components.
/// Order      fields 1 to 53 as declared; a 64-bit host field may hold a double or an integer.
/// Boundaries the initial values are what a field reads as when the project file's version lacks
///            it: fields 35 and 36 came with version 5, 37 with 6, 38 to 41 with 7, 42 and 43
///            with 8, 44 with 9, 45 with 10, 46 to 49 with 11, 50 with 12, 51 to 53 with 13.
/// Threads    a plain value.
struct PROJECT_SETTINGS {
    std::uint32_t hostField1 = 0;
    std::uint32_t hostField2 = 0;
    std::uint64_t hostField3 = 0;
    std::uint64_t hostField4 = 0;
    std::uint64_t hostField5 = 0;
    std::uint64_t hostField6 = 0;
    std::uint32_t hostField7 = 0;
    std::uint64_t hostField8 = 0;
    std::uint64_t hostField9 = 0;
    std::uint64_t hostField10 = 0;
    std::uint32_t hostField11 = 0;
    std::uint64_t hostField12 = 0;
    std::uint64_t hostField13 = 0;
    std::uint64_t hostField14 = 0;
    std::uint16_t hostField15 = 0;
    std::uint64_t hostField16 = 0;
    std::uint64_t hostField17 = 0;
    std::uint32_t hostField18 = 0;
    std::uint64_t hostField19 = 0;
    std::uint64_t hostField20 = 0;
    std::uint64_t hostField21 = 0;
    std::uint16_t hostField22 = 0;
    std::uint64_t hostField23 = 0;
    std::uint64_t hostField24 = 0;
    std::uint16_t hostField25 = 0;
    std::uint16_t hostField26 = 0;
    std::uint32_t hostField27 = 0;
    std::uint16_t hostField28 = 0;
    std::uint16_t hostField29 = 0;
    std::uint16_t hostField30 = 0;
    std::uint64_t hostField31 = 0;
    std::uint64_t hostField32 = 0;
    std::uint16_t hostField33 = 0;
    std::uint64_t hostField34 = 0;
    std::uint32_t hostField35 = 0;
    std::uint16_t hostField36 = 0;
    double hostField37 = -1.0;
    double aliveSplitSize = -1.0;  ///< negative: PlaneWormSettings fills in four times baseStep
    double aliveDiffA = 0.15;
    double aliveDiffB = 0.15;
    double aliveDiffC = 0.15;
    std::uint16_t hostField42 = 0xFFFF;
    std::uint16_t hostField43 = 3;
    double baseStep = 0.1;  ///< a quarter of the split size that replaces a negative one
    std::int64_t aliveMinPlane = 9;
    double skeletSplitSize = -1.0;  ///< negative as for the alive set
    double skeletDiffA = 0.15;
    double skeletDiffB = 0.15;
    double skeletDiffC = 0.15;
    std::int64_t skeletMinPlane = 0;
    std::array<std::uint8_t, 4> colour{0, 0, 255, 255};  ///< red, green, blue, alpha
    std::int32_t minCellPoints = 10;  ///< carried: the search goes by 5, which it stores here
    std::int32_t usage = 0;           ///< 0: the alive set is current, else the skeleton set
};

/// Base steps in the split size that an import chooses, and that replaces a negative one.
inline constexpr double kBaseStepsPerSplitSize = 4.0;

/// The version that this library writes; every older version can be read.
inline constexpr std::int32_t kSettingsVersion = 13;

/// Bytes of a project file of that version.
inline constexpr std::uint64_t kProjectFileBytes = 322;

}  // namespace orvix
