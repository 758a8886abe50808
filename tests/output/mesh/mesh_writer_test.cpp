// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/mesh/mesh_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "support/scratch_folder.h"

namespace orvix::output {
namespace {

std::string TextOf(const CString& path) {
    const auto bytes = test::ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

const detail::TriangleMesh kMesh{{{84808.1, 447412.25, -0.1}, {1, 0, 0}, {0, 1.0 / 3, 0}},
                                 {{0, 1, 2}}};

TEST(MeshWriter, WritesPlyWhoseDoublesReadBackUnchanged) {
    const test::ScratchFolder folder;
    ASSERT_TRUE(WriteMesh(folder / L"a.PLY", kMesh));
    EXPECT_EQ(TextOf(folder / L"a.PLY"),
              "ply\nformat ascii 1.0\nelement vertex 3\nproperty double x\nproperty double y\n"
              "property double z\nelement face 1\nproperty list uchar int vertex_indices\n"
              "end_header\n84808.1 447412.25 -0.1\n1 0 0\n0 0.3333333333333333 0\n3 0 1 2\n");
}

TEST(MeshWriter, WritesObjWhoseFacesCountFromOne) {
    const test::ScratchFolder folder;
    ASSERT_TRUE(WriteMesh(folder / L"a.obj", kMesh));
    EXPECT_EQ(TextOf(folder / L"a.obj"),
              "v 84808.1 447412.25 -0.1\nv 1 0 0\nv 0 0.3333333333333333 0\nf 1 2 3\n");
}

TEST(MeshWriter, NamesThePathThatCannotBeWritten) {
    const test::ScratchFolder folder;
    const auto written = WriteMesh(folder / L"missing/a.obj", kMesh);
    ASSERT_FALSE(written);
    EXPECT_NE(written.error().message.find("missing/a.obj"), std::string::npos);
}

}  // namespace
}  // namespace orvix::output
