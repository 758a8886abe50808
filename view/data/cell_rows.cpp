// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/data/cell_rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "orvix/platform/path.h"
#include "orvix/points/records.h"

namespace orvix::view {

namespace {

constexpr std::size_t kRowsPerPiece = 4096;
constexpr std::uint64_t kMostParents = 65'536;

// Records of a level below, or points.
struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;

    [[nodiscard]] std::uint64_t End() const { return first + count; }
};

// BEHAVIOUR L2
tl::unexpected<Error> Contradiction(const char* level, std::uint64_t number) {
    return Fail(ErrorCode::Damaged,
                fmt::format("cell {} of the {} level contradicts the project's other files; "
                            "'orvix check' says what is damaged",
                            number, level));
}

// A cell has something in it, and that lies within what there is.
bool Fits(const Run& run, std::uint64_t total) {
    return run.count > 0 && run.first <= total && run.count <= total - run.first;
}

// Where cells lie and what is in them, each number checked before it is used.
class Walk {
public:
    explicit Walk(CellIndex::Files files)
        : files_(std::move(files)),
          cells1000_(files_.cells1000),
          cells100_(files_.cells100),
          runs10_(files_.runs10),
          cells10_(files_.cells10) {}
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // The 100 cm cells in a 1000 cm cell.
    Expected<Run> ChildrenOf1000(std::uint64_t number) {
        const auto cell = cells1000_.At(number);
        if (!cell) return ErrorOf(cell);
        const Run run{cell->offset, cell->count};
        if (!Fits(run, cells100_.Records())) return Contradiction("1000 cm", number);
        return run;
    }
    Expected<Run> ChildrenOf100(std::uint64_t number) {
        if (number >= runs10_.Records()) return Contradiction("100 cm", number);
        const auto record = runs10_.At(number);
        if (!record) return ErrorOf(record);
        const Run run{record->offset, record->count};
        if (!Fits(run, cells10_.Records())) return Contradiction("100 cm", number);
        return run;
    }

    Expected<CellRow> Row1000(std::uint64_t number) {
        const auto children = ChildrenOf1000(number);
        if (!children) return ErrorOf(children);
        const auto first = Points100(children->first);
        if (!first) return ErrorOf(first);
        const auto last = Points100(children->End() - 1);
        if (!last) return ErrorOf(last);
        if (last->first < first->first) return Contradiction("1000 cm", number);
        const auto cell = cells1000_.At(number);
        if (!cell) return ErrorOf(cell);
        return RowOf(*cell, 10, number, {first->first, last->End() - first->first});
    }
    Expected<CellRow> Row100(std::uint64_t number) {
        const auto points = Points100(number);
        if (!points) return ErrorOf(points);
        const auto cell = cells100_.At(number);
        if (!cell) return ErrorOf(cell);
        return RowOf(*cell, 1, number, *points);
    }
    Expected<CellRow> Row10(std::uint64_t number, std::uint64_t parent) {
        const auto cell = cells10_.At(number);
        if (!cell) return ErrorOf(cell);
        const Run points{cell->offset, cell->count};
        if (!Fits(points, files_.points)) return Contradiction("10 cm", number);
        const auto around = cells100_.At(parent);
        if (!around) return ErrorOf(around);
        CellRow row = RowOf(*around, 1, number, points);
        const std::int8_t inside[] = {cell->x, cell->y, cell->z};
        const std::int32_t outside[] = {around->x, around->y, around->z};
        for (std::size_t axis = 0; axis < 3; ++axis)
            row.min[axis] = static_cast<float>(outside[axis] + inside[axis] / 10.0);
        return row;
    }

private:
    Expected<Run> Points100(std::uint64_t number) {
        const auto cell = cells100_.At(number);
        if (!cell) return ErrorOf(cell);
        const Run points{cell->offset, cell->count};
        if (!Fits(points, files_.points)) return Contradiction("100 cm", number);
        return points;
    }

    static CellRow RowOf(const GridCellRecord& cell, double side, std::uint64_t number,
                         const Run& points) {
        CellRow row;
        row.min[0] = static_cast<float>(cell.x * side);
        row.min[1] = static_cast<float>(cell.y * side);
        row.min[2] = static_cast<float>(cell.z * side);
        row.number = static_cast<std::uint32_t>(number);
        row.first = points.first;
        row.count = points.count;
        return row;
    }

    CellIndex::Files files_;
    RecordCursor<GridCellRecord> cells1000_;
    RecordCursor<GridCellRecord> cells100_;
    RecordCursor<CIndexerSmall> runs10_;
    RecordCursor<FineCellRecord> cells10_;
};

std::span<const std::uint8_t> BytesOf(const std::vector<CellRow>& rows) {
    return {reinterpret_cast<const std::uint8_t*>(rows.data()), rows.size() * sizeof(CellRow)};
}

class CoarseRows final : public Pieces {
public:
    CoarseRows(const CellIndex::Files& files, Run cells) : walk_(files), left_(cells) {}

    Expected<std::span<const std::uint8_t>> Next() override {
        rows_.clear();
        for (; left_.count > 0 && rows_.size() < kRowsPerPiece; ++left_.first, --left_.count) {
            const auto row = walk_.Row1000(left_.first);
            if (!row) return ErrorOf(row);
            rows_.push_back(*row);
        }
        return BytesOf(rows_);
    }

private:
    Walk walk_;
    Run left_;
    std::vector<CellRow> rows_;
};

class ChildRows final : public Pieces {
public:
    ChildRows(const CellIndex::Files& files, bool fine, Run parents)
        : walk_(files), fine_(fine), parents_(parents) {}

    Expected<std::span<const std::uint8_t>> Next() override {
        rows_.clear();
        while (rows_.size() < kRowsPerPiece) {
            if (left_.count == 0) {
                if (parents_.count == 0) break;
                if (auto begun = Begin(parents_.first); !begun) return ErrorOf(begun);
            }
            if (auto taken = Take(); !taken) return ErrorOf(taken);
        }
        return BytesOf(rows_);
    }

private:
    Expected<void> Begin(std::uint64_t parent) {
        const auto children = fine_ ? walk_.ChildrenOf100(parent) : walk_.ChildrenOf1000(parent);
        if (!children) return ErrorOf(children);
        const auto row = fine_ ? walk_.Row100(parent) : walk_.Row1000(parent);
        if (!row) return ErrorOf(row);
        left_ = *children;
        points_ = {row->first, row->count};
        return {};
    }

    // Each child begins where the one before it ended, the last one ends where its parent does.
    Expected<void> Take() {
        const auto row =
            fine_ ? walk_.Row10(left_.first, parents_.first) : walk_.Row100(left_.first);
        if (!row) return ErrorOf(row);
        const bool last = left_.count == 1;
        const bool fits = row->first == points_.first &&
                          (last ? row->count == points_.count : row->count < points_.count);
        if (!fits) return Contradiction(fine_ ? "100 cm" : "1000 cm", parents_.first);
        rows_.push_back(*row);
        points_ = {row->first + row->count, points_.count - row->count};
        ++left_.first;
        --left_.count;
        if (last) parents_ = {parents_.first + 1, parents_.count - 1};
        return {};
    }

    Walk walk_;
    bool fine_;
    Run parents_;
    Run left_;    // children of the first of the parents
    Run points_;  // of these children
    std::vector<CellRow> rows_;
};

Expected<void> RequireCells(const Run& asked, std::uint64_t cells, const char* level) {
    if (asked.count > 0 && Fits(asked, cells)) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("there are {} cells of the {} level, and {} from {} on were asked for",
                            cells, level, asked.count, asked.first));
}

}  // namespace

Expected<CellIndex> CellIndex::Open(const ProjectManager& paths, bool has10cm) {
    CellIndex index;
    Files& files = index.files_;
    files.has10cm = has10cm;
    std::uint64_t bytes = 0;
    platform::QueryFileSize(paths.gridPts, bytes);
    files.points = bytes / kAlivePointBytes;
    struct Wanted {
        RecordFile* file;
        const CString* path;
        std::uint64_t recordBytes;
        bool fine;
    };
    for (const Wanted& wanted :
         {Wanted{&files.cells1000, &paths.grid1000cmIdx, kGridCellBytes, false},
          Wanted{&files.cells100, &paths.gridIdx, kGridCellBytes, false},
          Wanted{&files.runs10, &paths.grid1to10cmIdx, kRunRecordBytes, true},
          Wanted{&files.cells10, &paths.grid10cmIdx, kFineCellBytes, true}}) {
        if (wanted.fine && !has10cm) continue;
        auto opened = RecordFile::Open(*wanted.path, wanted.recordBytes);
        if (!opened) return ErrorOf(opened);
        *wanted.file = std::move(*opened);
    }
    return index;
}

Expected<std::uint64_t> CellIndex::PointsReached() const {
    if (Cells100() == 0) return 0;
    Walk walk(files_);
    const auto last = walk.Row100(Cells100() - 1);
    if (!last) return ErrorOf(last);
    return last->first + last->count;
}

Expected<Answer> CellIndex::Coarse(std::uint64_t first, std::uint64_t count) const {
    const Run cells{first, count};
    if (count > 0) {
        if (auto there = RequireCells(cells, Cells1000(), "1000 cm"); !there) return ErrorOf(there);
    }
    return AnswerOf(std::make_unique<CoarseRows>(files_, cells), count * sizeof(CellRow));
}

Expected<Answer> CellIndex::Children(std::uint64_t level, std::uint64_t of,
                                     std::uint64_t parents) const {
    const bool fine = level == 10;
    const Run asked{of, parents};
    if (auto there =
            RequireCells(asked, fine ? Cells100() : Cells1000(), fine ? "100 cm" : "1000 cm");
        !there)
        return ErrorOf(there);
    if (parents > kMostParents)
        return Fail(ErrorCode::BadInput, fmt::format("parents={} is above {}; ask several times",
                                                     parents, kMostParents));
    Walk walk(files_);
    std::uint64_t rows = 0;
    for (std::uint64_t i = 0; i < parents; ++i) {
        const auto children = fine ? walk.ChildrenOf100(of + i) : walk.ChildrenOf1000(of + i);
        if (!children) return ErrorOf(children);
        rows += children->count;  // of 32 bits each, 65,536 times at most
    }
    return AnswerOf(std::make_unique<ChildRows>(files_, fine, asked), rows * sizeof(CellRow));
}

}  // namespace orvix::view
