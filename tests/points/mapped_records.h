// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/records.h"
#include "support/scratch_folder.h"

namespace orvix::test {

/// A record whose bytes all follow from its number, so that any mix-up shows.
template <class Record>
Record RecordNumber(std::uint64_t number) {
    Record record;
    auto* bytes = reinterpret_cast<std::uint8_t*>(&record);
    std::uint64_t state = number * 0x9E3779B97F4A7C15u + sizeof(Record);
    for (std::size_t i = 0; i < sizeof record; ++i) {
        state ^= state >> 29;
        state *= 0xBF58476D1CE4E5B9u;
        bytes[i] = static_cast<std::uint8_t>(state >> 56);
    }
    return record;
}

template <class Record>
bool SameBytes(const Record& a, const Record& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// A mapped file, opened as a project core opens it.
class MappedRecords {
public:
    MappedRecords(const CString& path, platform::FileAccess access = platform::FileAccess::Read)
        : file_(platform::OpenExisting(path, access)),
          mapping_(platform::CreateMapping(file_, access)) {
        platform::SizeOf(file_, size_);
    }
    ~MappedRecords() {
        platform::CloseMapping(mapping_);
        platform::CloseHandleOf(file_);
    }
    MappedRecords(const MappedRecords&) = delete;
    MappedRecords& operator=(const MappedRecords&) = delete;

    [[nodiscard]] std::uint64_t Size() const { return size_; }
    [[nodiscard]] void* Mapping() const { return mapping_; }

private:
    platform::Handle file_;
    platform::Handle mapping_;
    std::uint64_t size_ = 0;
};

/// A file of `count` numbered records and `extraBytes` of a record that is not whole.
template <class Record>
CString WriteNumbered(const CString& path, std::uint64_t count, std::size_t extraBytes = 0) {
    std::vector<Record> records(count + 1);
    for (std::uint64_t i = 0; i <= count; ++i) records[i] = RecordNumber<Record>(i);
    WriteBytes(path, records.data(), count * sizeof(Record) + extraBytes);
    return path;
}

}  // namespace orvix::test
