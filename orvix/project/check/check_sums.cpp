// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_sums.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"

namespace orvix::detail {
namespace {

// A file, and each state of it that the manifest takes as sound.
struct Compared {
    CString path;
    std::vector<const FileSums*> states;
};

void NameDamage(CheckLog& log, const CString& path, const FileSums& stored,
                const SummedFile& found) {
    const std::size_t blocks = stored.sums.size();
    for (std::size_t first = 0; first < blocks; ++first) {
        if (stored.sums[first] == found.sums[first]) continue;
        std::size_t last = first;
        while (last + 1 < blocks && stored.sums[last + 1] != found.sums[last + 1]) ++last;
        const std::uint64_t begin = first * kSumBlockBytes;
        const std::uint64_t end = std::min(stored.bytes, (last + 1) * kSumBlockBytes);
        log.Add(path, "bytes {} to {} (block {} to {}) are not those that were written", begin,
                end - 1, first, last);
        first = last;
    }
}

class SumCheck {
public:
    SumCheck(CheckLog& log, const ProjectManager& paths, const CheckOptions& options)
        : log_(log), paths_(paths), options_(options) {}

    SumReport Run() {
        const auto manifest = ReadManifest(ManifestPath(paths_));
        if (!manifest) {
            if (manifest.error().code != ErrorCode::Damaged) log_.Refuse(manifest.error());
            if (!log_.Cancelled()) log_.Add(ManifestPath(paths_), "{}", manifest.error().message);
            report_.state = SumState::Damaged;
        } else if (*manifest) {
            report_.state = SumState::Compared;
            Gather(**manifest);
            Compare();
        }
        return std::move(report_);
    }

private:
    void Gather(const Manifest& manifest) {
        const bool written = TimesWritten(paths_.gridPts) > 0;
        std::map<std::string, std::size_t> places;
        for (const FileSums& file : manifest.files) {
            if (options_.sums == SumDepth::Records && !IsRecord(file.name)) continue;
            const CString path = CoveredPath(paths_, file.name);
            if (path.empty()) {
                log_.Add(ManifestPath(paths_), "names {}, which is no file of a project",
                         file.name);
            } else if (written && IsChangedInPlace(file.name)) {
                report_.written.push_back(file.name);
            } else {
                const auto [place, fresh] = places.emplace(file.name, compared_.size());
                if (fresh) compared_.push_back({path, {}});
                compared_[place->second].states.push_back(&file);
            }
        }
    }

    // The first state whose size the file has; null where it has none, which is reported.
    const FileSums* StateOf(const Compared& file) {
        std::uint64_t bytes = 0;
        if (!platform::QueryFileSize(file.path, bytes) || platform::IsFolder(file.path)) {
            log_.Add(file.path, "is missing, and {} bytes were written",
                     file.states.front()->bytes);
            return nullptr;
        }
        for (const FileSums* state : file.states) {
            if (state->bytes == bytes) return state;
        }
        log_.Add(file.path, "holds {} bytes where {} were written", bytes,
                 file.states.front()->bytes);
        return nullptr;
    }

    void Compare() {
        std::vector<SummedFile> found;
        std::vector<const Compared*> which;
        for (const Compared& file : compared_) {
            const FileSums* state = StateOf(file);
            if (state == nullptr) continue;
            found.push_back({file.path, state->bytes, {}, {}, false});
            which.push_back(&file);
            ++report_.files;
            report_.bytes += state->bytes;
        }
        const BlockRunner& run = options_.runBlocks;
        if (auto done = SumBlocks(found, run ? run : RunOneByOne); !done) {
            return log_.Refuse(done.error());
        }
        for (std::size_t i = 0; i < found.size(); ++i) Judge(*which[i], found[i]);
    }

    void Judge(const Compared& file, const SummedFile& found) {
        if (found.error) return log_.CannotRead(file.path, found.error);
        if (found.cut) return log_.Add(file.path, "became shorter while it was read");
        const FileSums* nearest = nullptr;
        for (const FileSums* state : file.states) {
            if (state->bytes != found.bytes) continue;
            if (state->sums == found.sums) return;
            nearest = state;
        }
        NameDamage(log_, file.path, *nearest, found);
    }

    CheckLog& log_;
    const ProjectManager& paths_;
    const CheckOptions& options_;
    SumReport report_;
    std::vector<Compared> compared_;
};

}  // namespace

// BEHAVIOUR K7
SumReport CheckSums(CheckLog& log, const ProjectManager& paths, const CheckOptions& options) {
    return SumCheck(log, paths, options).Run();
}

}  // namespace orvix::detail
