// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <array>
#include <numeric>
#include <optional>
#include <utility>

#include "importer/import_tasks.h"
#include "orvix/c/boundary.h"
#include "orvix/c/orvix_import.h"
#include "orvix/platform/text.h"

using namespace orvix;
using namespace orvix::detail;

struct orvix_import_tasks {
    importer::ImportTasks tasks;
    importer::ImportCallback callback;
};

namespace {

using importer::ImportCallback;
using importer::ImportOptions;
using importer::ImportReport;
using importer::ImportTasks;
using importer::LengthUnit;
using importer::SkeletonSize;
using importer::UpAxis;

constexpr std::uint32_t kMaxThreads = 1024;

constexpr std::array kUnits{LengthUnit::Metre, LengthUnit::Millimetre, LengthUnit::Centimetre,
                            LengthUnit::Foot, LengthUnit::UsSurveyFoot};  // ORVIX_UNIT_
constexpr std::array kUps{UpAxis::Z, UpAxis::Y};                          // ORVIX_UP_
constexpr std::array kSkeletons{SkeletonSize::TenCentimetres, SkeletonSize::OneCentimetre,
                                SkeletonSize::OneMetre};  // ORVIX_SKELETON_

template <class Choices, class Choice>
Answer Choose(std::int32_t number, const char* name, const Choices& choices, Choice& choice) {
    if (number < 0 || number >= static_cast<std::int32_t>(choices.size())) {
        return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("options.{} is {}; it is 0 to {}", name,
                                                      number, choices.size() - 1));
    }
    choice = choices[static_cast<std::size_t>(number)];
    return {};
}

tl::expected<std::vector<std::string>, Refusal> TextsOf(const char* const* texts,
                                                        std::uint64_t count, const char* name) {
    std::vector<std::string> taken;
    if (count == 0) return taken;
    if (auto there = RequirePointer(texts, name); !there) return ErrorOf(there);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (auto there = RequirePointer(texts[i], name); !there) return ErrorOf(there);
        taken.emplace_back(texts[i]);
    }
    return taken;
}

tl::expected<ImportOptions, Refusal> OptionsOf(const orvix_import_options& given) {
    ImportOptions options;
    Answer sound = Choose(given.unit, "unit", kUnits, options.unit);
    if (sound) sound = Choose(given.up, "up", kUps, options.up);
    if (sound) sound = Choose(given.skeleton, "skeleton", kSkeletons, options.skeleton);
    if (!sound) return ErrorOf(sound);
    if (given.threads > kMaxThreads) {
        return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("options.threads is {}; it is {} at most",
                                                      given.threads, kMaxThreads));
    }
    auto stations = TextsOf(given.stations, given.station_count, "options.stations");
    if (!stations) return ErrorOf(stations);
    options.stationNames = std::move(*stations);
    options.dropZeros = given.drop_zeros != 0;
    options.dedupe = given.dedupe != 0;
    options.overwrite = given.overwrite != 0;
    options.resume = given.resume != 0;
    if (given.memory_limit != 0) options.memoryLimitBytes = given.memory_limit;
    options.threads = given.threads;
    return options;
}

ImportCallback CallbackOf(const orvix_import_options& given) {
    if (given.proceed == nullptr) return {};
    return [proceed = given.proceed, user = given.user](const importer::ImportProgress& progress) {
        return proceed(user, progress.fraction) != 0;
    };
}

/// The words of a call that begins an import.
struct Request {
    std::vector<CString> inputs;
    CString project;
    ImportOptions options;
    ImportCallback callback;
};

tl::expected<Request, Refusal> RequestOf(const char* const* inputs, std::uint64_t count,
                                         const char* project, const orvix_import_options* given) {
    if (auto there = RequirePointer(project, "project"); !there) return ErrorOf(there);
    const auto paths = TextsOf(inputs, count, "inputs");
    if (!paths) return ErrorOf(paths);
    const auto taken = Taken(given, "options");
    if (!taken) return ErrorOf(taken);
    auto options = OptionsOf(*taken);
    if (!options) return ErrorOf(options);
    Request request{{}, platform::FromUtf8(project), std::move(*options), CallbackOf(*taken)};
    for (const std::string& path : *paths) request.inputs.push_back(platform::FromUtf8(path));
    return request;
}

Answer GiveReport(const ImportReport& report, orvix_import_report* out) {
    if (out == nullptr) return {};
    orvix_import_report filled{};
    filled.stations = report.stations;
    filled.read = report.read;
    filled.written = report.written;
    filled.rejected = report.read - report.written;
    filled.skeleton_points = report.skeletonPoints;
    filled.checksum = report.checksum;
    for (std::size_t i = 0; i < report.origin.size(); ++i) filled.origin[i] = report.origin[i];
    return Give(filled, out, "report");
}

}  // namespace

orvix_status ORVIX_C_CALL orvix_import(const char* const* inputs, uint64_t count,
                                       const char* project, const orvix_import_options* options,
                                       orvix_import_report* report, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        const auto request = RequestOf(inputs, count, project, options);
        if (!request) return ErrorOf(request);
        const auto done = importer::Import(request->inputs, request->project, request->options,
                                           request->callback);
        return done ? GiveReport(*done, report) : Refuse(done.error());
    });
}

orvix_status ORVIX_C_CALL orvix_import_tasks_begin(const char* const* inputs, uint64_t count,
                                                   const char* project,
                                                   const orvix_import_options* options,
                                                   orvix_import_tasks** tasks, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(tasks, "tasks"); !there) return there;
        *tasks = nullptr;
        const auto request = RequestOf(inputs, count, project, options);
        if (!request) return ErrorOf(request);
        auto begun = ImportTasks::Begin(request->inputs, request->project, request->options,
                                        request->callback);
        if (!begun) return Refuse(begun.error());
        *tasks = new orvix_import_tasks{std::move(*begun), request->callback};
        return {};
    });
}

orvix_status ORVIX_C_CALL orvix_import_tasks_open(const char* project,
                                                  const orvix_import_options* options,
                                                  orvix_import_tasks** tasks, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(tasks, "tasks"); !there) return there;
        *tasks = nullptr;
        const auto request = RequestOf(nullptr, 0, project, options);
        if (!request) return ErrorOf(request);
        auto opened = ImportTasks::Open(request->project, request->options.memoryLimitBytes,
                                        request->options.threads);
        if (!opened) return Refuse(opened.error());
        *tasks = new orvix_import_tasks{std::move(*opened), request->callback};
        return {};
    });
}

orvix_status ORVIX_C_CALL orvix_import_tasks_ready(orvix_import_tasks* tasks,
                                                   orvix_task_name* names, uint64_t capacity,
                                                   uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(tasks, "tasks"); !there) return there;
        const auto ready = tasks->tasks.Ready();
        if (!ready) return Refuse(ready.error());
        const auto fits = Fits(ready->size(), names, capacity, count, "names");
        if (!fits) return ErrorOf(fits);
        for (std::size_t i = 0; *fits && i < ready->size(); ++i) {
            names[i] = {};
            (*ready)[i].copy(names[i].text, sizeof names[i].text - 1);
        }
        return {};
    });
}

orvix_status ORVIX_C_CALL orvix_import_tasks_run(orvix_import_tasks* tasks, const char* name,
                                                 orvix_import_report* report, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(tasks, "tasks"); !there) return there;
        if (auto there = RequirePointer(name, "name"); !there) return there;
        const auto done = tasks->tasks.Run(name, tasks->callback);
        if (!done) return Refuse(done.error());
        return *done ? GiveReport(**done, report) : Answer();
    });
}

void ORVIX_C_CALL orvix_import_tasks_close(orvix_import_tasks* tasks) {
    delete tasks;
}

orvix_status ORVIX_C_CALL orvix_import_tasks_clear(const char* project, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        const auto cleared = ImportTasks::Clear(platform::FromUtf8(project));
        return cleared ? Answer() : Refuse(cleared.error());
    });
}
