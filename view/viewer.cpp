// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/viewer.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "orvix/platform/path.h"
#include "orvix/project/project_paths.h"
#include "reports/world_project.h"
#include "view/data/cell_rows.h"
#include "view/data/histograms_json.h"
#include "view/data/project_json.h"
#include "view/data/record_file.h"
#include "view/planes/known_planes.h"
#include "view/planes/plane_export.h"
#include "view/planes/plane_numbers.h"
#include "view/planes/plane_work.h"
#include "view/planes/scratch.h"
#include "view/planes/search_settings.h"
#include "view/planes/searches.h"

namespace orvix::view {

namespace {

constexpr std::uint64_t kFewestClasses = 2;
constexpr std::uint64_t kMostClasses = 20;
constexpr std::uint64_t kUsualClasses = 5;

template <class Result>
Answer AnswerOrRefusal(Expected<Result>&& result) {
    if (!result) return Refusal(result.error());
    if constexpr (std::is_same_v<Result, Answer>) {
        return std::move(*result);
    } else {
        return AnswerOf(*result);
    }
}

// first, count and every of a request, within a file of so many records.
Expected<RecordRange> RangeOf(const Parameters& parameters, std::uint64_t records) {
    RecordRange range;
    range.first = parameters.Number("first");
    const std::uint64_t rest = records - std::min(records, range.first);
    range.count = parameters.Number("count", rest);
    range.every = parameters.Number("every", 1);
    if (auto within = range.RequireWithin(records); !within) return ErrorOf(within);
    return range;
}

Answer RecordsAnswer(const RecordFile& file, std::string_view query) {
    const auto parameters = Parameters::Parse(query, {"first", "count", "every"});
    if (!parameters) return Refusal(parameters.error());
    const auto range = RangeOf(*parameters, file.Records());
    if (!range) return Refusal(range.error());
    return AnswerOf(file.PiecesOf(*range), range->Taken() * file.RecordBytes());
}

Expected<Answer> CoarseCells(const CellIndex& cells, const Parameters& parameters) {
    const auto range = RangeOf(parameters, cells.Cells1000());
    if (!range) return ErrorOf(range);
    return cells.Coarse(range->first, range->count);
}

Answer CellsAnswer(const CellIndex& cells, std::string_view query) {
    const auto parameters = Parameters::Parse(query, {"level", "of", "parents", "first", "count"});
    if (!parameters) return Refusal(parameters.error());
    const std::uint64_t level = parameters->Number("level");
    const bool children = level == 100 || level == 10;
    if (!children && level != 1000) return Refusal(400, "level must be 1000, 100 or 10");
    if (level == 10 && !cells.Has10cm())
        return Refusal(404, "this project has no cells of 10 cm; ask for level 100");
    if (children != parameters->Has("of"))
        return Refusal(400, children ? "of=N must name the cell of the level above"
                                     : "cells of level 1000 are in no other; leave 'of' out");
    if (!children) return AnswerOrRefusal(CoarseCells(cells, *parameters));
    return AnswerOrRefusal(
        cells.Children(level, parameters->Number("of"), parameters->Number("parents", 1)));
}

Answer NotAllowed(const char* allowed) {
    Answer answer = Refusal(405, fmt::format("only {} is served here", allowed));
    answer.headers.emplace_back("Allow", allowed);
    return answer;
}

Answer Forbidden() {
    Answer answer;
    answer.status = 403;
    answer.type.clear();
    return answer;
}

}  // namespace

struct Viewer::State {
    CString path;
    reports::WorldProject project;
    ProjectFiles files;
    PageFiles page;
    reports::WorldProject
        searched;  // opened for the searches from seeds, which keep a core to themselves
    Presence pages;
    Scratch scratch;
    KnownPlanes known;
    Searches searches;  // ends first: what it works on is above

    // What answers a path; a path that is none of these may be a file of the page.
    struct Route {
        const char* path;
        const char* methods;
        Answer (State::*answer)(std::string_view query, const std::string& body);
    };

    Answer Project(std::string_view, const std::string&) {
        if (auto same = project.files->Stamp().RequireSame(); !same)
            return Refusal(409, same.error().message);
        auto json = ProjectJson(project, files);
        if (!json) return Refusal(json.error());
        auto settings = SettingsJson(path);
        if (!settings) return Refusal(settings.error());
        (*json)["saved_planes"] = platform::PathExists(detail::SavedPlanesPath(project.Manager()));
        (*json)["settings"] = std::move(*settings);
        (*json)["formats"] = FormatsJson();
        return AnswerOf(*json);
    }
    Answer Skeleton(std::string_view query, const std::string&) {
        return RecordsAnswer(files.skeleton, query);
    }
    Answer SkeletonData(std::string_view query, const std::string&) {
        return RecordsAnswer(files.skeletonData, query);
    }
    Answer Points(std::string_view query, const std::string&) {
        return RecordsAnswer(files.points, query);
    }
    Answer Cells(std::string_view query, const std::string&) {
        return CellsAnswer(files.cells, query);
    }
    Answer Histograms(std::string_view query, const std::string&) {
        const auto parameters = Parameters::Parse(query, {"classes"});
        if (!parameters) return Refusal(parameters.error());
        const std::uint64_t classes = parameters->Number("classes", kUsualClasses);
        if (classes < kFewestClasses || classes > kMostClasses)
            return Refusal(400,
                           fmt::format("classes must be {} to {}", kFewestClasses, kMostClasses));
        return AnswerOf(HistogramsJson(path, static_cast<std::size_t>(classes)));
    }
    Answer Alive(std::string_view, const std::string&) { return pages.Open(); }

    Answer PlaneNumbers(std::string_view query, const std::string&) {
        return NumbersAnswer(query, files.points, [](auto list, const RecordRange& range) {
            return Expected<std::unique_ptr<Pieces>>(PlaneNumbersOf(std::move(list), range));
        });
    }
    Answer SkeletonPlaneNumbers(std::string_view query, const std::string&) {
        return NumbersAnswer(query, files.skeleton, [this](auto list, const RecordRange& range) {
            return SkeletonPlaneNumbersOf(std::move(list), files.skeleton, range, scratch);
        });
    }
    template <class Make>
    Answer NumbersAnswer(std::string_view query, const RecordFile& points, Make make) {
        const auto parameters = Parameters::Parse(query, {"first", "count", "every", "id"});
        if (!parameters) return Refusal(parameters.error());
        auto list = known.List();
        if (!list) return Refusal(404, "no list of planes was made yet; find all planes first");
        if (parameters->Number("id", list->id) != list->id)
            return Refusal(409, "another list of planes has been made meanwhile");
        const auto range = RangeOf(*parameters, points.Records());
        if (!range) return Refusal(range.error());
        auto pieces = make(std::move(list), *range);
        if (!pieces) return Refusal(pieces.error());
        return AnswerOf(std::move(*pieces), range->Taken() * sizeof(std::uint32_t));
    }

    Answer Plane(std::string_view, const std::string& body) {
        auto request = PlaneRequestOf(body);
        if (!request) return Refusal(request.error());
        return searches.Ask([this, asked = *request](Lines& lines, const auto& proceed) {
            return GrowPlane(searched, asked, known, lines, proceed);
        });
    }
    Answer Planes(std::string_view, const std::string& body) {
        auto request = PlanesRequestOf(body);
        if (!request) return Refusal(request.error());
        return searches.Ask([this, asked = *request](Lines& lines, const auto& proceed) {
            return ListPlanes(path, asked, known, lines, proceed);
        });
    }
    Answer Export(std::string_view, const std::string& body) {
        const auto request = ExportRequestOf(body);
        if (!request) return Refusal(request.error());
        const auto planes = known.Choose(request->planes);
        if (!planes) return Refusal(404, planes.error().message);
        const CString name = platform::RemoveExtension(platform::FileNameOf(path));
        return AnswerOrRefusal(
            ExportOf(*planes, request->format, project.frame, platform::ToUtf8(name), scratch));
    }

    Answer AnswerToPath(const std::string& asked, const Request& request);
};

namespace {

constexpr const char* kRead = "GET, HEAD";

}  // namespace

Answer Viewer::State::AnswerToPath(const std::string& asked, const Request& request) {
    static constexpr std::array kRoutes{
        Route{"project", kRead, &State::Project},
        Route{"skeleton", kRead, &State::Skeleton},
        Route{"skeleton-data", kRead, &State::SkeletonData},
        Route{"cells", kRead, &State::Cells},
        Route{"points", kRead, &State::Points},
        Route{"histograms", kRead, &State::Histograms},
        Route{"plane-numbers", kRead, &State::PlaneNumbers},
        Route{"skeleton-plane-numbers", kRead, &State::SkeletonPlaneNumbers},
        Route{"plane", "POST", &State::Plane},
        Route{"planes", "POST", &State::Planes},
        Route{"export", "POST", &State::Export},
        Route{"alive", "GET", &State::Alive}};
    constexpr std::array kWords{std::pair{Method::Get, "GET"}, std::pair{Method::Head, "HEAD"},
                                std::pair{Method::Post, "POST"}};
    const auto allows = [&request, &kWords](std::string_view methods) {
        return std::any_of(kWords.begin(), kWords.end(), [&](const auto& word) {
            return word.first == request.method &&
                   methods.find(word.second) != std::string_view::npos;
        });
    };
    const std::size_t mark = asked.find('?');
    const std::string name = asked.substr(0, mark);
    const std::string_view query =
        mark == std::string::npos ? std::string_view() : std::string_view(asked).substr(mark + 1);
    for (const Route& route : kRoutes) {
        if (name != route.path) continue;
        if (!allows(route.methods)) return NotAllowed(route.methods);
        return (this->*route.answer)(query, request.body);
    }
    if (!allows(kRead)) return NotAllowed(kRead);
    return page.AnswerTo(name);
}

Viewer::Viewer(std::unique_ptr<State> state) : state_(std::move(state)) {}
Viewer::~Viewer() = default;

Expected<std::unique_ptr<Viewer>> Viewer::Open(const CString& path, const CString& pageFolder) {
    auto page = PageFiles::Open(pageFolder);
    if (!page) return ErrorOf(page);
    auto project = reports::WorldProject::Open(path);
    if (!project) return ErrorOf(project);
    auto searched = reports::WorldProject::Open(path);
    if (!searched) return ErrorOf(searched);
    auto files = ProjectFiles::Open(*project);
    if (!files) return ErrorOf(files);
    auto state = std::make_unique<State>();
    state->path = path;
    state->project = std::move(*project);
    state->searched = std::move(*searched);
    state->files = std::move(*files);
    state->page = std::move(*page);
    return std::unique_ptr<Viewer>(new Viewer(std::move(state)));
}

Answer Viewer::AnswerTo(const Gate& gate, const Request& request) {
    const auto asked = gate.PathOf(request);
    if (!asked) return Forbidden();
    return state_->AnswerToPath(*asked, request);
}

void Viewer::EndSearches() {
    state_->searches.End();
}

Presence& Viewer::Pages() {
    return state_->pages;
}

}  // namespace orvix::view
