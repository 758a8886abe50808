// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/walls/wall_runs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "building/sight/rays.h"

namespace orvix::building {
namespace {

constexpr double kBelowCeiling = 0.45;  // of a face's top, at most
constexpr double kLeastHeight = 0.15;   // of what was seen of a face, in a column
constexpr double kLowerPart = 0.7;  // of a storey's height: a wall was seen down to there somewhere
constexpr double kThinnest = 0.04;
constexpr double kThickest = 0.8;
constexpr double kOpposed = -0.99939;  // cosine of 178 degrees
constexpr double kDoorGap = 1.3;
constexpr double kSmallGap = 0.12;
constexpr double kLeastLength = 0.3;
constexpr double kLeastSingle = 0.5;  // metres of a wall of which one face was seen
constexpr double kReach = 30;         // of rays that are asked

// Squares from one mark of a face to the next, at most: points may lie so far apart.
std::int64_t GapOf(const FaceRaster& raster, double spacing) {
    return std::max(std::int64_t{1}, static_cast<std::int64_t>(3 * spacing / raster.Cell()));
}

/// What was seen of a face line in a storey, column by column of its raster.
struct Columns {
    std::vector<bool> reaches;  ///< up to what hangs over it
    std::vector<bool> any;      ///< anything was seen
    std::vector<bool>
        tall;  ///< seen over three tenths of the storey's height, and not high up alone
};

class ColumnReader {
public:
    ColumnReader(const FaceLines& faces, const ScanEvidence& evidence, const StoreyBand& band)
        : faces_(faces), evidence_(evidence), band_(band) {
        for (const SightImage& sight : evidence.sights) sights_.push_back(&sight);
    }

    [[nodiscard]] Columns Read(std::size_t line) const {
        const FaceRaster& raster = evidence_.rasters[line];
        Columns columns;
        columns.reaches.resize(static_cast<std::size_t>(raster.Columns()));
        columns.any.resize(columns.reaches.size());
        columns.tall.resize(columns.reaches.size());
        const std::int64_t low =
            std::max(std::int64_t{0}, raster.RowOf(band_.storey.elevation + 0.05));
        const std::int64_t high = std::min(raster.Rows() - 1, raster.RowOf(band_.next - 0.05));
        const std::int64_t gap = GapOf(raster, evidence_.spacing);
        for (std::int64_t c = 0; c < raster.Columns(); ++c) {
            std::int64_t count = 0, marks = 0, top = -1, lowest = -1;
            for (std::int64_t r = low; r <= high; ++r) {
                if (!raster.Marked(c, r)) continue;
                count += top >= 0 && r - top <= gap ? r - top : 1;
                if (++marks == 1) lowest = r;
                top = r;
            }
            const auto i = static_cast<std::size_t>(c);
            columns.any[i] = marks > 1;
            columns.reaches[i] = static_cast<double>(count) * raster.Cell() >= kLeastHeight &&
                                 Reaches(faces_.lines[line], raster, c, top);
            const double ceiling = CeilingBefore(faces_.lines[line], raster.Along(c));
            const double height = std::min(ceiling, band_.next) - band_.storey.elevation;
            columns.tall[i] =
                static_cast<double>(count) * raster.Cell() >= std::max(0.45, 0.3 * height) &&
                raster.Height(lowest) < band_.storey.elevation + kLowerPart * height;
        }
        return columns;
    }

private:
    // What hangs before a face; before a facade nothing does, and its wall ends under what hangs
    // behind it.
    [[nodiscard]] double CeilingBefore(const FaceLine& line, double along) const {
        double lowest = std::numeric_limits<double>::infinity();
        for (const double before : {0.15, 0.3})
            if (const auto z = band_.overhead.HeightAt(line.At(along, before)))
                lowest = std::min(lowest, *z);
        for (const double behind : {0.15, 0.3, 0.45, 0.6}) {
            if (std::isfinite(lowest)) return lowest;
            if (const auto z = band_.overhead.HeightAt(line.At(along, -behind))) lowest = *z;
        }
        return std::isfinite(lowest) ? lowest : band_.storey.ceiling;
    }
    [[nodiscard]] bool Reaches(const FaceLine& line, const FaceRaster& raster, std::int64_t column,
                               std::int64_t top) const {
        const double along = raster.Along(column), height = raster.Height(top);
        const double ceiling = CeilingBefore(line, along);
        if (height < std::min(ceiling, band_.next) - kBelowCeiling) return false;
        if (height > ceiling - 0.1) return true;
        int over = 0;
        for (const double above : {0.1, 0.2, 0.3}) {
            if (height + above > ceiling - 0.03) break;
            const PlanPoint behind = line.At(along, -0.05);
            over += RaysWentThrough(sights_, {behind.x, behind.y, height + above}, 0.1, kReach);
        }
        return over == 0;
    }

    const FaceLines& faces_;
    const ScanEvidence& evidence_;
    const StoreyBand& band_;
    std::vector<const SightImage*> sights_;
};

class RunFinder {
public:
    RunFinder(const FaceLines& faces, const ScanEvidence& evidence, const StoreyBand& band)
        : faces_(faces), evidence_(evidence) {
        const ColumnReader reader(faces, evidence, band);
        for (std::size_t i = 0; i < faces.lines.size(); ++i) {
            const FaceLine& line = faces.lines[i];
            const bool here =
                line.top > band.storey.elevation + 0.3 && line.bottom < band.next - 0.3;
            columns_.push_back(here ? reader.Read(i) : Columns{});
        }
        for (std::size_t i = 0; i < faces.lines.size(); ++i) nearest_.push_back(Nearest(i));
    }

    std::vector<WallRun> Find() {
        std::vector<WallRun> runs;
        for (std::size_t i = 0; i < faces_.lines.size(); ++i) AddPairs(i, runs);
        DropInner(runs);
        Lengthen(runs);
        DropInner(runs);
        std::vector<WallRun> singles;
        for (std::size_t i = 0; i < faces_.lines.size(); ++i) AddSingles(i, runs, singles);
        runs.insert(runs.end(), singles.begin(), singles.end());
        DropInner(runs);
        std::stable_sort(runs.begin(), runs.end(), [](const WallRun& a, const WallRun& b) {
            return std::tuple(a.face, a.begin) < std::tuple(b.face, b.begin);
        });
        return runs;
    }

private:
    [[nodiscard]] static bool At(const std::vector<bool>& columns, std::int64_t column) {
        for (std::int64_t c = column - 1; c <= column + 1; ++c)
            if (c >= 0 && c < static_cast<std::int64_t>(columns.size()) &&
                columns[static_cast<std::size_t>(c)])
                return true;
        return false;
    }
    [[nodiscard]] bool ReachesAt(std::size_t line, const PlanPoint& place) const {
        return At(columns_[line].reaches,
                  evidence_.rasters[line].ColumnOf(faces_.lines[line].Along(place)));
    }
    [[nodiscard]] bool AnyAt(std::size_t line, const PlanPoint& place) const {
        return At(columns_[line].any,
                  evidence_.rasters[line].ColumnOf(faces_.lines[line].Along(place)));
    }
    // Of each column, the nearest opposed face: a place of a line, or -1.
    [[nodiscard]] std::vector<std::int32_t> Nearest(std::size_t i) const {
        const FaceLine& a = faces_.lines[i];
        const FaceRaster& raster = evidence_.rasters[i];
        std::vector<std::int32_t> nearest(columns_[i].reaches.size(), -1);
        if (nearest.empty()) return nearest;
        std::vector<std::size_t> opposed;
        for (std::size_t k = 0; k < faces_.lines.size(); ++k) {
            const FaceLine& b = faces_.lines[k];
            if (columns_[k].reaches.empty()) continue;
            if (a.normal.x * b.normal.x + a.normal.y * b.normal.y > kOpposed) continue;
            const double middle = (a.begin + a.end) / 2;
            const double apart = -b.Before(a.At(middle));
            if (apart < -0.1 || apart > kThickest + 0.3) continue;
            opposed.push_back(k);
        }
        for (std::int64_t c = 0; c < raster.Columns(); ++c) {
            if (!columns_[i].reaches[static_cast<std::size_t>(c)]) continue;
            const PlanPoint place = a.At(raster.Along(c));
            double best = kThickest;
            for (const std::size_t k : opposed) {
                const double apart = -faces_.lines[k].Before(place);
                if (apart < kThinnest || apart >= best || !ReachesAt(k, place)) continue;
                best = apart;
                nearest[static_cast<std::size_t>(c)] = static_cast<std::int32_t>(k);
            }
        }
        return nearest;
    }

    void AddPairs(std::size_t i, std::vector<WallRun>& runs) const {
        const FaceLine& a = faces_.lines[i];
        const FaceRaster& raster = evidence_.rasters[i];
        std::map<std::size_t, std::vector<double>> places;  // of each opposed line
        for (std::size_t c = 0; c < nearest_[i].size(); ++c) {
            if (nearest_[i][c] < 0) continue;
            const auto k = static_cast<std::size_t>(nearest_[i][c]);
            if (k < i) continue;  // the pair is found from its first line
            const double along = raster.Along(static_cast<std::int64_t>(c));
            if (NearestOf(k, a.At(along)) == static_cast<std::int32_t>(i))
                places[k].push_back(along);
        }
        for (const auto& [k, alongs] : places) {
            const FaceLine& b = faces_.lines[k];
            for (const auto& [begin, end] : Stretches(i, k, alongs)) {
                const double thickness = -b.Before(a.At((begin + end) / 2));
                if (end - begin < std::max(kLeastLength, thickness)) continue;
                if (TallLength(i, a.At(begin), a.At(end)) + TallLength(k, a.At(begin), a.At(end)) <
                    kLeastLength)
                    continue;
                runs.push_back({i, k, thickness, begin, end});
            }
        }
    }
    // Metres of a face between two places that were seen over three tenths of a storey's height.
    [[nodiscard]] double TallLength(std::size_t line, const PlanPoint& from,
                                    const PlanPoint& to) const {
        const FaceRaster& raster = evidence_.rasters[line];
        std::int64_t first = raster.ColumnOf(faces_.lines[line].Along(from));
        std::int64_t last = raster.ColumnOf(faces_.lines[line].Along(to));
        if (first > last) std::swap(first, last);
        const std::int64_t gap = GapOf(raster, evidence_.spacing);
        std::int64_t count = 0, before = -1;
        for (std::int64_t c = std::max(first, std::int64_t{0});
             c <= std::min(last, raster.Columns() - 1); ++c) {
            if (!columns_[line].tall[static_cast<std::size_t>(c)]) continue;
            count += before >= 0 && c - before <= gap ? c - before : 1;
            before = c;
        }
        return static_cast<double>(count) * raster.Cell();
    }
    // A wall goes on as long as one of its faces does, up to the next wall of that face.
    void Lengthen(std::vector<WallRun>& runs) const {
        std::vector<WallRun> longer = runs;
        for (std::size_t r = 0; r < runs.size(); ++r) {
            if (!runs[r].other) continue;
            longer[r].begin = EndOf(runs, r, runs[r].begin, -1);
            longer[r].end = EndOf(runs, r, runs[r].end, 1);
        }
        runs = std::move(longer);
    }
    [[nodiscard]] double EndOf(const std::vector<WallRun>& runs, std::size_t r, double from,
                               int way) const {
        constexpr double kStep = 0.05;
        const WallRun& run = runs[r];
        const FaceLine& face = faces_.lines[run.face];
        double end = from;
        for (double along = from + way * kStep; std::abs(along - end) <= kSmallGap + kStep;
             along += way * kStep) {
            const PlanPoint place = face.At(along), behind = face.At(along, -run.thickness);
            const bool taken = std::any_of(runs.begin(), runs.end(), [&](const WallRun& next) {
                if (&next == &run || !next.other) return false;
                const bool shares = next.face == run.face || next.face == *run.other ||
                                    *next.other == run.face || *next.other == *run.other;
                const double there = faces_.lines[next.face].Along(place);
                return shares && next.thickness > 0.06 && there > next.begin && there < next.end;
            });
            if (taken) break;
            if (ReachesAt(run.face, place) || ReachesAt(*run.other, behind)) end = along;
        }
        return end;
    }
    [[nodiscard]] std::int32_t NearestOf(std::size_t line, const PlanPoint& place) const {
        const std::int64_t column =
            evidence_.rasters[line].ColumnOf(faces_.lines[line].Along(place));
        for (const std::int64_t c : {column, column - 1, column + 1})
            if (c >= 0 && c < static_cast<std::int64_t>(nearest_[line].size()) &&
                nearest_[line][static_cast<std::size_t>(c)] >= 0)
                return nearest_[line][static_cast<std::size_t>(c)];
        return -1;
    }
    // Joins places along a face where the wall goes on between them.
    [[nodiscard]] std::vector<std::pair<double, double>> Stretches(
        std::size_t face, std::optional<std::size_t> other,
        const std::vector<double>& alongs) const {
        std::vector<std::pair<double, double>> stretches;
        const double half = evidence_.rasters[face].Cell() / 2;
        for (const double along : alongs) {
            if (!stretches.empty() && along - half - stretches.back().second <= kSmallGap)
                stretches.back().second = along + half;
            else
                stretches.emplace_back(along - half, along + half);
        }
        std::vector<std::pair<double, double>> joined;
        for (const auto& stretch : stretches) {
            if (!joined.empty() && GoesOn(face, other, joined.back().second, stretch.first))
                joined.back().second = stretch.second;
            else
                joined.push_back(stretch);
        }
        return joined;
    }
    [[nodiscard]] bool GoesOn(std::size_t face, std::optional<std::size_t> other, double from,
                              double to) const {
        if (to - from <= kDoorGap) return true;
        constexpr double kStep = 0.05;
        int all = 0, seen = 0;
        for (double along = from; along < to; along += kStep) {
            const PlanPoint place = faces_.lines[face].At(along);
            ++all;
            seen += AnyAt(face, place) || (other && AnyAt(*other, place));
        }
        return seen * 10 >= all * 8;
    }

    void AddSingles(std::size_t i, const std::vector<WallRun>& runs,
                    std::vector<WallRun>& singles) const {
        const FaceRaster& raster = evidence_.rasters[i];
        std::vector<double> alongs;
        for (std::size_t c = 0; c < columns_[i].reaches.size(); ++c) {
            if (!columns_[i].reaches[c]) continue;
            const double along = raster.Along(static_cast<std::int64_t>(c));
            const PlanPoint place = faces_.lines[i].At(along);
            const bool taken = std::any_of(runs.begin(), runs.end(), [&](const WallRun& run) {
                const bool own = run.face == i || (run.other && *run.other == i);
                const double there = faces_.lines[run.face].Along(place);
                return own && there >= run.begin - 0.05 && there <= run.end + 0.05;
            });
            if (!taken && !FacesBoth(i)) alongs.push_back(along);
        }
        for (const auto& [begin, end] : Stretches(i, std::nullopt, alongs))
            if (end - begin >= kLeastSingle &&
                TallLength(i, faces_.lines[i].At(begin), faces_.lines[i].At(end)) >= kLeastLength)
                singles.push_back({i, std::nullopt, 0, begin, end});
    }

    // Without stations each face is there twice; of one that is alone the first stands for both.
    [[nodiscard]] bool FacesBoth(std::size_t i) const {
        return evidence_.stations.empty() && i >= faces_.lines.size() / 2;
    }

    // What stands inside a thicker wall is part of it: frames, leaves, the faces of a niche.
    void DropInner(std::vector<WallRun>& runs) const {
        const auto inside = [&](const WallRun& run, const WallRun& wall) {
            if (!wall.other || &run == &wall || run.thickness > wall.thickness) return false;
            const FaceLine& face = faces_.lines[wall.face];
            const FaceLine& own = faces_.lines[run.face];
            if (std::abs(face.normal.x * own.normal.x + face.normal.y * own.normal.y) < -kOpposed)
                return false;
            const double length = run.end - run.begin;
            if (length >= wall.end - wall.begin && run.thickness == wall.thickness) return false;
            for (const double along : {run.begin, run.end})
                for (const double behind : {0.0, run.thickness}) {
                    const PlanPoint p = own.At(along, -behind);
                    const double depth = -face.Before(p), there = face.Along(p);
                    if (depth < -0.03 || depth > wall.thickness + 0.03) return false;
                    if (there < wall.begin - 0.1 || there > wall.end + 0.1) return false;
                }
            return true;
        };
        std::vector<WallRun> kept;
        for (const WallRun& run : runs)
            if (std::none_of(runs.begin(), runs.end(),
                             [&](const WallRun& wall) { return inside(run, wall); }))
                kept.push_back(run);
        runs = std::move(kept);
    }

    const FaceLines& faces_;
    const ScanEvidence& evidence_;
    std::vector<Columns> columns_;
    std::vector<std::vector<std::int32_t>> nearest_;
};

}  // namespace

std::vector<WallRun> FindWallRuns(const FaceLines& faces, const ScanEvidence& evidence,
                                  const StoreyBand& band) {
    return RunFinder(faces, evidence, band).Find();
}

}  // namespace orvix::building
