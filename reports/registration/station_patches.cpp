// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/registration/station_patches.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <tuple>
#include <unordered_map>

#include "orvix/geometry/plane_frame.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "parallel/pool.h"

namespace orvix::reports {

namespace {

using detail::Vector;

constexpr double kNanometres = 1e9;
constexpr double kMicrometres = 1e6;
constexpr double kSpacings =
    6;  // along a patch, so that it holds some points of each of two stations

struct Key {
    std::uint32_t plane = 0;
    std::int32_t column = 0, row = 0;
    std::uint16_t station = 0;

    [[nodiscard]] auto Order() const { return std::tie(plane, column, row, station); }
    bool operator==(const Key& other) const { return Order() == other.Order(); }
    bool operator<(const Key& other) const { return Order() < other.Order(); }
};

struct KeyHash {
    std::size_t operator()(const Key& key) const {
        std::uint64_t h = key.plane;
        for (const auto part : {static_cast<std::uint64_t>(static_cast<std::uint32_t>(key.column)),
                                static_cast<std::uint64_t>(static_cast<std::uint32_t>(key.row)),
                                static_cast<std::uint64_t>(key.station)})
            h = (h ^ part) * 0x9E3779B97F4A7C15U + (h >> 29);
        return static_cast<std::size_t>(h ^ h >> 32);
    }
};

struct Sum {
    std::uint64_t points = 0;
    std::int64_t height = 0;          // nanometres
    std::uint64_t squares = 0;        // square micrometres
    std::int64_t across = 0, up = 0;  // micrometres from the patch's corner
};

using Sums = std::unordered_map<Key, Sum, KeyHash>;

std::int64_t Rounded(double value) {
    return static_cast<std::int64_t>(std::floor(value + 0.5));
}

/// The plane that heights are measured from, and its 2D coordinates.
struct Base {
    Vector normal;
    double offset = 0;
    PlaneFrame frame;
};

/// Sums points; those of one station that follow each other, with others between, mostly lie in one
/// patch.
class PatchSums {
public:
    PatchSums(const std::vector<Base>& bases, double side) : bases_(bases), side_(side) {}

    void Add(const detection::PlanePoints& block) {
        for (std::size_t i = 0; i < block.points.size(); ++i)
            if (block.planes[i] >= 0)
                Add(block.points[i], static_cast<std::uint32_t>(block.planes[i]));
    }
    [[nodiscard]] const Sums& All() const { return sums_; }

private:
    struct Recent {
        Key key;
        Sum* sum = nullptr;
    };

    void Add(const CCloudPoint<float>& point, std::uint32_t plane) {
        const Base& base = bases_[plane];
        const Vector p{point.x, point.y, point.z};
        const SimplePoint2DT<double> at = base.frame.To2D(p);
        const double column = std::floor(at.x / side_), row = std::floor(at.y / side_);
        const Key key{plane, static_cast<std::int32_t>(column), static_cast<std::int32_t>(row),
                      detail::StationOf(point)};
        // BEHAVIOUR E3
        Recent& recent = recent_[key.station % recent_.size()];
        if (recent.sum == nullptr || !(recent.key == key)) recent = {key, &sums_[key]};
        Sum& sum = *recent.sum;
        const double height = detail::Dot(base.normal, p) + base.offset;
        const std::int64_t micrometres = Rounded(height * kMicrometres);
        ++sum.points;
        sum.height += Rounded(height * kNanometres);
        sum.squares += static_cast<std::uint64_t>(micrometres * micrometres);
        sum.across += Rounded((at.x - column * side_) * kMicrometres);
        sum.up += Rounded((at.y - row * side_) * kMicrometres);
    }

    const std::vector<Base>& bases_;
    double side_;
    Sums sums_;
    std::array<Recent, 64> recent_{};
};

double SideFor(const detection::PlaneSet& planes, const PatchOptions& options) {
    double area = 0, side = options.side;
    while (side < kSpacings * planes.Settings().spacing) side *= 2;
    for (const detection::FoundPlane& plane : planes.Planes()) area += plane.area;
    while (area / (side * side) > static_cast<double>(options.most)) side *= 2;
    return side;
}

PatchView ViewOf(const Key& key, const Sum& sum, double side) {
    const auto n = static_cast<double>(sum.points);
    PatchView view;
    view.station = key.station;
    view.points = sum.points;
    view.height = static_cast<double>(sum.height) / kNanometres / n;
    view.variance = std::max(static_cast<double>(sum.squares) / (kMicrometres * kMicrometres) / n -
                                 view.height * view.height,
                             0.0);
    view.u = key.column * side + static_cast<double>(sum.across) / kMicrometres / n;
    view.v = key.row * side + static_cast<double>(sum.up) / kMicrometres / n;
    return view;
}

StationPatches PatchesOf(const std::vector<std::pair<Key, Sum>>& sums, double side,
                         std::uint64_t leastPoints) {
    StationPatches result;
    result.side = side;
    std::vector<bool> seen(1U << 16);
    StationPatch patch;
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const auto& [key, sum] = sums[i];
        if (!seen[key.station]) ++result.stations;
        seen[key.station] = true;
        if (sum.points >= leastPoints) patch.views.push_back(ViewOf(key, sum, side));
        const bool last = i + 1 == sums.size() || sums[i + 1].first.plane != key.plane ||
                          sums[i + 1].first.column != key.column ||
                          sums[i + 1].first.row != key.row;
        if (!last) continue;
        patch.plane = key.plane;
        if (patch.views.size() > 1) result.patches.push_back(patch);
        patch.views.clear();
    }
    return result;
}

}  // namespace

Expected<StationPatches> GatherStationPatches(const CProjectCore& core,
                                              const detection::PlaneSet& planes,
                                              const PatchOptions& options) {
    const double side = SideFor(planes, options);
    std::vector<Base> bases;
    for (const detection::FoundPlane& plane : planes.Planes())
        bases.push_back({plane.normal, plane.offset,
                         PlaneFrame(plane.normal.x, plane.normal.y, plane.normal.z, plane.offset)});
    const parallel::Pool* running = nullptr;
    const parallel::Tick tick = [&] {
        if (options.progress && running != nullptr && planes.Chunks() > 0)
            options.progress(static_cast<double>(running->JobsDone()) /
                             static_cast<double>(planes.Chunks()));
        return !options.proceed || options.proceed();
    };
    const parallel::Pool pool(options.threads, tick, "the comparison was cancelled");
    running = &pool;
    std::vector<std::shared_ptr<CAlivePointReader>> readers(pool.Threads());
    std::vector<std::unique_ptr<PatchSums>> parts(pool.Threads());
    const auto read = pool.RunJobs(planes.Chunks(), [&](std::size_t chunk, unsigned worker) {
        if (!readers[worker]) readers[worker] = core.CreateAlivePointReader();
        if (!parts[worker]) parts[worker] = std::make_unique<PatchSums>(bases, side);
        if (!readers[worker])
            return Expected<void>(Fail(ErrorCode::Failure, "the points cannot be mapped"));
        return planes.ReadChunk(*readers[worker], chunk, [&](const detection::PlanePoints& block) {
            parts[worker]->Add(block);
        });
    });
    if (!read) return ErrorOf(read);
    Sums whole;
    for (auto& part : parts) {
        if (!part) continue;
        for (const auto& [key, sum] : part->All()) {
            Sum& all = whole[key];
            all.points += sum.points;
            all.height += sum.height;
            all.squares += sum.squares;
            all.across += sum.across;
            all.up += sum.up;
        }
        part.reset();
    }
    std::vector<std::pair<Key, Sum>> sums(whole.begin(), whole.end());
    std::sort(sums.begin(), sums.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    return PatchesOf(sums, side, options.leastPoints);
}

}  // namespace orvix::reports
