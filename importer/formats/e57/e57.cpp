// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/e57.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "importer/formats/e57/e57_document.h"
#include "importer/formats/e57/e57_pages.h"
#include "importer/formats/e57/e57_points.h"
#include "importer/formats/e57/e57_streams.h"
#include "orvix/platform/amounts.h"

namespace orvix::importer {
namespace {

/// A scan, and what it takes to read it.
struct Part {
    E57Scan scan;
    E57Section section;
    E57PointDecoder decoder;
    bool omitted = false;
};

std::string NameOf(const E57Scan& scan, std::size_t number) {
    return scan.name.empty() ? fmt::format("scan {}", number + 1)
                             : fmt::format("scan {} \"{}\"", number + 1, scan.name);
}

class E57Reader final : public ScanReader {
public:
    E57Reader(E57Pages pages, std::vector<Part> parts)
        : pages_(std::move(pages)), parts_(std::move(parts)) {
        info_.format = fmt::format("E57, {} scan{}", parts_.size(), parts_.size() == 1 ? "" : "s");
        info_.declaredPoints = 0;
        info_.colourBits = 8;
        info_.scans.clear();
        for (const Part& part : parts_) {
            *info_.declaredPoints += part.scan.records;
            info_.hasIntensity |= part.decoder.HasIntensity();
            info_.hasColour |= part.decoder.HasColour();
            info_.scans.push_back({part.scan.name, part.scan.pose, MapOf(part.scan.pose)});
        }
    }

    const ScanInfo& Info() const override { return info_; }
    void Omit(std::size_t scan) override { parts_[scan].omitted = true; }

    bool IsDearToDecode() const override { return true; }
    std::uint64_t FileBytes() const override {
        std::uint64_t bytes = 0;
        for (const Part& part : parts_) bytes += part.omitted ? 0 : part.section.DataBytes();
        return bytes;
    }

    Expected<bool> Next(RawPiece& piece) override {
        while (scan_ < parts_.size() &&
               (parts_[scan_].omitted || record_ == parts_[scan_].scan.records)) {
            ++scan_;
            record_ = 0;
        }
        if (scan_ == parts_.size()) return false;
        if (record_ == 0) StartScan();
        return Cut(parts_[scan_], piece);
    }

    Expected<void> Decode(const RawPiece& piece, DecodedPiece& decoded) const override {
        parts_[piece.scan].decoder.Decode(piece, decoded);
        return {};
    }

    Expected<void> Rewind() override {
        scan_ = 0;
        record_ = 0;
        return {};
    }

    ReadPlace Place() const override { return {scan_, record_}; }

    Expected<void> GoTo(const ReadPlace& place) override {
        if (scan_ == place[0] && record_ <= place[1]) return {};
        scan_ = static_cast<std::size_t>(std::min<std::uint64_t>(place[0], parts_.size()));
        record_ = 0;
        return {};
    }

private:
    void StartScan() {
        const Part& part = parts_[scan_];
        streams_ = E57Streams(pages_, part.section, part.decoder.Fields(), part.scan.fields.size());
        told_ = 0;
    }

    Expected<bool> Cut(const Part& part, RawPiece& piece) {
        constexpr std::size_t kTail = 8;
        piece.scan = scan_;
        piece.firstRecord = record_;
        piece.records = std::min(part.decoder.RecordsPerPiece(), part.scan.records - record_);
        const std::vector<std::size_t> bytes = part.decoder.BytesOf(piece.records);
        std::size_t size = kTail;
        for (const std::size_t field : bytes) size += field;
        piece.bytes.assign(size, 0);
        piece.fileOffset = E57Pages::ToPhysical(part.section.data + told_);
        if (auto taken = streams_.Take(bytes, piece.bytes.data()); !taken) {
            return ErrorOf(taken);
        }
        record_ += piece.records;
        const bool last = record_ == part.scan.records;
        const std::uint64_t seen = last ? part.section.DataBytes() : streams_.BytesSeen();
        piece.fileBytes = seen - told_;
        told_ = seen;
        return true;
    }

    E57Pages pages_;
    std::vector<Part> parts_;
    ScanInfo info_;
    std::size_t scan_ = 0;      // of the next piece
    std::uint64_t record_ = 0;  // of the next piece
    E57Streams streams_;
    std::uint64_t told_ = 0;  // of the section's bytes, by pieces so far
};

// Sections that overlap would let a small file hold any number of points.
Expected<void> RequireOwnBytes(const E57Pages& pages, const std::vector<Part>& parts) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> spans;
    for (const Part& part : parts) {
        if (part.scan.records != 0) spans.emplace_back(part.section.start, part.section.end);
    }
    std::sort(spans.begin(), spans.end());
    for (std::size_t i = 1; i < spans.size(); ++i) {
        if (spans[i].first >= spans[i - 1].second) continue;
        return pages.File().Bad(
            fmt::format("two of its scans share the bytes from {} on. The file is damaged: copy or "
                        "export it again.",
                        platform::CountText(E57Pages::ToPhysical(spans[i].first))));
    }
    return {};
}

}  // namespace

Expected<std::unique_ptr<ScanReader>> OpenE57(ScanFile file) {
    auto pages = E57Pages::Open(std::move(file));
    if (!pages) return ErrorOf(pages);
    const auto xml = pages->ReadXml();
    if (!xml) return ErrorOf(xml);
    auto scans = ReadE57Scans(*xml);
    if (!scans) {
        return pages->File().Bad(
            fmt::format("the XML of this E57 file cannot be used: {}. Export the file again.",
                        scans.error().message));
    }
    if (scans->empty()) {
        return pages->File().Bad("this E57 file holds no scan. Export the scans again.");
    }
    std::vector<Part> parts;
    for (E57Scan& scan : *scans) {
        const auto section = FindE57Section(*pages, scan);
        if (!section) return ErrorOf(section);
        const E57PointDecoder decoder(scan);
        if (scan.records != 0 && !decoder.HasPosition()) {
            return pages->File().Bad(
                fmt::format("{} has neither Cartesian nor spherical coordinates. Export it with "
                            "one of them.",
                            NameOf(scan, parts.size())));
        }
        parts.push_back({std::move(scan), *section, decoder});
    }
    if (auto own = RequireOwnBytes(*pages, parts); !own) return ErrorOf(own);
    return std::make_unique<E57Reader>(std::move(*pages), std::move(parts));
}

}  // namespace orvix::importer
