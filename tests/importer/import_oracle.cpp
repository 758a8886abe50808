// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/importer/import_oracle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <numbers>
#include <tuple>

#include "orvix/platform/path.h"
#include "support/scratch_folder.h"

namespace orvix::importer::test {
namespace {

using Record = CCloudPoint<float>;
using Cell = std::array<std::int64_t, 3>;
using Place = std::tuple<Cell, Cell, Cell>;  // 1000 cm, 100 cm, 10 cm inside its 100 cm cell

template <class Value>
void Put(Bytes& out, Value value) {
    const std::size_t size = out.size();
    out.resize(size + sizeof value);
    std::memcpy(out.data() + size, &value, sizeof value);
}

void PutZeros(Bytes& out, std::size_t count) {
    out.resize(out.size() + count);
}

template <class Function>
Cell ForAxes(const Record& r, const Function& function) {
    return {function(r.x), function(r.y), function(r.z)};
}

double Inside(float v) {
    return static_cast<double>(v) - std::floor(v);
}

Cell Cell100Of(const Record& r) {
    return ForAxes(r, [](float v) { return static_cast<std::int64_t>(std::floor(v)); });
}

Cell Cell1000Of(const Record& r) {
    Cell cell = Cell100Of(r);
    for (auto& c : cell) c = static_cast<std::int64_t>(std::floor(static_cast<double>(c) / 10));
    return cell;
}

std::int64_t Tenth(float v) {
    return std::min<std::int64_t>(9, static_cast<std::int64_t>(Inside(v) * 10));
}

Cell Cell10Of(const Record& r) {
    return ForAxes(r, Tenth);
}

Cell VoxelOf(const Record& r, SkeletonSize size) {
    if (size != SkeletonSize::OneCentimetre) return {};
    return ForAxes(r, [](float v) {
        const auto hundredth = static_cast<std::int64_t>(Inside(v) * 100);
        return std::clamp<std::int64_t>(hundredth - 10 * Tenth(v), 0, 9);
    });
}

Place PlaceOf(const Record& r) {
    return {Cell1000Of(r), Cell100Of(r), Cell10Of(r)};
}

void PutGridCell(Bytes& out, const Cell& cell, std::uint64_t offset, std::uint64_t count) {
    for (const std::int64_t c : cell) Put(out, static_cast<std::int32_t>(c));
    PutZeros(out, 4);
    Put(out, offset);
    Put(out, static_cast<std::uint32_t>(count));
    PutZeros(out, 4);
}

struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
};

// Runs of records whose key is the same; the records are sorted, so the map's order is theirs.
template <class Key, class Items, class KeyOf>
std::map<Key, Run> RunsOf(const Items& items, const KeyOf& keyOf) {
    std::map<Key, Run> runs;
    for (std::size_t i = 0; i < items.size(); ++i) {
        Run& run = runs[keyOf(items[i])];
        if (run.count++ == 0) run.first = i;
    }
    return runs;
}

std::size_t NearestToCentroid(const std::vector<Record>& records) {
    std::array<double, 3> sum{};
    for (const Record& r : records) {
        sum[0] += r.x;
        sum[1] += r.y;
        sum[2] += r.z;
    }
    const auto count = static_cast<double>(records.size());
    std::size_t best = 0;
    double nearest = 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const double dx = records[i].x - sum[0] / count;
        const double dy = records[i].y - sum[1] / count;
        const double dz = records[i].z - sum[2] / count;
        const double distance = dx * dx + dy * dy + dz * dz;
        if (i == 0 || distance < nearest) {
            nearest = distance;
            best = i;
        }
    }
    return best;
}

std::vector<Record> Thin(const std::vector<Record>& sorted, SkeletonSize size) {
    std::map<std::tuple<Place, Cell>, std::vector<Record>> voxels;
    for (const Record& r : sorted) {
        Place place = PlaceOf(r);
        if (size == SkeletonSize::OneMetre) std::get<2>(place) = {};
        voxels[{place, VoxelOf(r, size)}].push_back(r);
    }
    std::vector<Record> skeleton;
    for (const auto& [key, records] : voxels) {
        skeleton.push_back(records[NearestToCentroid(records)]);
    }
    return skeleton;
}

void AddIndexes(ProjectBytes& files, const std::vector<Record>& sorted, bool fine) {
    const auto metres = RunsOf<std::pair<Cell, Cell>>(sorted, [](const Record& r) {
        return std::pair{Cell1000Of(r), Cell100Of(r)};
    });
    const auto fines = RunsOf<Place>(sorted, PlaceOf);
    std::map<Cell, Run> blocks;
    std::map<std::pair<Cell, Cell>, Run> fineRuns;
    std::uint64_t number = 0;
    for (const auto& [key, run] : metres) {
        Run& block = blocks[key.first];
        if (block.count++ == 0) block.first = number;
        ++number;
        PutGridCell(files["Index/Grid.idx"], key.second, run.first, run.count);
    }
    for (const auto& [cell, run] : blocks) {
        PutGridCell(files["Index/Grid1000cm.idx"], cell, run.first, run.count);
    }
    if (!fine) return;
    number = 0;
    for (const auto& [place, run] : fines) {
        Run& fineRun = fineRuns[{std::get<0>(place), std::get<1>(place)}];
        if (fineRun.count++ == 0) fineRun.first = number;
        ++number;
        Bytes& out = files["Index/Grid10cm.idx"];
        for (const std::int64_t c : std::get<2>(place)) Put(out, static_cast<std::int8_t>(c));
        PutZeros(out, 5);
        Put(out, run.first);
        Put(out, static_cast<std::uint32_t>(run.count));
        PutZeros(out, 4);
    }
    for (const auto& [key, run] : fineRuns) {
        Bytes& out = files["Index/Grid1to10cm.idx"];
        Put(out, run.first);
        Put(out, static_cast<std::uint32_t>(run.count));
        PutZeros(out, 4);
    }
}

void AddSkeleton(ProjectBytes& files, const std::vector<Record>& skeleton) {
    for (const Record& r : skeleton) {
        Bytes& coordinates = files["Index/GridSkelet.coordpts"];
        for (const float v : {r.x, r.y, r.z}) Put(coordinates, v);
        Bytes& data = files["Index/GridSkelet.datapts"];
        data.insert(data.end(), r.attributes.begin(), r.attributes.begin() + 6);
        PutZeros(data, 3);
        data.insert(data.end(), r.attributes.begin() + 6, r.attributes.end());
        PutZeros(data, 1);
    }
    const auto metres = RunsOf<std::pair<Cell, Cell>>(skeleton, [](const Record& r) {
        return std::pair{Cell1000Of(r), Cell100Of(r)};
    });
    std::map<Cell, Run> blocks;
    std::uint64_t number = 0;
    for (const auto& [key, run] : metres) {
        Run& block = blocks[key.first];
        if (block.count++ == 0) block.first = number;
        ++number;
        PutGridCell(files["DataView/view_entries.dtv"], key.second, run.first, run.count);
    }
    for (const auto& [cell, run] : blocks) {
        PutGridCell(files["DataView/view_grid.dtv"], cell, run.first, run.count);
    }
    for (const auto& [cell, run] : RunsOf<Cell>(skeleton, Cell1000Of)) {
        const auto first = skeleton.begin() + static_cast<std::ptrdiff_t>(run.first);
        const std::vector<Record> points(first, first + static_cast<std::ptrdiff_t>(run.count));
        Bytes& out = files["LogicView/view_grid.lv"];
        const auto extreme = [&](bool max, float Record::*axis) {
            const auto less = [axis](const Record& a, const Record& b) {
                return a.*axis < b.*axis;
            };
            Put(out, (max ? *std::max_element(points.begin(), points.end(), less)
                          : *std::min_element(points.begin(), points.end(), less)).*
                         axis);
        };
        for (const bool max : {false, true}) {
            for (const auto axis : {&Record::x, &Record::y, &Record::z}) extreme(max, axis);
        }
        Put(out, run.first);
        Put(out, static_cast<std::uint32_t>(run.count));
        Put(out, static_cast<std::uint32_t>(NearestToCentroid(points)));
        PutZeros(out, 8);
    }
}

template <class ValueOf>
Bytes Histogram(const std::vector<Record>& records, const ValueOf& valueOf) {
    std::map<double, std::uint32_t> bins;
    for (const Record& r : records) ++bins[valueOf(r)];
    Bytes out;
    for (const auto& [value, count] : bins) {
        Put(out, value);
        Put(out, count);
    }
    return out;
}

void AddHistograms(ProjectBytes& files, const std::vector<Record>& records) {
    const auto intensity = [](const Record& r) { return r.attributes[0] + 256 * r.attributes[1]; };
    const auto centimetre = [](const Record& r) {
        return std::floor(static_cast<double>(r.z) * 100);
    };
    const auto height = [&](const Record& r, double bin) {
        const bool far = centimetre(r) < -1e6 || centimetre(r) >= 1e6;
        const double width = far ? 1000 : bin;
        return (2 * std::floor(centimetre(r) / width) + 1) * width / 200;
    };
    files["Data/intensities.hist"] = Histogram(records, intensity);
    files["Data/intensities_slice.hist"] =
        Histogram(records, [&](const Record& r) { return intensity(r) / 256 * 256 + 127.5; });
    files["Data/z.hist"] = Histogram(records, [&](const Record& r) { return height(r, 1); });
    files["Data/z_slice.hist"] = Histogram(records, [&](const Record& r) { return height(r, 10); });
}

double StepFor(const std::vector<Record>& records) {
    std::vector<std::uint64_t> counts;  // each point's cell's points
    for (const auto& [cell, run] : RunsOf<Cell>(records, Cell100Of)) {
        counts.insert(counts.end(), run.count, run.count);
    }
    std::sort(counts.begin(), counts.end());
    const auto density = static_cast<double>(counts[(counts.size() - 1) / 2]);
    const double step = std::sqrt(20 / (4 * std::numbers::pi * density));
    return std::round(std::clamp(step, 0.025, 2.5) * 200) / 200;
}

Bytes HeadOf(const std::vector<Record>& records, std::uint64_t skeleton, double scale,
             std::uint32_t stations) {
    Bytes head;
    Put(head, std::uint64_t{records.size()});
    Put(head, skeleton);
    Put(head, scale);
    for (const bool max : {false, true}) {
        for (const auto axis : {&Record::x, &Record::y, &Record::z}) {
            double extreme = records.front().*axis;
            for (const Record& r : records) {
                const double v = r.*axis;
                extreme = max ? std::max(extreme, v) : std::min(extreme, v);
            }
            Put(head, extreme + 0.0);
        }
    }
    PutZeros(head, 8);
    Put(head, stations);
    PutZeros(head, 4);
    return head;
}

Bytes SettingsOf(const std::vector<Record>& records, const std::vector<Record>& skeleton) {
    Bytes bytes;
    Put(bytes, std::int32_t{13});
    PutZeros(bytes, 206);
    for (const double v : {-1.0, -1.0, 0.15, 0.15, 0.15}) Put(bytes, v);
    Put(bytes, std::uint16_t{0xFFFF});
    Put(bytes, std::uint16_t{3});
    Put(bytes, StepFor(records));
    Put(bytes, std::int64_t{9});
    for (const double v : {4 * StepFor(skeleton), 0.15, 0.15, 0.15}) Put(bytes, v);
    Put(bytes, std::int64_t{0});
    for (const int v : {0, 0, 255, 255}) Put(bytes, static_cast<std::uint8_t>(v));
    Put(bytes, std::int32_t{10});
    Put(bytes, std::int32_t{0});
    return bytes;
}

std::filesystem::path Native(const CString& path) {
    const std::string utf8 = platform::ToUtf8(path);
    return {std::u8string(utf8.begin(), utf8.end())};
}

// Bit by bit, as the polynomial's definition has it.
std::uint32_t SumOf(const Bytes& bytes) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0x82F63B78u : 0u);
    }
    return ~sum;
}

// Precondition: files of up to a block, no stations.
void AddManifest(ProjectBytes& files) {
    Bytes manifest;
    std::vector<std::string> names;
    for (const char* name :
         {"", "head", "transform", "Index/Grid.pts", "Index/Grid1000cm.idx", "Index/Grid.idx",
          "Index/Grid1to10cm.idx", "Index/Grid10cm.idx", "Index/GridSkelet.coordpts",
          "Index/GridSkelet.datapts", "Data/intensities.hist", "Data/intensities_slice.hist",
          "Data/z.hist", "Data/z_slice.hist", "DataView/view_grid.dtv", "DataView/view_entries.dtv",
          "LogicView/view_grid.lv"}) {
        if (files.contains(name)) names.emplace_back(name);
    }
    for (const char letter : std::string("OrvixSum")) Put(manifest, letter);
    Put(manifest, std::uint32_t{1});
    Put(manifest, std::uint32_t{8'388'608});
    Put(manifest, std::uint64_t{names.size()});
    for (const std::string& name : names) {
        const std::string shown = name.empty() ? "settings" : name;
        Put(manifest, std::uint64_t{files[name].size()});
        Put(manifest, static_cast<std::uint32_t>(shown.size()));
        for (const char letter : shown) Put(manifest, letter);
        if (!files[name].empty()) Put(manifest, SumOf(files[name]));
    }
    Put(manifest, SumOf(manifest));
    files["manifest"] = manifest;
}

}  // namespace

ProjectBytes ReadProject(const CString& project) {
    ProjectBytes files;
    files[""] = orvix::test::ReadBytes(project);
    const auto folder = Native(platform::RemoveExtension(project) + L"_Project_Files");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file() || entry.path().filename() == "rtfm.txt") continue;
        const auto utf8 = entry.path().u8string();
        files[std::filesystem::relative(entry.path(), folder).generic_string()] =
            orvix::test::ReadBytes(
                platform::FromUtf8({reinterpret_cast<const char*>(utf8.data()), utf8.size()}));
    }
    return files;
}

ProjectBytes ExpectedProject(std::vector<Record> records, SkeletonSize skeletonSize,
                             std::uint32_t stations, const std::array<double, 3>& origin) {
    std::stable_sort(records.begin(), records.end(),
                     [](const Record& a, const Record& b) { return PlaceOf(a) < PlaceOf(b); });
    const std::vector<Record> skeleton = Thin(records, skeletonSize);
    const double scale = skeletonSize == SkeletonSize::OneCentimetre    ? 0.01
                         : skeletonSize == SkeletonSize::TenCentimetres ? 0.1
                                                                        : 1.0;
    ProjectBytes files;
    for (const Record& r : records) Put(files["Index/Grid.pts"], r);
    AddIndexes(files, records, skeletonSize != SkeletonSize::OneMetre);
    AddSkeleton(files, skeleton);
    AddHistograms(files, records);
    files["head"] = HeadOf(records, skeleton.size(), scale, stations);
    files[""] = SettingsOf(records, skeleton);
    for (const double v : {1.0, 0.0, 0.0, origin[0], 0.0, 1.0, 0.0, origin[1], 0.0, 0.0, 1.0,
                           origin[2], 0.0, 0.0, 0.0, 1.0}) {
        Put(files["transform"], v);
    }
    AddManifest(files);
    return files;
}

}  // namespace orvix::importer::test
