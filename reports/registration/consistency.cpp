// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/registration/consistency.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>
#include <utility>

#include "orvix/geometry/plane_frame.h"
#include "orvix/project/station_files.h"
#include "reports/registration/station_patches.h"
#include "reports/station_list.h"

namespace orvix::reports {

namespace {

using detail::Length, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*, detail::operator/;

constexpr double kLeastMove = 0.001;                          // metres
constexpr double kLeastTurn = 0.01 * std::numbers::pi / 180;  // radians
constexpr double kCertain = 3;                                // standard deviations
constexpr std::size_t kLeastPairPatches = 10;
constexpr std::size_t kLeastTurnPatches = 6;
constexpr double kLeastTurnSpread = 0.3;  // metres, root of the mean square along the narrower way

/// A height difference at a place of a plane.
struct Difference {
    double u = 0, v = 0;
    double height = 0;
};

/// The turn of a plane by which differences grow across it: the slope of the plane through them. None
/// of too few, or of such as lie along a line.
std::optional<double> TurnOf(const std::vector<Difference>& differences) {
    if (differences.size() < kLeastTurnPatches) return std::nullopt;
    const auto n = static_cast<double>(differences.size());
    double u = 0, v = 0, h = 0;
    for (const Difference& d : differences) {
        u += d.u / n;
        v += d.v / n;
        h += d.height / n;
    }
    double uu = 0, uv = 0, vv = 0, uh = 0, vh = 0;
    for (const Difference& d : differences) {
        uu += (d.u - u) * (d.u - u) / n;
        uv += (d.u - u) * (d.v - v) / n;
        vv += (d.v - v) * (d.v - v) / n;
        uh += (d.u - u) * (d.height - h) / n;
        vh += (d.v - v) * (d.height - h) / n;
    }
    const double half = (uu - vv) / 2;
    const double narrow = (uu + vv) / 2 - std::sqrt(half * half + uv * uv);
    if (!(narrow > kLeastTurnSpread * kLeastTurnSpread)) return std::nullopt;
    const double whole = uu * vv - uv * uv;
    const double a = (vv * uh - uv * vh) / whole, b = (uu * vh - uv * uh) / whole;
    return std::sqrt(a * a + b * b);
}

double MedianHeight(const std::vector<Difference>& differences) {
    std::vector<double> heights;
    for (const Difference& d : differences) heights.push_back(d.height);
    return MedianOf(std::move(heights));
}

/// The patches as seen from either side apart: what stands on both sides of a thin plane, such as the
/// faces of a door leaf or a frame, are two surfaces. A station without a position counts as in front.
std::vector<StationPatch> BySides(const std::vector<StationPatch>& patches,
                                  const detection::PlaneSet& planes,
                                  const std::vector<std::optional<Vector>>& scanners) {
    std::vector<StationPatch> parts;
    for (const StationPatch& patch : patches) {
        const detection::FoundPlane& plane = planes.Planes()[patch.plane];
        std::array<StationPatch, 2> sides;
        for (const PatchView& view : patch.views) {
            const bool known = view.station < scanners.size() && scanners[view.station];
            const bool behind =
                known && detail::Dot(plane.normal, *scanners[view.station]) + plane.offset < 0;
            sides[behind ? 1 : 0].views.push_back(view);
        }
        for (StationPatch& part : sides) {
            part.plane = patch.plane;
            if (part.views.size() > 1) parts.push_back(std::move(part));
        }
    }
    return parts;
}

class Consistency {
public:
    Consistency(const WorldProject& project, const detection::PlaneSet& planes,
                const std::vector<StationPatch>& patches,
                const std::vector<std::optional<Vector>>& scanners,
                const std::function<bool()>& proceed)
        : project_(project), planes_(planes), patches_(patches), proceed_(proceed) {
        for (const detection::FoundPlane& plane : planes.Planes())
            frames_.emplace_back(plane.normal.x, plane.normal.y, plane.normal.z, plane.offset);
        for (const StationPatch& patch : patches_)
            for (const PatchView& view : patch.views) places_.try_emplace(view.station, 0);
        for (auto& [number, place] : places_) {
            place = numbers_.size();
            numbers_.push_back(number);
        }
        FindCentres(scanners);
        for (std::size_t i = 0; i < patches_.size(); ++i)
            for (const PatchView& view : patches_[i].views)
                sights_.push_back(SightOf(patches_[i], view, i));
    }

    [[nodiscard]] Expected<ConsistencyReport> Report() const;

private:
    [[nodiscard]] Vector PlaceOf(const StationPatch& patch, const PatchView& view) const {
        return frames_[patch.plane].To3D({view.u, view.v});
    }
    [[nodiscard]] Sight SightOf(const StationPatch& patch, const PatchView& view,
                                std::size_t number) const {
        const std::size_t station = places_.at(view.station);
        Sight sight;
        sight.patch = static_cast<std::uint32_t>(number);
        sight.plane = patch.plane;
        sight.station = static_cast<std::uint32_t>(station);
        sight.height = view.height;
        sight.variance = view.variance / static_cast<double>(view.points);
        sight.by =
            HeightBy(planes_.Planes()[patch.plane].normal, PlaceOf(patch, view), centres_[station]);
        return sight;
    }
    void FindCentres(const std::vector<std::optional<Vector>>& scanners);
    void AddOffsets(std::vector<StationConsistency>& stations, double& whole) const;
    Expected<void> AddPairs(ConsistencyReport& report) const;
    [[nodiscard]] Expected<PairConsistency> PairOf(std::size_t a, std::size_t b,
                                                   const std::vector<std::size_t>& shared) const;
    [[nodiscard]] Vector Turned(const Vector& direction) const {
        const Vector from = project_.frame.ToWorld(Vector{});
        return project_.frame.ToWorld(direction) - from;
    }
    [[nodiscard]] const PatchView& ViewOf(std::size_t patch, std::size_t station) const {
        return *std::find_if(
            patches_[patch].views.begin(), patches_[patch].views.end(),
            [&](const PatchView& view) { return view.station == numbers_[station]; });
    }

    const WorldProject& project_;
    const detection::PlaneSet& planes_;
    const std::vector<StationPatch>& patches_;
    const std::function<bool()>& proceed_;
    std::vector<PlaneFrame> frames_;
    std::map<std::uint16_t, std::size_t> places_;
    std::vector<std::uint16_t> numbers_;
    std::vector<Vector> centres_;
    std::vector<Sight> sights_;
};

void Consistency::FindCentres(const std::vector<std::optional<Vector>>& scanners) {
    std::vector<double> counts(numbers_.size());
    centres_.resize(numbers_.size());
    for (const StationPatch& patch : patches_) {
        for (const PatchView& view : patch.views) {
            const std::size_t station = places_.at(view.station);
            centres_[station] = centres_[station] + PlaceOf(patch, view);
            ++counts[station];
        }
    }
    for (std::size_t i = 0; i < centres_.size(); ++i) {
        const std::uint16_t number = numbers_[i];
        const bool known = number < scanners.size() && scanners[number];
        centres_[i] = known ? *scanners[number] : centres_[i] / counts[i];
    }
}

// Of a plane and a station: the median of what its patches lie off the median of the others' views.
void Consistency::AddOffsets(std::vector<StationConsistency>& stations, double& whole) const {
    std::vector<std::vector<double>> offsets(numbers_.size()), turns(numbers_.size());
    std::vector<double> all;
    std::vector<std::vector<Difference>> differences(numbers_.size());
    for (std::size_t i = 0; i < patches_.size(); ++i) {
        for (const PatchView& view : patches_[i].views) {
            std::vector<double> others;
            for (const PatchView& other : patches_[i].views)
                if (other.station != view.station) others.push_back(other.height);
            const double height = view.height - MedianOf(std::move(others));
            const std::size_t station = places_.at(view.station);
            differences[station].push_back({view.u, view.v, height});
            ++stations[station].patches;
        }
        if (i + 1 < patches_.size() && patches_[i + 1].plane == patches_[i].plane) continue;
        for (std::size_t station = 0; station < differences.size(); ++station) {
            std::vector<Difference>& its = differences[station];
            if (its.empty()) continue;
            ++stations[station].planes;
            offsets[station].push_back(std::abs(MedianHeight(its)));
            all.push_back(offsets[station].back());
            if (const auto turn = TurnOf(its)) turns[station].push_back(*turn);
            its.clear();
        }
    }
    for (std::size_t i = 0; i < stations.size(); ++i) {
        stations[i].offset = MedianOf(std::move(offsets[i]));
        stations[i].turnPlanes = turns[i].size();
        stations[i].turn = MedianOf(std::move(turns[i]));
    }
    whole = MedianOf(std::move(all));
}

Expected<PairConsistency> Consistency::PairOf(std::size_t a, std::size_t b,
                                              const std::vector<std::size_t>& shared) const {
    PairConsistency pair;
    pair.first = numbers_[a];
    pair.second = numbers_[b];
    pair.patches = shared.size();
    std::vector<Sight> sights;
    std::vector<double> offsets;
    std::vector<Difference> differences;
    for (std::size_t i = 0; i < shared.size(); ++i) {
        const StationPatch& patch = patches_[shared[i]];
        const PatchView &first = ViewOf(shared[i], a), &second = ViewOf(shared[i], b);
        Sight sight = SightOf(patch, second, i);
        sight.station = 1;
        sights.push_back(sight);
        sight = SightOf(patch, first, i);
        sight.station = 0;
        // The first station stays where it is.
        sight.by = {};
        sights.push_back(sight);
        differences.push_back({second.u, second.v, second.height - first.height});
        if (i + 1 < shared.size() && patches_[shared[i + 1]].plane == patch.plane) continue;
        ++pair.planes;
        offsets.push_back(std::abs(MedianHeight(differences)));
        differences.clear();
    }
    pair.offset = MedianOf(std::move(offsets));
    const auto motion = AdjustAgainst(sights, proceed_);
    if (!motion) return ErrorOf(motion);
    const Motion& m = motion->motion;
    pair.shift = Turned(Vector{-m[0], -m[1], -m[2]});
    pair.rotation = Turned(Vector{-m[3], -m[4], -m[5]});
    pair.directions = motion->directions;
    pair.weak = WeakOf(motion->directions);
    return pair;
}

Expected<void> Consistency::AddPairs(ConsistencyReport& report) const {
    std::map<std::pair<std::size_t, std::size_t>, std::vector<std::size_t>> shared;
    for (std::size_t i = 0; i < patches_.size(); ++i) {
        const auto& views = patches_[i].views;
        for (std::size_t a = 0; a < views.size(); ++a)
            for (std::size_t b = a + 1; b < views.size(); ++b)
                shared[{places_.at(views[a].station), places_.at(views[b].station)}].push_back(i);
    }
    for (const auto& [stations, patches] : shared) {
        if (patches.size() < kLeastPairPatches) continue;
        auto pair = PairOf(stations.first, stations.second, patches);
        if (!pair) return ErrorOf(pair);
        report.pairs.push_back(std::move(*pair));
    }
    return {};
}

Expected<ConsistencyReport> Consistency::Report() const {
    ConsistencyReport report;
    report.patches = patches_.size();
    for (std::size_t i = 0; i < patches_.size(); ++i)
        report.planes += i == 0 || patches_[i].plane != patches_[i - 1].plane;
    report.stations.resize(numbers_.size());
    AddOffsets(report.stations, report.offset);
    const auto motions = AdjustStations(sights_, centres_, proceed_);
    if (!motions) return ErrorOf(motions);
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
        StationConsistency& station = report.stations[i];
        const Motion &m = (*motions)[i].motion, &s = (*motions)[i].sigma;
        station.number = numbers_[i];
        station.centre = project_.frame.ToWorld(centres_[i]);
        station.shift = Turned(Vector{-m[0], -m[1], -m[2]});
        station.rotation = Turned(Vector{-m[3], -m[4], -m[5]});
        station.shiftSigma = {s[0], s[1], s[2]};
        station.rotationSigma = {s[3], s[4], s[5]};
        station.directions = (*motions)[i].directions;
        station.weak = WeakOf(station.directions);
        station.moved =
            Length(station.shift) > std::max(kLeastMove, kCertain * Length(station.shiftSigma)) ||
            Length(station.rotation) >
                std::max(kLeastTurn, kCertain * Length(station.rotationSigma));
        report.moved += station.moved;
    }
    if (auto added = AddPairs(report); !added) return ErrorOf(added);
    return report;
}

}  // namespace

Expected<ConsistencyReport> CheckConsistency(const WorldProject& project,
                                             const detection::PlaneSet& planes,
                                             const ConsistencyOptions& options) {
    const auto start = std::chrono::steady_clock::now();
    const auto scanners = NumberedScanners(project.Manager());
    if (!scanners) return ErrorOf(scanners);
    PatchOptions how;
    how.threads = options.threads;
    how.proceed = options.proceed;
    how.progress = options.progress;
    const auto gathered = GatherStationPatches(project.Core(), planes, how);
    if (!gathered) return ErrorOf(gathered);
    if (gathered->stations < 2)
        return Fail(ErrorCode::BadInput,
                    "the points on planes are of one station alone: there is nothing to compare");
    const std::vector<StationPatch> patches = BySides(gathered->patches, planes, *scanners);
    if (patches.empty())
        return Fail(ErrorCode::BadInput,
                    "no two stations saw the same part of a plane: nothing says how they fit");
    auto report = Consistency(project, planes, patches, *scanners, options.proceed).Report();
    if (!report) return report;
    report->side = gathered->side;
    for (StationConsistency& station : report->stations) {
        if (station.number < scanners->size() && (*scanners)[station.number])
            station.position = project.frame.ToWorld(*(*scanners)[station.number]);
        std::vector<detail::StationFault> faults;
        station.name =
            detail::ReadStationFiles(project.Manager(), static_cast<int>(station.number), faults)
                .name;
    }
    report->seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

}  // namespace orvix::reports
