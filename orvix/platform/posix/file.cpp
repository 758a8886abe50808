// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/file.h"

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "orvix/platform/posix/native.h"

namespace orvix::platform {
namespace {

using namespace detail;

constexpr mode_t kNewFileMode = 0666;

int OpenDescriptor(const CString& path, int flags) {
    const std::string native = NativePath(path);
    return Retry([&] { return open(native.c_str(), flags | O_CLOEXEC | O_NOCTTY, kNewFileMode); });
}

/// Closes `descriptor` and returns -1 with `errno` as given.
int Refuse(int descriptor, int cause) {
    close(descriptor);
    errno = cause;
    return -1;
}

int OpenPositioned(const CString& path, int flags) {
    // Without O_NONBLOCK, opening a pipe waits for its other end.
    const int descriptor = OpenDescriptor(path, flags | O_NONBLOCK);
    if (descriptor == -1) return -1;
    struct stat status;
    if (fstat(descriptor, &status) == -1) return Refuse(descriptor, errno);
    if (S_ISDIR(status.st_mode)) return Refuse(descriptor, EISDIR);
    if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) return Refuse(descriptor, ESPIPE);
    return descriptor;
}

}  // namespace

Handle OpenExisting(const CString& path, FileAccess access) {
    return HandleOf(OpenPositioned(path, access == FileAccess::Read ? O_RDONLY : O_RDWR));
}

void CloseHandleOf(Handle file) {
    if (IsValid(file)) close(DescriptorOf(file));
}

bool SizeOf(Handle file, std::uint64_t& size) {
    struct stat status;
    if (!IsValid(file) || fstat(DescriptorOf(file), &status) == -1) return false;
    size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

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
    const int descriptor = OpenPositioned(path, O_RDONLY);
    return Succeeded(descriptor, error) ? File(HandleOf(descriptor)) : File();
}

File File::OpenReadWrite(const CString& path, std::error_code& error) {
    const int descriptor = OpenPositioned(path, O_RDWR);
    return Succeeded(descriptor, error) ? File(HandleOf(descriptor)) : File();
}

File File::Create(const CString& path, std::error_code& error) {
    const int descriptor = OpenDescriptor(path, O_RDWR | O_CREAT | O_TRUNC);
    return Succeeded(descriptor, error) ? File(HandleOf(descriptor)) : File();
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
        const ssize_t moved = Retry([&] {
            return pread(DescriptorOf(handle_), static_cast<char*>(buffer) + done, bytes - done,
                         static_cast<off_t>(offset + done));
        });
        if (!Succeeded(moved, error) || moved == 0) break;
        done += static_cast<std::size_t>(moved);
    }
    return done;
}

void File::WriteAt(std::uint64_t offset, const void* data, std::size_t bytes,
                   std::error_code& error) {
    error.clear();
    for (std::size_t done = 0; done < bytes;) {
        const ssize_t moved = Retry([&] {
            return pwrite(DescriptorOf(handle_), static_cast<const char*>(data) + done,
                          bytes - done, static_cast<off_t>(offset + done));
        });
        if (!Succeeded(moved, error)) return;
        done += static_cast<std::size_t>(moved);
    }
}

void File::Append(const void* data, std::size_t bytes, std::error_code& error) {
    WriteAt(appendOffset_, data, bytes, error);
    if (!error) appendOffset_ += bytes;
}

void File::Resize(std::uint64_t bytes, std::error_code& error) {
    Succeeded(Retry([&] { return ftruncate(DescriptorOf(handle_), static_cast<off_t>(bytes)); }),
              error);
}

void File::Reserve(std::uint64_t bytes, std::error_code& error) {
    error.clear();
    if (bytes == 0) return;
    const int result = Retry([&] {
        return fallocate(DescriptorOf(handle_), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes));
    });
    if (result == -1 && errno != EOPNOTSUPP && errno != ENOSYS) error = LastError();
}

void File::Sync(std::error_code& error) {
    Succeeded(Retry([&] { return fsync(DescriptorOf(handle_)); }), error);
}

void File::Close(std::error_code& error) {
    error.clear();
    appendOffset_ = 0;
    const Handle closing = std::exchange(handle_, nullptr);
    if (!IsValid(closing)) return;
    // An interrupted close has released the descriptor all the same: it is not repeated.
    if (close(DescriptorOf(closing)) == -1 && errno != EINTR) error = LastError();
}

}  // namespace orvix::platform
