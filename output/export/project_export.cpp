// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/project_export.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "orvix/geometry/bounds.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/view_window.h"
#include "orvix/project/access/open_project.h"
#include "output/export/cloud_writer.h"
#include "output/export/plane_column.h"
#include "output/export/point_decoder.h"
#include "output/output_file.h"
#include "parallel/run_in_order.h"

namespace orvix::output {

namespace {

// Records of a job: some milliseconds' worth.
constexpr std::uint64_t kStretch = 65'536;
// Points that are decoded and turned into bytes together, in the processor's cache.
constexpr std::size_t kTogether = 1'024;

/// The point file, mapped; jobs open views of it.
class PointMapping {
public:
    explicit PointMapping(const CString& path)
        : path_(path), file_(platform::OpenExisting(path, platform::FileAccess::Read)) {
        if (!platform::SizeOf(file_, size_)) file_ = nullptr;
        mapping_ = platform::CreateMapping(file_, platform::FileAccess::Read);
    }
    ~PointMapping() {
        platform::CloseMapping(mapping_);
        platform::CloseHandleOf(file_);
    }
    PointMapping(const PointMapping&) = delete;
    PointMapping& operator=(const PointMapping&) = delete;

    [[nodiscard]] const CString& Path() const { return path_; }
    [[nodiscard]] std::uint64_t Records() const { return size_ / kAlivePointBytes; }
    /// Null where they cannot be mapped.
    const std::uint8_t* At(detail::ViewWindow& window, std::uint64_t first,
                           std::uint64_t count) const {
        return window.At(mapping_, size_, first * kAlivePointBytes, count * kAlivePointBytes);
    }

private:
    CString path_;
    platform::Handle file_;
    platform::Handle mapping_ = nullptr;
    std::uint64_t size_ = 0;
};

/// A stretch of the point file on its way into the exported one; what a worker has is used again.
struct ExportJob {
    std::uint64_t first = 0;
    std::uint64_t records = 0;
    std::uint64_t chosen = 0;
    ExtendsT<double> bounds;   // of the chosen points, world
    CloudWriter::Bytes bytes;  // of the exported file
    std::vector<ExportedPoint> points;
    detail::ViewWindow window;
    std::optional<PlaneColumn> planes;

    void Reset() {
        chosen = 0;
        bytes.clear();
        points.clear();
        constexpr double kFar = std::numeric_limits<double>::infinity();
        bounds = {{kFar, kFar, kFar}, {-kFar, -kFar, -kFar}};
    }
};

class Export {
public:
    Export(const CString& gridPts, const detail::LocalToWorld& frame, const ExportOptions& options,
           const ExportCallback& callback, std::optional<PlaneColumn> planes,
           std::optional<reports::ProjectSection> section)
        : points_(gridPts),
          decoder_(frame, options),
          callback_(callback),
          pool_(
              options.threads, [this] { return MayGoOn(ShareOf(read_)); },
              "the export was cancelled; nothing was written"),
          planes_(std::move(planes)),
          section_(std::move(section)) {
        cloud_.frame = frame;
        cloud_.planes = planes_.has_value();
        ExportJob none;
        none.Reset();
        cloud_.bounds = none.bounds;
    }

    Expected<void> Count() {
        return ForEachJob([](ExportJob& job) { job.points.clear(); },
                          [this](ExportJob& job) {
                              cloud_.points += job.chosen;
                              detail::Join(cloud_.bounds, job.bounds);
                          });
    }

    Expected<void> Write(const CloudWriter& writer, OutputFile& file) {
        pass_ = 1;
        read_ = 0;
        const auto append = [&](ExportJob& job) {
            file.Append(job.bytes.data(), job.bytes.size());
            written_ += job.chosen;
            bytes_ += job.bytes.size();
        };
        ExportJob head;
        head.Reset();
        writer.Begin(head.bytes);
        append(head);
        auto done = ForEachJob(
            [&writer](ExportJob& job) {
                writer.Add(job.points, job.bytes);
                job.points.clear();
            },
            append);
        if (!done) return done;
        if (written_ == cloud_.points) return {};
        return Fail(ErrorCode::Failure, fmt::format("{} changed while it was read; export it again "
                                                    "when no other program is at work on it",
                                                    platform::ToUtf8(points_.Path())));
    }

    [[nodiscard]] const ExportedCloud& Cloud() const { return cloud_; }
    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }

private:
    // `take` uses a job's points as soon as there are kTogether of them, and whenever there are no
    // more; `commit` a whole job, in the order of the file.
    template <class Take, class Commit>
    Expected<void> ForEachJob(Take&& take, Commit&& commit) {
        return section_ ? ForEachOfSection(take, commit) : ForEachOfAll(take, commit);
    }

    template <class Take, class Commit>
    Expected<void> ForEachOfSection(Take&& take, Commit&& commit) {
        Expected<void> known;
        ExportJob job;
        job.planes = planes_;
        const auto use = [&](const RevitAMP::Chunk& chunk) {
            job.Reset();
            for (std::size_t i = 0; i < chunk.points.size() && known; ++i) {
                if (chunk.classes[i] != SectionClass::In) continue;  // BEHAVIOUR C19
                known = Add(chunk.points[i], chunk.firstPoint + i, job, take);
            }
            take(job);
            commit(job);
        };
        const auto proceed = [&](double share) { return known && MayGoOn(share); };
        const auto streamed = section_->Stream(RevitAMP::Bit(SectionClass::In), use, proceed);
        if (streamed) return {};
        if (!known) return known;
        if (streamed.error().code != ErrorCode::Cancelled) return ErrorOf(streamed);
        return Fail(ErrorCode::Cancelled, "the export was cancelled; nothing was written");
    }

    template <class Take, class Commit>
    Expected<void> ForEachOfAll(Take&& take, Commit&& commit) {
        std::uint64_t next = 0;
        parallel::OrderedSteps<ExportJob> steps;
        steps.take = [&](ExportJob& job) -> Expected<bool> {
            job.first = next;
            job.records = std::min(kStretch, points_.Records() - next);
            next += job.records;
            return job.records > 0;
        };
        steps.work = [&](ExportJob& job) { return Work(job, take); };
        steps.commit = [&](ExportJob& job) -> Expected<void> {
            commit(job);
            read_ += job.records;
            return {};
        };
        return parallel::RunInOrder(pool_, steps);
    }

    template <class Take>
    Expected<void> Work(ExportJob& job, Take&& take) const {
        job.Reset();
        if (planes_ && !job.planes) job.planes = planes_;
        const std::uint8_t* records = points_.At(job.window, job.first, job.records);
        if (records == nullptr)
            return Fail(ErrorCode::Failure, platform::ToUtf8(points_.Path()) +
                                                " could not be read; check its permissions");
        CCloudPoint<float> record;
        for (std::uint64_t i = 0; i < job.records; ++i) {
            std::memcpy(&record, records + i * kAlivePointBytes, sizeof record);
            if (auto added = Add(record, job.first + i, job, take); !added) return added;
        }
        take(job);
        return {};
    }

    template <class Take>
    Expected<void> Add(const CCloudPoint<float>& record, std::uint64_t number, ExportJob& job,
                       Take&& take) const {
        ExportedPoint& point = job.points.emplace_back();
        if (!decoder_.Decode(record, point)) {
            job.points.pop_back();
            return {};
        }
        if (job.planes && pass_ == 1) {
            if (auto reached = job.planes->Reach(number); !reached) return reached;
            point.plane = job.planes->NumberOf(number);
        }
        ++job.chosen;
        detail::Extend(job.bounds, point.world);
        if (job.points.size() == kTogether) take(job);
        return {};
    }

    [[nodiscard]] double ShareOf(std::uint64_t record) const {
        return static_cast<double>(record) /
               static_cast<double>(std::max<std::uint64_t>(points_.Records(), 1));
    }

    // Counting takes far less time than writing.
    bool MayGoOn(double share) const {
        constexpr double kCounting = 0.05;
        const double fraction =
            pass_ == 0 ? kCounting * share : kCounting + (1 - kCounting) * share;
        const std::uint64_t bytes = bytes_;  // of these points, or of fewer
        return !callback_ || callback_(fraction, written_, bytes);
    }

    PointMapping points_;
    PointDecoder decoder_;
    const ExportCallback& callback_;
    parallel::Pool pool_;
    std::optional<PlaneColumn> planes_;
    std::optional<reports::ProjectSection> section_;
    ExportedCloud cloud_;
    int pass_ = 0;
    std::atomic<std::uint64_t> read_{0};  // records, in this pass
    std::atomic<std::uint64_t> written_{0};
    std::atomic<std::uint64_t> bytes_{0};
};

Expected<void> RequireRoom(const CString& target, std::uint64_t bytes) {
    std::error_code error;
    const CString folder = platform::ParentOf(platform::AbsolutePath(target));
    const std::uint64_t free = platform::FreeSpace(folder, error);
    if (error || bytes <= free) return {};
    return Fail(ErrorCode::NoSpace,
                fmt::format("{} takes about {} and its disk has {} free; free some space, or "
                            "export to another disk",
                            platform::ToUtf8(target), platform::BytesText(bytes),
                            platform::BytesText(free)));
}

}  // namespace

Expected<void> RequireExportTarget(const CString& target, ExistingFile existing) {
    if (auto place = RequireOutputPlace(target); !place) return place;
    if (existing == ExistingFile::Replace || !platform::PathExists(target)) return {};
    return Fail(ErrorCode::BadInput,
                // BEHAVIOUR C11
                fmt::format("{} exists already; give another name, or --overwrite to replace it",
                            platform::ToUtf8(target)));
}

Expected<ExportReport> ExportProject(const CString& project, const CString& target,
                                     const ExportOptions& options, const ExportCallback& callback) {
    const auto start = std::chrono::steady_clock::now();
    if (auto there = RequireExportTarget(target, options.existing); !there) return ErrorOf(there);
    const auto opened = reports::WorldProject::Open(project);
    if (!opened) return ErrorOf(opened);
    const detail::ProjectStamp& stamp = opened->files->Stamp();

    std::optional<PlaneColumn> planes;
    if (options.planes) {
        auto column = PlaneColumn::Open(*opened->files);
        if (!column) return ErrorOf(column);
        planes = std::move(*column);
    }
    std::optional<reports::ProjectSection> section;
    if (options.section) {
        auto cut = reports::ProjectSection::Open(*opened, *options.section);
        if (!cut) return ErrorOf(cut);
        section = std::move(*cut);
    }
    Export work(opened->Manager().gridPts, opened->frame, options, callback, std::move(planes),
                std::move(section));
    // The points were opened anew by name.
    if (auto same = stamp.RequireSame(); !same) return ErrorOf(same);
    if (auto counted = work.Count(); !counted) return ErrorOf(counted);
    const ExportedCloud& cloud = work.Cloud();
    if (cloud.points == 0)
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} holds no point to export{}; nothing was written",
                                platform::ToUtf8(project),
                                options.station || options.box || options.section
                                    ? " of that station, in that box or in that section; 'orvix "
                                      "info' shows the stations and the bounds"
                                    : ""));
    const auto writer = MakeCloudWriter(target, cloud);
    if (auto room = RequireRoom(target, cloud.points * writer->PointBytes()); !room)
        return ErrorOf(room);
    OutputFile file(target);
    if (auto written = work.Write(*writer, file); !written) return ErrorOf(written);
    if (auto same = stamp.RequireSame(); !same) return ErrorOf(same);
    if (auto place = RequireExportTarget(target, options.existing); !place) return ErrorOf(place);
    if (auto committed = file.Commit(); !committed) return ErrorOf(committed);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    return ExportReport{cloud.points, work.Bytes(), writer->Format(), cloud.bounds, spent.count()};
}

}  // namespace orvix::output
