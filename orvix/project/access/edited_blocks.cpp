// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/edited_blocks.h"

#include <algorithm>
#include <optional>
#include <span>
#include <system_error>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/point_editor.h"

namespace orvix::detail {
namespace {

constexpr std::size_t kPair = offsetof(CCloudPoint<float>, dclcFirst);

// What becomes of the sum of bytes when these bits of them turn over: a sum that begins and ends
// without inversion.
std::uint32_t DifferenceOf(std::span<const std::uint8_t> turned) {
    return ~platform::Crc32c(turned, ~std::uint32_t{0});
}

}  // namespace

EditedBlocks EditedBlocks::Begin(const ProjectManager& paths) {
    EditedBlocks edits(paths);
    platform::QueryFileSize(paths.gridPts, edits.bytes_);
    edits.differences_.resize(static_cast<std::size_t>(SumBlocksOf(edits.bytes_)));
    edits.pending_.reserve(kRecords * kAlivePointBytes);
    edits.alone_ = TimesWritten(paths.gridPts) == 0;
    MarkAsWritten(paths.gridPts);  // BEHAVIOUR K9
    return edits;
}

void EditedBlocks::Change(std::uint64_t record, const void* formerPair, const void* nextPair) {
    const std::uint64_t held = pending_.size() / kAlivePointBytes;
    if (held == kRecords || record != firstPending_ + held) Flush();
    if (pending_.empty()) firstPending_ = record;
    const auto* former = static_cast<const std::uint8_t*>(formerPair);
    const auto* next = static_cast<const std::uint8_t*>(nextPair);
    pending_.resize(pending_.size() + kAlivePointBytes);
    std::uint8_t* const pair = pending_.data() + pending_.size() - kAlivePointBytes + kPair;
    for (std::size_t i = 0; i < DclcPair::kBytes; ++i)
        pair[i] = static_cast<std::uint8_t>(former[i] ^ next[i]);
}

void EditedBlocks::Flush() {
    std::span<const std::uint8_t> rest = pending_;
    for (std::uint64_t at = firstPending_ * kAlivePointBytes; !rest.empty() && at < bytes_;) {
        const std::uint64_t block = at / kSumBlockBytes;
        const std::uint64_t end = std::min(bytes_, (block + 1) * kSumBlockBytes);
        const auto part =
            rest.first(static_cast<std::size_t>(std::min<std::uint64_t>(end - at, rest.size())));
        at += part.size();
        rest = rest.subspan(part.size());
        differences_[static_cast<std::size_t>(block)] ^=
            platform::JoinedCrc32c(DifferenceOf(part), 0, end - at);
    }
    pending_.clear();
}

bool EditedBlocks::ChangesNothing() const {
    return std::all_of(differences_.begin(), differences_.end(),
                       [](std::uint32_t difference) { return difference == 0; });
}

// Whether the manifest is true, or there is none.
Expected<bool> EditedBlocks::UpdateManifest() const {
    const CString path = ManifestPath(*paths_);
    const platform::PathLock lock = LockManifest(path);
    auto manifest = ReadManifest(path);
    if (!manifest) return ErrorOf(manifest);
    if (!*manifest || ChangesNothing()) return true;
    if (!lock) return false;
    for (FileSums& file : (*manifest)->files) {
        if (file.name != kPointsName) continue;
        if (file.bytes != bytes_ || file.sums.size() != differences_.size()) return false;
        for (std::size_t i = 0; i < file.sums.size(); ++i) file.sums[i] ^= differences_[i];
    }
    if (auto written = WriteManifest(path, **manifest); !written) return ErrorOf(written);
    return true;
}

// The mark is this host's own alone; of what others write nobody knows.
Expected<void> EditedBlocks::End(const ProjectStamp& opened) {
    Flush();
    if (auto same = opened.RequireSame(); !same) return same;
    if (!alone_ || TimesWritten(paths_->gridPts) != 1) return {};
    const auto updated = UpdateManifest();
    if (!updated) return ErrorOf(updated);
    if (!*updated) return {};
    const CString mark = WrittenMarkPath(paths_->gridPts);
    std::error_code error;
    platform::RemoveFile(mark, error);
    if (error) return FailSystem(error, platform::ToUtf8(mark) + " could not be removed");
    return {};
}

}  // namespace orvix::detail
