// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/transform_file.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/scratch_folder.h"

namespace orvix {
namespace {

using test::ScratchFolder;

void ExpectNear(const SimplePointT<double>& a, const SimplePointT<double>& b, double tolerance) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

TEST(TransformFile, AddsTheOriginExactlyAndTakesItAwayExactly) {
    const auto frame = detail::LocalToWorld::Translation({690'000.0, 5'330'000.0, 512.0});
    const SimplePointT<double> world = frame.ToWorld(SimplePointT<double>{1.5, -2.25, 0.125});
    ExpectNear(world, {690'001.5, 5'329'997.75, 512.125}, 0);
    ExpectNear(frame.ToLocal(world), {1.5, -2.25, 0.125}, 0);
}

TEST(TransformFile, InvertsARotationWithScale) {
    detail::LocalToWorld frame;
    frame.m = {0, -2, 0, 10, 2, 0, 0, 20, 0, 0, 2, 30, 0, 0, 0, 1};
    const SimplePointT<double> world = frame.ToWorld(SimplePointT<double>{1, 2, 3});
    ExpectNear(world, {6, 22, 36}, 1e-12);
    ExpectNear(frame.ToLocal(world), {1, 2, 3}, 1e-12);
    const ExtendsT<double> bounds = frame.ToWorld(ExtendsT<double>{{0, 0, 0}, {1, 2, 3}});
    ExpectNear(bounds.min, {6, 20, 30}, 1e-12);
    ExpectNear(bounds.max, {10, 22, 36}, 1e-12);
}

TEST(TransformFile, IsTheIdentityWhereThereIsNoFile) {
    const ScratchFolder folder;
    const auto frame = detail::ReadTransform(folder / L"transform");
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->m, detail::LocalToWorld{}.m);
}

TEST(TransformFile, ReadsBackWhatItWrote) {
    const ScratchFolder folder;
    const auto frame = detail::LocalToWorld::Translation({1, 2, 3});
    ASSERT_TRUE(detail::WriteTransform(folder / L"transform", frame));
    EXPECT_EQ(test::ReadBytes(folder / L"transform").size(), detail::kTransformFileBytes);
    EXPECT_EQ(detail::ReadTransform(folder / L"transform")->m, frame.m);
}

TEST(TransformFile, RefusesSizesAndMatricesThatAreNoFrame) {
    const ScratchFolder folder;
    const CString path = folder / L"transform";
    detail::LocalToWorld skewed;
    skewed.m[12] = 1;
    detail::LocalToWorld flat;
    flat.m[10] = 0;
    detail::LocalToWorld endless;
    endless.m[3] = std::numeric_limits<double>::infinity();
    for (const detail::LocalToWorld& frame : {skewed, flat, endless}) {
        ASSERT_TRUE(detail::WriteTransform(path, frame));
        const auto read = detail::ReadTransform(path);
        ASSERT_FALSE(read);
        EXPECT_EQ(read.error().code, ErrorCode::Damaged);
    }
    test::WriteText(path, "short");
    EXPECT_EQ(detail::ReadTransform(path).error().code, ErrorCode::Damaged);
}

}  // namespace
}  // namespace orvix
