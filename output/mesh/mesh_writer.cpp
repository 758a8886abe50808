// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/mesh/mesh_writer.h"

#include <string>

#include "output/file_ending.h"
#include "output/text_file.h"

namespace orvix::output {

namespace {

void PrintPly(TextFile& file, const detail::TriangleMesh& mesh,
              const std::vector<MeshPart>& parts) {
    file.Print(
        "ply\nformat ascii 1.0\nelement vertex {}\nproperty double x\nproperty double y\n"
        "property double z\nelement face {}\nproperty list uchar int vertex_indices\n",
        mesh.points.size(), mesh.triangles.size());
    file.Print("{}end_header\n", parts.empty() ? "" : "property int part\n");
    for (const auto& p : mesh.points) file.Print("{} {} {}\n", p.x, p.y, p.z);
    std::size_t part = 0;
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const auto& t = mesh.triangles[i];
        while (part < parts.size() && parts[part].first == i) ++part;
        file.Print("3 {} {} {}", t[0], t[1], t[2]);
        if (parts.empty())
            file.Print("\n");
        else
            file.Print(" {}\n", part);
    }
}

void PrintObj(TextFile& file, const detail::TriangleMesh& mesh,
              const std::vector<MeshPart>& parts) {
    for (const auto& p : mesh.points) file.Print("v {} {} {}\n", p.x, p.y, p.z);
    std::size_t part = 0;
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const auto& t = mesh.triangles[i];
        for (; part < parts.size() && parts[part].first == i; ++part)
            file.Print("g {}\n", parts[part].name);
        file.Print("f {} {} {}\n", t[0] + 1, t[1] + 1, t[2] + 1);
    }
}

}  // namespace

bool IsMeshName(const CString& path) {
    return HasEnding(path, L".ply") || HasEnding(path, L".obj");
}

Expected<void> WriteMesh(const CString& path, const detail::TriangleMesh& mesh,
                         const std::vector<MeshPart>& parts) {
    const std::string name = platform::ToUtf8(path);
    if (!IsMeshName(path))
        return Fail(ErrorCode::BadInput, name + " must end in .ply or .obj to hold a mesh");
    TextFile file(path);
    if (HasEnding(path, L".ply"))
        PrintPly(file, mesh, parts);
    else
        PrintObj(file, mesh, parts);
    return file.Commit();
}

}  // namespace orvix::output
