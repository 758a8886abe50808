// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/mapping.h"

#include "orvix/platform/native_calls.h"

namespace orvix::platform {

MappedFile MappedFile::Open(const CString& path, std::error_code& error) {
    MappedFile mapped;
    const File file = File::OpenRead(path, error);
    if (error) return mapped;
    const std::uint64_t size = file.Size();
    if (size == 0) return mapped;
    detail::ForgetLastError();
    const Handle mapping = CreateMapping(file.Get(), FileAccess::Read);
    mapped.base_ = MapFileView(mapping, kViewRead, 0, size);
    if (mapped.base_ != nullptr) {
        mapped.size_ = size;
    } else {
        error = detail::LastError();
        if (!error) error = std::make_error_code(std::errc::io_error);
    }
    CloseMapping(mapping);
    return mapped;
}

}  // namespace orvix::platform
