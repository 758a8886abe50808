// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/project_stamp.h"

#include <system_error>

#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"

namespace orvix::detail {

ProjectStamp::Look ProjectStamp::LookAt(const CString& project) {
    ProjectManager paths;
    BuildPaths(paths, project);
    Look look;
    std::error_code error;
    look.points = platform::File::OpenRead(paths.gridPts, error);
    if (!error && platform::IdentityOf(look.points.Get(), look.identity))
        look.size = look.points.Size();
    const platform::File head = platform::File::OpenRead(paths.headFile, error);
    if (error) return look;
    look.head.resize(kHeadFileBytes);
    look.head.resize(head.ReadAt(0, look.head.data(), look.head.size(), error));
    return look;
}

ProjectStamp ProjectStamp::Of(const CString& project) {
    ProjectStamp stamp;
    stamp.project_ = project;
    stamp.first_ = LookAt(project);
    return stamp;
}

// BEHAVIOUR P17
Expected<void> ProjectStamp::RequireSame() const {
    const Look now = LookAt(project_);
    if (now.identity == first_.identity && now.size == first_.size && now.head == first_.head)
        return {};
    return Fail(ErrorCode::Failure, platform::ToUtf8(project_) +
                                        " was replaced or removed by another program meanwhile; "
                                        "run it again");
}

}  // namespace orvix::detail
