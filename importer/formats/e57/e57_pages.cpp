// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/e57_pages.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "importer/formats/byte_order.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/crc32c.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kHeaderBytes = 48;
constexpr std::uint64_t kBlockPages = 64;  // read at once
constexpr std::uint64_t kMaxXmlBytes = std::uint64_t{64} << 20;

}  // namespace

Expected<E57Pages> E57Pages::Open(ScanFile file) {
    E57Pages pages(std::move(file));
    if (auto read = pages.ReadHeader(); !read) return ErrorOf(read);
    return pages;
}

// The header holds the page size, so it is looked at before its page can be verified.
Expected<void> E57Pages::ReadHeader() {
    std::array<std::uint8_t, kHeaderBytes> header{};
    if (file_.Size() < kPageBytes) {
        return file_.Bad(fmt::format(
            "this E57 file holds {} bytes, less than one page. Copy or export it again.",
            file_.Size()));
    }
    if (auto read = file_.Read(0, header.data(), header.size()); !read) return read;
    const auto major = Load<std::uint32_t>(&header[8]);
    const auto minor = Load<std::uint32_t>(&header[12]);
    const auto length = Load<std::uint64_t>(&header[16]);
    const auto pageBytes = Load<std::uint64_t>(&header[40]);
    if (std::memcmp(header.data(), "ASTM-E57", 8) != 0 || major != 1) {
        return file_.Bad(
            fmt::format("this is E57 of version {}.{}; version 1 is read. Export it as E57 1.0.",
                        major, minor));
    }
    if (pageBytes != kPageBytes || length % kPageBytes != 0) {
        return file_.Bad(fmt::format(
            "the E57 header says that a page has {} bytes and the file {}; a page has {} bytes. "
            "The file is damaged: copy or export it again.",
            pageBytes, length, kPageBytes));
    }
    if (length > file_.Size()) {
        return file_.Bad(
            fmt::format("the E57 header declares {} bytes, but the file ends at byte {}. The file "
                        "is cut short; "
                        "copy, download or export it again.",
                        platform::CountText(length), platform::CountText(file_.Size())));
    }
    pages_ = length / kPageBytes;
    xmlPhysical_ = Load<std::uint64_t>(&header[24]);
    xmlBytes_ = Load<std::uint64_t>(&header[32]);
    return pages_ == 0 ? file_.Bad("the E57 header declares no content. Export the file again.")
                       : LoadPages(0, 1);
}

std::optional<std::uint64_t> E57Pages::ToLogical(std::uint64_t physical) const {
    const std::uint64_t page = physical / kPageBytes;
    const std::uint64_t place = physical % kPageBytes;
    if (page >= pages_ || place >= kContentBytes) return std::nullopt;
    return page * kContentBytes + place;
}

Expected<void> E57Pages::LoadPages(std::uint64_t first, std::uint64_t count) {
    blockPages_ = 0;
    const auto bytes = static_cast<std::size_t>(count * kPageBytes);
    if (auto read = file_.ReadBlock(first * kPageBytes, bytes, block_); !read) return read;
    for (std::uint64_t page = 0; page < count; ++page) {
        const std::uint8_t* start = block_.data() + page * kPageBytes;
        const auto stored = Load<std::uint32_t, std::endian::big>(start + kContentBytes);
        if (platform::Crc32c({start, kContentBytes}) == stored) continue;
        return file_.Bad(fmt::format(
            "the checksum of the E57 page at byte {} is not that of its content. The file is "
            "damaged: copy, download or export it again.",
            platform::CountText((first + page) * kPageBytes)));
    }
    blockFirst_ = first;
    blockPages_ = count;
    return {};
}

Expected<void> E57Pages::Read(std::uint64_t logical, void* buffer, std::size_t bytes) {
    if (logical > LogicalSize() || bytes > LogicalSize() - logical) {
        return file_.Bad(
            fmt::format("{} bytes at content byte {} of the E57 file were expected, where it ends "
                        "after {}. The "
                        "file is damaged: copy or export it again.",
                        platform::CountText(bytes), platform::CountText(logical),
                        platform::CountText(LogicalSize())));
    }
    auto* out = static_cast<std::uint8_t*>(buffer);
    while (bytes > 0) {
        const std::uint64_t page = logical / kContentBytes;
        if (page < blockFirst_ || page - blockFirst_ >= blockPages_) {
            if (auto loaded = LoadPages(page, std::min(kBlockPages, pages_ - page)); !loaded) {
                return loaded;
            }
        }
        const std::uint64_t place = logical % kContentBytes;
        const auto part =
            static_cast<std::size_t>(std::min<std::uint64_t>(bytes, kContentBytes - place));
        std::memcpy(out, block_.data() + (page - blockFirst_) * kPageBytes + place, part);
        out += part;
        logical += part;
        bytes -= part;
    }
    return {};
}

Expected<std::string> E57Pages::ReadXml() {
    const auto start = ToLogical(xmlPhysical_);
    if (!start || xmlBytes_ > LogicalSize() - *start || xmlBytes_ > kMaxXmlBytes) {
        return file_.Bad(
            fmt::format("the E57 header places {} bytes of XML at byte {}, which is not inside the "
                        "file or more "
                        "than {}. The file is damaged: copy or export it again.",
                        platform::CountText(xmlBytes_), platform::CountText(xmlPhysical_),
                        platform::CountText(kMaxXmlBytes)));
    }
    std::string xml(static_cast<std::size_t>(xmlBytes_), '\0');
    if (auto read = Read(*start, xml.data(), xml.size()); !read) {
        return ErrorOf(read);
    }
    return xml;
}

}  // namespace orvix::importer
