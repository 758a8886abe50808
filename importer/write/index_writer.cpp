// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/index_writer.h"

#include <fmt/format.h>

#include <limits>

namespace orvix::importer {
namespace {

constexpr std::uint64_t kMaxCount = std::numeric_limits<std::uint32_t>::max();

SortKey BlockOf(const SortKey& key) {
    return {key.block, 0};
}

tl::unexpected<Error> TooMany(const char* what) {
    return Fail(ErrorCode::Failure,
                fmt::format("{} is more than the {} that a grid index can hold; import the scans "
                            "into several projects",
                            what, kMaxCount));
}

}  // namespace

Expected<void> IndexWriter::Create(const ProjectManager& project) {
    Expected<void> done = blocks_.Create(project.grid1000cmIdx);
    if (done) done = metres_.Create(project.gridIdx);
    if (fineLevel_ == FineLevel::Omit) return done;
    if (done) done = fines_.Create(project.grid10cmIdx);
    if (done) done = fineRuns_.Create(project.grid1to10cmIdx);
    return done;
}

Expected<void> IndexWriter::Add(std::span<const CellCount> cells) {
    for (const CellCount& cell : cells) {
        if (cell.count == 0) continue;
        if (!started_ || cell.key != key_) {
            if (auto opened = Open(cell.key); !opened) return opened;
        }
        if (cell.count > kMaxCount - metre_.count) {
            return TooMany("the number of points in one cubic metre");
        }
        metre_.count += cell.count;
        fine_.count += cell.count;
        points_ += cell.count;
    }
    return {};
}

void WholeCells::Make(std::span<const CellCount> cells) {
    metres.clear();
    fines.clear();
    std::uint64_t points = 0;
    for (const CellCount& cell : cells) {
        const SortKey metre = cell.key.Metre();
        if (metres.empty() || metres.back().key != metre) metres.push_back({metre, 0, 0});
        metres.back().points += cell.count;
        ++metres.back().fines;
        const std::uint32_t digits = cell.key.inside - metre.inside;
        fines.push_back({static_cast<std::int8_t>(digits / 100),
                         static_cast<std::int8_t>(digits / 10 % 10),
                         static_cast<std::int8_t>(digits % 10),
                         {},
                         points,
                         cell.count,
                         0});
        points += cell.count;
    }
}

Expected<void> IndexWriter::Enter(WholeCells& cells) {
    cells.firstPoint = points_;
    cells.firstFine = fines_.Reserve(cells.fines.size());
    std::uint64_t fine = cells.firstFine;
    for (const WholeCells::Metre& metre : cells.metres) {
        if (!started_ || metre.key != key_) {
            if (auto opened = OpenMetre(metre.key, fine); !opened) return opened;
        }
        if (metre.points > kMaxCount - metre_.count) {
            return TooMany("the number of points in one cubic metre");
        }
        metre_.count += static_cast<std::uint32_t>(metre.points);
        fineRun_.count += metre.fines;
        fine += metre.fines;
        points_ += metre.points;
    }
    return {};
}

Expected<void> IndexWriter::Store(WholeCells& cells) {
    for (FineCellRecord& fine : cells.fines) fine.offset += cells.firstPoint;
    return fines_.WriteAt(cells.firstFine, cells.fines);
}

// Ends the open cells that do not hold `key` and starts those that do.
Expected<void> IndexWriter::Open(const SortKey& key) {
    const bool newMetre = !started_ || key.Metre() != key_.Metre();
    if (started_) {
        if (auto closed = CloseFine(); !closed) return closed;
    }
    if (newMetre) {
        if (auto opened = OpenMetre(key, fines_.Count()); !opened) return opened;
    }
    const CellPosition cell = frame_.PositionOf(key);
    fine_ = {cell.cell10[0], cell.cell10[1], cell.cell10[2], {}, points_, 0, 0};
    key_ = key;
    return {};
}

Expected<void> IndexWriter::OpenMetre(const SortKey& key, std::uint64_t firstFine) {
    const bool newBlock = !started_ || BlockOf(key) != BlockOf(key_);
    if (started_) {
        Expected<void> closed = CloseMetre();
        if (closed && newBlock) closed = CloseBlock();
        if (!closed) return closed;
    }
    const CellPosition cell = frame_.PositionOf(key);
    const auto& [x, y, z] = cell.cell100;
    if (newBlock) {
        block_ = {detail::FloorTenth(x),
                  detail::FloorTenth(y),
                  detail::FloorTenth(z),
                  0,
                  metres_.Count(),
                  0,
                  0};
    }
    metre_ = {x, y, z, 0, points_, 0, 0};
    fineRun_ = {firstFine, 0, 0};
    key_ = key;
    started_ = true;
    return {};
}

Expected<void> IndexWriter::CloseFine() {
    ++fineRun_.count;
    return fineLevel_ == FineLevel::Write ? fines_.Add(fine_) : Expected<void>();
}

Expected<void> IndexWriter::CloseMetre() {
    ++block_.count;
    if (metres_.Count() == kMaxCount) return TooMany("the number of cubic metres with points");
    Expected<void> done = metres_.Add(metre_);
    if (done && fineLevel_ == FineLevel::Write) done = fineRuns_.Add(fineRun_);
    return done;
}

Expected<void> IndexWriter::CloseBlock() {
    return blocks_.Add(block_);
}

Expected<void> IndexWriter::Finish() {
    Expected<void> done;
    if (started_) {
        if (fine_.count != 0) done = CloseFine();
        if (done) done = CloseMetre();
        if (done) done = CloseBlock();
    }
    if (done) done = blocks_.Finish();
    if (done) done = metres_.Finish();
    if (fineLevel_ == FineLevel::Omit) return done;
    if (done) done = fines_.Finish();
    if (done) done = fineRuns_.Finish();
    return done;
}

Expected<void> IndexWriter::Close() {
    Expected<void> done = blocks_.Close();
    if (done) done = metres_.Close();
    if (!done || fineLevel_ == FineLevel::Omit) return done;
    done = fines_.Close();
    return done ? fineRuns_.Close() : done;
}

}  // namespace orvix::importer
