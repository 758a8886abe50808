// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/registration/station_adjustment.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace orvix::reports {

namespace {

using detail::Vector;
using detail::operator+, detail::operator-, detail::operator/;

constexpr int kRounds = 40;
constexpr int kHuberRounds = 20;
constexpr double kHuber =
    1.345;  // in standard deviations; 95 % as good as the mean where all is normal
constexpr double kTukey = 4.685;
constexpr double kLeastScale =
    0.3;                           // of the sights' own deviations: below, they were overestimated
constexpr double kFloor = 0.0003;  // metres: what a surface's roughness adds to each sight
constexpr double kPriorShift =
    0.05;  // metres, and radians times metres: how far a station may be off
constexpr double kPriorTurn = 0.01;  // before anything was seen
constexpr int kMostSteps = 400;
constexpr double kSmallStep = 1e-6;   // metres and radians
constexpr double kSolved = 1e-18;     // squared, of what is to be explained
constexpr std::uint32_t kParts = 20;  // of the planes, for the jackknife

using Motions = std::vector<Motion>;

double DotOf(const Motions& a, const Motions& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += Dot(a[i], b[i]);
    return sum;
}

void AddTo(Motions& a, const Motions& b, double factor) {
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t k = 0; k < 6; ++k) a[i][k] += factor * b[i][k];
}

MotionMatrix Prior() {
    MotionMatrix prior{};
    for (std::size_t k = 0; k < 6; ++k)
        prior[k][k] = k < 3 ? 1 / (kPriorShift * kPriorShift) : 1 / (kPriorTurn * kPriorTurn);
    return prior;
}

class Adjustment {
public:
    Adjustment(std::span<const Sight> sights, std::size_t stations,
               const std::function<bool()>& proceed)
        : sights_(sights),
          proceed_(proceed),
          base_(sights.size()),
          weights_(sights.size()),
          motions_(stations) {
        for (std::size_t i = 0; i < sights.size(); ++i)
            base_[i] = 1 / (sights[i].variance + kFloor * kFloor);
        weights_ = base_;
        for (std::size_t i = 0; i < sights.size(); i = EndOf(i)) starts_.push_back(i);
        starts_.push_back(sights.size());
    }

    Expected<void> Run() {
        for (int round = 0; round < kRounds; ++round) {
            const Motions before = motions_;
            if (auto solved = Solve(); !solved) return solved;
            Weigh(round < kHuberRounds);
            double most = 0;
            for (std::size_t i = 0; i < motions_.size(); ++i)
                for (std::size_t k = 0; k < 6; ++k)
                    most = std::max(most, std::abs(motions_[i][k] - before[i][k]));
            // The other weights are worth a round of their own.
            if (most < kSmallStep && round < kHuberRounds) round = kHuberRounds - 1;
            if (most < kSmallStep && round > kHuberRounds) break;
        }
        return {};
    }
    [[nodiscard]] const Motions& Found() const { return motions_; }
    /// The same weights, but without a part of the planes.
    [[nodiscard]] Expected<Motions> FoundWithout(std::uint32_t part) const {
        Adjustment rest(*this);
        for (std::size_t i = 0; i < sights_.size(); ++i)
            if (sights_[i].plane % kParts == part) rest.weights_[i] = 0;
        if (auto solved = rest.Solve(); !solved) return ErrorOf(solved);
        return std::move(rest.motions_);
    }
    [[nodiscard]] double Scale() const { return scale_; }
    /// What the sights say of each station, the others taken as they are.
    [[nodiscard]] std::vector<MotionMatrix> Information() const {
        std::vector<MotionMatrix> blocks(motions_.size());
        ForPatches([&](std::size_t first, std::size_t end, double sum) {
            for (std::size_t i = first; i < end; ++i)
                AddSquare(blocks[sights_[i].station], sights_[i].by,
                          weights_[i] * (1 - weights_[i] / sum));
        });
        return blocks;
    }

private:
    [[nodiscard]] std::size_t EndOf(std::size_t first) const {
        std::size_t end = first;
        while (end < sights_.size() && sights_[end].patch == sights_[first].patch) ++end;
        return end;
    }
    /// use(first, end, sum of weights) for each patch that has any weight.
    template <class Use>
    void ForPatches(Use&& use) const {
        for (std::size_t p = 0; p + 1 < starts_.size(); ++p) {
            double sum = 0;
            for (std::size_t i = starts_[p]; i < starts_[p + 1]; ++i) sum += weights_[i];
            if (sum > 0) use(starts_[p], starts_[p + 1], sum);
        }
    }
    /// Adds to `out` what heights, as `heightOf` gives them less their patch's mean, pull stations by.
    template <class HeightOf>
    void Pull(const HeightOf& heightOf, Motions& out) const {
        ForPatches([&](std::size_t first, std::size_t end, double sum) {
            double mean = 0;
            for (std::size_t i = first; i < end; ++i) mean += weights_[i] * heightOf(i);
            mean /= sum;
            for (std::size_t i = first; i < end; ++i) {
                const double pull = weights_[i] * (heightOf(i) - mean);
                Motion& its = out[sights_[i].station];
                for (std::size_t k = 0; k < 6; ++k) its[k] += pull * sights_[i].by[k];
            }
        });
    }
    [[nodiscard]] Motions Apply(const Motions& x) const {
        Motions out(x.size());
        for (std::size_t i = 0; i < x.size(); ++i) out[i] = Product(prior_, x[i]);
        Pull([&](std::size_t i) { return Dot(sights_[i].by, x[sights_[i].station]); }, out);
        return out;
    }

    Expected<void> Solve() {
        std::vector<MotionMatrix> near = Information();
        for (MotionMatrix& block : near) {
            for (std::size_t k = 0; k < 6; ++k) block[k][k] += prior_[k][k];
            block = InverseOf(block);
        }
        Motions rest(motions_.size());
        Pull([&](std::size_t i) { return sights_[i].height; }, rest);
        const double whole = DotOf(rest, rest);
        AddTo(rest, Apply(motions_), -1);
        Motions z(rest.size()), way;
        double before = 0;
        for (int step = 0; step < kMostSteps && DotOf(rest, rest) > kSolved * whole; ++step) {
            if (proceed_ && !proceed_())
                return Fail(ErrorCode::Cancelled, "the comparison was cancelled");
            for (std::size_t i = 0; i < z.size(); ++i) z[i] = Product(near[i], rest[i]);
            const double now = DotOf(rest, z);
            if (step == 0) {
                way = z;
            } else {
                const double share = now / before;
                for (std::size_t i = 0; i < way.size(); ++i)
                    for (std::size_t k = 0; k < 6; ++k) way[i][k] = z[i][k] + share * way[i][k];
            }
            before = now;
            const Motions pushed = Apply(way);
            const double length = now / DotOf(way, pushed);
            AddTo(motions_, way, length);
            AddTo(rest, pushed, -length);
        }
        return {};
    }

    /// How far each sight is from its patch's height, in its own standard deviations. Where all of a
    /// patch lost their weights, from what the height would be with them.
    [[nodiscard]] std::vector<double> Misfits() const {
        std::vector<double> left(sights_.size()), misfits(sights_.size());
        for (std::size_t i = 0; i < left.size(); ++i)
            left[i] = sights_[i].height - Dot(sights_[i].by, motions_[sights_[i].station]);
        for (std::size_t p = 0; p + 1 < starts_.size(); ++p) {
            std::array<double, 2> sums{}, heights{};  // by the weights, and without what they lost
            for (std::size_t i = starts_[p]; i < starts_[p + 1]; ++i) {
                sums[0] += weights_[i];
                heights[0] += weights_[i] * left[i];
                sums[1] += base_[i];
                heights[1] += base_[i] * left[i];
            }
            const std::size_t which = sums[0] > 0 ? 0 : 1;
            const double height = heights[which] / sums[which];
            for (std::size_t i = starts_[p]; i < starts_[p + 1]; ++i)
                misfits[i] = std::abs(left[i] - height) * std::sqrt(base_[i]);
        }
        return misfits;
    }

    void Weigh(bool huber) {
        const std::vector<double> misfits = Misfits();
        scale_ = std::max(1.4826 * MedianOf(misfits), kLeastScale);
        for (std::size_t i = 0; i < misfits.size(); ++i) {
            const double far = misfits[i] / scale_;
            double share = 1;
            if (huber) {
                if (far > kHuber) share = kHuber / far;
            } else {
                const double rest = 1 - far / kTukey * (far / kTukey);
                share = far < kTukey ? rest * rest : 0;
            }
            weights_[i] = base_[i] * share;
        }
    }

    std::span<const Sight> sights_;
    const std::function<bool()>& proceed_;
    std::vector<double> base_, weights_;
    std::vector<std::size_t> starts_;
    Motions motions_;
    MotionMatrix prior_ = Prior();
    double scale_ = 1;
};

/// For each station the first of those that patches connect it to.
std::vector<std::size_t> GroupsOf(std::span<const Sight> sights, std::size_t stations) {
    std::vector<std::size_t> up(stations);
    std::iota(up.begin(), up.end(), std::size_t{0});
    const auto top = [&](std::size_t i) {
        while (up[i] != i) i = up[i] = up[up[i]];
        return i;
    };
    for (std::size_t i = 1; i < sights.size(); ++i) {
        if (sights[i].patch != sights[i - 1].patch) continue;
        const std::size_t a = top(sights[i].station), b = top(sights[i - 1].station);
        up[std::max(a, b)] = std::min(a, b);
    }
    for (std::size_t i = 0; i < stations; ++i) up[i] = top(i);
    return up;
}

// BEHAVIOUR E4: turns first, about the stations' middle, then what shifts are left.
void TakeMediansOff(const std::vector<std::size_t>& members, const std::vector<Vector>& centres,
                    Motions& motions) {
    Vector middle;
    for (const std::size_t i : members)
        middle = middle + centres[i] / static_cast<double>(members.size());
    const auto medianOf = [&](std::size_t k) {
        std::vector<double> values;
        for (const std::size_t i : members) values.push_back(motions[i][k]);
        return MedianOf(std::move(values));
    };
    const Vector turn{medianOf(3), medianOf(4), medianOf(5)};
    for (const std::size_t i : members) {
        const Vector moved = detail::Cross(turn, centres[i] - middle);
        Motion& m = motions[i];
        m = {m[0] - moved.x, m[1] - moved.y, m[2] - moved.z,
             m[3] - turn.x,  m[4] - turn.y,  m[5] - turn.z};
    }
    const Vector shift{medianOf(0), medianOf(1), medianOf(2)};
    for (const std::size_t i : members) {
        motions[i][0] -= shift.x;
        motions[i][1] -= shift.y;
        motions[i][2] -= shift.z;
    }
}

/// Turns count by what they move at the distance of the patches, so that all six are metres.
std::array<double, 6> DirectionsOf(const MotionMatrix& information, double reach, double scale) {
    MotionMatrix even = information;
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 6; ++j) even[i][j] /= (i < 3 ? 1 : reach) * (j < 3 ? 1 : reach);
    std::array<double, 6> directions = EigenvaluesOf(even);
    // Rounding leaves a direction that nothing decides a little above or below 0.
    for (double& value : directions) value = scale / std::sqrt(std::max(value, 1e-6));
    return directions;
}

/// What an adjustment found of each station, before the medians are taken off.
std::vector<StationMotion> MotionsOf(const Adjustment& adjustment, std::span<const Sight> sights,
                                     std::size_t count) {
    std::vector<StationMotion> stations(count);
    std::vector<double> squares(count), counts(count);
    for (const Sight& sight : sights) {
        stations[sight.station].seen = true;
        // |r x n|: the arm at which a turn moves the patch along its normal.
        for (std::size_t k = 3; k < 6; ++k) squares[sight.station] += sight.by[k] * sight.by[k];
        ++counts[sight.station];
    }
    const std::vector<MotionMatrix> information = adjustment.Information();
    for (std::size_t i = 0; i < stations.size(); ++i) {
        if (!stations[i].seen) continue;
        StationMotion& its = stations[i];
        its.motion = adjustment.Found()[i];
        its.reach = std::max(std::sqrt(squares[i] / counts[i]), 1e-3);
        its.directions = DirectionsOf(information[i], its.reach, adjustment.Scale());
        MotionMatrix known = information[i];
        for (std::size_t k = 0; k < 6; ++k)
            for (std::size_t j = 0; j < 6; ++j) {
                known[k][j] /= adjustment.Scale() * adjustment.Scale();
                if (k == j) known[k][j] += Prior()[k][j];
            }
        const MotionMatrix spread = InverseOf(known);
        for (std::size_t k = 0; k < 6; ++k) its.sigma[k] = std::sqrt(spread[k][k]);
    }
    return stations;
}

}  // namespace

double MedianOf(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

std::size_t WeakOf(const std::array<double, 6>& directions) {
    return static_cast<std::size_t>(
        std::count_if(directions.begin(), directions.end(),
                      [](double deviation) { return deviation > kWeakDirection; }));
}

Expected<StationMotion> AdjustAgainst(std::span<const Sight> sights,
                                      const std::function<bool()>& proceed) {
    Adjustment adjustment(sights, 2, proceed);
    if (auto done = adjustment.Run(); !done) return ErrorOf(done);
    return MotionsOf(adjustment, sights, 2)[1];
}

Expected<std::vector<StationMotion>> AdjustStations(std::span<const Sight> sights,
                                                    const std::vector<Vector>& centres,
                                                    const std::function<bool()>& proceed) {
    Adjustment adjustment(sights, centres.size(), proceed);
    if (auto done = adjustment.Run(); !done) return ErrorOf(done);
    std::vector<StationMotion> stations = MotionsOf(adjustment, sights, centres.size());
    const std::vector<std::size_t> groups = GroupsOf(sights, stations.size());
    std::vector<std::vector<std::size_t>> members(stations.size());
    for (std::size_t i = 0; i < stations.size(); ++i)
        if (stations[i].seen) members[groups[i]].push_back(i);
    const auto levelled = [&](Motions motions) {
        for (const auto& group : members)
            if (!group.empty()) TakeMediansOff(group, centres, motions);
        return motions;
    };
    const Motions found = levelled(adjustment.Found());
    Motions squares(stations.size());
    for (std::uint32_t part = 0; part < kParts; ++part) {
        auto rest = adjustment.FoundWithout(part);
        if (!rest) return ErrorOf(rest);
        const Motions other = levelled(std::move(*rest));
        for (std::size_t i = 0; i < stations.size(); ++i)
            for (std::size_t k = 0; k < 6; ++k)
                squares[i][k] += (other[i][k] - found[i][k]) * (other[i][k] - found[i][k]);
    }
    for (std::size_t i = 0; i < stations.size(); ++i) {
        StationMotion& its = stations[i];
        its.motion = found[i];
        for (std::size_t k = 0; k < 6; ++k)
            its.sigma[k] =
                std::sqrt(its.sigma[k] * its.sigma[k] + squares[i][k] * (kParts - 1.0) / kParts);
    }
    return stations;
}

}  // namespace orvix::reports
