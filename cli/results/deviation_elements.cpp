// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/results/deviation_elements.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "building/element_meshes.h"
#include "cli/verbs.h"
#include "orvix/platform/child_process.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_paths.h"
#include "output/file_ending.h"
#include "output/mesh/planes_mesh.h"
#include "reports/building_report.h"
#include "reports/deviation/obj_elements.h"
#include "reports/planes_report.h"

namespace orvix::cli {

namespace {

constexpr unsigned kLook = 100;  // milliseconds between two looks at a program that runs
constexpr std::uint64_t kLongestMessage = 400;

using Elements = std::vector<reports::DrawnElement>;

Expected<Elements> ElementsOfPlanes(const ElementsRequest& request,
                                    const reports::WorldProject& project) {
    detection::PlaneSearchOptions options;
    options.threads = request.threads;
    options.proceed = MayGoOn;
    options.progress = [&](double part) { request.progress("searching", part); };
    const auto finding = reports::StoredOrFoundPlanes(project, options);
    if (!finding) return ErrorOf(finding);
    if (finding->planes.empty())
        return Fail(ErrorCode::BadInput, "the project shows no planes to hold its points against");
    const output::PlanesMesh drawn =
        output::MeshOfPlanes(*finding->set, project.frame, finding->planes);
    std::vector<reports::DrawnElement> elements;
    for (std::size_t i = 0; i < drawn.parts.size(); ++i) {
        reports::DrawnElement element;
        element.kind = finding->planes[i].kind;
        element.name = fmt::format("plane {}", finding->planes[i].number);
        const std::size_t end =
            i + 1 < drawn.parts.size() ? drawn.parts[i + 1].first : drawn.mesh.triangles.size();
        for (std::size_t t = drawn.parts[i].first; t < end; ++t) {
            const auto& corners = drawn.mesh.triangles[t];
            element.triangles.push_back({drawn.mesh.points[corners[0]],
                                         drawn.mesh.points[corners[1]],
                                         drawn.mesh.points[corners[2]]});
        }
        elements.push_back(std::move(element));
    }
    return elements;
}

Expected<ElementsGiven> ElementsOfModel(const ElementsRequest& request,
                                        const reports::WorldProject& project) {
    ElementsGiven given;
    given.model = ElementsGiven::Model::Saved;
    auto finding = reports::ReadBuilding(project.Manager(), project.Core());
    if (!finding && finding.error().code == ErrorCode::BadInput) {
        given.model = ElementsGiven::Model::Found;
        if (platform::PathExists(detail::SavedModelPath(project.Manager())))
            given.notTaken = finding.error().message;
        detection::PlaneSearchOptions search;
        search.threads = request.threads;
        search.proceed = MayGoOn;
        building::BuildingOptions options;
        options.threads = request.threads;
        options.proceed = MayGoOn;
        options.progress = [&](double part) { request.progress("modelling", part); };
        finding = reports::FindBuilding(project.Manager(), project.Core(),
                                        reports::PlanesWanted::SavedIfAny, search, options);
    }
    if (!finding) return ErrorOf(finding);
    for (const building::ElementMesh& mesh : building::MeshesOf(finding->building)) {
        // Rooms and openings are air.
        if (mesh.kind == building::ElementKind::Room || mesh.kind == building::ElementKind::Opening)
            continue;
        reports::DrawnElement element;
        element.kind = mesh.name.substr(0, mesh.name.find(' '));
        element.name = mesh.name;
        for (const auto& [a, b, c] : mesh.mesh.triangles)
            element.triangles.push_back({project.frame.ToWorld(mesh.mesh.points[a]),
                                         project.frame.ToWorld(mesh.mesh.points[b]),
                                         project.frame.ToWorld(mesh.mesh.points[c])});
        given.elements.push_back(std::move(element));
    }
    if (given.elements.empty())
        return Fail(ErrorCode::BadInput,
                    "the project shows no building to hold its points against");
    return given;
}

/// A file in the folder for such, made here and removed at the end.
class ScratchFile {
public:
    static Expected<ScratchFile> Make(const std::string& ending) {
        const char* asked = std::getenv("TMPDIR");
        const std::string name = asked != nullptr && *asked != '\0' ? asked : "/tmp";
        const CString folder = platform::FromUtf8(name);
        std::error_code error;
        for (int i = 0; i < 10'000; ++i) {
            CString path = platform::JoinPath(
                folder, platform::FromUtf8(fmt::format("orvix-{}{}", i, ending)));
            platform::File::CreateNew(path, error);
            if (!error) return ScratchFile(std::move(path));
            if (error != std::errc::file_exists) break;
        }
        return FailSystem(
            error,
            fmt::format("{}: no temporary file can be made in this folder; TMPDIR may name another",
                        name));
    }
    ScratchFile(ScratchFile&& other) noexcept : path_(std::exchange(other.path_, {})) {}
    ScratchFile& operator=(ScratchFile&&) = delete;
    ~ScratchFile() {
        std::error_code ignored;
        if (!path_.empty()) platform::RemoveFile(path_, ignored);
    }
    [[nodiscard]] const CString& Path() const { return path_; }

private:
    explicit ScratchFile(CString path) : path_(std::move(path)) {}
    CString path_;
};

std::string FirstLineOf(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    std::string text(kLongestMessage, ' ');
    text.resize(error ? 0 : file.ReadAt(0, text.data(), text.size(), error));
    return text.substr(0, text.find_first_of("\r\n"));
}

/// Why orvix-ifc ended with `code`, which is not 0: what it says, or else that alone.
std::string IfcFault(const std::string& file, int code, const CString& messages) {
    constexpr const char* kInstead = "convert it to Wavefront OBJ, and give the .obj";
    if (code > 128)
        return fmt::format("{}: orvix-ifc came to an end over this model, by signal {}; {}", file,
                           code - 128, kInstead);
    std::string line = FirstLineOf(messages);
    if (!line.empty()) return line;
    return fmt::format(
        "{}: orvix-ifc ended over this model with exit code {}, and said nothing; {}", file, code,
        kInstead);
}

/// The path of orvix-ifc; empty where this installation has none.
std::string IfcReader() {
    const CString reader =
        platform::JoinPath(platform::ParentOf(platform::ProgramPath()), L"orvix-ifc");
    return platform::PathExists(reader) ? platform::ToUtf8(reader) : std::string();
}

Expected<Elements> ElementsOfIfc(const std::string& file) {
    std::error_code error;
    platform::File::OpenRead(platform::FromUtf8(file), error);
    if (error) return FailSystem(error, file + " cannot be read");
    const std::string reader = IfcReader();
    if (reader.empty())
        return Fail(
            ErrorCode::BadInput,
            file +
                ": this installation has no orvix-ifc, which reads IFC; convert the model to "
                "Wavefront OBJ with metres and z up, and give the .obj");
    const auto drawn = ScratchFile::Make(".obj"), messages = ScratchFile::Make(".txt");
    if (!drawn) return ErrorOf(drawn);
    if (!messages) return ErrorOf(messages);
    auto child =
        platform::ChildProcess::Start({reader, file}, drawn->Path(), messages->Path(), error);
    if (error) return FailSystem(error, reader + " cannot be started");
    std::optional<int> code;
    while (!(code = child.WaitFor(kLook))) {
        if (MayGoOn()) continue;
        child.AskToEnd();
        return Fail(ErrorCode::Cancelled, "the comparison was cancelled");
    }
    if (*code != 0) return Fail(ErrorCode::BadInput, IfcFault(file, *code, messages->Path()));
    return reports::ReadObjElements(drawn->Path());
}

bool IsFile(const std::string& text, const wchar_t* ending) {
    return output::HasEnding(platform::FromUtf8(text), ending);
}

Expected<Elements> DrawnElements(const ElementsRequest& request,
                                 const reports::WorldProject& project) {
    if (request.from == "planes") return ElementsOfPlanes(request, project);
    if (IsFile(request.from, L".ifc")) return ElementsOfIfc(request.from);
    return reports::ReadObjElements(platform::FromUtf8(request.from));
}

}  // namespace

std::string CheckElementsSource(const std::string& text) {
    if (text == "planes" || text == "model" || IsFile(text, L".obj") || IsFile(text, L".ifc"))
        return {};
    return text +
           " is nothing to hold points against; write planes, model, or a file that ends in .obj "
           "or "
           ".ifc";
}

Expected<ElementsGiven> ElementsFrom(const ElementsRequest& request,
                                     const reports::WorldProject& project) {
    if (request.from == "model") return ElementsOfModel(request, project);
    auto elements = DrawnElements(request, project);
    if (!elements) return ErrorOf(elements);
    return ElementsGiven{std::move(*elements), ElementsGiven::Model::None, {}};
}

}  // namespace orvix::cli
