// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/text.h"

namespace orvix::platform {

/// A file that appears whole or not at all: it grows beside its name, under that name with an
/// ending of its own, and takes the name once its bytes are on the device.
///
///     UnfinishedFile file(path, L".orvix-part", error);
///     if (!error) file.Append(block.data(), block.size(), error);
///     if (!error) file.Publish(error);
///     if (error) return FailSystem(error, ToUtf8(path) + " could not be written");
///
/// Boundaries nothing that bears the temporary name is written to. A file or a link that nobody
///            writes any more, left behind by a program that was killed, is removed; of two programs
///            that want to write one file the second is refused. A file that has the name stays
///            until the end; a link that has it is replaced, not followed.
/// Errors     `device_or_resource_busy`: another program writes the file. `Publish` may fail once
///            the file is in place, where its folder cannot be brought to the device.
/// Lifetime   what was not published goes with the object, and, by RemoveUnfinishedFiles, with a
///            program that ends early.
/// Cost       no buffer: append large blocks. `Publish` waits until the file is on the device.
class UnfinishedFile {
public:
    UnfinishedFile(const CString& path, const wchar_t* ending, std::error_code& error);
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    void Append(const void* data, std::size_t bytes, std::error_code& error) {
        file_.Append(data, bytes, error);
    }
    [[nodiscard]] std::uint64_t AppendOffset() const { return file_.AppendOffset(); }
    /// Gives the file the permissions of the one that it replaces, where there is one.
    void TakePermissions(std::error_code& error);
    void Publish(std::error_code& error);

private:
    CString path_;
    CString part_;
    File file_;
    int removal_ = -1;
    bool made_ = false;
};

/// Removes what the UnfinishedFiles of this program have written so far, as far as the system
/// allows it. For a program that ends at once: a signal handler may call it.
void RemoveUnfinishedFiles();

namespace detail {

/// Creates a file that is held by this program alone for as long as it is open.
Handle CreateHeldOwn(const CString& path, std::error_code& error);
/// Renames a file of CreateHeldOwn, replacing what has the name, and closes it; one that cannot be
/// renamed is removed.
void PublishHeld(Handle file, const CString& from, const CString& to, std::error_code& error);
void RemoveHeld(Handle file, const CString& path);
void CopyPermissions(const CString& from, Handle file, std::error_code& error);
/// Notes a path for RemoveUnfinishedFiles, and forgets it; -1 where there is no room.
int NoteForRemoval(const CString& path);
void ForgetRemoval(int note);

}  // namespace detail
}  // namespace orvix::platform
