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
void ReadWithFile(std::string_view target, const std::uint8_t* data, std::size_t size);

/// Whether planes are looked for too, which takes five times as long as all else.
enum class Searches { Left, Made };

/// Reads a project in every way that there is, as the command, a host in C++ and one in C do, and
/// ends the process where a reader breaks a promise: an error without a sentence, a fault that
/// names no file, a project that the check calls whole and a reader does not.
void ReadEverything(const CString& project, Searches searches);

/// Through the C interface alone: what is stored, and the plane at the first point.
void ReadThroughC(const CString& project, Searches searches);

}  // namespace orvix::fuzz
