// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/edited_sums.h"

#include <fmt/format.h>

#include <optional>
#include <utility>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"

namespace orvix::edits {

namespace {

using detail::FileSums;
using platform::ToUtf8;

bool IsEdited(const FileSums& file) {
    return file.name == detail::kPointsName || file.name == detail::kSkeletonDataName;
}

Expected<void> RequireSame(const CString& path, const FileSums& stored,
                           const detail::BlockRunner& run) {
    std::vector<detail::SummedFile> found{{path, stored.bytes, {}, {}, false}};
    if (auto done = detail::SumBlocks(found, run); !done) return done;
    if (found[0].error) return FailSystem(found[0].error, ToUtf8(path) + " cannot be read");
    std::uint64_t bytes = 0;
    const bool same = platform::QueryFileSize(path, bytes) && bytes == stored.bytes &&
                      found[0].sums == stored.sums;
    if (same) return {};
    return Fail(
        ErrorCode::Damaged,
        fmt::format("{} is not as it was written, and nothing was changed in it; 'orvix check "
                    "--deep' says where, 'orvix repair' what to do",
                    ToUtf8(path)));
}

}  // namespace

Expected<EditedSums> EditedSums::Begin(const ProjectManager& paths,
                                       const detail::BlockRunner& run) {
    EditedSums sums(paths);
    sums.fresh_ = detail::TimesWritten(paths.gridPts) == 0;
    // Of an edit that was ended: this one may write no manifest.
    detail::RemoveUnfinishedManifest(detail::ManifestPath(paths));
    const auto manifest = detail::ReadManifest(detail::ManifestPath(paths));
    if (!manifest) return ErrorOf(manifest);
    if (!*manifest || !sums.fresh_) return sums;
    for (const FileSums& file : (*manifest)->files) {
        if (!IsEdited(file)) continue;
        if (auto same = RequireSame(detail::CoveredPath(paths, file.name), file, run); !same)
            return ErrorOf(same);
    }
    sums.summed_ = true;
    return sums;
}

// The mark is this edit's own opening alone; of further ones nobody knows what they write.
Expected<void> EditedSums::End(const detail::BlockRunner& run,
                               std::vector<std::uint32_t> pointSums) const {
    if (!fresh_ || detail::TimesWritten(paths_->gridPts) != 1) return {};
    if (summed_) {
        const CString path = detail::ManifestPath(*paths_);
        const platform::PathLock lock = detail::LockManifest(path);
        const auto manifest = detail::ReadManifest(path);
        if (!lock || !manifest || !*manifest) return {};
        std::vector<FileSums> known;
        for (const FileSums& file : (*manifest)->files) {
            if (!IsEdited(file)) known.push_back(file);
            if (file.name == detail::kPointsName && file.sums.size() == pointSums.size())
                known.push_back({file.name, file.bytes, pointSums});
        }
        auto done = detail::SumProject(*paths_, known, run);
        if (!done) return done;
    }
    const CString mark = detail::WrittenMarkPath(paths_->gridPts);
    std::error_code error;
    platform::RemoveFile(mark, error);
    if (error) return FailSystem(error, ToUtf8(mark) + " could not be removed");
    return {};
}

}  // namespace orvix::edits
