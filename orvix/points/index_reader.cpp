// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/index_reader.h"

#include <algorithm>
#include <cstring>
#include <tuple>

#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"

namespace orvix {
namespace {

constexpr std::uint64_t kViewBytes = detail::ViewWindow::kBytes;

}  // namespace

CIndexReader::CIndexReader(const CString& index100, const CString& index1000,
                           const CString& index10, const CString& runs10, const bool& has10cm)
    : index100_(CreateReader(index100, kGridCellBytes)),
      index1000_(CreateReader(index1000, kGridCellBytes)) {
    if (!has10cm) return;
    index10_ = CreateReader(index10, kFineCellBytes);
    runs10_ = CreateReader(runs10, kRunRecordBytes);
    runs10_->view = ViewOf(*runs10_, 0, runs10_->fileSize);
}

CIndexReader::~CIndexReader() = default;

CIndexReader::ReaderPtr CIndexReader::CreateReader(const CString& path, std::uint64_t recordBytes) {
    ReaderPtr level(new reader);
    level->file = platform::OpenExisting(path, platform::FileAccess::Read);
    level->mapping = platform::CreateMapping(level->file, platform::FileAccess::Read);
    platform::SizeOf(level->file, level->fileSize);
    level->recordBytes = recordBytes;
    return level;
}

void CIndexReader::DestroyReader(reader* level) {
    platform::CloseMapping(level->mapping);
    platform::CloseHandleOf(level->file);
    delete level;
}

bool CIndexReader::ReadIndex(reader* level, const unsigned int& n) {
    if (level == nullptr) return false;
    if (level->handedOut == level->entriesInView) {
        if (level->lastView) return false;
        NextView(*level, n);
    }
    level->entryOffset = level->bufferOffset + level->handedOut * level->recordBytes;
    ++level->handedOut;
    return !(level->lastView && level->handedOut == level->entriesInView);  // BEHAVIOUR R9
}

void CIndexReader::NextView(reader& level, std::uint32_t n) {
    level.lastView = n > 0;
    Restart(level, level.firstEntry + level.handedOut);
    level.viewPosition = level.firstEntry * level.recordBytes;
    level.bufferOffset = level.viewPosition % platform::kMappingGranularity;
    const std::uint64_t start = level.viewPosition - level.bufferOffset;
    // A bounded view is widened by what precedes its first entry, so that all n fit.
    const std::uint64_t length = n > 0 ? n * level.recordBytes + level.bufferOffset : kViewBytes;
    const std::uint64_t left = level.fileSize - std::min(level.fileSize, start);
    const bool whole = left >= length;
    level.lastView = level.lastView || !whole;
    const std::uint64_t mapped = whole ? length : left;
    level.view = ViewOf(level, start, mapped);
    level.entriesInView = static_cast<std::uint32_t>(
        (mapped - std::min(mapped, level.bufferOffset)) / level.recordBytes);
}

std::uint8_t* CIndexReader::ViewOf(reader& level, std::uint64_t start, std::uint64_t bytes) {
    if (bytes == 0) return nullptr;
    return level.window.At(level.mapping, level.fileSize, start, bytes);
}

void CIndexReader::Restart(reader& level, std::uint32_t first) {
    level.view = nullptr;
    level.entriesInView = 0;
    level.handedOut = 0;
    level.firstEntry = first;
}

template <class Record>
Record CIndexReader::Current(const reader* level) {
    Record record;
    // An entry beyond those in the view does not exist and reads as zeros.
    // BEHAVIOUR R10
    if (level == nullptr || level->view == nullptr || level->handedOut > level->entriesInView) {
        return record;
    }
    std::memcpy(&record, level->view + level->entryOffset, sizeof record);
    return record;
}

void CIndexReader::GetXYZ1000(int& x, int& y, int& z) const {
    const auto cell = Current<GridCellRecord>(index1000_.get());
    x = cell.x;
    y = cell.y;
    z = cell.z;
}

void CIndexReader::GetXYZ100(int& x, int& y, int& z) const {
    const auto cell = Current<GridCellRecord>(index100_.get());
    x = cell.x;
    y = cell.y;
    z = cell.z;
}

void CIndexReader::GetXYZ10(char& x, char& y, char& z) const {
    const auto cell = Current<FineCellRecord>(index10_.get());
    x = static_cast<char>(cell.x);
    y = static_cast<char>(cell.y);
    z = static_cast<char>(cell.z);
}

void CIndexReader::GetOffsetCount1000(std::uint64_t& offset, unsigned int& count) const {
    const auto cell = Current<GridCellRecord>(index1000_.get());
    offset = cell.offset;
    count = cell.count;
}

void CIndexReader::GetOffsetCount100(std::uint64_t& offset, unsigned int& count) const {
    const auto cell = Current<GridCellRecord>(index100_.get());
    offset = cell.offset;
    count = cell.count;
}

void CIndexReader::GetOffsetCount10(std::uint64_t& offset, unsigned int& count) const {
    const auto cell = Current<FineCellRecord>(index10_.get());
    offset = cell.offset;
    count = cell.count;
}

void CIndexReader::InitIndex100(const std::uint64_t& first) {
    Restart(*index100_, static_cast<std::uint32_t>(first));
    index100_->lastView = false;
}

unsigned int CIndexReader::InitIndex10() {
    if (index10_ == nullptr) return 0;
    CIndexerSmall run;
    const std::uint32_t entry = index100_->firstEntry + index100_->handedOut - 1;
    if (runs10_->view != nullptr && entry < runs10_->fileSize / kRunRecordBytes) {
        std::memcpy(&run, runs10_->view + entry * kRunRecordBytes, sizeof run);
    }
    Restart(*index10_, static_cast<std::uint32_t>(run.offset));
    index10_->lastView = false;
    return run.count;
}

int CIndexReader::Count100() const {
    return static_cast<int>(index100_->fileSize / kGridCellBytes);
}

namespace {

[[maybe_unused]] ORVIX_EMITTED constexpr std::tuple kInlineMembers{
    &CIndexReader::ReadIndex1000, &CIndexReader::ReadIndex100, &CIndexReader::ReadIndex10};

}  // namespace

}  // namespace orvix
