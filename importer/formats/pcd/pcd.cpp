// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/pcd/pcd.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <span>
#include <utility>

#include "importer/formats/byte_order.h"
#include "importer/formats/line_blocks.h"
#include "importer/formats/pcd/lzf_stream.h"
#include "importer/formats/word_cursor.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

// However small a point is, a piece's points are decoded into memory.
constexpr std::uint64_t kMaxPoints = 1u << 17;

/// Where one number of every point is: its type, and in the body the byte of the first point's.
struct Column {
    Role role = Role::None;
    bool packed = false;  // three colours in one number
    char type = 'F';
    std::size_t size = 4;
    std::size_t word = 0;    // of an ascii line
    std::uint64_t byte = 0;  // of a record; of a compressed body times the number of points
};

/// The numbers of one column, `stride` bytes apart.
struct Strided {
    const std::uint8_t* first;
    std::size_t stride;
};

template <class Use>
void ForEach(const Column& column, const Strided& from, std::size_t count, const Use& use) {
    const auto all = [&](auto type) {
        using Number = decltype(type);
        const std::uint8_t* at = from.first;
        for (std::size_t i = 0; i < count; ++i, at += from.stride) {
            use(i, static_cast<double>(Load<Number>(at)));
        }
    };
    if (column.type == 'F') return column.size == 4 ? all(float()) : all(double());
    const bool isSigned = column.type == 'I';
    switch (column.size) {
        case 1:
            return isSigned ? all(std::int8_t()) : all(std::uint8_t());
        case 2:
            return isSigned ? all(std::int16_t()) : all(std::uint16_t());
        case 4:
            return isSigned ? all(std::int32_t()) : all(std::uint32_t());
        default:
            return isSigned ? all(std::int64_t()) : all(std::uint64_t());
    }
}

void StorePacked(std::uint32_t colour, ScanPoint& point) {
    point.red = static_cast<std::uint16_t>((colour >> 16) & 0xFF);
    point.green = static_cast<std::uint16_t>((colour >> 8) & 0xFF);
    point.blue = static_cast<std::uint16_t>(colour & 0xFF);
}

void StoreColumn(const Column& column, const Strided& from, std::span<ScanPoint> points) {
    if (column.packed) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            StorePacked(Load<std::uint32_t>(from.first + i * from.stride), points[i]);
        }
        return;
    }
    ForEach(column, from, points.size(),
            [&](std::size_t i, double value) { StoreValue(column.role, value, 1, points[i]); });
}

std::vector<Column> ColumnsOf(const PcdHeader& header) {
    std::vector<Role> roles = header.columns.ByColumn();
    roles.resize(header.fields.size(), Role::None);
    std::vector<Column> columns;
    std::uint64_t byte = 0;
    std::size_t word = 0;
    for (std::size_t i = 0; i < header.fields.size(); ++i) {
        const PcdField& field = header.fields[i];
        const bool packed = header.packed == i && !header.columns.HasColour();
        if (roles[i] != Role::None || packed) {
            columns.push_back({roles[i], packed, field.type, field.size, word, byte});
        }
        byte += field.Bytes();
        word += field.count;
    }
    return columns;
}

/// What the three kinds of body share.
class PcdReader : public ScanReader {
public:
    PcdReader(ScanFile file, PcdHeader header)
        : file_(std::move(file)), header_(std::move(header)), columns_(ColumnsOf(header_)) {
        constexpr const char* kEncodings[] = {"ascii", "binary", "binary_compressed"};
        info_.format = fmt::format("PCD {}, {}", header_.version,
                                   kEncodings[static_cast<std::size_t>(header_.encoding)]);
        info_.declaredPoints = header_.points;
        DescribeRoles(header_.columns, info_);
        info_.hasColour |= header_.packed.has_value();
        info_.colourBits = 8;
        ScanPart& scan = info_.scans.front();
        scan.pose = header_.viewpoint;  // BEHAVIOUR X20
        if (scan.pose) scan.map = MapOf(*scan.pose);
    }

    const ScanInfo& Info() const override { return info_; }
    std::uint64_t FileBytes() const override { return file_.Size(); }

protected:
    const ScanFile& File() const { return file_; }
    const PcdHeader& Header() const { return header_; }
    const std::vector<Column>& Columns() const { return columns_; }

private:
    ScanFile file_;
    PcdHeader header_;
    std::vector<Column> columns_;
    ScanInfo info_;
};

class PcdBinaryReader final : public PcdReader {
public:
    PcdBinaryReader(ScanFile file, PcdHeader header)
        : PcdReader(std::move(file), std::move(header)), recordBytes_(Header().RecordBytes()) {}

    Expected<void> CheckSize() const {
        if (Header().points <= File().BytesFrom(Header().bodyByte) / recordBytes_) return {};
        return BadCutShort(File(), {"points", Header().points, recordBytes_, Header().bodyByte});
    }

    Expected<bool> Next(RawPiece& piece) override {
        piece.records = std::min({kPieceBytes / recordBytes_, kMaxPoints, Header().points - next_});
        piece.firstRecord = next_;
        piece.fileOffset = Header().bodyByte + next_ * recordBytes_;
        if (piece.records == 0) return false;
        const auto bytes = static_cast<std::size_t>(piece.records * recordBytes_);
        if (auto read = File().ReadBlock(piece.fileOffset, bytes, piece.bytes); !read) {
            return ErrorOf(read);
        }
        next_ += piece.records;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.assign(piece.bytes.size() / recordBytes_, ScanPoint{});
        for (const Column& column : Columns()) {
            StoreColumn(column, {piece.bytes.data() + column.byte, recordBytes_}, decoded.points);
        }
        return {};
    }

    Expected<void> Rewind() override {
        next_ = 0;
        return {};
    }

    ReadPlace Place() const override { return {next_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        next_ = std::min(place[0], Header().points);
        return {};
    }

private:
    std::size_t recordBytes_;
    std::uint64_t next_ = 0;
};

/// A compressed body holds all values of the first field, then all of the second, as one stream.
class PcdCompressedReader final : public PcdReader {
public:
    using PcdReader::PcdReader;

    /// Finds where in the stream the fields begin.
    Expected<void> FindStreams() {
        constexpr std::uint64_t kMaxGrowth = 128;  // a token of 3 bytes makes 264 at most
        std::array<std::uint8_t, 8> sizes{};
        if (auto read = File().Read(Header().bodyByte, sizes.data(), sizes.size()); !read) {
            return read;
        }
        packed_ = Load<std::uint32_t>(sizes.data());
        const std::uint64_t unpacked = Load<std::uint32_t>(sizes.data() + 4);
        const std::uint64_t first = Header().bodyByte + sizes.size();
        const std::uint64_t record = Header().RecordBytes();
        if (packed_ > File().BytesFrom(first) || unpacked / record != Header().points ||
            unpacked % record != 0 || unpacked / kMaxGrowth > packed_) {
            return File().Bad(fmt::format(
                "{} compressed bytes that make {} are declared at byte {}, for {} points of {} "
                "bytes, and {} bytes are there. The file is cut short or damaged: copy or export "
                "it again.",
                platform::CountText(packed_), platform::CountText(unpacked),
                platform::CountText(Header().bodyByte), platform::CountText(Header().points),
                record, platform::CountText(File().BytesFrom(first))));
        }
        LzfStream stream(File(), first, packed_);
        std::uint64_t at = 0;
        for (const Column& column : Columns()) {
            const std::uint64_t start = column.byte * Header().points;
            if (auto skipped = stream.Skip(start - at); !skipped) return skipped;
            at = start;
            starts_.push_back(stream);
            pointBytes_ += column.size;
        }
        return Rewind();
    }

    Expected<bool> Next(RawPiece& piece) override {
        piece.firstRecord = next_;
        piece.records = std::min({kPieceBytes / pointBytes_, kMaxPoints, Header().points - next_});
        if (piece.records == 0) return false;
        piece.bytes.resize(static_cast<std::size_t>(piece.records) * pointBytes_);
        std::uint8_t* out = piece.bytes.data();
        for (std::size_t i = 0; i < streams_.size(); ++i) {
            const auto bytes = static_cast<std::size_t>(piece.records) * Columns()[i].size;
            if (auto taken = streams_[i].Take(out, bytes); !taken) {
                return ErrorOf(taken);
            }
            out += bytes;
        }
        const std::uint64_t before = PackedUpTo(next_);
        next_ += piece.records;
        piece.fileOffset = Header().bodyByte + 8 + before;
        piece.fileBytes = PackedUpTo(next_) - before;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.assign(static_cast<std::size_t>(piece.records), ScanPoint{});
        const std::uint8_t* part = piece.bytes.data();
        for (const Column& column : Columns()) {
            StoreColumn(column, {part, column.size}, decoded.points);
            part += column.size * decoded.points.size();
        }
        return {};
    }

    Expected<void> Rewind() override {
        next_ = 0;
        streams_ = starts_;
        return {};
    }

    ReadPlace Place() const override { return {next_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        return place[0] < next_ ? Rewind() : Expected<void>();
    }

private:
    // About: every point counts alike.
    [[nodiscard]] std::uint64_t PackedUpTo(std::uint64_t point) const {
        return point * packed_ / Header().points;
    }

    std::uint64_t packed_ = 0;
    std::size_t pointBytes_ = 0;      // of the used columns
    std::vector<LzfStream> starts_;   // by column
    std::vector<LzfStream> streams_;  // by column, each as far as it is
    std::uint64_t next_ = 0;
};

class PcdAsciiReader final : public PcdReader {
public:
    PcdAsciiReader(ScanFile file, PcdHeader header)
        : PcdReader(std::move(file), std::move(header)),
          lines_(File(), {Header().bodyByte, Header().bodyLine, '\n'}) {}

    Expected<bool> Next(RawPiece& piece) override {
        if (next_ == Header().points) return false;
        const auto more = lines_.Next(piece, Header().points - next_);
        if (!more) return more;
        if (!*more) {
            return File().Bad(fmt::format(
                "the header declares {} points, but the file ends after {} of them, at byte {}. "
                "The file is cut short; copy, download or export it again.",
                platform::CountText(Header().points), platform::CountText(next_),
                platform::CountText(File().Size())));
        }
        piece.firstRecord = next_;
        piece.records = lines_.Line() - Header().bodyLine - next_;
        next_ += piece.records;
        return true;
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        decoded.points.clear();
        LineCursor lines(piece, '\n');
        std::string_view line;
        while (lines.Next(line)) {
            ScanPoint point;
            if (DecodeLine(line, point)) {
                decoded.points.push_back(point);
            } else {
                ++decoded.malformed;
            }
        }
        return {};
    }

    Expected<void> Rewind() override {
        lines_.Rewind();
        next_ = 0;
        return {};
    }

    ReadPlace Place() const override { return {lines_.Offset(), lines_.Line(), next_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        lines_.GoTo(place[0], place[1]);
        next_ = std::min(place[2], Header().points);
        return {};
    }

private:
    bool DecodeLine(std::string_view line, ScanPoint& point) const {
        WordCursor words(line);
        std::size_t word = 0;
        for (const Column& column : Columns()) {
            for (; word < column.word; ++word) {
                if (!words.Skip()) return false;
            }
            double value = 0;
            if (!words.Number(value)) return false;
            ++word;
            if (!column.packed) {
                StoreValue(column.role, value, 1, point);
            } else if (column.type == 'F') {
                StorePacked(std::bit_cast<std::uint32_t>(static_cast<float>(value)), point);
            } else if (value >= -2147483648.0 && value <= 4294967295.0) {
                StorePacked(static_cast<std::uint32_t>(static_cast<std::int64_t>(value)), point);
            }
        }
        return true;
    }

    LineBlocks lines_;
    std::uint64_t next_ = 0;
};

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenPcd(ScanFile file) {
    auto header = ReadPcdHeader(file);
    if (!header) return ErrorOf(header);
    Expected<void> ready;
    std::unique_ptr<ScanReader> reader;
    if (header->points == 0 || header->encoding == PcdEncoding::Ascii) {
        reader = std::make_unique<PcdAsciiReader>(std::move(file), std::move(*header));
    } else if (header->encoding == PcdEncoding::Binary) {
        auto binary = std::make_unique<PcdBinaryReader>(std::move(file), std::move(*header));
        ready = binary->CheckSize();
        reader = std::move(binary);
    } else {
        auto packed = std::make_unique<PcdCompressedReader>(std::move(file), std::move(*header));
        ready = packed->FindStreams();
        reader = std::move(packed);
    }
    if (!ready) return ErrorOf(ready);
    return reader;
}

}  // namespace orvix::importer
