// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/e57_streams.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "importer/formats/byte_order.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

constexpr std::uint8_t kVectorSection = 1;
constexpr std::size_t kSectionHeaderBytes = 32;
constexpr std::size_t kPacketHeaderBytes = 6;
constexpr std::size_t kMinPacketBytes = 4;  // an empty one
constexpr std::uint8_t kIndexPacket = 0;
constexpr std::uint8_t kDataPacket = 1;
constexpr std::uint8_t kEmptyPacket = 2;

tl::unexpected<Error> BadSection(const E57Pages& pages, const E57Scan& scan,
                                 const std::string& what) {
    return pages.File().Bad(
        fmt::format("the points of scan \"{}\" are said to be at byte {}, {}. The file is damaged: "
                    "copy or export it again.",
                    scan.name.empty() ? scan.guid : scan.name,
                    platform::CountText(scan.sectionPhysical), what));
}

}  // namespace

Expected<E57Section> FindE57Section(E57Pages& pages, const E57Scan& scan) {
    E57Section section;
    if (scan.records == 0) return section;
    const auto start = pages.ToLogical(scan.sectionPhysical);
    if (!start || pages.LogicalSize() - *start < kSectionHeaderBytes) {
        return BadSection(pages, scan, "which is not inside the file");
    }
    std::array<std::uint8_t, kSectionHeaderBytes> header{};
    if (auto read = pages.Read(*start, header.data(), header.size()); !read) {
        return ErrorOf(read);
    }
    if (header[0] != kVectorSection) {
        return BadSection(pages, scan,
                          fmt::format("where a section of kind {} is instead", header[0]));
    }
    const auto length = Load<std::uint64_t>(&header[8]);
    const auto data = pages.ToLogical(Load<std::uint64_t>(&header[16]));
    if (length < kSectionHeaderBytes || length > pages.LogicalSize() - *start || !data ||
        *data < *start + kSectionHeaderBytes || *data > *start + length) {
        return BadSection(pages, scan, "but the lengths there contradict each other");
    }
    section = {*start, *data, *start + length};
    std::uint64_t bits = 0;
    for (const E57Field& field : scan.fields) bits += field.bits;
    // Where a record has no bit, nothing bounds the number of records.
    if (bits == 0 || scan.records > section.DataBytes() * 8 / bits) {
        return BadSection(pages, scan,
                          fmt::format("where {} bytes cannot hold its {} records of {} bits",
                                      platform::CountText(section.DataBytes()),
                                      platform::CountText(scan.records), bits));
    }
    return section;
}

E57Streams::E57Streams(E57Pages& pages, const E57Section& section, std::vector<std::size_t> fields,
                       std::size_t streamCount)
    : pages_(&pages),
      section_(section),
      fields_(std::move(fields)),
      streamCount_(streamCount),
      places_(fields_.size(), Place{section.data, 0}),
      seen_(section.data) {}

tl::unexpected<Error> E57Streams::Bad(std::uint64_t at, const std::string& what) const {
    return pages_->File().Bad(
        fmt::format("the E57 packet at byte {} {}. The file is damaged: copy "
                    "or export it again.",
                    platform::CountText(E57Pages::ToPhysical(at)), what));
}

// Afterwards the packet is in memory; of one that is no data packet all parts are empty.
Expected<void> E57Streams::Load(std::uint64_t packet) {
    loaded_ = 0;
    packet_.resize(kPacketHeaderBytes);
    if (section_.end - packet < kPacketHeaderBytes) {
        return Bad(packet, "is where the section ends, before the last of its records");
    }
    if (auto read = pages_->Read(packet, packet_.data(), packet_.size()); !read) return read;
    const std::uint8_t kind = packet_[0];
    const std::size_t length = std::size_t{importer::Load<std::uint16_t>(&packet_[2])} + 1;
    if (length < kMinPacketBytes || length > section_.end - packet) {
        return Bad(packet, fmt::format("says that it has {} bytes, where the section has {} left",
                                       length, section_.end - packet));
    }
    if (kind != kIndexPacket && kind != kDataPacket && kind != kEmptyPacket) {
        return Bad(packet, fmt::format("is of the unknown kind {}", kind));
    }
    packet_.resize(length);
    parts_.assign(streamCount_ + 1, length);
    loaded_ = packet;
    seen_ = std::max(seen_, packet + length);
    if (kind != kDataPacket) return {};
    if (auto read = pages_->Read(packet, packet_.data(), length); !read) return read;
    const std::size_t streams = importer::Load<std::uint16_t>(&packet_[4]);
    std::size_t at = kPacketHeaderBytes + 2 * streams;
    if (streams != streamCount_ || at > length) {
        return Bad(packet, fmt::format("holds {} streams where the records have {} fields", streams,
                                       streamCount_));
    }
    for (std::size_t i = 0; i < streams; ++i) {
        parts_[i] = at;
        at += importer::Load<std::uint16_t>(&packet_[kPacketHeaderBytes + 2 * i]);
    }
    parts_[streams] = at;
    if (at > length) return Bad(packet, "is shorter than the streams in it");
    return {};
}

Expected<void> E57Streams::Take(const std::vector<std::size_t>& bytes, std::uint8_t* out) {
    constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();
    std::vector<std::size_t> left = bytes;
    std::vector<std::uint8_t*> ends(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) ends[i] = out += bytes[i];
    for (;;) {
        std::uint64_t packet = kNone;
        for (std::size_t i = 0; i < left.size(); ++i) {
            if (left[i] != 0) packet = std::min(packet, places_[i].packet);
        }
        if (packet == kNone) return {};
        if (packet != loaded_) {
            if (auto loaded = Load(packet); !loaded) return loaded;
        }
        for (std::size_t i = 0; i < left.size(); ++i) {
            Place& place = places_[i];
            if (left[i] == 0 || place.packet != packet) continue;
            const std::size_t begin = parts_[fields_[i]] + place.used;
            const std::size_t part = std::min(left[i], parts_[fields_[i] + 1] - begin);
            if (part != 0) std::memcpy(ends[i] - left[i], packet_.data() + begin, part);
            left[i] -= part;
            place.used += part;
            if (left[i] != 0) place = {packet + packet_.size(), 0};
        }
    }
}

}  // namespace orvix::importer
