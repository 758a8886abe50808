// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/data/record_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

namespace orvix::view {

namespace {

constexpr std::uint64_t kPieceBytes = 262'144;
// Records that lie closer than this are read together with what is between them.
constexpr std::uint64_t kNearBytes = 4096;

class RecordPieces final : public Pieces {
public:
    RecordPieces(RecordFile file, const RecordRange& range)
        : file_(std::move(file)), range_(range) {}

    Expected<std::span<const std::uint8_t>> Next() override {
        if (range_.count == 0) return std::span<const std::uint8_t>();
        const std::uint64_t bytes = file_.RecordBytes();
        std::uint64_t taken = std::min(range_.Taken(), kPieceBytes / bytes);
        const bool near = range_.every <= kNearBytes / bytes;
        if (near) taken = std::min(taken, 1 + (kPieceBytes / bytes - 1) / range_.every);
        auto read = near ? ReadStretch(taken) : ReadEach(taken);
        if (!read) return ErrorOf(read);
        // The last record taken may be nearer to the end of the range than the next would be.
        const std::uint64_t passed = std::min(range_.count, taken * range_.every);
        range_.first += passed;
        range_.count -= passed;
        return std::span<const std::uint8_t>(buffer_.data(),
                                             static_cast<std::size_t>(taken * bytes));
    }

private:
    Expected<void> ReadStretch(std::uint64_t taken) {
        const std::uint64_t bytes = file_.RecordBytes();
        const std::uint64_t stretch = (taken - 1) * range_.every + 1;
        buffer_.resize(static_cast<std::size_t>(stretch * bytes));
        auto read = file_.Read(range_.first, stretch, buffer_.data());
        if (!read || range_.every == 1) return read;
        for (std::uint64_t i = 1; i < taken; ++i)
            std::memmove(buffer_.data() + i * bytes, buffer_.data() + i * range_.every * bytes,
                         static_cast<std::size_t>(bytes));
        return {};
    }

    Expected<void> ReadEach(std::uint64_t taken) {
        const std::uint64_t bytes = file_.RecordBytes();
        buffer_.resize(static_cast<std::size_t>(taken * bytes));
        for (std::uint64_t i = 0; i < taken; ++i) {
            auto read = file_.Read(range_.first + i * range_.every, 1, buffer_.data() + i * bytes);
            if (!read) return read;
        }
        return {};
    }

    RecordFile file_;
    RecordRange range_;
    std::vector<std::uint8_t> buffer_;
};

}  // namespace

Expected<void> RecordRange::RequireWithin(std::uint64_t records) const {
    if (every == 0) return Fail(ErrorCode::BadInput, "every=0 takes nothing; leave it out");
    if (first <= records && count <= records - first) return {};
    return Fail(ErrorCode::BadInput, fmt::format("first={}, count={} reach past the {} there are",
                                                 first, count, records));
}

Expected<RecordFile> RecordFile::Open(const CString& path, std::uint64_t recordBytes) {
    std::error_code error;
    auto content = std::make_shared<Content>();
    content->path = path;
    content->file = platform::File::OpenRead(path, error);
    if (error) return FailSystem(error, platform::ToUtf8(path) + " cannot be read");
    RecordFile file;
    file.recordBytes_ = recordBytes;
    file.records_ = content->file.Size() / recordBytes;
    file.content_ = std::move(content);
    return file;
}

Expected<void> RecordFile::Read(std::uint64_t first, std::uint64_t count,
                                std::uint8_t* into) const {
    if (count == 0) return {};
    std::error_code error;
    const auto bytes = static_cast<std::size_t>(count * recordBytes_);
    const std::size_t read = content_->file.ReadAt(first * recordBytes_, into, bytes, error);
    if (error) return FailSystem(error, platform::ToUtf8(content_->path) + " cannot be read");
    if (read == bytes) return {};
    return Fail(ErrorCode::Damaged,
                fmt::format("{} has been cut to less than {} records; 'orvix check' says what is "
                            "missing",
                            platform::ToUtf8(content_->path), first + count));
}

std::unique_ptr<Pieces> RecordFile::PiecesOf(const RecordRange& range) const {
    return std::make_unique<RecordPieces>(*this, range);
}

}  // namespace orvix::view
