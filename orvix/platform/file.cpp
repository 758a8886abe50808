// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/file.h"

#include <utility>

#include "orvix/platform/native_calls.h"

namespace orvix::platform {

File::File(File&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)),
      appendOffset_(std::exchange(other.appendOffset_, 0)) {}

File& File::operator=(File&& other) noexcept {
    File taken(std::move(other));
    std::swap(handle_, taken.handle_);
    std::swap(appendOffset_, taken.appendOffset_);
    return *this;
}

File::~File() {
    CloseHandleOf(handle_);
}

File File::OpenRead(const CString& path, std::error_code& error) {
    return File(detail::OpenOwn(path, FileAccess::Read, error));
}

File File::OpenReadWrite(const CString& path, std::error_code& error) {
    return File(detail::OpenOwn(path, FileAccess::ReadWrite, error));
}

File File::Create(const CString& path, std::error_code& error) {
    return File(detail::CreateOwn(path, error));
}

File File::CreateNew(const CString& path, std::error_code& error) {
    return File(detail::CreateNewOwn(path, error));
}

std::uint64_t File::Size() const {
    std::uint64_t size = 0;
    SizeOf(handle_, size);
    return size;
}

std::size_t File::ReadAt(std::uint64_t offset, void* buffer, std::size_t bytes,
                         std::error_code& error) const {
    error.clear();
    std::size_t done = 0;
    while (done < bytes) {
        const std::size_t moved = detail::ReadSome(
            handle_, offset + done, static_cast<char*>(buffer) + done, bytes - done, error);
        if (moved == 0) break;
        done += moved;
    }
    return done;
}

void File::WriteAt(std::uint64_t offset, const void* data, std::size_t bytes,
                   std::error_code& error) {
    error.clear();
    if (bytes != 0) detail::PrepareWrite(handle_, offset);
    for (std::size_t done = 0; done < bytes && !error;) {
        done += detail::WriteSome(handle_, offset + done, static_cast<const char*>(data) + done,
                                  bytes - done, error);
    }
}

void File::Append(const void* data, std::size_t bytes, std::error_code& error) {
    WriteAt(appendOffset_, data, bytes, error);
    if (!error) appendOffset_ += bytes;
}

void File::Close(std::error_code& error) {
    error.clear();
    appendOffset_ = 0;
    const Handle closing = std::exchange(handle_, nullptr);
    if (IsValid(closing)) detail::CloseOwn(closing, error);
}

}  // namespace orvix::platform
