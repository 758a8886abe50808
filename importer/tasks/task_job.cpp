// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/task_job.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/file_identity.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

using platform::FromUtf8;
using platform::ToUtf8;

constexpr const char* kJob = "job";
constexpr int kVersion = 1;
constexpr std::uint64_t kEndBytes = 65'536;

Json JsonOf(const ImportOptions& options) {
    Json stations = Json::array();
    for (const std::string& name : options.stationNames) stations.push_back(TextJson(name));
    return {{"unit", static_cast<int>(options.unit)},
            {"up", static_cast<int>(options.up)},
            {"drop_zeros", options.dropZeros},
            {"dedupe", options.dedupe},
            {"overwrite", options.overwrite},
            {"stations", stations},
            {"skeleton", static_cast<int>(options.skeleton)}};
}

template <class Choice>
Choice ChoiceOf(const Json& json, Choice last) {
    const int number = json.get<int>();
    if (number < 0 || number > static_cast<int>(last))
        throw Json::out_of_range::create(401, "choice", &json);
    return static_cast<Choice>(number);
}

ImportOptions OptionsOf(const Json& json) {
    ImportOptions options;
    options.unit = ChoiceOf(json.at("unit"), LengthUnit::UsSurveyFoot);
    options.up = ChoiceOf(json.at("up"), UpAxis::Y);
    options.dropZeros = json.at("drop_zeros");
    options.dedupe = json.at("dedupe");
    options.overwrite = json.at("overwrite");
    options.stationNames = {};
    for (const Json& name : json.at("stations")) options.stationNames.push_back(StringOf(name));
    options.skeleton = ChoiceOf(json.at("skeleton"), SkeletonSize::OneMetre);
    return options;
}

// The option that differs, as the command calls it; null where none does.
const char* Difference(const ImportOptions& a, const ImportOptions& b) {
    if (a.unit != b.unit) return "--unit";
    if (a.up != b.up) return "--up";
    if (a.dropZeros != b.dropZeros) return "--drop-zeros";
    if (a.dedupe != b.dedupe) return "--dedupe";
    if (a.stationNames != b.stationNames) return "--station";
    return a.skeleton != b.skeleton ? "--skeleton" : nullptr;
}

// What of a file is not as it was; null where all is.
const char* Change(const InputStamp& before, const InputStamp& now) {
    if (before.bytes != now.bytes) return "its size";
    if (before.head != now.head || before.tail != now.tail) return "its content";
    return before.written != now.written ? "its time" : nullptr;
}

Expected<std::uint32_t> SumAt(const platform::File& file, const CString& path,
                              std::uint64_t offset) {
    std::array<std::uint8_t, kEndBytes> bytes{};
    std::error_code error;
    const std::size_t read = file.ReadAt(offset, bytes.data(), bytes.size(), error);
    if (error) return FailSystem(error, fmt::format("cannot read {}", ToUtf8(path)));
    return platform::Crc32c(std::span(bytes).first(read));
}

Expected<void> RequireUnchanged(const InputStamp& before) {
    const auto now = StampOf(before.path);
    if (!now) return ErrorOf(now);
    const char* const change = Change(before, *now);
    if (change == nullptr) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("{} changed since its import began ({}); import it again without "
                            "--resume",
                            ToUtf8(before.path), change));
}

}  // namespace

Expected<InputStamp> StampOf(const CString& path) {
    InputStamp stamp;
    stamp.path = platform::AbsolutePath(path);
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return FailSystem(error, fmt::format("cannot read {}", ToUtf8(path)));
    stamp.bytes = file.Size();
    platform::WrittenTimeOf(file.Get(), stamp.written);
    const auto head = SumAt(file, path, 0);
    if (!head) return ErrorOf(head);
    const auto tail = SumAt(file, path, stamp.bytes - std::min(stamp.bytes, kEndBytes));
    if (!tail) return ErrorOf(tail);
    stamp.head = *head;
    stamp.tail = *tail;
    return stamp;
}

std::uint64_t SortPointsOf(const MemoryPlan& plan) {
    return std::max<std::uint64_t>(plan.poolBytes / kAlivePointBytes, 1);
}

std::vector<CString> PathsOf(const std::vector<ScanInput>& inputs) {
    std::vector<CString> paths;
    for (const ScanInput& input : inputs) paths.push_back(input.path);
    return paths;
}

Expected<TaskJob> NewJob(const CString& project, const std::vector<CString>& inputs,
                         const ImportOptions& options, const MemoryPlan& plan) {
    TaskJob job{platform::AbsolutePath(project), {}, options, SortPointsOf(plan)};
    for (const CString& input : inputs) {
        auto stamp = StampOf(input);
        if (!stamp) return ErrorOf(stamp);
        job.inputs.push_back(std::move(*stamp));
    }
    return job;
}

Expected<TaskJob> ReadJob(const TaskNotes& notes) {
    return ReadNote(notes, kJob, [](const Json& json) {
        if (json.at("version") != kVersion) throw Json::out_of_range::create(401, "version", &json);
        TaskJob job;
        job.project = FromUtf8(StringOf(json.at("project")));
        for (const Json& input : json.at("inputs"))
            job.inputs.push_back({FromUtf8(StringOf(input.at("path"))), input.at("bytes"),
                                  input.at("written"), input.at("head"), input.at("tail")});
        job.options = OptionsOf(json.at("options"));
        job.sortPoints = json.at("sort_points");
        if (job.inputs.empty() || job.sortPoints == 0)
            throw Json::out_of_range::create(401, "inputs", &json);
        return job;
    });
}

Expected<void> WriteJob(const TaskNotes& notes, const TaskJob& job) {
    Json inputs = Json::array();
    for (const InputStamp& input : job.inputs)
        inputs.push_back({{"path", TextJson(ToUtf8(input.path))},
                          {"bytes", input.bytes},
                          {"written", input.written},
                          {"head", input.head},
                          {"tail", input.tail}});
    return notes.Write(kJob, {{"version", kVersion},
                              {"project", TextJson(ToUtf8(job.project))},
                              {"inputs", inputs},
                              {"options", JsonOf(job.options)},
                              {"sort_points", job.sortPoints}});
}

Expected<void> RequireSame(const TaskJob& job, const std::vector<CString>& inputs,
                           const ImportOptions& options) {
    const bool sameInputs = std::equal(
        job.inputs.begin(), job.inputs.end(), inputs.begin(), inputs.end(),
        [](const InputStamp& a, const CString& b) { return a.path == platform::AbsolutePath(b); });
    const char* const difference = sameInputs ? Difference(job.options, options) : "inputs";
    if (difference == nullptr) return RequireUnchanged(job);
    return Fail(ErrorCode::BadInput,
                fmt::format("the import of {} that was ended had other {}; give the same ones to "
                            "go on with it, or leave out --resume to begin anew",
                            ToUtf8(job.project), difference));
}

Expected<void> RequireUnchanged(const TaskJob& job) {
    for (const InputStamp& input : job.inputs) {
        if (auto same = RequireUnchanged(input); !same) return same;
    }
    return {};
}

}  // namespace orvix::importer
