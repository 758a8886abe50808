// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/peers/pcl_planes.h"

#include <pcl/console/print.h>
#include <pcl/features/normal_3d_omp.h>
#include <pcl/search/kdtree.h>
#include <pcl/segmentation/extract_clusters.h>
#include <pcl/segmentation/region_growing.h>
#include <pcl/segmentation/sac_segmentation.h>

#include <numbers>

#include "bench/bench_support.h"
#include "bench/peers/iterated_planes.h"

namespace orvix::bench {
namespace {

using Point = pcl::PointXYZ;
using Cloud = pcl::PointCloud<Point>;
using Normals = pcl::PointCloud<pcl::Normal>;
using Tree = pcl::search::KdTree<Point>;

constexpr int kNeighbours = 12;
constexpr float kFlat = 0.06F;  // share of the spread along the normal: 1/3 is a ball's
constexpr int kIterations = 300;
constexpr double kSampleRadius = 1;  // metres: three points of a sample are likely of one plane

// PCL's points are floats: about the first one.
Cloud::Ptr CloudOf(const std::vector<SimplePointT<double>>& points) {
    const Cloud::Ptr cloud(new Cloud);
    cloud->reserve(points.size());
    for (const auto& p : points)
        cloud->emplace_back(static_cast<float>(p.x - points[0].x),
                            static_cast<float>(p.y - points[0].y),
                            static_cast<float>(p.z - points[0].z));
    return cloud;
}

class Rest {
public:
    Rest(Cloud::Ptr cloud, const PeerSettings& settings)
        : cloud_(std::move(cloud)), settings_(settings) {}

    [[nodiscard]] pcl::Indices BestPlane() const {
        pcl::SACSegmentation<Point> segmentation;
        segmentation.setModelType(pcl::SACMODEL_PLANE);
        segmentation.setMethodType(pcl::SAC_RANSAC);
        segmentation.setDistanceThreshold(settings_.distance);
        segmentation.setMaxIterations(kIterations);
        segmentation.setOptimizeCoefficients(true);
        segmentation.setNumberOfThreads(0);
        segmentation.setInputCloud(cloud_);
        const Tree::Ptr tree(new Tree(false));
        tree->setInputCloud(cloud_);
        segmentation.setSamplesMaxDist(kSampleRadius, tree);
        pcl::PointIndices inliers;
        pcl::ModelCoefficients model;
        segmentation.segment(inliers, model);
        return inliers.indices;
    }
    [[nodiscard]] std::vector<pcl::Indices> Clusters(const pcl::Indices& inliers) const {
        if (inliers.empty()) return {};
        const pcl::IndicesPtr indices(new pcl::Indices(inliers));
        const Tree::Ptr tree(new Tree(false));
        tree->setInputCloud(cloud_, indices);
        pcl::EuclideanClusterExtraction<Point> extraction;
        extraction.setClusterTolerance(settings_.clusterDistance);
        extraction.setMinClusterSize(static_cast<pcl::uindex_t>(settings_.minPoints));
        extraction.setSearchMethod(tree);
        extraction.setInputCloud(cloud_);
        extraction.setIndices(indices);
        std::vector<pcl::PointIndices> found;
        extraction.extract(found);
        std::vector<pcl::Indices> clusters;
        for (pcl::PointIndices& cluster : found) clusters.push_back(std::move(cluster.indices));
        return clusters;
    }
    void Keep(const std::vector<bool>& left) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < left.size(); ++i)
            if (left[i]) (*cloud_)[kept++] = (*cloud_)[i];
        cloud_->resize(kept);
    }

private:
    Cloud::Ptr cloud_;
    PeerSettings settings_;
};

}  // namespace

PeerResult PclRegionGrowing(const std::vector<SimplePointT<double>>& points,
                            const PeerSettings& settings) {
    PeerResult result;
    result.labels.assign(points.size(), -1);
    const Cloud::Ptr cloud = CloudOf(points);
    const Normals::Ptr normals(new Normals);
    const Tree::Ptr tree(new Tree);
    result.normalSeconds = Seconds([&] {
        pcl::NormalEstimationOMP<Point, pcl::Normal> estimation;
        estimation.setSearchMethod(tree);
        estimation.setKSearch(kNeighbours);
        estimation.setInputCloud(cloud);
        estimation.compute(*normals);
    });
    result.seconds = Seconds([&] {
        pcl::RegionGrowing<Point, pcl::Normal> growing;
        growing.setMinClusterSize(static_cast<pcl::uindex_t>(settings.minPoints));
        growing.setMaxClusterSize(static_cast<pcl::uindex_t>(points.size()));
        growing.setSearchMethod(tree);
        growing.setNumberOfNeighbours(kNeighbours);
        growing.setInputCloud(cloud);
        growing.setInputNormals(normals);
        growing.setSmoothModeFlag(false);
        growing.setSmoothnessThreshold(
            static_cast<float>(settings.angleDegrees * std::numbers::pi / 180));
        growing.setResidualTestFlag(true);
        growing.setResidualThreshold(static_cast<float>(settings.distance));
        growing.setCurvatureTestFlag(true);
        growing.setCurvatureThreshold(kFlat);
        std::vector<pcl::PointIndices> found;
        growing.extract(found);
        for (std::size_t i = 0; i < found.size(); ++i)
            for (const int at : found[i].indices)
                result.labels[static_cast<std::size_t>(at)] = static_cast<std::int32_t>(i);
    });
    return result;
}

PeerResult PclIteratedRansac(const std::vector<SimplePointT<double>>& points,
                             const PeerSettings& settings) {
    // It prints a line for each sample that makes no plane.
    pcl::console::setVerbosityLevel(pcl::console::L_ALWAYS);
    return IteratePlanes(Rest(CloudOf(points), settings), points.size(), settings);
}

}  // namespace orvix::bench
