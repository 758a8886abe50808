// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/joined_parts.h"

#include "importer/write/index_writer.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

/// Appends the records of parts' files to a file of the project.
template <class Record>
class JoinedFile {
public:
    explicit JoinedFile(RecordWriter<Record>& whole) : whole_(whole) {}

    /// `change` turns a part's record into the whole's.
    template <class Change>
    Expected<void> Add(const CString& path, const ImportPool& pool, const Change& change) {
        SyncedFile part;
        if (auto opened = part.OpenRead(path); !opened) return opened;
        std::uint64_t bytes = 0;
        platform::QueryFileSize(path, bytes);
        RecordScanner<Record> records(part, bytes / sizeof(Record));
        while (!pool.Stopping()) {
            const auto record = records.Peek();
            if (!record) return ErrorOf(record);
            if (*record == nullptr) break;
            if (auto added = Append(change(**record)); !added) return added;
            records.Take();
        }
        return {};
    }
    Expected<void> Add(const CString& path, const ImportPool& pool) {
        return Add(path, pool, [](const Record& record) { return record; });
    }
    [[nodiscard]] std::uint64_t Count() const { return whole_.Count(); }

private:
    Expected<void> Append(const Record& record) { return whole_.Add(record); }

    RecordWriter<Record>& whole_;
};

bool AreOneCell(const GridCellRecord& a, const GridCellRecord& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

/// A file of 1000 cm cells: the last of one part and the first of the next may be one cell.
class JoinedBlocks {
public:
    explicit JoinedBlocks(RecordWriter<GridCellRecord>& whole) : whole_(whole) {}

    /// `base` is what offsets of the part begin at.
    Expected<void> Add(const CString& path, std::uint64_t base) {
        SyncedFile part;
        if (auto opened = part.OpenRead(path); !opened) return opened;
        std::uint64_t bytes = 0;
        platform::QueryFileSize(path, bytes);
        RecordScanner<GridCellRecord> records(part, bytes / sizeof(GridCellRecord));
        for (;;) {
            const auto next = records.Peek();
            if (!next) return ErrorOf(next);
            if (*next == nullptr) return {};
            GridCellRecord record = **next;
            record.offset += base;
            records.Take();
            if (open_ && AreOneCell(last_, record)) {
                last_.count += record.count;
                continue;
            }
            if (auto closed = Close(); !closed) return closed;
            last_ = record;
            open_ = true;
        }
    }
    Expected<void> Close() {
        if (!open_) return {};
        open_ = false;
        return whole_.Add(last_);
    }

private:
    RecordWriter<GridCellRecord>& whole_;
    GridCellRecord last_;
    bool open_ = false;
};

/// The four indexes.
class JoinedIndexes {
public:
    JoinedIndexes(const ProjectManager& project, bool fine) : project_(project), fine_(fine) {}

    Expected<void> Create() {
        Expected<void> done = blocks_.Create(project_.grid1000cmIdx);
        if (done) done = metres_.Create(project_.gridIdx);
        if (!done || !fine_) return done;
        done = fines_.Create(project_.grid10cmIdx);
        return done ? runs_.Create(project_.grid1to10cmIdx) : done;
    }

    Expected<void> Add(const ProjectManager& part, const ImportPool& pool) {
        const std::uint64_t metres = metres_.Count();
        const std::uint64_t fines = fines_.Count();
        Expected<void> done = joinedBlocks_.Add(part.grid1000cmIdx, metres);
        if (done) done = JoinedFile(metres_).Add(part.gridIdx, pool);
        if (!done || !fine_) return done;
        done = JoinedFile(fines_).Add(part.grid10cmIdx, pool);
        if (!done) return done;
        return JoinedFile(runs_).Add(part.grid1to10cmIdx, pool, [fines](CIndexerSmall run) {
            run.offset += fines;
            return run;
        });
    }

    Expected<void> Finish() {
        Expected<void> done = joinedBlocks_.Close();
        if (done) done = blocks_.Finish();
        if (done) done = metres_.Finish();
        if (done) done = blocks_.Close();
        if (done) done = metres_.Close();
        if (!done || !fine_) return done;
        done = fines_.Finish();
        if (done) done = runs_.Finish();
        if (done) done = fines_.Close();
        return done ? runs_.Close() : done;
    }

private:
    const ProjectManager& project_;
    bool fine_;
    RecordWriter<GridCellRecord> blocks_;
    RecordWriter<GridCellRecord> metres_;
    RecordWriter<FineCellRecord> fines_;
    RecordWriter<CIndexerSmall> runs_;
    JoinedBlocks joinedBlocks_{blocks_};
};

/// The skeleton and its three tables. The coarse table has a record for each 1000 cm cell of the
/// view table, at the same place.
class JoinedSkeleton {
public:
    explicit JoinedSkeleton(SkeletonFiles& files) : files_(files) {}

    Expected<void> Add(const ProjectManager& part, const ImportPool& pool) {
        const std::uint64_t points = files_.coordinates.Count();
        const std::uint64_t cells = files_.cells.Count();
        Expected<void> done = AddBlocks(part, points, cells);
        if (done) done = JoinedFile(files_.coordinates).Add(part.gridSkeletCoordPts, pool);
        if (done) done = JoinedFile(files_.data).Add(part.gridSkeletDataPts, pool);
        if (!done) return done;
        return JoinedFile(files_.cells)
            .Add(part.viewEntriesDtv, pool, [points](detail::SkeletonCellRecord cell) {
                cell.offset += points;
                return cell;
            });
    }

    Expected<void> Finish() {
        Expected<void> done = Close();
        return done ? files_.Finish() : done;
    }

private:
    Expected<void> AddBlocks(const ProjectManager& part, std::uint64_t points,
                             std::uint64_t cells) {
        SyncedFile blockFile;
        SyncedFile coarseFile;
        Expected<void> done = blockFile.OpenRead(part.viewGridDtv);
        if (done) done = coarseFile.OpenRead(part.viewGridLv);
        if (!done) return done;
        std::uint64_t bytes = 0;
        platform::QueryFileSize(part.viewGridDtv, bytes);
        const std::uint64_t count = bytes / sizeof(detail::SkeletonBlockRecord);
        RecordScanner<detail::SkeletonBlockRecord> blocks(blockFile, count);
        RecordScanner<detail::CoarseViewRecord> coarse(coarseFile, count);
        for (std::uint64_t i = 0; i < count; ++i) {
            const auto block = blocks.Peek();
            if (!block) return ErrorOf(block);
            const auto view = coarse.Peek();
            if (!view) return ErrorOf(view);
            if (auto added = AddBlock(**block, **view, points, cells); !added) return added;
            blocks.Take();
            coarse.Take();
        }
        return {};
    }

    Expected<void> AddBlock(detail::SkeletonBlockRecord block, detail::CoarseViewRecord view,
                            std::uint64_t points, std::uint64_t cells) {
        block.offset += cells;
        view.first += points;
        if (open_ && AreOneCell(block_, block)) {
            block_.count += block.count;
            view_.count += view.count;
            return {};
        }
        if (auto closed = Close(); !closed) return closed;
        block_ = block;
        view_ = view;
        open_ = true;
        return {};
    }

    Expected<void> Close() {
        if (!open_) return {};
        open_ = false;
        Expected<void> done = files_.blocks.Add(block_);
        return done ? files_.coarse.Add(view_) : done;
    }

    SkeletonFiles& files_;
    detail::SkeletonBlockRecord block_;
    detail::CoarseViewRecord view_;
    bool open_ = false;
};

void Join(const MergedPart& part, JoinedParts& joined, WrittenSums& sums) {
    joined.points += part.points;
    joined.removed.points += part.removed.points;
    joined.removed.hash += part.removed.hash;
    joined.skeleton.points += part.skeleton.points;
    joined.skeleton.histograms.AddCounts(part.skeleton.histograms.All());
    joined.skeleton.aliveDensity.Join(part.skeleton.aliveDensity.All());
    joined.skeleton.skeletonDensity.Join(part.skeleton.skeletonDensity.All());
    for (const auto& [offset, piece] : part.sums) sums.Insert(offset, piece);
}

}  // namespace

Expected<JoinedParts> JoinParts(const TaskNotes& notes, const ProjectManager& project,
                                std::uint64_t parts, SkeletonSize skeleton, ImportPool& pool) {
    JoinedParts joined;
    WrittenSums sums;
    JoinedIndexes indexes(project, skeleton != SkeletonSize::OneMetre);
    SkeletonFiles files;
    auto done = pool.RunOne([&]() -> Expected<void> {
        JoinedSkeleton skeletons(files);
        Expected<void> step = indexes.Create();
        if (step) step = files.Create(project);
        for (std::uint64_t i = 0; step && i < parts && !pool.Stopping(); ++i) {
            const auto part = ReadPart(notes, i);
            if (!part) return ErrorOf(part);
            Join(*part, joined, sums);
            const ProjectManager paths = PartPaths(notes, i);
            step = indexes.Add(paths, pool);
            if (step) step = skeletons.Add(paths, pool);
        }
        if (step) step = indexes.Finish();
        return step ? skeletons.Finish() : step;
    });
    if (done) {
        pool.Meter().Begin(ImportPhase::Skeleton, files.CoarseBytes());
        done = files.WriteCoarse(pool);
    }
    if (!done) return ErrorOf(done);
    joined.sums = sums.Blocks(joined.points * kAlivePointBytes);
    return joined;
}

}  // namespace orvix::importer
