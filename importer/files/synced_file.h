// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <future>
#include <mutex>
#include <span>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/file.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// Whether `Finish` waits until a file's bytes have reached the device.
enum class Durability { Lasting, Temporary };

/// A new file that several threads write, brought to the device as it grows.
///
/// So no single wait for the device is long, and a cancelled import ends soon. After every 32 MiB a
/// thread of its own waits for the device while the others go on; who writes the next 32 MiB waits
/// for that thread.
///
/// Errors   with the file's name; a full disk is NoSpace. What the device refuses is reported by a
///          later `WriteAt`, or by `Finish`.
/// Lifetime a file that is not finished waits for its thread where it ends.
/// Threads  `WriteAt` and `ReadAt` from any number; the rest from one.
/// Cost     one system call per call; at most 64 MiB wait for the device.
class SyncedFile {
public:
    Expected<void> Create(const CString& path, Durability durability);
    /// Opens a file that is there, to be written and read in places.
    Expected<void> OpenWrite(const CString& path);
    /// Opens a file that is there, to be read.
    Expected<void> OpenRead(const CString& path);
    Expected<void> WriteAt(std::uint64_t offset, const void* data, std::size_t bytes);
    /// Reads exactly `bytes`; a shorter file is a failure.
    Expected<void> ReadAt(std::uint64_t offset, void* data, std::size_t bytes) const;
    /// Waits for the device; the file stays open for reading.
    Expected<void> Finish();
    Expected<void> Close();
    [[nodiscard]] const CString& Path() const { return path_; }

private:
    [[nodiscard]] tl::unexpected<Error> FailTo(const char* verb, std::error_code cause) const;
    void StartSync();
    Expected<void> AwaitSync();

    platform::File file_;
    CString path_;
    Durability durability_ = Durability::Lasting;
    std::mutex syncing_;
    std::atomic<std::uint64_t> pending_{0};
    std::future<std::error_code> sync_;  // the last one to be started; ends before the file does
};

/// Appends records to a new file in large blocks.
///
///     RecordWriter<GridCellRecord> writer;
///     if (auto made = writer.Create(path); !made) return made;
///     ... writer.Add(cell) ... writer.Finish();
///
/// Errors   as SyncedFile.
/// Threads  one at a time, but for `WriteAt`.
template <class Record>
class RecordWriter {
public:
    Expected<void> Create(const CString& path) {
        buffer_.reserve(kBlock);
        return file_.Create(path, Durability::Lasting);
    }
    Expected<void> Add(const Record& record) {
        buffer_.push_back(record);
        ++count_;
        return buffer_.size() < kBlock ? Expected<void>() : Flush();
    }
    Expected<void> Add(std::span<const Record> records) {
        buffer_.insert(buffer_.end(), records.begin(), records.end());
        count_ += records.size();
        return buffer_.size() < kBlock ? Expected<void>() : Flush();
    }
    /// Writes what is left and waits for the device; the file can be read from then on.
    Expected<void> Finish() {
        Expected<void> flushed = Flush();
        return flushed ? file_.Finish() : flushed;
    }
    /// Closes what is finished; nothing is read from it any more.
    Expected<void> Close() { return file_.Close(); }
    /// The next `count` records' first number; `WriteAt` writes them. Precondition: none was added.
    std::uint64_t Reserve(std::uint64_t count) {
        assert(buffer_.empty());
        const std::uint64_t first = count_;
        count_ += count;
        offset_ += count * sizeof(Record);
        return first;
    }
    /// Writes reserved records, or replaces finished ones, from number `first` on. On any thread.
    Expected<void> WriteAt(std::uint64_t first, std::span<const Record> records) {
        return file_.WriteAt(first * sizeof(Record), records.data(), records.size_bytes());
    }
    [[nodiscard]] std::uint64_t Count() const { return count_; }
    [[nodiscard]] const SyncedFile& File() const { return file_; }

private:
    static constexpr std::size_t kBlock = (std::size_t{1} << 20) / sizeof(Record);

    Expected<void> Flush() {
        const std::size_t bytes = buffer_.size() * sizeof(Record);
        Expected<void> written = file_.WriteAt(offset_, buffer_.data(), bytes);
        offset_ += bytes;
        buffer_.clear();
        return written;
    }

    SyncedFile file_;
    std::vector<Record> buffer_;
    std::uint64_t offset_ = 0;
    std::uint64_t count_ = 0;
};

/// Reads a finished RecordWriter's records back in order.
///
/// Errors   as SyncedFile.
/// Threads  one at a time.
template <class Record>
class RecordScanner {
public:
    RecordScanner(const SyncedFile& file, std::uint64_t count) : file_(file), left_(count) {}

    /// The next record, until `Take` steps over it; null at the end.
    Expected<const Record*> Peek() {
        if (next_ == buffer_.size()) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left_, kBlock));
            buffer_.resize(count);
            next_ = 0;
            if (count == 0) return nullptr;
            const auto read = file_.ReadAt(offset_, buffer_.data(), count * sizeof(Record));
            if (!read) return ErrorOf(read);
            offset_ += count * sizeof(Record);
            left_ -= count;
        }
        return &buffer_[next_];
    }
    void Take() { ++next_; }

private:
    static constexpr std::size_t kBlock = (std::size_t{1} << 18) / sizeof(Record);

    const SyncedFile& file_;
    std::vector<Record> buffer_;
    std::size_t next_ = 0;
    std::uint64_t offset_ = 0;
    std::uint64_t left_;
};

}  // namespace orvix::importer
