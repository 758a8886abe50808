// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <array>
#include <memory>
#include <utility>

#include "cli/options/preview_search.h"
#include "cli/verbs.h"
#include "localization/text_ids.h"
#include "orvix/planes/dialog/plane_params.h"
#include "orvix/planes/unsaved_settings.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/io_utility.h"
#include "orvix/platform/text.h"
#include "orvix/platform/utility_lib.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/access/project_gate.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string project;
    std::string seed;
    std::string language;
};

constexpr const char* kExamples =
    "  orvix params scan.prj\n"
    "  orvix params scan.prj --seed 12.4,3.08,1.5 --lang de";

constexpr double kMinSplitSize = 0.01;

constexpr std::array kLanguages{std::pair{"en", 0x409}, std::pair{"de", 0x407},
                                std::pair{"fr", 0x40C}, std::pair{"es", 0xC0A}};

void ChooseLanguage(const std::string& word) {
    for (const auto& [name, identifier] : kLanguages)
        if (word == name) UtilityLib::OverrideLocale(identifier);
}

// What is asked for first: a user who has set everything should not learn then that it was in vain.
Expected<void> RequireChangeable(const CString& project) {
    if (auto opened = detail::OpenProject::Open(project); !opened) return ErrorOf(opened);
    if (IOUtility::FileIsWritable(project)) return {};
    return Fail(ErrorCode::Failure,
                fmt::format("{} may not be written, so there is nowhere to keep the parameters; "
                            "check the file's permissions",
                            platform::ToUtf8(project)));
}

Json SetJson(double splitSize, std::array<double, 3> diffs, std::int32_t minPlane) {
    Json json = Json::object();
    json["split_size"] = splitSize;
    json["diff_a"] = diffs[0];
    json["diff_b"] = diffs[1];
    json["diff_c"] = diffs[2];
    json["min_plane"] = minPlane;
    return json;
}

Json JsonOf(const PlaneWormSettings& s, bool saved) {
    Json json = Json::object();
    json["saved"] = saved;
    json["usage"] = s.usage == 0 ? "alive" : "skeleton";
    json["alive"] =
        SetJson(s.aliveSplitSize, {s.aliveDiffA, s.aliveDiffB, s.aliveDiffC}, s.aliveMinPlane);
    json["skeleton"] =
        SetJson(s.skeletSplitSize, {s.skeletDiffA, s.skeletDiffB, s.skeletDiffC}, s.skeletMinPlane);
    return json;
}

std::string LineOf(const char* name, const Json& set, bool current) {
    return fmt::format("{:<9} cells of {:.2f} m, tolerance {:.3f}, {:.3f}, {:.3f}, MinPlane {}{}\n",
                       name, set["split_size"].get<double>(), set["diff_a"].get<double>(),
                       set["diff_b"].get<double>(), set["diff_c"].get<double>(),
                       set["min_plane"].get<int>(), current ? " (in use)" : "");
}

Outcome OutcomeOf(const PlaneWormSettings& settings, bool saved) {
    Outcome outcome;
    outcome.json = JsonOf(settings, saved);
    const bool alive = settings.usage == 0;
    outcome.text = saved ? "saved\n" : "nothing changed\n";
    outcome.text += LineOf("alive", outcome.json["alive"], alive);
    outcome.text += LineOf("skeleton", outcome.json["skeleton"], !alive);
    return outcome;
}

// The window draws nothing by itself: searches run beside it, and their pictures are shown from
// its ticks.
void Preview(PlaneParams& dialog, PreviewSearch& search) {
    dialog.DrawCallback([&dialog, &search](const PlaneWormSettings& tried) {
        platform::WindowPicture waiting;
        waiting.text = UtilityLib::LocaleString(localization::kSearching);
        dialog.ShowPicture(waiting);
        search.Start(tried);
    });
}

Expected<Outcome> Edit(const CString& project, PreviewSearch* search) {
    auto settings = std::make_shared<PlaneWormSettings>(project, 1.0);
    PlaneParams dialog(settings, search != nullptr, kMinSplitSize, nullptr);
    if (search != nullptr) Preview(dialog, *search);
    dialog.TickCallback([&dialog, search] {
        if (!MayGoOn()) return dialog.OnBnClickedCancel();
        if (search == nullptr) return;
        if (const auto picture = search->Take()) dialog.ShowPicture(*picture);
    });
    const int answer = dialog.DoModal();
    if (answer == PlaneParams::kCannotOpen)
        return Fail(ErrorCode::Failure, platform::ToUtf8(dialog.Trouble()));
    if (!MayGoOn()) return Fail(ErrorCode::Cancelled, "cancelled; nothing changed");
    if (answer != PlaneParams::kOk) return OutcomeOf(*settings, false);
    if (auto saved = detail::SaveToProject(*settings); !saved) return ErrorOf(saved);
    return OutcomeOf(PlaneWormSettings(project, 1.0), true);
}

Expected<Outcome> RunParams(const Arguments& arguments) {
    const Expected<CString> project = detail::RequireProject(arguments.project);
    if (!project) return ErrorOf(project);
    if (auto changeable = RequireChangeable(*project); !changeable) return ErrorOf(changeable);
    ChooseLanguage(arguments.language);
    const auto seed = platform::ParsePosition(arguments.seed);
    if (!seed) return Edit(*project, nullptr);
    reports::PlaneRequest request;
    request.seed = *seed;
    PreviewSearch search(*project, request);
    return Edit(*project, &search);
}

}  // namespace

void AddParamsVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "params", "Set what the plane search works with, in a window",
                kExamples, [arguments](CommandContext&) { return RunParams(*arguments); });
    AddProjectOption(*verb, context, arguments->project);
    AddSeedOption(*verb, arguments->seed,
                  "A point on a surface, in world coordinates: the window then shows the plane "
                  "that the parameters find there");
    std::vector<std::string> words;
    for (const auto& [name, identifier] : kLanguages) words.emplace_back(name);
    verb->add_option("--lang", arguments->language,
                     "The window's language (default: the one set for this machine, else en)")
        ->check(CLI::IsMember(words).description(""))
        ->type_name("en|de|fr|es");
}

}  // namespace orvix::cli
