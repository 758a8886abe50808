// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <system_error>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/platform/unfinished_file.h"

namespace orvix::output {

/// Checks that a file may be made under this name: its folder exists, and it is no folder itself.
/// Call it before the work whose result the file is to hold.
///
/// Errors   BadInput, with the path.
Expected<void> RequireOutputPlace(const CString& path);

/// A result file that appears whole or not at all. It grows beside its name, with the ending
/// .orvix-part, and takes the name when it is complete and on the disk; a file of that name stays
/// until then.
///
///     OutputFile file(path);
///     file.Append(bytes.data(), bytes.size());
///     return file.Commit();
///
/// Boundaries as platform::UnfinishedFile has them: no link is followed, and of two programs that
///          write one file the second is refused.
/// Errors   the first failure is kept, and `Commit` returns it: NoSpace or Failure, with the path.
/// Lifetime the destructor removes what was not committed.
/// Cost     no buffer: append large blocks.
class OutputFile {
public:
    explicit OutputFile(const CString& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Append(const void* data, std::size_t bytes);
    Expected<void> Commit();

private:
    CString path_;
    std::error_code error_;
    platform::UnfinishedFile file_;
};

}  // namespace orvix::output
