// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/peers/plane_peers.h"

#include <array>

#include "bench/peers/cgal_planes.h"
#include "bench/peers/open3d_planes.h"
#include "bench/peers/pcl_planes.h"

namespace orvix::bench {
namespace {

#if ORVIX_BENCH_PCL
constexpr auto kPclGrowing = &PclRegionGrowing;
constexpr auto kPclRansac = &PclIteratedRansac;
#else
constexpr decltype(PlanePeer::run) kPclGrowing = nullptr, kPclRansac = nullptr;
#endif
#if ORVIX_BENCH_OPEN3D
constexpr auto kOpen3dRansac = &Open3dIteratedRansac;
#else
constexpr decltype(PlanePeer::run) kOpen3dRansac = nullptr;
#endif

constexpr std::array<PlanePeer, 5> kPeers{{
    {"cgal-growing", "CGAL region growing", "libcgal-dev", &CgalRegionGrowing},
    {"cgal-ransac", "CGAL Efficient RANSAC", "libcgal-dev", &CgalEfficientRansac},
    {"pcl-growing", "PCL region growing", "libpcl-dev", kPclGrowing},
    {"pcl-ransac", "PCL iterated SAC plane", "libpcl-dev", kPclRansac},
    {"open3d-ransac", "Open3D iterated plane", "libopen3d-dev", kOpen3dRansac},
}};

}  // namespace

std::span<const PlanePeer> PlanePeers() {
    return kPeers;
}

}  // namespace orvix::bench
