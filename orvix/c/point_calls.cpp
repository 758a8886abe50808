// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>

#include "orvix/c/project_handle.h"
#include "orvix/platform/text.h"
#include "orvix/project/point_editor.h"

using namespace orvix;
using namespace orvix::detail;

/// A stretch of the point file, mapped; the mapping itself is let go of at once.
struct orvix_view {
    orvix_view() = default;
    orvix_view(const orvix_view&) = delete;
    orvix_view& operator=(const orvix_view&) = delete;
    ~orvix_view() { UnmapFileView(base); }

    const std::uint8_t* base = nullptr;
};

namespace {

static_assert(sizeof(orvix_point) == sizeof(CCloudPoint<float>));
static_assert(offsetof(orvix_point, attributes) == offsetof(CCloudPoint<float>, attributes));
static_assert(offsetof(orvix_point, dclc_first) == offsetof(CCloudPoint<float>, dclcFirst));
static_assert(offsetof(orvix_point, dclc_second) == offsetof(CCloudPoint<float>, dclcSecond));
// The pair is written as one stretch of bytes.
static_assert(offsetof(orvix_dclc, second) + sizeof(orvix_dclc::second) == DclcPair::kBytes);
static_assert(offsetof(orvix_point, dclc_second) ==
              offsetof(orvix_point, dclc_first) + offsetof(orvix_dclc, second));

constexpr std::uint64_t kBlockPoints = 4096;

Answer RequirePoints(const orvix_project* project, std::uint64_t first, std::uint64_t count,
                     const void* array, const char* name) {
    if (auto there = RequirePointer(project, "project"); !there) return there;
    if (count > 0) {
        if (auto there = RequirePointer(array, name); !there) return there;
    }
    return RequireRange(first, count, project->summary.points, "points");
}

tl::expected<std::uint64_t, Refusal> PointsOf(const orvix_project& project,
                                              std::span<const orvix_run> runs) {
    std::uint64_t points = 0;
    for (const orvix_run& run : runs) {
        auto inside = RequireRange(run.offset, run.count, project.summary.points, "points");
        if (!inside) return ErrorOf(inside);
        if (run.count > std::numeric_limits<std::uint64_t>::max() / kAlivePointBytes - points) {
            return Refuse(ORVIX_BAD_ARGUMENT, "the runs name more points than 64 bits count bytes");
        }
        points += run.count;
    }
    return points;
}

Answer MapPoints(const orvix_project& project, std::uint64_t first, std::uint64_t count,
                 orvix_view& view, const orvix_point** points) {
    const std::uint64_t position = first * kAlivePointBytes;
    const std::uint64_t place = position % platform::kMappingGranularity;
    const platform::Handle mapping =
        platform::CreateMapping(project.points.Get(), platform::FileAccess::Read);
    view.base = platform::MapFileView(mapping, platform::kViewRead, position - place,
                                      place + count * kAlivePointBytes);
    platform::CloseMapping(mapping);
    if (view.base == nullptr) {
        return Refuse(ORVIX_FAILED,
                      fmt::format("{} cannot be mapped; borrow fewer points at a time",
                                  platform::ToUtf8(project.Paths().gridPts)));
    }
    *points = reinterpret_cast<const orvix_point*>(view.base + place);
    return {};
}

/// One run of the alive points.
Answer WriteRun(PointEditor& editor, EditedBlocks& edits, const CIndexerSmall& run,
                const orvix_dclc* values) {
    std::uint64_t record = run.offset;
    const bool mapped = editor.ForEachPoint(run, [&](const auto&, DclcPair pair) {
        edits.Change(record++, pair.Bytes(), values);
        pair.Set(values++);
    });
    if (mapped) return {};
    return Refuse(ORVIX_FAILED,
                  fmt::format("the points from {} on cannot be mapped for writing", run.offset));
}

}  // namespace

orvix_status orvix_points_read(const orvix_project* project, uint64_t first, uint64_t count,
                               orvix_point* points, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto sound = RequirePoints(project, first, count, points, "points"); !sound) {
            return sound;
        }
        return ReadPoints(*project, first, count, points);
    });
}

orvix_status orvix_points_read_runs(const orvix_project* project, const orvix_run* runs,
                                    uint64_t run_count, orvix_point* points, uint64_t capacity,
                                    uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto sound = RequirePoints(project, 0, 0, nullptr, ""); !sound) return sound;
        if (run_count > 0) {
            if (auto there = RequirePointer(runs, "runs"); !there) return there;
        }
        const std::span given(runs, static_cast<std::size_t>(run_count));
        const auto total = PointsOf(*project, given);
        if (!total) return ErrorOf(total);
        const auto fill = Fits(*total, points, capacity, count, "points");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        // Runs that follow one another in the file, as those of neighbouring cells do, are one
        // read.
        for (std::size_t i = 0; i < given.size();) {
            const std::uint64_t first = given[i].offset;
            std::uint64_t end = first;
            for (; i < given.size() && given[i].offset == end; ++i) end += given[i].count;
            if (auto read = ReadPoints(*project, first, end - first, points); !read) return read;
            points += end - first;
        }
        return {};
    });
}

orvix_status orvix_points_read_world(const orvix_project* project, uint64_t first, uint64_t count,
                                     double* xyz, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto sound = RequirePoints(project, first, count, xyz, "xyz"); !sound) return sound;
        std::array<orvix_point, kBlockPoints> block;
        const detail::LocalToWorld& frame = project->summary.frame;
        for (const std::uint64_t end = first + count; first < end;) {
            const std::uint64_t some = std::min(kBlockPoints, end - first);
            if (auto read = ReadPoints(*project, first, some, block.data()); !read) return read;
            for (std::size_t i = 0; i < some; ++i, xyz += 3) {
                const SimplePointT<double> world =
                    frame.ToWorld(SimplePointT<double>{block[i].x, block[i].y, block[i].z});
                xyz[0] = world.x;
                xyz[1] = world.y;
                xyz[2] = world.z;
            }
            first += some;
        }
        return {};
    });
}

orvix_status orvix_points_transform(const double* matrix, const void* points, uint64_t count,
                                    uint64_t stride, double* xyz, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(matrix, "matrix"); !there) return there;
        if (count == 0) return {};
        if (auto there = RequirePointer(points, "points"); !there) return there;
        if (auto there = RequirePointer(xyz, "xyz"); !there) return there;
        LocalToWorld frame;
        std::copy_n(matrix, frame.m.size(), frame.m.begin());
        const auto* at = static_cast<const unsigned char*>(points);
        for (std::uint64_t i = 0; i < count; ++i, at += stride, xyz += 3) {
            SimplePointT<float> local;
            std::memcpy(static_cast<void*>(&local), at, sizeof local);
            const SimplePointT<double> world =
                frame.ToWorld(SimplePointT<double>{local.x, local.y, local.z});
            xyz[0] = world.x;
            xyz[1] = world.y;
            xyz[2] = world.z;
        }
        return {};
    });
}

orvix_status orvix_points_borrow(const orvix_project* project, uint64_t first, uint64_t count,
                                 orvix_view** view, const orvix_point** points,
                                 orvix_error* error) {
    if (view != nullptr) *view = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(view, "view"); !there) return there;
        if (auto there = RequirePointer(points, "points"); !there) return there;
        *points = nullptr;
        if (auto sound = RequirePoints(project, first, count, points, "points"); !sound) {
            return sound;
        }
        auto borrowed = std::make_unique<orvix_view>();  // BEHAVIOUR B5
        if (count > 0) {
            if (auto mapped = MapPoints(*project, first, count, *borrowed, points); !mapped) {
                return mapped;
            }
        }
        *view = borrowed.release();
        return {};
    });
}

void orvix_view_close(orvix_view* view) {
    delete view;
}

orvix_status orvix_points_write_dclc(orvix_project* project, uint64_t first, uint64_t count,
                                     const orvix_dclc* values, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto sound = RequirePoints(project, first, count, values, "values"); !sound) {
            return sound;
        }
        if (!project->writable) {
            return Refuse(ORVIX_BAD_ARGUMENT,
                          "the project is open for reading; open it with ORVIX_READ_WRITE");
        }
        if (count > 0 && !project->edits) project->edits = EditedBlocks::Begin(project->Paths());
        PointEditor editor(project->Core());
        while (count > 0) {
            CIndexerSmall run;
            run.offset = first;
            run.count = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, 0x40000000));
            if (auto written = WriteRun(editor, *project->edits, run, values); !written)
                return written;
            first += run.count;
            count -= run.count;
            values += run.count;
        }
        return {};
    });
}
