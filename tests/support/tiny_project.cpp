// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/tiny_project.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <random>

#include "orvix/geometry/bounds.h"
#include "orvix/points/grid_cells.h"
#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"

namespace orvix::test {
namespace {

// 1000 cm, 100 cm, 10 cm and 1 cm cell, three axes each: ordered as the grid is.
using Key = std::array<std::int32_t, 12>;

template <class Point>
Key KeyOf(const Point& point) {
    const std::array<float, 3> coordinates{point.x, point.y, point.z};
    Key key{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const detail::AxisCell cell = detail::CellOf(coordinates[axis]);
        const double fraction = static_cast<double>(coordinates[axis]) - cell.cell100;
        key[axis] = cell.cell1000;
        key[3 + axis] = cell.cell100;
        key[6 + axis] = cell.cell10;
        key[9 + axis] = std::clamp(static_cast<int>(fraction * 100) - 10 * cell.cell10, 0, 9);
    }
    return key;
}

Key Prefix(const Key& key, std::size_t axes) {
    Key prefix{};
    std::copy_n(key.begin(), axes, prefix.begin());
    return prefix;
}

struct Group {
    Key key;
    std::uint64_t first;
    std::uint64_t count;
};

// Neighbouring points whose keys agree in the first `axes` places.
template <class Point>
std::vector<Group> GroupBy(const std::vector<Point>& points, std::size_t axes) {
    std::vector<Group> groups;
    for (std::uint64_t i = 0; i < points.size(); ++i) {
        const Key key = Prefix(KeyOf(points[i]), axes);
        if (groups.empty() || groups.back().key != key) groups.push_back({key, i, 0});
        ++groups.back().count;
    }
    return groups;
}

// One record per group at `axes` places; its run counts points, or the finer groups it spans.
template <class Record>
std::vector<Record> Cells(const std::vector<Group>& groups, std::size_t axes,
                          const std::vector<Group>* finer = nullptr) {
    std::vector<Record> records;
    std::uint64_t next = 0;
    for (const Group& group : groups) {
        Record record{};
        record.x = static_cast<decltype(record.x)>(group.key[axes - 3]);
        record.y = static_cast<decltype(record.y)>(group.key[axes - 2]);
        record.z = static_cast<decltype(record.z)>(group.key[axes - 1]);
        record.offset = group.first;
        record.count = static_cast<std::uint32_t>(group.count);
        if (finer != nullptr) {
            record.count = static_cast<std::uint32_t>(std::count_if(
                finer->begin(), finer->end(),
                [&](const Group& inner) { return Prefix(inner.key, axes) == group.key; }));
            record.offset = next;
            next += record.count;
        }
        records.push_back(record);
    }
    return records;
}

// The first of the points nearest to the group's centroid.
template <class Point>
std::uint64_t Nearest(const std::vector<Point>& points, const Group& group) {
    std::array<double, 3> sum{};
    for (std::uint64_t i = group.first; i < group.first + group.count; ++i) {
        sum = {sum[0] + points[i].x, sum[1] + points[i].y, sum[2] + points[i].z};
    }
    const auto n = static_cast<double>(group.count);
    const auto distance = [&](const Point& p) {
        const double dx = p.x - sum[0] / n;
        const double dy = p.y - sum[1] / n;
        const double dz = p.z - sum[2] / n;
        return dx * dx + dy * dy + dz * dz;
    };
    std::uint64_t best = group.first;
    for (std::uint64_t i = group.first; i < group.first + group.count; ++i) {
        if (distance(points[i]) < distance(points[best])) best = i;
    }
    return best;
}

template <class Point>
ExtendsT<double> BoundsOf(const std::vector<Point>& points, std::uint64_t first,
                          std::uint64_t count) {
    if (count == 0) return {};
    ExtendsT<double> bounds{{points[first].x, points[first].y, points[first].z},
                            {points[first].x, points[first].y, points[first].z}};
    for (std::uint64_t i = first; i < first + count; ++i) {
        const SimplePointT<double> p{points[i].x, points[i].y, points[i].z};
        detail::Extend(bounds, p);
    }
    return bounds;
}

SimplePointT<float> Narrow(const SimplePointT<double>& p) {
    return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

void MakeSkeleton(TinyProject& project, std::size_t voxelAxes) {
    for (const Group& voxel : GroupBy(project.points, voxelAxes)) {
        const CCloudPoint<float>& p = project.points[Nearest(project.points, voxel)];
        CPointDataFull data;
        std::copy_n(p.attributes.begin(), data.attributes.size(), data.attributes.begin());
        std::copy_n(p.attributes.begin() + 6, 2, data.reserved.begin());
        project.skeleton.push_back({p.x, p.y, p.z});
        project.skeletonData.push_back(data);
    }
    const auto blocks = GroupBy(project.skeleton, 3);
    const auto cells = GroupBy(project.skeleton, 6);
    project.viewBlocks = Cells<detail::SkeletonBlockRecord>(blocks, 3, &cells);
    project.viewCells = Cells<detail::SkeletonCellRecord>(cells, 6);
    for (const Group& block : blocks) {
        const auto bounds = BoundsOf(project.skeleton, block.first, block.count);
        const auto nearest = Nearest(project.skeleton, block) - block.first;
        project.coarse.push_back({Narrow(bounds.min), Narrow(bounds.max), block.first,
                                  static_cast<std::uint32_t>(block.count),
                                  static_cast<std::uint32_t>(nearest), 0});
    }
}

void WriteHistogram(const CString& path, const std::map<double, std::uint32_t>& bins) {
    std::vector<std::array<std::uint8_t, 12>> records;
    for (const auto& [value, count] : bins) {
        auto& record = records.emplace_back();
        std::memcpy(record.data(), &value, sizeof value);
        std::memcpy(record.data() + sizeof value, &count, sizeof count);
    }
    WriteRecords(path, records);
}

std::uint16_t Attribute16(const CCloudPoint<float>& point, std::size_t at) {
    std::uint16_t value = 0;
    std::memcpy(&value, point.attributes.data() + at, sizeof value);
    return value;
}

}  // namespace

TinyProject MakeTinyProject(std::vector<CCloudPoint<float>> points, double scale,
                            const SimplePointT<double>& origin) {
    TinyProject project;
    project.frame = detail::LocalToWorld::Translation(origin);
    std::stable_sort(points.begin(), points.end(), [](const auto& a, const auto& b) {
        return Prefix(KeyOf(a), 9) < Prefix(KeyOf(b), 9);
    });
    if (scale < 0.1) {  // the skeleton follows the 1 cm voxels, the points do not
        project.points = points;
        std::stable_sort(project.points.begin(), project.points.end(),
                         [](const auto& a, const auto& b) { return KeyOf(a) < KeyOf(b); });
        MakeSkeleton(project, 12);
    }
    project.points = std::move(points);
    if (scale >= 0.1) MakeSkeleton(project, scale == 0.1 ? 9 : 6);

    const auto blocks = GroupBy(project.points, 3);
    const auto cells = GroupBy(project.points, 6);
    project.cells1000 = Cells<GridCellRecord>(blocks, 3, &cells);
    project.cells100 = Cells<GridCellRecord>(cells, 6);
    if (scale < 1.0) {
        const auto fine = GroupBy(project.points, 9);
        project.cells10 = Cells<FineCellRecord>(fine, 9);
        for (const GridCellRecord& run : Cells<GridCellRecord>(cells, 6, &fine)) {
            project.runs10.push_back({run.offset, run.count, 0});
        }
    }
    project.head.pointCount = project.points.size();
    project.head.skeletonCount = project.skeleton.size();
    project.head.scale = scale;
    project.head.bounds = BoundsOf(project.points, 0, project.points.size());
    for (const auto& point : project.points) {
        const std::uint32_t stations = Attribute16(point, 6) + 1U;
        project.head.stationCount = std::max(project.head.stationCount, stations);
    }
    return project;
}

void WriteTinyProject(const TinyProject& project, const CString& projectFile) {
    ProjectManager manager;
    manager.Create(projectFile);
    WriteRecords(manager.gridPts, project.points);
    WriteRecords(manager.grid1000cmIdx, project.cells1000);
    WriteRecords(manager.gridIdx, project.cells100);
    if (project.head.scale < 1.0) {
        WriteRecords(manager.grid1to10cmIdx, project.runs10);
        WriteRecords(manager.grid10cmIdx, project.cells10);
    }
    WriteRecords(manager.gridSkeletCoordPts, project.skeleton);
    WriteRecords(manager.gridSkeletDataPts, project.skeletonData);
    WriteRecords(manager.viewGridDtv, project.viewBlocks);
    WriteRecords(manager.viewEntriesDtv, project.viewCells);
    WriteRecords(manager.viewGridLv, project.coarse);
    std::map<double, std::uint32_t> intensities;
    std::map<double, std::uint32_t> heights;
    for (const auto& point : project.points) {
        ++intensities[Attribute16(point, 0)];
        ++heights[point.z];
    }
    for (const CString* path : {&manager.intensitiesHist, &manager.intensitiesSliceHist}) {
        WriteHistogram(*path, intensities);
    }
    for (const CString* path : {&manager.zHist, &manager.zSliceHist})
        WriteHistogram(*path, heights);
    WriteBytes(manager.transformFile, project.frame.m.data(), detail::kTransformFileBytes);
    manager.SetCloudHeader(&project.head);
    manager.SetProjectSettings({});
}

std::vector<CCloudPoint<float>> RoomPoints(std::uint32_t seed, std::size_t count) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> along(-12.0F, 12.0F);
    std::uniform_real_distribution<float> across(-0.4F, 0.3F);
    std::vector<CCloudPoint<float>> points(count);
    for (std::size_t i = 0; i < count; ++i) {
        CCloudPoint<float>& p = points[i];
        p = {along(random), across(random), across(random), {}, 0, 0, 0};
        if (i % 3 == 1) std::swap(p.x, p.y);
        if (i % 50 == 7) p.x = std::floor(p.x);  // exactly on a cell's border
        for (std::size_t byte = 0; byte < 6; ++byte) {
            p.attributes[byte] = static_cast<std::uint8_t>(random());
        }
        p.attributes[6] = static_cast<std::uint8_t>(i % 3);  // one of three stations
    }
    return points;
}

}  // namespace orvix::test
