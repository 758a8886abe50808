// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/path.h"

#include <algorithm>
#include <memory>
#include <string>

#include "orvix/platform/win32/native.h"

namespace orvix::platform {
namespace {

using namespace detail;

bool IsFolderAttribute(DWORD attributes) {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool FileInformation(const CString& path, BY_HANDLE_FILE_INFORMATION& information) {
    const HandleOwner file(OpenToAsk(path));
    return file && GetFileInformationByHandle(file.Get(), &information);
}

std::uint64_t Joined(DWORD high, DWORD low) {
    return static_cast<std::uint64_t>(high) << 32 | low;
}

/// A UTF-16 unit's rank in code-point order, in which surrogates come after all other units.
unsigned RankOf(wchar_t unit) {
    const auto value = static_cast<unsigned>(unit);
    if (value >= 0xE000) return value - 0x800;
    return value >= 0xD800 ? value + 0x2000 : value;
}

bool ComesBefore(const CString& a, const CString& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](wchar_t x, wchar_t y) { return RankOf(x) < RankOf(y); });
}

/// Runs `visit` for each entry of a folder.
template <class Visit>
void VisitFolder(const CString& path, std::error_code& error, Visit visit) {
    WIN32_FIND_DATAW entry;
    const CString pattern = NativePath(JoinPath(path, L"*"));
    const HANDLE search = FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &entry,
                                           FindExSearchNameMatch, nullptr, 0);
    if (!Succeeded(search != INVALID_HANDLE_VALUE, path, error)) {
        // An empty root has not even the entries "." and "..".
        if (error == ErrorOf(ERROR_FILE_NOT_FOUND) && IsFolder(path)) error.clear();
        return;
    }
    // Closed on every way out: memory may end while a name is visited.
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> open(search, &FindClose);
    do {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..") visit(entry);
    } while (FindNextFileW(search, &entry));
    if (GetLastError() != ERROR_NO_MORE_FILES) error = LastError();
}

/// Removes one entry that holds nothing, read-only ones too.
void RemoveEntry(const CString& path, DWORD attributes, std::error_code& error) {
    const CString native = NativePath(path);
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        SetFileAttributesW(native.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    const BOOL removed = IsFolderAttribute(attributes) ? RemoveDirectoryW(native.c_str())
                                                       : DeleteFileW(native.c_str());
    Succeeded(removed, path, error);
}

void RemoveBelow(const CString& path, DWORD attributes, std::error_code& error) {
    const bool link = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (IsFolderAttribute(attributes) && !link) {
        std::vector<std::pair<CString, DWORD>> entries;
        VisitFolder(path, error, [&](const WIN32_FIND_DATAW& entry) {
            entries.emplace_back(JoinPath(path, entry.cFileName), entry.dwFileAttributes);
        });
        for (const auto& [name, kind] : entries) {
            if (!error) RemoveBelow(name, kind, error);
        }
    }
    if (!error) RemoveEntry(path, attributes, error);
}

}  // namespace

namespace detail {

/// Paths that users type may hold either.
std::wstring_view PathSeparators() {
    return L"\\/";
}

}  // namespace detail

CString AbsolutePath(const CString& path) {
    const CString asked = path.empty() ? CString(L".") : path;
    const DWORD room = GetFullPathNameW(asked.c_str(), 0, nullptr, nullptr);
    CString full(room, L'\0');
    full.resize(GetFullPathNameW(asked.c_str(), room, full.data(), nullptr));
    return full.empty() ? path : full;
}

bool PathExists(const CString& path) {
    return AttributesOf(path) != INVALID_FILE_ATTRIBUTES;
}

bool IsFolder(const CString& path) {
    return IsFolderAttribute(AttributesOf(path));
}

bool IsLink(const CString& path) {
    const DWORD attributes = GetFileAttributesW(NativePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool IsSameFile(const CString& a, const CString& b) {
    BY_HANDLE_FILE_INFORMATION first;
    BY_HANDLE_FILE_INFORMATION second;
    return FileInformation(a, first) && FileInformation(b, second) &&
           first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
           first.nFileIndexHigh == second.nFileIndexHigh &&
           first.nFileIndexLow == second.nFileIndexLow;
}

bool QueryFileSize(const CString& path, std::uint64_t& bytes) {
    WIN32_FILE_ATTRIBUTE_DATA entry;
    if (!GetFileAttributesExW(NativePath(path).c_str(), GetFileExInfoStandard, &entry)) {
        return false;
    }
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        BY_HANDLE_FILE_INFORMATION target;
        if (!FileInformation(path, target)) return false;
        entry.dwFileAttributes = target.dwFileAttributes;
        entry.nFileSizeHigh = target.nFileSizeHigh;
        entry.nFileSizeLow = target.nFileSizeLow;
    }
    bytes = IsFolderAttribute(entry.dwFileAttributes)
                ? 0
                : Joined(entry.nFileSizeHigh, entry.nFileSizeLow);
    return true;
}

void MakeFolder(const CString& path, std::error_code& error) {
    if (CreateDirectoryW(NativePath(path).c_str(), nullptr)) {
        error.clear();
        return;
    }
    error = LastErrorOn(path);
    const bool exists = error == std::errc::file_exists || error == std::errc::is_a_directory;
    if (exists && IsFolder(path)) error.clear();
}

void RemoveFolder(const CString& path, std::error_code& error) {
    Succeeded(RemoveDirectoryW(NativePath(path).c_str()), error);
}

void RemoveFile(const CString& path, std::error_code& error) {
    Succeeded(DeleteFileW(NativePath(path).c_str()), path, error);
}

void RemoveTree(const CString& path, std::error_code& error) {
    error.clear();
    const DWORD attributes = GetFileAttributesW(NativePath(path).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        RemoveBelow(path, attributes, error);
    } else if (LastError() != std::errc::no_such_file_or_directory) {
        error = LastErrorOn(path);
    }
}

std::vector<CString> ListFolder(const CString& path, std::error_code& error) {
    std::vector<CString> names;
    VisitFolder(path, error,
                [&names](const WIN32_FIND_DATAW& entry) { names.emplace_back(entry.cFileName); });
    std::sort(names.begin(), names.end(), ComesBefore);
    return names;
}

void Rename(const CString& from, const CString& to, std::error_code& error) {
    // Asked for to replace, the system refuses folders in either place.
    const DWORD flags = IsFolder(from) ? 0 : MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    Succeeded(MoveFileExW(NativePath(from).c_str(), NativePath(to).c_str(), flags), to, error);
}

void ExchangePaths(const CString&, const CString&, std::error_code& error) {
    error = std::make_error_code(std::errc::operation_not_supported);
}

void SyncFolder(const CString&, std::error_code& error) {
    error.clear();
}

std::uint64_t FreeSpace(const CString& path, std::error_code& error) {
    const bool file = PathExists(path) && !IsFolder(path);
    const CString folder = file ? ParentOf(AbsolutePath(path)) : path;
    ULARGE_INTEGER available{};
    Succeeded(GetDiskFreeSpaceExW(NativePath(folder).c_str(), &available, nullptr, nullptr), folder,
              error);
    return error ? 0 : available.QuadPart;
}

namespace {

/// Longer than any lock file: those hold a number and a line's end.
constexpr std::uint64_t kMaxLockFileBytes = 64;

bool MayBeLockFile(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION information;
    return GetFileInformationByHandle(file, &information) &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
           Joined(information.nFileSizeHigh, information.nFileSizeLow) <= kMaxLockFileBytes;
}

/// The lock holds without the note too, as on a full disk.
void NoteHolder(HANDLE file) {
    std::string text = std::to_string(GetCurrentProcessId());
    text += '\n';
    DWORD written = 0;
    OVERLAPPED start{};
    if (WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, &start)) {
        FILE_END_OF_FILE_INFO end{};
        end.EndOfFile.QuadPart = static_cast<LONGLONG>(text.size());
        SetFileInformationByHandle(file, FileEndOfFileInfo, &end, sizeof end);
    }
}

}  // namespace

PathLock::~PathLock() {
    if (!IsValid(handle_)) return;
    // The file goes with its handle; a process that is killed leaves it.
    FILE_DISPOSITION_INFO disposition{TRUE};
    SetFileInformationByHandle(handle_, FileDispositionInfo, &disposition, sizeof disposition);
    CloseHandleOf(handle_);
}

PathLock PathLock::TryAcquire(const CString& path, std::error_code& error) {
    // Nobody else may open it for writing until the handle is closed, whether the process lives or
    // not.
    PathLock lock;
    const HANDLE file = CreateFileW(NativePath(path).c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                    FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (IsValid(file) && !MayBeLockFile(file)) {
        CloseHandle(file);
        error = std::make_error_code(std::errc::file_exists);
    } else if (IsValid(file)) {
        error.clear();
        NoteHolder(file);
        lock.handle_ = file;
    } else {
        error = LastErrorOn(path);
        if (error == ErrorOf(ERROR_SHARING_VIOLATION)) error.clear();
    }
    return lock;
}

}  // namespace orvix::platform
