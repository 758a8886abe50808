// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"

namespace orvix::fuzz {

/// Ends the process with a sentence where a promise is broken, as a fuzzer wants it.
void Require(bool kept, const char* promise);

/// A whole project in a scratch folder, imported once: two stations, a floor and a wall, about a
/// hundred points, planes that are saved, and an index_hash. Small, so that a change of one byte
/// is likely to matter.
class SmallProject {
public:
    SmallProject();

    [[nodiscard]] const CString& File() const { return paths_.projectFile; }
    [[nodiscard]] const ProjectManager& Paths() const { return paths_; }
    /// The files that a target of this name replaces, in an order that stays.
    [[nodiscard]] std::vector<CString> FilesOf(std::string_view target) const;

private:
    void Import();
    void SaveItsPlanes();
    void WriteIndexHash();

    test::ScratchFolder folder_;
    ProjectManager paths_;
};

/// One run of a target that replaces a file of the project. Of several files the first byte says
/// which; the others are what the file holds. Afterwards the file is as it was.
///
/// Cost  a fuzzer's input meets the readers of this file alone, and all of them once in 16 inputs, which
///       its bytes decide; a test's input always meets all but the repair.
void ReadWithFile(std::string_view target, const std::uint8_t* data, std::size_t size);

/// What reads a project, as bits. Searches and repairs take five times as long as all else.
namespace readers {
constexpr unsigned kCheck = 1;
constexpr unsigned kWalk = 2;   ///< and the summary
constexpr unsigned kWorld = 4;  ///< stations, skeleton, points, cells and saved planes
constexpr unsigned kSmallFiles = 8;
constexpr unsigned kC = 16;
constexpr unsigned kHost = 32;
constexpr unsigned kSearch = 64;
constexpr unsigned kRepair = 128;  ///< that is only tried
constexpr unsigned kAll = 255;
}  // namespace readers

/// Reads a project as the command, a host in C++ and one in C do, and ends the process where a reader
/// breaks a promise: an error without a sentence, a fault that names no file, a project that the check
/// calls whole and a reader does not.
void ReadProject(const CString& project, unsigned readers);

/// Through the C interface alone: what is stored and, where planes are looked for, the one at the
/// first point.
enum class Searches { Left, Made };
void ReadThroughC(const CString& project, Searches searches);

}  // namespace orvix::fuzz
