// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/output_file.h"

#include "orvix/platform/path.h"

namespace orvix::output {

Expected<void> RequireOutputPlace(const CString& path) {
    const std::string name = platform::ToUtf8(path);
    const CString folder = platform::ParentOf(platform::AbsolutePath(path));
    if (!folder.empty() && !platform::IsFolder(folder))
        return Fail(ErrorCode::BadInput, name + " cannot be written: there is no folder " +
                                             platform::ToUtf8(folder) + "; create it first");
    if (platform::IsFolder(path))
        return Fail(ErrorCode::BadInput, name + " is a folder; name a file");
    return {};
}

// BEHAVIOUR O11
OutputFile::OutputFile(const CString& path) : path_(path), file_(path, L".orvix-part", error_) {}

void OutputFile::Append(const void* data, std::size_t bytes) {
    if (!error_) file_.Append(data, bytes, error_);
}

Expected<void> OutputFile::Commit() {
    if (!error_) file_.Publish(error_);
    const std::string name = platform::ToUtf8(path_);
    if (error_ == std::errc::device_or_resource_busy)
        return Fail(ErrorCode::Failure, name +
                                            " is being written by another program; wait until "
                                            "it has ended, or name another file");
    if (error_) return FailSystem(error_, name + " could not be written");
    return {};
}

}  // namespace orvix::output
