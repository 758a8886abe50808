// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/generic_reader.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"

namespace orvix {
namespace {

using platform::FileAccess;

// GENERIC_WRITE or GENERIC_ALL.
FileAccess AccessOf(std::uint32_t fileAccess) {
    return (fileAccess & 0x50000000u) != 0 ? FileAccess::ReadWrite : FileAccess::Read;
}

FileAccess ProtectionOf(std::uint32_t pageProtection) {
    return pageProtection == GenericReader::kPageReadWrite ? FileAccess::ReadWrite
                                                           : FileAccess::Read;
}

void Unmap(std::uint8_t*& view) {
    UnmapFileView(std::exchange(view, nullptr));
}

}  // namespace

GenericReader::GenericReader(const std::wstring& path, const std::int64_t& recordBytes,
                             const std::uint32_t& fileAccess, const std::uint32_t& pageProtection,
                             const std::uint32_t& access)
    : file(platform::OpenExisting(path, AccessOf(fileAccess))),
      recordSize(static_cast<std::uint64_t>(recordBytes)),
      viewAccess(access) {
    platform::SizeOf(file, fileSize);
    recordCount = fileSize / recordSize;
    mapping = platform::CreateMapping(file, ProtectionOf(pageProtection));
    Reset();
}

GenericReader::~GenericReader() {
    Unmap(chunkView);
    platform::CloseMapping(mapping);
    platform::CloseHandleOf(file);
}

std::uint8_t* GenericReader::Map(std::uint64_t start, std::uint64_t bytes) const {
    return platform::MapFileView(mapping, viewAccess, start, bytes);
}

bool GenericReader::ReadChunk(std::uint64_t& bufferOffset) {
    Unmap(chunkView);
    const std::uint64_t position = nextRecord * recordSize;
    bufferOffset = position % kGranuleBytes;
    const std::uint64_t start = position - bufferOffset;
    const std::uint64_t left = fileSize - std::min(fileSize, start);
    const bool whole = left >= kChunkBytes;
    const std::uint64_t length = whole ? kChunkBytes : left;
    if (length > 0) chunkView = Map(start, length);
    recordsInView = (length - std::min(length, bufferOffset)) / recordSize;
    return whole;
}

void GenericReader::Step() {
    nextRecord += recordsInView;
    ++chunksDone;
    Unmap(chunkView);
}

void GenericReader::SetPoint(const std::uint64_t& first) {
    nextRecord = first;
}

void GenericReader::ReadPoint(const std::uint64_t& index, std::uint64_t& bufferOffset) {
    FreePoint();
    const std::uint64_t position = index * recordSize;
    bufferOffset = position % kGranuleBytes;
    const std::uint64_t start = position - bufferOffset;
    const std::uint64_t left = fileSize - std::min(fileSize, start);
    // BEHAVIOUR R14
    const std::uint64_t length = std::min(left, std::max(kGranuleBytes, bufferOffset + recordSize));
    if (length > 0) pointView = Map(start, length);
}

void GenericReader::FreePoint() {
    Unmap(pointView);
}

int GenericReader::Progress() const {
    return static_cast<int>(chunksDone * 100 / chunkTotal);  // BEHAVIOUR R13
}

void GenericReader::Reset() {
    chunkTotal = fileSize / kChunkBytes + 1;  // BEHAVIOUR R12
    chunksDone = 0;
    chunkTenth = chunkTotal / 10;
    recordsInView = 0;
    nextRecord = 0;
    Unmap(chunkView);
}

namespace {

[[maybe_unused]] ORVIX_EMITTED constexpr std::tuple kInlineMembers{&GenericReader::Count};

}  // namespace

}  // namespace orvix
