// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/mesh/mesh_writer.h"

#include <fmt/format.h>
#include <iterator>
#include <string>

#include "cli/output_file.h"

namespace orvix::cli {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

bool EndsWith(const CString& path, std::wstring_view ending) {
    if (path.size() < ending.size()) return false;
    const CString tail = path.substr(path.size() - ending.size());
    for (std::size_t i = 0; i < tail.size(); ++i) {
        const wchar_t c = tail[i];
        if ((c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c) != ending[i]) return false;
    }
    return true;
}

// Text on its way to a file, in large blocks.
class TextFile {
public:
    explicit TextFile(const CString& path) : file_(path) {}

    template <class... Arguments>
    void Print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(buffer_), format, std::forward<Arguments>(arguments)...);
        if (buffer_.size() >= kBufferBytes) Flush();
    }

    Expected<void> Commit() {
        Flush();
        return file_.Commit();
    }

private:
    void Flush() {
        file_.Append(buffer_.data(), buffer_.size());
        buffer_.clear();
    }

    OutputFile file_;
    std::string buffer_;
};

void PrintPly(TextFile& file, const TriangleMesh& mesh) {
    file.Print(
        "ply\nformat ascii 1.0\nelement vertex {}\nproperty double x\nproperty double y\n"
        "property double z\nelement face {}\nproperty list uchar int vertex_indices\nend_header\n",
        mesh.points.size(), mesh.triangles.size());
    for (const auto& p : mesh.points) file.Print("{} {} {}\n", p.x, p.y, p.z);
    for (const auto& t : mesh.triangles) file.Print("3 {} {} {}\n", t[0], t[1], t[2]);
}

void PrintObj(TextFile& file, const TriangleMesh& mesh) {
    for (const auto& p : mesh.points) file.Print("v {} {} {}\n", p.x, p.y, p.z);
    for (const auto& t : mesh.triangles) file.Print("f {} {} {}\n", t[0] + 1, t[1] + 1, t[2] + 1);
}

}  // namespace

bool IsMeshName(const CString& path) {
    return EndsWith(path, L".ply") || EndsWith(path, L".obj");
}

Expected<void> WriteMesh(const CString& path, const TriangleMesh& mesh) {
    const std::string name = platform::ToUtf8(path);
    if (!IsMeshName(path))
        return Fail(ErrorCode::BadInput, name + " must end in .ply or .obj to hold a mesh");
    TextFile file(path);
    if (EndsWith(path, L".ply"))
        PrintPly(file, mesh);
    else
        PrintObj(file, mesh);
    return file.Commit();
}

}  // namespace orvix::cli
