// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "reports/deviation/face_cells.h"
#include "reports/deviation/obj_elements.h"
#include "reports/deviation/surface_sides.h"
#include "reports/deviation/triangle_tree.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;

void Require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

void Use(const std::vector<reports::DrawnElement>& elements) {
    Require(!elements.empty(), "elements");
    std::vector<reports::Face> faces;
    for (const reports::DrawnElement& element : elements) {
        Require(!element.triangles.empty(), "elements with faces");
        for (const auto& triangle : element.triangles) {
            for (const auto& p : triangle)
                Require(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z),
                        "finite corners");
            faces.push_back(reports::Face::Of(triangle, 0));
        }
        reports::SidesOf(element.triangles);
    }
    const reports::TriangleTree tree(faces);
    std::vector<std::uint32_t> found;
    for (std::size_t i = 0; i < faces.size() && i < 20; ++i) {
        const auto& corner = faces[i].corners[0];
        // Where rounding is far below the reach.
        if (detail::Length(faces[i].normal) == 0 || !(detail::Length(corner) < 1e6)) continue;
        tree.FindNear({corner, 0.05}, 0.1, 0.01, found);
        bool listed = false;
        for (const std::uint32_t face : found) listed = listed || face == i;
        Require(listed, "a face is near its own corner");
    }
    const reports::FaceCells cells(faces, 0.1, 10'000);
    double area = 0;
    cells.ForEach([&](std::uint32_t, const auto&, const auto&, const reports::FaceCell& cell) {
        area += cell.area;
    });
    Require(area >= 0 && std::isfinite(area), "areas");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::ScratchFolder folder;
    const CString path = folder / L"house.obj";
    test::WriteBytes(path, data, size);
    const auto elements = reports::ReadObjElements(path);
    if (elements) {
        Use(*elements);
    } else {
        Require(!elements.error().message.empty(), "a sentence");
    }
    return 0;
}
