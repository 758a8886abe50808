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

OutputFile::OutputFile(const CString& path)
    : path_(path),
      part_(path + L".orvix-part"),
      file_(platform::File::Create(part_, error_)),
      made_(!error_) {}

OutputFile::~OutputFile() {
    if (!made_) return;
    std::error_code ignored;
    file_.Close(ignored);
    platform::RemoveFile(part_, ignored);
}

void OutputFile::Append(const void* data, std::size_t bytes) {
    if (!error_) file_.Append(data, bytes, error_);
}

Expected<void> OutputFile::Commit() {
    if (!error_) file_.Close(error_);
    if (!error_) platform::Rename(part_, path_, error_);
    if (error_) return FailSystem(error_, platform::ToUtf8(path_) + " could not be written");
    made_ = false;
    return {};
}

}  // namespace orvix::output
