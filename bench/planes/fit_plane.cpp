// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does fitting a plane to points of a cloud cost, taking them up included?
// Ceiling:  the same by Eigen, as one writes it plainly: the points as a matrix, their mean, their
//           covariance, and the solver for symmetric matrices, in two passes over that matrix.
#include <Eigen/Eigenvalues>

#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/planes/fitted_plane.h"

namespace {

namespace bench = orvix::bench;
using orvix::FittedPlane;
using Points = std::vector<orvix::SimplePointT<float>>;

constexpr double kMostOfEigen = 0.5;
constexpr std::size_t kPointsPerTiming = 10'000'000;

/// A wall of 20 x 5 m that runs askew, with 3 mm of noise.
Points Wall(std::size_t count) {
    std::mt19937_64 random(1);
    const auto unit = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    Points points;
    points.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double along = unit() * 20;
        const double off = (unit() - 0.5) * 0.006;
        points.push_back({static_cast<float>(0.8 * along - 0.6 * off),
                          static_cast<float>(0.6 * along + 0.8 * off),
                          static_cast<float>(unit() * 5)});
    }
    return points;
}

/// `matrix` is kept by the caller, as the plane is: neither way asks for memory while it is timed.
Eigen::Vector4d ByEigen(const Points& points, const std::vector<int>& indices,
                        Eigen::Matrix3Xd& matrix) {
    matrix.resize(3, static_cast<Eigen::Index>(indices.size()));
    for (std::size_t i = 0; i < indices.size(); ++i) {
        const auto& p = points[static_cast<std::size_t>(indices[i])];
        matrix.col(static_cast<Eigen::Index>(i)) << p.x, p.y, p.z;
    }
    const Eigen::Vector3d mean = matrix.rowwise().mean();
    matrix.colwise() -= mean;
    const Eigen::Matrix3d covariance =
        matrix * matrix.transpose() / static_cast<double>(indices.size());
    const Eigen::Vector3d normal =
        Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(covariance).eigenvectors().col(0);
    return {normal[0], normal[1], normal[2], -normal.dot(mean)};
}

Eigen::Vector4d ByFittedPlane(const Points& points, std::vector<int>& indices, FittedPlane& plane) {
    plane.AddPoints(&points, indices.data(), static_cast<int>(indices.size()), true);
    plane.Generate(false);
    return {plane.a(), plane.b(), plane.c(), plane.d()};
}

template <class Fit>
void FitAgain(std::size_t times, Fit&& fit) {
    for (std::size_t i = 0; i < times; ++i) bench::Keep(fit());
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = bench::ParseOptions(argc, argv);
    bench::Report report("fit_plane", options);
    const bool given = options.points != bench::Options().points;
    for (const std::size_t count : given ? std::vector<std::size_t>{options.points}
                                         : std::vector<std::size_t>{1'000, 100'000, 10'000'000}) {
        const Points points = Wall(count);
        std::vector<int> indices(count);
        std::iota(indices.begin(), indices.end(), 0);
        FittedPlane plane;
        Eigen::Matrix3Xd matrix;
        Eigen::Vector4d ours = ByFittedPlane(points, indices, plane);
        const Eigen::Vector4d theirs = ByEigen(points, indices, matrix);
        if (ours.head<3>().dot(theirs.head<3>()) < 0) ours = -ours;
        bench::Require((ours - theirs).norm() < 1e-9, "the planes differ");
        const std::size_t times = std::max<std::size_t>(kPointsPerTiming / count, 1);
        report.Compare(
            fmt::format("{} points", count), 0,
            [&] { FitAgain(times, [&] { return ByEigen(points, indices, matrix); }); },
            [&] { FitAgain(times, [&] { return ByFittedPlane(points, indices, plane); }); },
            bench::AtMost(kMostOfEigen));
    }
    return 0;
}
