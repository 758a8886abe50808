// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <thread>

#include "reports/deviation/deviation_counts.h"
#include "reports/deviation/face_cells.h"
#include "reports/deviation/triangle_tree.h"

namespace orvix::test {
namespace {

using detail::Length, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;
using reports::Cube, reports::DeviationCounts, reports::Face, reports::FaceCell, reports::FaceCells,
    reports::TriangleTree;

std::vector<Face> SomeFaces(std::mt19937& draw, std::size_t count) {
    std::uniform_real_distribution<double> place(-5, 5), size(-1, 1);
    const auto vector = [&](auto& from) { return Vector{from(draw), from(draw), from(draw)}; };
    std::vector<Face> faces;
    for (std::size_t i = 0; i < count; ++i) {
        const Vector a = vector(place);
        faces.push_back(
            Face::Of({a, a + vector(size), a + vector(size)}, static_cast<std::uint32_t>(i / 3)));
    }
    // Without area: never near anything.
    faces.push_back(Face::Of({Vector{0, 0, 0}, Vector{1, 1, 1}, Vector{2, 2, 2}}, 0));
    faces.push_back(Face::Of({Vector{0, 0, 0}, Vector{0, 0, 0}, Vector{0, 0, 0}}, 0));
    return faces;
}

/// How far a foot lies outside a triangle, by walking its rims in small steps.
double PlainOverhang(const Face& face, const Vector& p) {
    const Vector foot = p - face.normal * face.HeightOf(p);
    bool inside = true;
    double nearest = 1e300;
    for (std::size_t i = 0; i < 3; ++i) {
        const Vector &a = face.corners[i], &b = face.corners[(i + 1) % 3];
        inside &= detail::Dot(detail::Cross(b - a, foot - a), face.normal) >= 0;
        for (int step = 0; step <= 2000; ++step)
            nearest = std::min(nearest, Length(foot - (a + (b - a) * (step / 2000.0))));
    }
    return inside ? 0 : nearest;
}

TEST(Face, KnowsHeightAndOverhangOfAPlace) {
    std::mt19937 draw(7);
    std::uniform_real_distribution<double> place(-6, 6);
    for (const Face& face : SomeFaces(draw, 40)) {
        if (Length(face.normal) == 0) continue;
        for (int i = 0; i < 20; ++i) {
            const Vector p = face.corners[0] + Vector{place(draw), place(draw), place(draw)} * 0.2;
            const double plain = PlainOverhang(face, p);
            EXPECT_NEAR(face.OverhangOf(p, 100), plain, 2e-3);
            // Beyond the most that is asked for, a lower bound that is beyond it as well will do.
            const double asked = face.OverhangOf(p, 0.05);
            EXPECT_EQ(asked > 0.05, face.OverhangOf(p, 100) > 0.05);
            EXPECT_LE(asked, plain + 2e-3);
        }
    }
}

TEST(TriangleTree, FindsEveryFaceThatIsNearSomePlaceOfACube) {
    std::mt19937 draw(11);
    const std::vector<Face> faces = SomeFaces(draw, 500);
    const TriangleTree tree(faces);
    std::uniform_real_distribution<double> place(-6, 6), inside(-1, 1);
    std::vector<std::uint32_t> found;
    std::size_t near = 0, listed = 0;
    for (int i = 0; i < 2000; ++i) {
        const auto at = static_cast<std::size_t>(i) % 500;  // on a face, or anywhere
        const Vector somewhere{place(draw), place(draw), place(draw)};
        const Vector on =
            (faces[at].corners[0] + faces[at].corners[1] + faces[at].corners[2]) * (1.0 / 3);
        const Cube cube{i < 1000 ? on + somewhere * 0.01 : somewhere, i % 2 == 0 ? 0.05 : 0.5};
        tree.FindNear(cube, 0.1, 0.01, found);
        EXPECT_TRUE(std::is_sorted(found.begin(), found.end()));
        listed += found.size();
        const Vector p = cube.middle + Vector{inside(draw), inside(draw), inside(draw)} * cube.half;
        for (std::uint32_t f = 0; f < faces.size(); ++f) {
            const Face& face = faces[f];
            if (Length(face.normal) == 0 || std::abs(face.HeightOf(p)) > 0.1 ||
                face.OverhangOf(p, 0.01) > 0.01)
                continue;
            ++near;
            EXPECT_TRUE(std::binary_search(found.begin(), found.end(), f));
        }
    }
    EXPECT_GT(near, 50u);
    EXPECT_LT(listed, 2000u * faces.size() / 20);  // it leaves out most
}

TEST(TriangleTree, SeesEveryFaceOnAWay) {
    std::mt19937 draw(13);
    const std::vector<Face> faces = SomeFaces(draw, 200);
    const TriangleTree tree(faces);
    std::uniform_real_distribution<double> place(-6, 6);
    int crossed = 0;
    std::uint32_t hint = 7;
    for (int i = 0; i < 2000; ++i) {
        const Vector from{place(draw), place(draw), place(draw)};
        Vector to{place(draw), place(draw), place(draw)};
        if (i % 3 == 0) to.z = from.z;  // along an axis' plane
        bool plain = false;
        for (const Face& face : faces) {
            if (Length(face.normal) == 0) continue;
            const double a = face.HeightOf(from), b = face.HeightOf(to);
            if ((a > 0) == (b > 0)) continue;
            plain = plain || face.OverhangOf(from + (to - from) * (a / (a - b)), 1) == 0;
        }
        EXPECT_EQ(tree.IsCrossed(from, to, hint), plain) << i;
        crossed += plain;
    }
    EXPECT_GT(crossed, 200);
    EXPECT_LT(crossed, 1800);
}

TEST(FaceCells, ShareTheSurfaceOutToTheLastSquareMillimetre) {
    std::mt19937 draw(3);
    const std::vector<Face> faces = SomeFaces(draw, 60);
    double area = 0;
    for (const Face& face : faces)
        area += Length(detail::Cross(face.corners[1] - face.corners[0],
                                     face.corners[2] - face.corners[0])) /
                2;
    for (const double side : {0.1, 0.03, 4.0}) {
        const FaceCells cells(faces, side, 100'000'000);
        EXPECT_EQ(cells.Side(), side);
        double sum = 0;
        cells.ForEach([&](std::uint32_t, const Vector&, const Vector&, const FaceCell& cell) {
            sum += cell.area;
            EXPECT_LE(cell.area, side * side * (1 + 1e-6));
        });
        EXPECT_NEAR(sum, area, 1e-4 * area);
    }
    EXPECT_GT(FaceCells(faces, 0.01, 1000).Side(), 0.3);  // 1000 squares at most, or nearly
}

TEST(FaceCells, CountPointsWhereTheirFeetLie) {
    // Two triangles of one square metre, and one of another element upon it.
    const Vector a{0, 0, 1}, b{1, 0, 1}, c{1, 1, 1}, d{0, 1, 1};
    const std::vector<Face> faces{Face::Of({a, b, c}, 0), Face::Of({a, c, d}, 0),
                                  Face::Of({a, b, c}, 1)};
    FaceCells cells(faces, 0.5, 1000);
    cells.Add(0, {0.75, 0.25, 1.01}, 10'000);
    cells.Add(1, {0.75, 0.30, 0.99}, -4'000);  // the same square, by the other triangle
    cells.Add(0, {1.005, 0.25, 1}, 1);         // beside the rim: in no square
    std::size_t squares = 0, seen = 0;
    cells.ForEach([&](std::uint32_t element, const Vector& middle, const Vector& normal,
                      const FaceCell& cell) {
        ++squares;
        EXPECT_NEAR(middle.z, 1, 1e-12);
        EXPECT_NEAR(normal.z, 1, 1e-12);
        if (cell.points == 0) return;
        ++seen;
        EXPECT_EQ(element, 0u);
        EXPECT_EQ(cell.points, 2u);
        EXPECT_EQ(cell.sum, 6'000);
        EXPECT_NEAR(middle.x, 0.75, 1e-12);
        EXPECT_NEAR(middle.y, 0.25, 1e-12);
        EXPECT_NEAR(cell.area, 0.25, 1e-6);
    });
    EXPECT_EQ(squares, 4u + 3u);
    EXPECT_EQ(seen, 1u);
}

// BEHAVIOUR E2
TEST(DeviationCounts, GiveMediansAndPercentilesToTheirStep) {
    DeviationCounts counts(2, 0.1, 0.02, 1 << 20);
    EXPECT_EQ(counts.Step(), 1e-4);
    for (int i = 0; i <= 100; ++i) counts.Add(1, (i - 50) * 1e-3);  // -50 to 50 mm
    const auto figures = counts.FiguresOf(1);
    EXPECT_EQ(figures.points, 101u);
    EXPECT_EQ(figures.within, 41u);
    EXPECT_NEAR(figures.median, 0, 1e-9);
    EXPECT_NEAR(figures.low, -0.045, 0.5e-4 + 1e-9);
    EXPECT_NEAR(figures.high, 0.045, 0.5e-4 + 1e-9);
    EXPECT_NEAR(figures.rms, std::sqrt(50.0 * 51 / 3) * 1e-3, 1e-5);
    EXPECT_EQ(counts.FiguresOf(0).points, 0u);
    EXPECT_EQ(counts.FiguresOf(0).median, 0);
    EXPECT_EQ(counts.FiguresOfAll().points, 101u);
    counts.Add(0, -0.1);  // both ends of the reach count
    counts.Add(0, 0.1);
    EXPECT_EQ(counts.FiguresOf(0).points, 2u);
    EXPECT_NEAR(counts.FiguresOf(0).median, -0.1, 1e-4);
    // Little memory for many elements makes the step larger, and the counts less fine alone.
    DeviationCounts coarse(1000, 0.1, 0.02, 1 << 20);
    EXPECT_GT(coarse.Step(), 1e-3);
    coarse.Add(999, 0.0501);
    EXPECT_NEAR(coarse.FiguresOf(999).median, 0.0501, coarse.Step() / 2 + 1e-9);
}

TEST(DeviationCounts, AreTheSameWhateverThreadsCount) {
    DeviationCounts counts(1, 0.1, 0.02, 1 << 20);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&counts] {
            for (int i = 0; i < 50'000; ++i) counts.Add(0, (i % 11 - 5) * 1e-3);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counts.FiguresOf(0).points, 200'000u);
    EXPECT_NEAR(counts.FiguresOf(0).median, 0, 1e-9);
}

}  // namespace
}  // namespace orvix::test
