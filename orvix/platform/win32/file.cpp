// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/file.h"

#include <windows.h>

#include <algorithm>
#include <utility>
#include <winioctl.h>

#include "orvix/platform/file_identity.h"
#include "orvix/platform/path.h"
#include "orvix/platform/win32/native.h"

namespace orvix::platform {
namespace {

using namespace detail;

/// Bytes that one system call moves, at most.
constexpr std::size_t kMaxMoveBytes = std::size_t{1} << 30;

constexpr DWORD kShareReadWrite = FILE_SHARE_READ | FILE_SHARE_WRITE;
/// Our own files may be renamed and removed while they are open, as on other systems.
constexpr DWORD kShareAll = kShareReadWrite | FILE_SHARE_DELETE;

DWORD RightsOf(FileAccess access) {
    return access == FileAccess::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
}

/// Opens what has positions; pipes, consoles and other devices are refused.
HANDLE OpenPositioned(const CString& path, FileAccess access, DWORD share) {
    const HANDLE file = CreateFileW(NativePath(path).c_str(), RightsOf(access), share, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (!IsValid(file) || GetFileType(file) == FILE_TYPE_DISK) return file;
    CloseHandle(file);
    SetLastError(ERROR_SEEK);
    return INVALID_HANDLE_VALUE;
}

OVERLAPPED PositionOf(std::uint64_t offset) {
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(offset);
    position.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return position;
}

DWORD NextMove(std::size_t bytes) {
    return static_cast<DWORD>(std::min(bytes, kMaxMoveBytes));
}

/// Lets what is never written take no space on the disk; where the file system cannot, it does.
void MakeSparse(HANDLE file) {
    DWORD returned = 0;
    DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
}

/// Bytes free on the volume of an open file; all there could be when the system does not say.
std::uint64_t FreeBeside(HANDLE file) {
    constexpr DWORD kRoom = 32'768;
    CString path(kRoom, L'\0');
    const DWORD length = GetFinalPathNameByHandleW(file, path.data(), kRoom, FILE_NAME_NORMALIZED);
    path.resize(length < kRoom ? length : 0);
    std::error_code error;
    const std::uint64_t free = FreeSpace(path, error);
    return error ? ~std::uint64_t{0} : free;
}

}  // namespace

namespace detail {

Handle OpenOwn(const CString& path, FileAccess access, std::error_code& error) {
    const HANDLE file = OpenPositioned(path, access, kShareAll);
    return Succeeded(IsValid(file), path, error) ? file : nullptr;
}

Handle CreateOwn(const CString& path, std::error_code& error) {
    const HANDLE file =
        CreateFileW(NativePath(path).c_str(), RightsOf(FileAccess::ReadWrite), kShareAll, nullptr,
                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return Succeeded(IsValid(file), path, error) ? file : nullptr;
}

Handle CreateNewOwn(const CString& path, std::error_code& error) {
    const HANDLE file = CreateFileW(NativePath(path).c_str(), RightsOf(FileAccess::ReadWrite),
                                    kShareAll, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    return Succeeded(IsValid(file), path, error) ? file : nullptr;
}

void CloseOwn(Handle file, std::error_code& error) {
    Succeeded(CloseHandle(file), error);
}

std::size_t ReadSome(Handle file, std::uint64_t offset, void* buffer, std::size_t bytes,
                     std::error_code& error) {
    error.clear();
    OVERLAPPED position = PositionOf(offset);
    DWORD moved = 0;
    const BOOL read = ReadFile(file, buffer, NextMove(bytes), &moved, &position);
    if (!read && GetLastError() == ERROR_HANDLE_EOF) return 0;
    return Succeeded(read, error) ? moved : 0;
}

std::size_t WriteSome(Handle file, std::uint64_t offset, const void* data, std::size_t bytes,
                      std::error_code& error) {
    OVERLAPPED position = PositionOf(offset);
    DWORD moved = 0;
    const BOOL written = WriteFile(file, data, NextMove(bytes), &moved, &position);
    return Succeeded(written, error) ? moved : 0;
}

void PrepareWrite(Handle file, std::uint64_t offset) {
    std::uint64_t size = 0;
    SizeOf(file, size);
    if (offset > size) MakeSparse(file);
}

std::error_code LastError() {
    return ErrorOf(GetLastError());
}

void ForgetLastError() {
    SetLastError(ERROR_SUCCESS);
}

}  // namespace detail

Handle OpenExisting(const CString& path, FileAccess access) {
    return OpenPositioned(path, access, kShareReadWrite);
}

void CloseHandleOf(Handle file) {
    if (IsValid(file)) CloseHandle(file);
}

bool SizeOf(Handle file, std::uint64_t& size) {
    LARGE_INTEGER bytes;
    if (!IsValid(file) || !GetFileSizeEx(file, &bytes)) return false;
    size = static_cast<std::uint64_t>(bytes.QuadPart);
    return true;
}

bool IdentityOf(Handle file, FileIdentity& identity) {
    BY_HANDLE_FILE_INFORMATION information;
    if (!IsValid(file) || !GetFileInformationByHandle(file, &information)) return false;
    identity = {
        information.dwVolumeSerialNumber,
        static_cast<std::uint64_t>(information.nFileIndexHigh) << 32 | information.nFileIndexLow};
    return true;
}

bool WrittenTimeOf(Handle file, std::int64_t& time) {
    FILETIME written;
    if (!IsValid(file) || !GetFileTime(file, nullptr, nullptr, &written)) return false;
    time = static_cast<std::int64_t>(static_cast<std::uint64_t>(written.dwHighDateTime) << 32 |
                                     written.dwLowDateTime);
    return true;
}

void File::Resize(std::uint64_t bytes, std::error_code& error) {
    if (bytes > Size()) MakeSparse(handle_);
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(bytes);
    Succeeded(SetFileInformationByHandle(handle_, FileEndOfFileInfo, &end, sizeof end), error);
}

void File::Reserve(std::uint64_t bytes, std::error_code& error) {
    FILE_STANDARD_INFO now{};
    if (!Succeeded(GetFileInformationByHandleEx(handle_, FileStandardInfo, &now, sizeof now),
                   error)) {
        return;
    }
    // A reservation that is smaller than the file would cut it.
    const auto allocated = static_cast<std::uint64_t>(now.AllocationSize.QuadPart);
    if (bytes <= allocated || bytes <= static_cast<std::uint64_t>(now.EndOfFile.QuadPart)) return;
    if (bytes - allocated > FreeBeside(handle_)) {
        error = ErrorOf(ERROR_DISK_FULL);
        return;
    }
    FILE_ALLOCATION_INFO reserved{};
    reserved.AllocationSize.QuadPart = static_cast<LONGLONG>(bytes);
    const BOOL done =
        SetFileInformationByHandle(handle_, FileAllocationInfo, &reserved, sizeof reserved);
    if (!done && GetLastError() == ERROR_DISK_FULL) error = LastError();
}

void File::Sync(std::error_code& error) {
    const BOOL done = FlushFileBuffers(handle_);
    // A file opened for reading alone has nothing of this handle's to wait for.
    if (!done && GetLastError() == ERROR_ACCESS_DENIED) {
        error.clear();
    } else {
        Succeeded(done, error);
    }
}

}  // namespace orvix::platform
