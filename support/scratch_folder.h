// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::test {

/// A fresh folder under the system's temporary folder, removed with all it holds at the end.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const CString& Path() const { return path_; }
    /// The path of `name` inside the folder.
    [[nodiscard]] CString operator/(std::wstring_view name) const;
    /// The names in the folder, in code-point order.
    [[nodiscard]] std::vector<CString> Names() const;

private:
    CString path_;
};

void WriteBytes(const CString& path, const void* data, std::size_t bytes);
void WriteText(const CString& path, std::string_view text);
/// The whole file; empty when it cannot be read.
std::vector<std::uint8_t> ReadBytes(const CString& path);

/// Writes an array of records as a headerless file.
template <class Record>
void WriteRecords(const CString& path, const std::vector<Record>& records) {
    WriteBytes(path, records.data(), records.size() * sizeof(Record));
}

}  // namespace orvix::test
