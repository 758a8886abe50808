// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/project_export.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "orvix/geometry/bounds.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/points/attributes.h"
#include "orvix/points/generic_reader.h"
#include "orvix/project/open_project.h"
#include "output/export/cloud_writer.h"
#include "output/export/plane_column.h"
#include "output/output_file.h"

namespace orvix::output {

namespace {

constexpr std::size_t kBlockBytes = std::size_t{4} << 20;
// Points between two looks at the callback.
constexpr std::uint64_t kStretch = 65'536;

/// From a project's frame to the world. A shift is added per axis, and not at all where it is zero:
/// coordinates come back bit for bit, the sign of a zero included.
class ToWorldMap {
public:
    explicit ToWorldMap(const detail::LocalToWorld& frame) : frame_(frame), shift_(frame.Origin()) {
        isShift_ = frame.m == detail::LocalToWorld::Translation(shift_).m;
    }
    [[nodiscard]] SimplePointT<double> operator()(const SimplePointT<double>& local) const {
        if (!isShift_) return frame_.ToWorld(local);
        return {Shifted(local.x, shift_.x), Shifted(local.y, shift_.y), Shifted(local.z, shift_.z)};
    }

private:
    static double Shifted(double local, double shift) { return shift == 0 ? local : local + shift; }

    detail::LocalToWorld frame_;
    SimplePointT<double> shift_;
    bool isShift_ = false;
};

class PointDecoder {
public:
    PointDecoder(const detail::LocalToWorld& frame, const ExportOptions& options)
        : toWorld_(frame), options_(options) {}

    /// False for a point that was not chosen.
    bool Decode(const CCloudPoint<float>& local, ExportedPoint& point) const {
        point.station = detail::StationOf(local);
        if (options_.station && point.station != *options_.station) return false;
        point.world = toWorld_({static_cast<double>(local.x), static_cast<double>(local.y),
                                static_cast<double>(local.z)});
        if (options_.box && !Inside(point.world, *options_.box)) return false;
        const detail::PointAttributes attributes = detail::AttributesOf(local);
        point.intensity = attributes.intensity;
        point.red = attributes.red;
        point.green = attributes.green;
        point.blue = attributes.blue;
        point.classification = attributes.classification;
        point.dclcFirst = local.dclcFirst;
        point.dclcSecond = local.dclcSecond;
        return true;
    }

private:
    static bool Inside(const SimplePointT<double>& p, const ExtendsT<double>& box) {
        return p.x >= box.min.x && p.x <= box.max.x && p.y >= box.min.y && p.y <= box.max.y &&
               p.z >= box.min.z && p.z <= box.max.z;
    }

    ToWorldMap toWorld_;
    const ExportOptions& options_;
};

class Export {
public:
    Export(const CString& gridPts, const detail::LocalToWorld& frame, const ExportOptions& options,
           const ExportCallback& callback, std::optional<PlaneColumn> planes,
           std::optional<reports::ProjectSection> section)
        : path_(gridPts),
          reader_(gridPts, static_cast<std::int64_t>(kAlivePointBytes), GenericReader::kRead,
                  GenericReader::kPageRead, GenericReader::kViewRead),
          decoder_(frame, options),
          callback_(callback),
          planes_(std::move(planes)),
          section_(std::move(section)) {
        cloud_.frame = frame;
        cloud_.planes = planes_.has_value();
        constexpr double kFar = std::numeric_limits<double>::infinity();
        cloud_.bounds = {{kFar, kFar, kFar}, {-kFar, -kFar, -kFar}};
    }

    Expected<void> Count() {
        return ForEachPoint([this](const ExportedPoint& point) {
            ++cloud_.points;
            ExtendsT<double>& b = cloud_.bounds;
            const SimplePointT<double>& p = point.world;
            detail::Extend(b, p);
        });
    }

    Expected<void> Write(const CloudWriter& writer, OutputFile& file) {
        pass_ = 1;
        CloudWriter::Bytes block;
        const auto flush = [&] {
            file.Append(block.data(), block.size());
            bytes_ += block.size();
            block.clear();
        };
        writer.Begin(block);
        auto done = ForEachPoint([&](const ExportedPoint& point) {
            writer.Add(point, block);
            ++written_;
            if (block.size() >= kBlockBytes) flush();
        });
        if (!done) return done;
        flush();
        if (written_ == cloud_.points) return {};
        return Fail(ErrorCode::Failure, fmt::format("{} changed while it was read; export it again "
                                                    "when no other program is at work on it",
                                                    platform::ToUtf8(path_)));
    }

    [[nodiscard]] const ExportedCloud& Cloud() const { return cloud_; }
    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }

private:
    template <class Use>
    Expected<void> ForEachPoint(Use&& use) {
        return section_ ? ForEachOfSection(use) : ForEachOfAll(use);
    }

    template <class Use>
    Expected<void> ForEachOfSection(Use&& use) {
        ExportedPoint point;
        Expected<void> known;
        const auto take = [&](const RevitAMP::Chunk& chunk) {
            for (std::size_t i = 0; i < chunk.points.size() && known; ++i) {
                if (chunk.classes[i] != SectionClass::In) continue;  // BEHAVIOUR C19
                if (!decoder_.Decode(chunk.points[i], point)) continue;
                known = FindPlane(chunk.firstPoint + i, point);
                if (known) use(point);
            }
        };
        const auto proceed = [&](double share) { return known && MayGoOn(share); };
        const auto streamed = section_->Stream(RevitAMP::Bit(SectionClass::In), take, proceed);
        if (streamed) return {};
        if (!known) return known;
        return streamed.error().code == ErrorCode::Cancelled ? Cancelled() : ErrorOf(streamed);
    }

    static tl::unexpected<Error> Cancelled() {
        return Fail(ErrorCode::Cancelled, "the export was cancelled; nothing was written");
    }

    template <class Use>
    Expected<void> ForEachOfAll(Use&& use) {
        reader_.Reset();
        CCloudPoint<float> record;
        ExportedPoint point;
        for (bool more = true; more; reader_.Step()) {
            std::uint64_t at = 0;
            more = reader_.ReadChunk(at);
            if (reader_.chunkView == nullptr && reader_.recordsInView != 0) {
                return Fail(ErrorCode::Failure,
                            platform::ToUtf8(path_) + " could not be read; check its permissions");
            }
            for (std::uint64_t i = 0; i < reader_.recordsInView; ++i, at += kAlivePointBytes) {
                std::memcpy(&record, reader_.chunkView + at, sizeof record);
                if (decoder_.Decode(record, point)) {
                    if (auto known = FindPlane(reader_.nextRecord + i, point); !known) return known;
                    use(point);
                }
                if (i % kStretch == 0 && !MayGoOn(ShareOf(reader_.nextRecord + i)))
                    return Cancelled();
            }
        }
        return {};
    }

    Expected<void> FindPlane(std::uint64_t record, ExportedPoint& point) {
        if (!planes_ || pass_ == 0) return {};
        auto reached = planes_->Reach(record);
        if (reached) point.plane = planes_->NumberOf(record);
        return reached;
    }

    [[nodiscard]] double ShareOf(std::uint64_t record) const {
        return static_cast<double>(record) / static_cast<double>(reader_.recordCount);
    }

    // Counting takes far less time than writing.
    bool MayGoOn(double share) {
        constexpr double kCounting = 0.05;
        const double fraction =
            pass_ == 0 ? kCounting * share : kCounting + (1 - kCounting) * share;
        return !callback_ || callback_(fraction, written_, bytes_);
    }

    CString path_;
    GenericReader reader_;
    PointDecoder decoder_;
    const ExportCallback& callback_;
    std::optional<PlaneColumn> planes_;
    std::optional<reports::ProjectSection> section_;
    ExportedCloud cloud_;
    int pass_ = 0;
    std::uint64_t written_ = 0;
    std::uint64_t bytes_ = 0;
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
