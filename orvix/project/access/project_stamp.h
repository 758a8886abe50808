// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/file.h"
#include "orvix/platform/file_identity.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// Which project lay under a name at a time: another one may be put there while work goes on.
///
///     const ProjectStamp before = ProjectStamp::Of(path);
///     ... open and read the project's files ...
///     if (auto same = before.RequireSame(); !same) return ErrorOf(same);
///
/// Looks at the point file, which is held open so that its number is given to no other, and at the
/// bytes of the head file. What a verb changes in place (classes, plane numbers, settings) leaves
/// both as they are.
///
/// Errors   Failure, with the project's name, where it is another one now, or gone.
/// Cost     two files opened.
class ProjectStamp {
public:
    static ProjectStamp Of(const CString& project);
    [[nodiscard]] Expected<void> RequireSame() const;

private:
    struct Look {
        platform::File points;
        platform::FileIdentity identity;
        std::uint64_t size = 0;
        std::vector<char> head;
    };
    static Look LookAt(const CString& project);

    CString project_;
    Look first_;
};

}  // namespace orvix::detail
