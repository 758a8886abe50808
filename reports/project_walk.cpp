// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/project_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/index_reader.h"
#include "orvix/points/record_hash.h"
#include "orvix/project/open_project.h"

namespace orvix::reports {

namespace {

constexpr std::uint64_t kBatchPoints = 262'144;

// One level's points: runs come in, batches of points are read and summed.
class LevelTally {
public:
    LevelTally(CAlivePointReader& reader, std::uint64_t pointCount)
        : reader_(reader), pointCount_(pointCount) {}

    // False for a run that is empty, out of the file, or not the one after the run before.
    bool Add(std::uint64_t offset, std::uint32_t count) {
        // BEHAVIOUR C4
        if (count == 0 || offset != level_.points || count > pointCount_ - offset) return false;
        level_.points += count;
        for (std::uint64_t done = 0; done < count;) {
            const std::uint64_t room = kBatchPoints - pending_;
            const auto piece =
                static_cast<std::uint32_t>(std::min<std::uint64_t>(room, count - done));
            runs_.push_back({offset + done, piece, 0});
            pending_ += piece;
            done += piece;
            if (pending_ == kBatchPoints) Flush();
        }
        return true;
    }

    void AddCell() { ++level_.cells; }
    [[nodiscard]] std::uint64_t Points() const { return level_.points; }
    [[nodiscard]] bool ReadFailed() const { return readFailed_; }

    const WalkLevel& Finish() {
        Flush();
        return level_;
    }

private:
    void Flush() {
        while (reader_.ReadIndexesPts(runs_, points_)) Sum();
        Sum();
        readFailed_ = readFailed_ || summed_ != pending_;
        runs_.clear();
        pending_ = 0;
        summed_ = 0;
    }

    void Sum() {
        level_.checksum += detail::RecordHashSum(points_.data(), points_.size());
        summed_ += points_.size();
        points_.clear();
    }

    CAlivePointReader& reader_;
    std::uint64_t pointCount_;
    WalkLevel level_;
    std::vector<CIndexerSmall> runs_;
    std::vector<CCloudPoint<float>> points_;
    std::uint64_t pending_ = 0;
    std::uint64_t summed_ = 0;
    bool readFailed_ = false;
};

template <class Coordinate>
std::string CellText(Coordinate x, Coordinate y, Coordinate z) {
    return fmt::format("({}, {}, {})", static_cast<int>(x), static_cast<int>(y),
                       static_cast<int>(z));
}

class Walk {
public:
    Walk(detail::OpenProject& project, const WalkCallback& callback)
        : project_(project),
          callback_(callback),
          pointCount_(static_cast<std::uint64_t>(project.Core().AlivePointCount())),
          index_(project.Core().CreateIndexReader()),
          reader_(project.Core().CreateAlivePointReader()) {}

    Expected<WalkReport> Run();

private:
    Expected<void> MeasureIndexes();
    Expected<void> Walk1000(std::uint64_t entry);
    [[nodiscard]] bool MayGoOn() const;
    Expected<void> Walk100(std::uint64_t entry);
    Expected<void> Walk10(std::uint64_t entry100, const CIndexerSmall& run);
    Expected<void> Finish(WalkReport& report);
    Expected<WalkLevel> Close(LevelTally& tally, const char* name);

    const ProjectManager& Paths() const { return project_.Manager(); }

    detail::OpenProject& project_;
    const WalkCallback& callback_;
    std::uint64_t pointCount_;
    std::shared_ptr<CIndexReader> index_;
    std::shared_ptr<CAlivePointReader> reader_;
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
        if (!MayGoOn()) return Fail(ErrorCode::Cancelled, "the walk was cancelled");
    }
    next100_ += count;
    return {};
}

Expected<WalkLevel> Walk::Close(LevelTally& tally, const char* name) {
    const WalkLevel level = tally.Finish();
    if (tally.ReadFailed())
        return Fail(ErrorCode::Failure,
                    platform::ToUtf8(Paths().gridPts) + " could not be mapped for reading");
    if (level.points == pointCount_) return level;
    return Damage(Paths().gridPts, fmt::format("the {} cells hold {} of its {} points", name,
                                               level.points, pointCount_));
}

Expected<void> Walk::Finish(WalkReport& report) {
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
    if (!reader_ && pointCount_ > 0)
        return Fail(ErrorCode::Failure,
                    platform::ToUtf8(Paths().gridPts) + " could not be mapped for reading");
    if (auto measured = MeasureIndexes(); !measured) return ErrorOf(measured);
    WalkReport report;
    report.points = pointCount_;
    if (project_.Core().Has10cm()) report.level10.emplace();
    if (pointCount_ == 0 && entries1000_ == 0 && entries100_ == 0 && entries10_ == 0) return report;
    if (pointCount_ == 0) return Damage(Paths().gridPts, "it is empty, and the indexes are not");
    tally1000_.emplace(*reader_, pointCount_);
    tally100_.emplace(*reader_, pointCount_);
    if (project_.Core().Has10cm()) tally10_.emplace(*reader_, pointCount_);
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

Expected<WalkReport> WalkProject(const CString& project, const WalkCallback& callback) {
    const auto start = std::chrono::steady_clock::now();
    auto opened = detail::OpenProject::Open(project);
    if (!opened) return ErrorOf(opened);
    Expected<WalkReport> report = Walk(**opened, callback).Run();
    if (report)
        report->seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

}  // namespace orvix::reports
