// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/file.h"

#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "orvix/platform/file_identity.h"
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

int FlagsOf(FileAccess access) {
    return access == FileAccess::Read ? O_RDONLY : O_RDWR;
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

namespace detail {

Handle OpenOwn(const CString& path, FileAccess access, std::error_code& error) {
    const int descriptor = OpenPositioned(path, FlagsOf(access));
    return Succeeded(descriptor, error) ? HandleOf(descriptor) : nullptr;
}

Handle CreateOwn(const CString& path, std::error_code& error) {
    const int descriptor = OpenDescriptor(path, O_RDWR | O_CREAT | O_TRUNC);
    return Succeeded(descriptor, error) ? HandleOf(descriptor) : nullptr;
}

Handle CreateNewOwn(const CString& path, std::error_code& error) {
    const int descriptor = OpenDescriptor(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW);
    return Succeeded(descriptor, error) ? HandleOf(descriptor) : nullptr;
}

void CloseOwn(Handle file, std::error_code& error) {
    error.clear();
    // An interrupted close has released the descriptor all the same: it is not repeated.
    if (close(DescriptorOf(file)) == -1 && errno != EINTR) error = LastError();
}

std::size_t ReadSome(Handle file, std::uint64_t offset, void* buffer, std::size_t bytes,
                     std::error_code& error) {
    const ssize_t moved =
        Retry([&] { return pread(DescriptorOf(file), buffer, bytes, static_cast<off_t>(offset)); });
    return Succeeded(moved, error) ? static_cast<std::size_t>(moved) : 0;
}

std::size_t WriteSome(Handle file, std::uint64_t offset, const void* data, std::size_t bytes,
                      std::error_code& error) {
    const ssize_t moved =
        Retry([&] { return pwrite(DescriptorOf(file), data, bytes, static_cast<off_t>(offset)); });
    return Succeeded(moved, error) ? static_cast<std::size_t>(moved) : 0;
}

/// What is never written takes no space here as it is.
void PrepareWrite(Handle, std::uint64_t) {}

std::error_code LastError() {
    return {errno, std::system_category()};
}

void ForgetLastError() {
    errno = 0;
}

}  // namespace detail

Handle OpenExisting(const CString& path, FileAccess access) {
    return HandleOf(OpenPositioned(path, FlagsOf(access)));
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

bool IdentityOf(Handle file, FileIdentity& identity) {
    struct stat status;
    if (!IsValid(file) || fstat(DescriptorOf(file), &status) == -1) return false;
    identity = {static_cast<std::uint64_t>(status.st_dev),
                static_cast<std::uint64_t>(status.st_ino)};
    return true;
}

bool WrittenTimeOf(Handle file, std::int64_t& time) {
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    struct stat status;
    if (!IsValid(file) || fstat(DescriptorOf(file), &status) == -1) return false;
    time = static_cast<std::int64_t>(status.st_mtim.tv_sec) * kNanoseconds + status.st_mtim.tv_nsec;
    return true;
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

}  // namespace orvix::platform
