// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/export.h"
#include "orvix/platform/text.h"

namespace orvix {

/// Small file questions, and the last system error for the user's eyes.
///
///     CString path = L"report.txt";
///     IOUtility::GetUniqueFilename(path);  // "report.txt1" when that name was taken
///
/// Threads  any; no state is kept.
class ORVIX_API IOUtility {
public:
    /// The size of an open file in bytes: 1, and `size` set. For a null or invalid handle 0, with
    /// `size` untouched; for one that has no size to ask for 0, with `size` 0.
    static int GetFileSizeQW(void* file, std::uint64_t* size);

    /// Whether an existing file opens for reading and writing, shared with others. The file is
    /// not changed; a missing file is not writable and not made, a folder is not writable.
    static bool FileIsWritable(const CString& path);

    /// Appends 1, 2, ... to `path` until no file or folder has that name; a free path stays as it
    /// is. The number follows the whole path, its extension too: "a.txt" becomes "a.txt1".
    static void GetUniqueFilename(CString& path);

    /// Shows "failed with error <code>: <message>" for the calling thread's last system error,
    /// through the error channel. The text is cut to the length of the system's own message, the
    /// terminating zero counted: for "No such file or directory" (25 characters) the user sees
    /// the 24 characters "failed with error 2: No ".
    static void LastErr();
};

}  // namespace orvix
