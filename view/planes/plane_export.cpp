// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/plane_export.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "orvix/platform/path.h"
#include "output/mesh/planes_mesh.h"
#include "output/outlines/outline_writer.h"

namespace orvix::view {

namespace {

// As headers want a name that may hold any letter.
std::string Escaped(const std::string& name) {
    std::string escaped;
    for (const char c : name) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                           (c >= 'A' && c <= 'Z') || c == '-' || c == '_' || c == '.';
        escaped +=
            plain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return escaped;
}

Expected<void> Write(const CString& path, const std::vector<NumberedPlane>& planes,
                     const detail::LocalToWorld& frame) {
    std::vector<detection::FoundPlane> found;
    for (const NumberedPlane& plane : planes) found.push_back(plane.plane);
    std::vector<reports::WorldPlane> world = reports::WorldPlanesOf(found, frame);
    for (std::size_t i = 0; i < world.size(); ++i) world[i].number = planes[i].number;
    if (!output::IsMeshName(path)) return output::WriteOutlines(path, world);
    const output::PlanesMesh mesh = output::MeshOfPlanes(found, frame, world);
    return output::WriteMesh(path, mesh.mesh, mesh.parts);
}

}  // namespace

Expected<Answer> ExportOf(const std::vector<NumberedPlane>& planes, const std::string& format,
                          const detail::LocalToWorld& frame, const std::string& name,
                          Scratch& scratch) {
    const auto path = scratch.NewName(platform::FromUtf8("." + format));
    if (!path) return ErrorOf(path);
    if (auto written = Write(*path, planes, frame); !written) return ErrorOf(written);
    const auto file = RecordFile::Open(*path, 1);
    if (!file) return ErrorOf(file);
    // It is open, and so stays readable until it is sent.
    std::error_code ignored;
    platform::RemoveFile(*path, ignored);
    Answer answer = AnswerOf(file->PiecesOf({0, file->Records(), 1}), file->Records());
    answer.headers.emplace_back(
        "Content-Disposition",
        fmt::format("attachment; filename*=UTF-8''{}-planes.{}", Escaped(name), format));
    return answer;
}

}  // namespace orvix::view
