// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/project_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/index_reader.h"
#include "orvix/points/record_hash.h"
#include "orvix/project/access/open_project.h"
#include "parallel/pool.h"

namespace orvix::reports {

namespace {

// Points of a batch stay near the processor from their copy to their sum.
constexpr std::uint64_t kBatchPoints = 65'536;
// Batches that are gathered before they are read: threads start and end with each round.
constexpr std::size_t kRound = 48;

// Runs of one level, which are read and summed by one thread.
struct Batch {
    WalkLevel* level = nullptr;
    std::vector<CIndexerSmall> runs;
    std::uint64_t points = 0;
    std::uint64_t summed = 0;
    std::uint64_t checksum = 0;
};

// Reads batches, some at a time, each worker with a reader of its own. Sums do not depend on which.
class BatchReader {
public:
    BatchReader(const CProjectCore& core, unsigned threads) : pool_(threads, {}, "") {
        workers_.resize(pool_.Threads());
        for (Worker& worker : workers_) worker.reader = core.CreateAlivePointReader();
        batches_.reserve(kRound);
    }

    [[nodiscard]] bool IsOpen() const { return workers_.front().reader != nullptr; }
    /// A batch was not read whole.
    [[nodiscard]] bool Failed() const { return failed_; }

    Expected<void> Add(Batch&& batch) {
        batches_.push_back(std::move(batch));
        return batches_.size() < kRound ? Expected<void>() : Read();
    }

    Expected<void> Read() {
        auto done = pool_.RunJobs(batches_.size(), [this](std::size_t job, unsigned worker) {
            return Sum(batches_[job], workers_[worker]);
        });
        for (const Batch& batch : batches_) {
            batch.level->checksum += batch.checksum;
            failed_ = failed_ || batch.summed != batch.points;
        }
        batches_.clear();
        return done;
    }

private:
    struct Worker {
        std::shared_ptr<CAlivePointReader> reader;
        std::vector<CCloudPoint<float>> points;
    };

    static Expected<void> Sum(Batch& batch, Worker& worker) {
        for (bool more = true; more;) {
            more = worker.reader->ReadIndexesPts(batch.runs, worker.points);
            batch.checksum += detail::RecordHashSum(worker.points.data(), worker.points.size());
            batch.summed += worker.points.size();
            worker.points.clear();
        }
        return {};
    }

    parallel::Pool pool_;
    std::vector<Worker> workers_;
    std::vector<Batch> batches_;
    bool failed_ = false;
};

// One level's points: runs come in and go to the reader in batches.
class LevelTally {
public:
    LevelTally(BatchReader& reader, std::uint64_t pointCount)
        : reader_(reader), pointCount_(pointCount) {}
    LevelTally(const LevelTally&) = delete;
    LevelTally& operator=(const LevelTally&) = delete;

    // False for a run that is empty, out of the file, or not the one after the run before.
    bool Add(std::uint64_t offset, std::uint32_t count) {
        // BEHAVIOUR C4
        if (count == 0 || offset != level_.points || count > pointCount_ - offset) return false;
        level_.points += count;
        for (std::uint64_t done = 0; done < count;) {
            const std::uint64_t room = kBatchPoints - pending_.points;
            const auto piece =
                static_cast<std::uint32_t>(std::min<std::uint64_t>(room, count - done));
            pending_.runs.push_back({offset + done, piece, 0});
            pending_.points += piece;
            done += piece;
            if (pending_.points == kBatchPoints) Flush();
        }
        return true;
    }

    void AddCell() { ++level_.cells; }
    [[nodiscard]] std::uint64_t Points() const { return level_.points; }
    /// What ended the reading of a batch, if anything.
    [[nodiscard]] const Expected<void>& Done() const { return done_; }

    void Flush() {
        pending_.level = &level_;
        const std::size_t runs = pending_.runs.size();
        if (pending_.points > 0 && done_) done_ = reader_.Add(std::exchange(pending_, {}));
        pending_.runs.reserve(runs);
    }
    /// Whole once every tally was flushed and the reader has read.
    [[nodiscard]] const WalkLevel& Level() const { return level_; }

private:
    BatchReader& reader_;
    std::uint64_t pointCount_;
    WalkLevel level_;
    Batch pending_;
    Expected<void> done_;
};

template <class Coordinate>
std::string CellText(Coordinate x, Coordinate y, Coordinate z) {
    return fmt::format("({}, {}, {})", static_cast<int>(x), static_cast<int>(y),
                       static_cast<int>(z));
}

class Walk {
public:
    Walk(detail::OpenProject& project, unsigned threads, const WalkCallback& callback)
        : project_(project),
          callback_(callback),
          pointCount_(static_cast<std::uint64_t>(project.Core().AlivePointCount())),
          index_(project.Core().CreateIndexReader()),
          reader_(project.Core(), threads) {}

    Expected<WalkReport> Run();

private:
    Expected<void> MeasureIndexes();
    Expected<void> Walk1000(std::uint64_t entry);
    [[nodiscard]] bool MayGoOn() const;
    Expected<void> Walk100(std::uint64_t entry);
    Expected<void> Walk10(std::uint64_t entry100, const CIndexerSmall& run);
    Expected<void> Finish(WalkReport& report);
    Expected<void> ReadRest();
    Expected<WalkLevel> Close(const LevelTally& tally, const char* name) const;

    const ProjectManager& Paths() const { return project_.Manager(); }

    detail::OpenProject& project_;
    const WalkCallback& callback_;
    std::uint64_t pointCount_;
    std::shared_ptr<CIndexReader> index_;
    BatchReader reader_;
    std::optional<LevelTally> tally1000_;
    std::optional<LevelTally> tally100_;
    std::optional<LevelTally> tally10_;
    platform::MappedFile runs_;
    std::uint64_t entries1000_ = 0;
    std::uint64_t entries100_ = 0;
    std::uint64_t entries10_ = 0;
    std::uint64_t next100_ = 0;
    std::uint64_t next10_ = 0;
};

tl::unexpected<Error> Damage(const CString& file, const std::string& what) {
    return Fail(ErrorCode::Damaged,
                fmt::format("{}: {}; 'orvix check' lists every fault, and importing the scans "
                            "again repairs them",
                            platform::ToUtf8(file), what));
}

Expected<std::uint64_t> EntriesOf(const CString& file, std::uint64_t recordBytes) {
    std::uint64_t bytes = 0;
    if (!platform::QueryFileSize(file, bytes)) return Damage(file, "the index file is missing");
    return bytes / recordBytes;
}

// The readers take an index as it is, so that what it leads to is checked here, before each use.
Expected<void> Walk::MeasureIndexes() {
    const auto entries1000 = EntriesOf(Paths().grid1000cmIdx, kGridCellBytes);
    if (!entries1000) return ErrorOf(entries1000);
    const auto entries100 = EntriesOf(Paths().gridIdx, kGridCellBytes);
    if (!entries100) return ErrorOf(entries100);
    entries1000_ = *entries1000;
    entries100_ = *entries100;
    if (!project_.Core().Has10cm()) return {};
    const auto entries10 = EntriesOf(Paths().grid10cmIdx, kFineCellBytes);
    if (!entries10) return ErrorOf(entries10);
    entries10_ = *entries10;
    std::error_code error;
    runs_ = platform::MappedFile::Open(Paths().grid1to10cmIdx, error);
    if (error)
        return Damage(Paths().grid1to10cmIdx, "the run file cannot be read: " + error.message());
    if (runs_.Size() / kRunRecordBytes >= entries100_) return {};
    return Damage(Paths().grid1to10cmIdx, fmt::format("it holds {} runs for {} cells of 100 cm",
                                                      runs_.Size() / kRunRecordBytes, entries100_));
}

Expected<void> Walk::Walk10(std::uint64_t entry100, const CIndexerSmall& run) {
    if (run.count == 0 || run.offset != next10_ || run.count > entries10_ - next10_)
        return Damage(
            Paths().grid1to10cmIdx,
            fmt::format("run {} leads to {} cells from {}, where {} of {} cells follow", entry100,
                        run.count, run.offset, entries10_ - next10_, entries10_));
    const std::uint32_t count = index_->InitIndex10();
    for (std::uint32_t cell = 0; cell < count; ++cell) {
        index_->ReadIndex10(count);
        std::uint64_t offset = 0;
        std::uint32_t points = 0;
        index_->GetOffsetCount10(offset, points);
        tally10_->AddCell();
        if (tally10_->Add(offset, points)) continue;
        return Damage(Paths().grid10cmIdx,
                      fmt::format("cell {} leads to {} points from {}, of {} in all",
                                  next10_ + cell, points, offset, pointCount_));
    }
    next10_ += count;
    return {};
}

Expected<void> Walk::Walk100(std::uint64_t entry) {
    std::uint64_t offset = 0;
    std::uint32_t count = 0;
    index_->GetOffsetCount100(offset, count);
    tally100_->AddCell();
    if (!tally100_->Add(offset, count) || !tally1000_->Add(offset, count)) {
        int x = 0, y = 0, z = 0;
        index_->GetXYZ100(x, y, z);
        return Damage(Paths().gridIdx,
                      fmt::format("cell {} leads to {} points from {}, of {} in all",
                                  CellText(x, y, z), count, offset, pointCount_));
    }
    if (!tally10_) return {};
    CIndexerSmall run;
    std::copy_n(runs_.Data() + entry * kRunRecordBytes, kRunRecordBytes,
                reinterpret_cast<std::uint8_t*>(&run));
    return Walk10(entry, run);
}

bool Walk::MayGoOn() const {
    const std::uint64_t done = tally1000_->Points();
    return !callback_ ||
           callback_(static_cast<double>(done) / static_cast<double>(pointCount_), done);
}

Expected<void> Walk::Walk1000(std::uint64_t entry) {
    index_->ReadIndex1000(0);
    std::uint64_t offset = 0;
    std::uint32_t count = 0;
    index_->GetOffsetCount1000(offset, count);
    tally1000_->AddCell();
    if (count == 0 || offset != next100_ || count > entries100_ - next100_)
        return Damage(Paths().grid1000cmIdx,
                      fmt::format("entry {} leads to {} cells from {}, where {} of {} cells follow",
                                  entry, count, offset, entries100_ - next100_, entries100_));
    index_->InitIndex100(offset);
    for (std::uint32_t cell = 0; cell < count; ++cell) {
        index_->ReadIndex100(count);
        if (auto walked = Walk100(next100_ + cell); !walked) return walked;
        for (const auto* tally : {&tally1000_, &tally100_, &tally10_})
            if (*tally && !(*tally)->Done()) return (*tally)->Done();
        if (!MayGoOn()) return Fail(ErrorCode::Cancelled, "the walk was cancelled");
    }
    next100_ += count;
    return {};
}

Expected<void> Walk::ReadRest() {
    for (auto* tally : {&tally1000_, &tally100_, &tally10_}) {
        if (!*tally) continue;
        (*tally)->Flush();
        if (!(*tally)->Done()) return (*tally)->Done();
    }
    return reader_.Read();
}

Expected<WalkLevel> Walk::Close(const LevelTally& tally, const char* name) const {
    const WalkLevel& level = tally.Level();
    if (reader_.Failed())
        return Fail(ErrorCode::Failure,
                    platform::ToUtf8(Paths().gridPts) + " could not be mapped for reading");
    if (level.points == pointCount_) return level;
    return Damage(Paths().gridPts, fmt::format("the {} cells hold {} of its {} points", name,
                                               level.points, pointCount_));
}

Expected<void> Walk::Finish(WalkReport& report) {
    if (auto read = ReadRest(); !read) return read;
    const auto level1000 = Close(*tally1000_, "1000 cm");
    if (!level1000) return ErrorOf(level1000);
    const auto level100 = Close(*tally100_, "100 cm");
    if (!level100) return ErrorOf(level100);
    report.level1000 = *level1000;
    report.level100 = *level100;
    bool agree = level1000->checksum == level100->checksum;
    if (tally10_) {
        const auto level10 = Close(*tally10_, "10 cm");
        if (!level10) return ErrorOf(level10);
        report.level10 = *level10;
        agree = agree && level10->checksum == level1000->checksum;
    }
    if (agree) return {};
    return Damage(Paths().gridPts,
                  "the levels read different points; did another program write it?");
}

Expected<WalkReport> Walk::Run() {
    if (!reader_.IsOpen() && pointCount_ > 0)
        return Fail(ErrorCode::Failure,
                    platform::ToUtf8(Paths().gridPts) + " could not be mapped for reading");
    if (auto measured = MeasureIndexes(); !measured) return ErrorOf(measured);
    WalkReport report;
    report.points = pointCount_;
    if (project_.Core().Has10cm()) report.level10.emplace();
    if (pointCount_ == 0 && entries1000_ == 0 && entries100_ == 0 && entries10_ == 0) return report;
    if (pointCount_ == 0) return Damage(Paths().gridPts, "it is empty, and the indexes are not");
    tally1000_.emplace(reader_, pointCount_);
    tally100_.emplace(reader_, pointCount_);
    if (project_.Core().Has10cm()) tally10_.emplace(reader_, pointCount_);
    for (std::uint64_t entry = 0; entry < entries1000_; ++entry) {
        if (auto walked = Walk1000(entry); !walked) return ErrorOf(walked);
    }
    if (next100_ != entries100_)
        return Damage(Paths().grid1000cmIdx, fmt::format("its cells hold {} of {} cells of 100 cm",
                                                         next100_, entries100_));
    if (tally10_ && next10_ != entries10_)
        return Damage(Paths().grid1to10cmIdx,
                      fmt::format("its runs hold {} of {} cells of 10 cm", next10_, entries10_));
    if (auto finished = Finish(report); !finished) return ErrorOf(finished);
    return report;
}

}  // namespace

Expected<WalkReport> WalkProject(const CString& project, const WalkCallback& callback,
                                 unsigned threads) {
    const auto start = std::chrono::steady_clock::now();
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    Expected<WalkReport> report = Walk(**opened, threads, callback).Run();
    if (report)
        report->seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

}  // namespace orvix::reports
