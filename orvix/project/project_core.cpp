// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_core.h"

#include <cmath>
#include <tuple>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/records.h"
#include "orvix/points/run_views.h"
#include "orvix/project/covered_files.h"

namespace orvix {
namespace {

using platform::FileAccess;

// An invalid handle has no size, even where an earlier file had one.
std::uint64_t SizeOrZero(void* file) {
    std::uint64_t size = 0;
    platform::SizeOf(file, size);
    return size;
}

void CloseBoth(void*& mapping, void*& file) {
    platform::CloseMapping(std::exchange(mapping, nullptr));
    platform::CloseHandleOf(std::exchange(file, nullptr));
}

}  // namespace

void CProjectCore::Open(const CString& skeletCoordPath, const CString& skeletDataPath,
                        const CString& alivePath, const std::int16_t& lasScale,
                        const CString& index1000Path, const CString& index10Path,
                        const CString& runs10Path, const CString& index100Path) {
    skeletCoordPath_ = skeletCoordPath;
    skeletDataPath_ = skeletDataPath;
    alivePath_ = alivePath;
    lasScale_ = lasScale;
    index1000Path_ = index1000Path;  // BEHAVIOUR P14
    index10Path_ = index10Path;
    runs10Path_ = runs10Path;
    index100Path_ = index100Path;
    has10cm_ = lasScale_ == 5;
    has10000cm_ = lasScale_ == 2;
}

void CProjectCore::OpenFiles(FileAccess access) {
    Close();
    runViews_ = std::make_shared<detail::RunViews>();
    skeletCoordFile_ = platform::OpenExisting(skeletCoordPath_, access);
    skeletDataFile_ = platform::OpenExisting(skeletDataPath_, access);
    aliveFile_ = platform::OpenExisting(alivePath_, access);
}

void CProjectCore::MapFiles(FileAccess access) {
    skeletDataSize_ = SizeOrZero(skeletDataFile_);
    skeletCoordSize_ = SizeOrZero(skeletCoordFile_);
    aliveSize_ = SizeOrZero(aliveFile_);
    skeletCoordMapping_ = platform::CreateMapping(skeletCoordFile_, access);
    skeletDataMapping_ = platform::CreateMapping(skeletDataFile_, access);
    aliveMapping_ = platform::CreateMapping(aliveFile_, access);
}

bool CProjectCore::OpenCores() {
    OpenFiles(FileAccess::Read);
    // The coordinate file is not tested: a project without its skeleton can still be walked.
    // BEHAVIOUR P13
    if (!platform::IsValid(skeletDataFile_) || !platform::IsValid(aliveFile_)) return false;
    MapFiles(FileAccess::Read);
    return true;
}

bool CProjectCore::OpenCores4Write() {
    const bool mapped = OpenForWriting();
    if (mapped) detail::MarkAsWritten(alivePath_);  // BEHAVIOUR K9
    return mapped;
}

bool CProjectCore::OpenForWriting() {
    OpenFiles(FileAccess::ReadWrite);
    // A failed open passes this test; its mapping does not exist and so decides the result.
    if (skeletCoordFile_ == nullptr || skeletDataFile_ == nullptr || aliveFile_ == nullptr) {
        return false;
    }
    MapFiles(FileAccess::ReadWrite);
    return skeletCoordMapping_ != nullptr && skeletDataMapping_ != nullptr &&
           aliveMapping_ != nullptr;
}

void CProjectCore::Close() {
    if (runViews_ != nullptr) runViews_->Release();  // BEHAVIOUR R15
    CloseBoth(skeletDataMapping_, skeletDataFile_);
    CloseBoth(skeletCoordMapping_, skeletCoordFile_);
    CloseBoth(aliveMapping_, aliveFile_);
}

std::int64_t CProjectCore::AlivePointCount() const {
    return static_cast<std::int64_t>(aliveSize_ / kAlivePointBytes);
}

std::int64_t CProjectCore::SkeletPointCount() const {
    return static_cast<std::int64_t>(skeletCoordSize_ / kSkeletonRecordBytes);
}

unsigned char* CProjectCore::SkeletCoordPtsMapAddress() const {
    return platform::MapFileView(skeletCoordMapping_, platform::kViewRead, 0, 0);
}

unsigned char* CProjectCore::SkeletDataPtsMapAddress() const {
    return platform::MapFileView(skeletDataMapping_, platform::kViewRead, 0, 0);
}

std::shared_ptr<CAlivePointReader> CProjectCore::CreateAlivePointReader() const {
    return aliveMapping_ == nullptr ? nullptr : CreateReader(platform::kViewRead);
}

std::shared_ptr<CAlivePointReader> CProjectCore::CreateAlivePointReaderWriter() const {
    return CreateReader(platform::kViewAll);
}

std::shared_ptr<CAlivePointReader> CProjectCore::CreateReader(std::uint32_t access) const {
    return std::make_shared<CAlivePointReader>(aliveSize_, skeletDataSize_, skeletCoordSize_,
                                               skeletDataMapping_, skeletCoordMapping_,
                                               aliveMapping_, access, access, access, runViews_);
}

std::shared_ptr<CIndexReader> CProjectCore::CreateIndexReader() const {
    return std::make_shared<CIndexReader>(index100Path_, index1000Path_, index10Path_, runs10Path_,
                                          has10cm_);
}

ProjectType CProjectCore::ProjectTypeFromSkeletScale(const double& scale) {
    const double centimetres = std::trunc(scale * 100.0);  // BEHAVIOUR P15
    if (centimetres == 1.0) return ProjectType::OneCentimetre;
    if (centimetres == 10.0) return ProjectType::TenCentimetres;
    return centimetres == 100.0 ? ProjectType::OneMetre : ProjectType::Other;
}

namespace {

[[maybe_unused]] ORVIX_EMITTED constexpr std::tuple kInlineMembers{
    &CProjectCore::SkeletCoordPtsFileSize, &CProjectCore::SkeletDataPtsFileSize,
    &CProjectCore::SkeletDataPtsFileMapping, &CProjectCore::Has10cm, &CProjectCore::Has10000cm};

}  // namespace

}  // namespace orvix
