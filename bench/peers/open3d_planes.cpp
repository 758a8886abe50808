// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/peers/open3d_planes.h"

#include <open3d/geometry/PointCloud.h>

#include <algorithm>

#include "bench/peers/iterated_planes.h"

namespace orvix::bench {
namespace {

using open3d::geometry::PointCloud;
using Indices = std::vector<std::size_t>;

constexpr int kIterations = 1000;
constexpr std::size_t kCorePoints = 4;  // that a point of a cluster has around it

class Rest {
public:
    Rest(const std::vector<SimplePointT<double>>& points, const PeerSettings& settings)
        : settings_(settings) {
        cloud_.points_.reserve(points.size());
        for (const auto& p : points) cloud_.points_.emplace_back(p.x, p.y, p.z);
    }

    [[nodiscard]] Indices BestPlane() const {
        Indices inliers = std::get<1>(cloud_.SegmentPlane(settings_.distance, 3, kIterations));
        std::sort(inliers.begin(), inliers.end());
        return inliers;
    }
    [[nodiscard]] std::vector<Indices> Clusters(const Indices& inliers) const {
        // Points selected keep the order of the cloud.
        const std::vector<int> labels =
            cloud_.SelectByIndex(inliers)->ClusterDBSCAN(settings_.clusterDistance, kCorePoints);
        std::vector<Indices> clusters;
        for (std::size_t i = 0; i < labels.size(); ++i) {
            if (labels[i] < 0) continue;
            const auto label = static_cast<std::size_t>(labels[i]);
            if (label >= clusters.size()) clusters.resize(label + 1);
            clusters[label].push_back(inliers[i]);
        }
        return clusters;
    }
    void Keep(const std::vector<bool>& left) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < left.size(); ++i)
            if (left[i]) cloud_.points_[kept++] = cloud_.points_[i];
        cloud_.points_.resize(kept);
    }

private:
    PointCloud cloud_;
    PeerSettings settings_;
};

}  // namespace

PeerResult Open3dIteratedRansac(const std::vector<SimplePointT<double>>& points,
                                const PeerSettings& settings) {
    return IteratePlanes(Rest(points, settings), points.size(), settings);
}

}  // namespace orvix::bench
