// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/saved_planes.h"

#include <fmt/format.h>

#include <cstring>
#include <utility>

#include "orvix/points/stream_hash.h"

namespace orvix::detail {
namespace {

constexpr std::uint64_t kFrameBytes = sizeof(PlanesFileStart) + sizeof(PlanesFileEnd);

template <class T>
T ValueAt(const platform::MappedFile& file, std::uint64_t offset) {
    T value;
    std::memcpy(&value, file.Data() + offset, sizeof value);
    return value;
}

}  // namespace

Expected<SavedPlanes> SavedPlanes::Open(const CString& path) {
    SavedPlanes saved;
    saved.path_ = path;
    std::error_code error;
    saved.file_ = platform::MappedFile::Open(path, error);
    if (error == std::errc::no_such_file_or_directory)
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(path) +
                        " does not exist; save the project's planes with 'orvix planes --save'");
    if (error) return FailSystem(error, platform::ToUtf8(path) + " cannot be read");
    if (const std::string fault = saved.FaultOfBytes(); !fault.empty()) return saved.Damage(fault);
    const auto start = ValueAt<PlanesFileStart>(saved.file_, 0);
    if (start.version > PlanesFileStart::kVersion)
        return Fail(ErrorCode::BadInput,
                    fmt::format("{}: planes of version {} cannot be read, only up to {}; read them "
                                "with a newer program, or remove them and save them again",
                                platform::ToUtf8(path), start.version, PlanesFileStart::kVersion));
    if (const std::string fault = saved.Parse(start); !fault.empty()) return saved.Damage(fault);
    return saved;
}

// What every version has in common.
std::string SavedPlanes::FaultOfBytes() const {
    const std::uint64_t size = file_.Size();
    if (size < kFrameBytes) return fmt::format("its {} bytes are too few", size);
    if (ValueAt<PlanesFileStart>(file_, 0).mark != PlanesFileStart::kMark)
        return "it does not begin as a file of planes does";
    const std::uint64_t hashed = size - sizeof end_.checksum;
    if (ValueAt<std::uint64_t>(file_, hashed) != HashOf(file_.Data(), hashed))
        return "its checksum is not that of its bytes";
    return {};
}

// Of bytes that are as they were written, only those are wrong that were made to mislead.
std::string SavedPlanes::Parse(const PlanesFileStart& start) {
    if (start.version != PlanesFileStart::kVersion ||
        start.blockPoints != PlanesFileStart::kBlockPoints)
        return fmt::format("it is of version {} and has blocks of {} points", start.version,
                           start.blockPoints);
    const std::uint64_t endOffset = file_.Size() - sizeof(PlanesFileEnd);
    end_ = ValueAt<PlanesFileEnd>(file_, endOffset);
    if (std::string fault = FaultOfTable(endOffset); !fault.empty()) return fault;
    const std::uint64_t planes = end_.tableOffset + AllBlocks() * sizeof(PlaneBlock);
    const SavedSearch& search = end_.search;
    if (search.zero != 0) return "its reserved bytes are in use";
    if (search.detail >= SavedSearch::kDetails)
        return fmt::format("its detail is {}", search.detail);
    if (search.nextNumber == 0 || search.nextNumber > kMaxPlaneNumber + 1)
        return fmt::format("its next number is {}", search.nextNumber);
    std::string fault;
    (void)DecodePlanes({file_.Data() + planes, static_cast<std::size_t>(endOffset - planes)},
                       end_.planes, search.nextNumber, planes_, fault);
    return fault;
}

std::string SavedPlanes::FaultOfTable(std::uint64_t endOffset) const {
    constexpr std::uint64_t kFirst = sizeof(PlanesFileStart);
    if (end_.tableOffset < kFirst || end_.tableOffset > endOffset)
        return "its table lies outside of it";
    std::uint64_t left = (endOffset - end_.tableOffset) / sizeof(PlaneBlock);
    for (const CloudPart part : {CloudPart::Points, CloudPart::Skeleton}) {
        if (Blocks(part) > left)
            return fmt::format("its table ends before that of {} points", PointsOf(part));
        left -= Blocks(part);
    }
    std::uint64_t previous = kFirst - 1;
    for (std::uint64_t entry = 0; entry < AllBlocks(); ++entry) {
        const std::uint64_t offset = TableEntry(entry).offset;
        const bool follows = entry == 0 ? offset == kFirst : offset > previous;
        if (!follows || offset >= end_.tableOffset)
            return fmt::format("its block {} begins at byte {}", entry, offset);
        previous = offset;
    }
    return AllBlocks() > 0 || end_.tableOffset == kFirst ? "" : "bytes lie before its table";
}

tl::unexpected<Error> SavedPlanes::Damage(const std::string& what) const {
    return Fail(ErrorCode::Damaged, fmt::format("{}: {}; remove it and save the planes again",
                                                platform::ToUtf8(path_), what));
}

std::uint64_t SavedPlanes::PointsOf(CloudPart part) const {
    return part == CloudPart::Points ? end_.search.points : end_.search.skeletonPoints;
}

PlaneBlock SavedPlanes::TableEntry(std::uint64_t entry) const {
    return ValueAt<PlaneBlock>(file_, end_.tableOffset + entry * sizeof(PlaneBlock));
}

std::uint64_t SavedPlanes::EntryOf(CloudPart part, std::uint64_t block) const {
    return block + (part == CloudPart::Skeleton ? Blocks(CloudPart::Points) : 0);
}

std::uint64_t SavedPlanes::PlacesHashOf(CloudPart part, std::uint64_t block) const {
    return TableEntry(EntryOf(part, block)).placesHash;
}

Expected<void> SavedPlanes::ReadBlock(CloudPart part, std::uint64_t block,
                                      std::vector<PlaneRun>& runs) const {
    const std::uint64_t entry = EntryOf(part, block);
    const std::uint64_t first = TableEntry(entry).offset;
    const std::uint64_t last =
        entry + 1 < AllBlocks() ? TableEntry(entry + 1).offset : end_.tableOffset;
    if (DecodeRuns({file_.Data() + first, static_cast<std::size_t>(last - first)}, planes_.size(),
                   PointsOfBlock(PointsOf(part), block), runs))
        return {};
    return Damage(fmt::format("the runs of block {} are not those of its points", entry));
}

}  // namespace orvix::detail
