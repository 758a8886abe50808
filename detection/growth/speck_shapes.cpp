// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/speck_shapes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
namespace orvix::detection {
namespace {

using Four = float __attribute__((vector_size(16)));
using FourCounts = std::int32_t __attribute__((vector_size(16)));

constexpr std::size_t kMinNearest = 6;   // of a speck with a normal
constexpr double kMaxRatio = 0.1;        // of a neighbourhood's least variance to its middle one
constexpr double kSurely = 1.01;         // times that ratio: for the rounding of variances
constexpr double kMinSquareness = 0.02;  // of its middle variance to its largest
constexpr std::size_t kTried = 8;        // nearest ones, of which two and the speck make a plane
constexpr double kWithin = 0.8;          // of the distance: of a neighbour on such a plane
constexpr std::int32_t kMinAgreed = 8;   // neighbours on it
constexpr float kMinSine = 0.22F;        // between the two directions of which it is made

// The shape of specks that lie about a speck's place.
SpeckShape ShapeOfSum(const MomentSum& sum) {
    SpeckShape shape;
    const SymmetricMatrix covariance = sum.Covariance();
    // The middle variance is at most half of all: twigs and leaves need no closer look.
    const double most = (covariance.xx + covariance.yy + covariance.zz) / 2;
    if (VarianceFloor(covariance) > kSurely * kMaxRatio * most) return shape;
    const detail::PrincipalSpread spread = SpreadOf(covariance);
    if (!(spread.middle > 0)) return shape;
    shape.normal = spread.normal;
    shape.rms = std::sqrt(spread.min * sum.count / (sum.count - 3));
    shape.turn = std::sqrt(spread.min / (spread.middle * sum.count));
    shape.flat =
        spread.min < kMaxRatio * spread.middle && spread.middle > kMinSquareness * spread.max;
    return shape;
}

/// The neighbours of one speck, about it. What is missing to twelve lies nowhere, and so on no plane: a
/// place far away would lie on those planes through the speck that pass there, too.
class Consensus {
public:
    static constexpr std::size_t kMost = SpeckNeighbours::kMost;

    Consensus(std::span<const Vector> means, std::span<const std::uint32_t> around,
              std::uint32_t speck) {
        x_.fill(kNowhere);
        y_.fill(kNowhere);
        z_.fill(kNowhere);
        for (const std::uint32_t other : around) {
            const Vector at = means[other] - means[speck];
            x_[count_] = static_cast<float>(at.x);
            y_[count_] = static_cast<float>(at.y);
            z_[count_] = static_cast<float>(at.z);
            ++count_;
        }
    }
    /// The shape of the speck and those that agree on a plane; not flat where too few do.
    [[nodiscard]] SpeckShape Find(float within) const {
        Plane best;
        if (count_ < std::size_t{kMinAgreed}) return {};
        const std::size_t tried = std::min(count_, kTried);
        for (std::size_t i = 0; i < tried; ++i)
            for (std::size_t j = i + 1; j < tried; ++j) Try(i, j, within, best);
        if (best.agreed < kMinAgreed) return {};
        MomentSum sum;
        sum.Add(Vector{0, 0, 0});
        for (std::size_t k = 0; k < count_; ++k)
            if (SquareFrom(best, k) <= best.limit) sum.Add(Vector{x_[k], y_[k], z_[k]});
        return ShapeOfSum(sum);
    }

private:
    static constexpr float kNowhere = std::numeric_limits<float>::quiet_NaN();

    /// A plane through the speck, by a normal of any length.
    struct Plane {
        float x = 0, y = 0, z = 0;
        float limit = 0;  // what the square of a product with the normal may be
        std::int32_t agreed = 0;
    };

    [[nodiscard]] float SquareFrom(const Plane& plane, std::size_t k) const {
        const float away = plane.x * x_[k] + plane.y * y_[k] + plane.z * z_[k];
        return away * away;
    }
    void Try(std::size_t i, std::size_t j, float within, Plane& best) const {
        Plane plane;
        plane.x = y_[i] * z_[j] - z_[i] * y_[j];
        plane.y = z_[i] * x_[j] - x_[i] * z_[j];
        plane.z = x_[i] * y_[j] - y_[i] * x_[j];
        const float square = plane.x * plane.x + plane.y * plane.y + plane.z * plane.z;
        if (!(square > kMinSine * kMinSine * Square(i) * Square(j))) return;
        plane.limit = within * within * square;
        plane.agreed = CountOn(plane);
        if (plane.agreed > best.agreed) best = plane;
    }
    // Four at a time, as SquareFrom does, operation by operation.
    [[nodiscard]] std::int32_t CountOn(const Plane& plane) const {
        FourCounts counts{};
        for (std::size_t k = 0; k < kMost; k += 4) {
            const Four away = plane.x * At(x_, k) + plane.y * At(y_, k) + plane.z * At(z_, k);
            counts -= away * away <= plane.limit;  // -1 where it holds
        }
        return counts[0] + counts[1] + counts[2] + counts[3];
    }
    static Four At(const std::array<float, kMost>& values, std::size_t k) {
        Four four;
        std::memcpy(&four, values.data() + k, sizeof(four));
        return four;
    }
    [[nodiscard]] float Square(std::size_t i) const {
        return x_[i] * x_[i] + y_[i] * y_[i] + z_[i] * z_[i];
    }

    static_assert(kMost % 4 == 0);
    std::array<float, kMost> x_, y_, z_;
    std::size_t count_ = 0;
};

SpeckShape ShapeOfSpeck(std::span<const Vector> means, std::span<const std::uint32_t> around,
                        std::uint32_t speck, double distance) {
    if (around.size() < kMinNearest) return {};
    MomentSum sum;
    sum.Add(Vector{0, 0, 0});
    for (const std::uint32_t other : around) sum.Add(means[other] - means[speck]);
    const SpeckShape shape = ShapeOfSum(sum);
    if (shape.flat) return shape;
    const SpeckShape agreed =
        Consensus(means, around, speck).Find(static_cast<float>(kWithin * distance));
    return agreed.flat ? agreed : shape;
}

}  // namespace

std::vector<SpeckShape> ShapesOfSpecks(std::span<const Vector> means,
                                       const SpeckNeighbours& nearest, double distance,
                                       detail::Asker& asker) {
    std::vector<SpeckShape> shapes(means.size());
    for (std::uint32_t i = 0; i < shapes.size() && asker.GoesOn(); ++i)
        shapes[i] = ShapeOfSpeck(means, nearest.Of(i), i, distance);
    return shapes;
}

}  // namespace orvix::detection
