// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/damage.h"

#include <algorithm>
#include <utility>

#include "orvix/geometry/bounds.h"
#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/points/records.h"

namespace orvix::importer {
namespace {

using detail::FileSums;
using platform::ToUtf8;

JudgedFile* Find(std::vector<JudgedFile>& files, const std::string& name) {
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const JudgedFile& file) { return file.name == name; });
    return found == files.end() ? nullptr : &*found;
}

bool HasSize(const CString& path, std::uint64_t bytes) {
    std::uint64_t actual = 0;
    return platform::QueryFileSize(path, actual) && actual == bytes;
}

// Each name of the manifest with the states that its file may have, latest last.
std::vector<std::vector<FileSums>> StatesOf(const std::vector<JudgedFile>& files,
                                            const detail::Manifest& manifest) {
    std::vector<std::vector<FileSums>> states(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        for (const FileSums& sums : manifest.files) {
            if (sums.name == files[i].name) states[i].push_back(sums);
        }
    }
    return states;
}

void Judge(JudgedFile& file, const std::vector<FileSums>& states, const detail::SummedFile& found) {
    file.stored = states.back();
    file.judgement = Judgement::Damaged;
    file.found = found.sums;
    for (const FileSums& state : states) {
        if (found.cut || !HasSize(file.path, state.bytes) || state.sums != found.sums) continue;
        file.judgement = Judgement::Sound;
        file.stored = state;
    }
}

Expected<std::vector<JudgedFile>> Listed(const ProjectManager& paths,
                                         const std::optional<detail::Manifest>& manifest) {
    std::vector<JudgedFile> files;
    std::error_code error;
    const auto covered = detail::CoveredFiles(paths, error);
    // Stations that cannot be seen are not lost.
    if (error) return FailSystem(error, ToUtf8(paths.scanposFolder) + " cannot be listed");
    for (const detail::CoveredFile& file : covered) {
        files.push_back({file.name, file.path, Judgement::Unsummed, {}, {}});
    }
    if (!manifest) return files;
    for (const FileSums& sums : manifest->files) {
        if (Find(files, sums.name) != nullptr) continue;
        const CString path = detail::CoveredPath(paths, sums.name);
        if (!path.empty()) files.push_back({sums.name, path, Judgement::Missing, sums, {}});
    }
    return files;
}

void AddCells(DamagedPoints& damage, const std::vector<GridCellRecord>& cells) {
    const std::uint64_t end = damage.firstPoint + damage.points;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const GridCellRecord& cell = cells[i];
        if (cell.offset >= end || cell.offset + cell.count <= damage.firstPoint) continue;
        const SimplePointT<double> low{double(cell.x), double(cell.y), double(cell.z)};
        const SimplePointT<double> high{low.x + 1, low.y + 1, low.z + 1};
        if (damage.cells == 0) {
            damage.firstCell = i;
            damage.min = low;
            damage.max = high;
        }
        ++damage.cells;
        detail::Extend(damage, low);
        detail::Extend(damage, high);
    }
}

}  // namespace

Expected<std::vector<JudgedFile>> JudgeFiles(const ProjectManager& paths,
                                             const std::optional<detail::Manifest>& manifest,
                                             const detail::BlockRunner& run) {
    auto listed = Listed(paths, manifest);
    if (!listed || !manifest) return listed;
    std::vector<JudgedFile> files = std::move(*listed);
    const bool written = detail::TimesWritten(paths.gridPts) > 0;
    const auto states = StatesOf(files, *manifest);
    std::vector<detail::SummedFile> summed(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (states[i].empty() || files[i].judgement == Judgement::Missing) continue;
        if (written && detail::IsChangedInPlace(files[i].name)) continue;
        summed[i] = {files[i].path, states[i].back().bytes, {}, {}, false};
        for (const FileSums& state : states[i]) {
            if (HasSize(files[i].path, state.bytes)) summed[i].bytes = state.bytes;
        }
    }
    if (auto done = detail::SumBlocks(summed, run); !done) return ErrorOf(done);
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (summed[i].path.empty()) continue;
        if (summed[i].error)
            return FailSystem(summed[i].error, ToUtf8(files[i].path) + " cannot be read");
        Judge(files[i], states[i], summed[i]);
    }
    return files;
}

Expected<std::vector<DamagedPoints>> DamagedStretches(const JudgedFile& points,
                                                      const JudgedFile& cells100) {
    std::vector<DamagedPoints> stretches;
    if (points.judgement != Judgement::Damaged) return stretches;
    std::vector<GridCellRecord> cells;
    if (cells100.judgement == Judgement::Sound) {
        cells.resize(static_cast<std::size_t>(cells100.stored->bytes / sizeof(GridCellRecord)));
        std::error_code error;
        const auto file = platform::File::OpenRead(cells100.path, error);
        if (!error) file.ReadAt(0, cells.data(), cells.size() * sizeof(GridCellRecord), error);
        if (error) return FailSystem(error, ToUtf8(cells100.path) + " cannot be read");
    }
    const auto& stored = points.stored->sums;
    const auto differs = [&](std::size_t block) {
        return block >= points.found.size() || points.found[block] != stored[block];
    };
    for (std::size_t first = 0; first < stored.size(); ++first) {
        if (!differs(first)) continue;
        std::size_t last = first;
        while (last + 1 < stored.size() && differs(last + 1)) ++last;
        DamagedPoints damage;
        damage.firstByte = first * detail::kSumBlockBytes;
        damage.lastByte = std::min(points.stored->bytes, (last + 1) * detail::kSumBlockBytes) - 1;
        damage.firstPoint = damage.firstByte / kAlivePointBytes;
        damage.points = damage.lastByte / kAlivePointBytes - damage.firstPoint + 1;
        AddCells(damage, cells);
        stretches.push_back(damage);
        first = last;
    }
    // All bytes that were written are there, and further ones behind them.
    std::uint64_t bytes = 0;
    if (stretches.empty() && platform::QueryFileSize(points.path, bytes)) {
        DamagedPoints behind;
        behind.firstByte = std::min(points.stored->bytes, bytes - 1);
        behind.lastByte = bytes - 1;
        behind.firstPoint = behind.firstByte / kAlivePointBytes;
        behind.points = behind.lastByte / kAlivePointBytes - behind.firstPoint + 1;
        stretches.push_back(behind);
    }
    return stretches;
}

std::optional<std::vector<std::uint8_t>> WithoutFlippedBit(std::vector<std::uint8_t> bytes,
                                                           std::uint32_t stored) {
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        const auto mask = static_cast<std::uint8_t>(1u << bit % 8);
        bytes[bit / 8] ^= mask;
        if (platform::Crc32c(bytes) == stored) return bytes;
        bytes[bit / 8] ^= mask;
    }
    return std::nullopt;
}

}  // namespace orvix::importer
