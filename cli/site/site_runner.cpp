// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/site/site_runner.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <numeric>
#include <utility>

#include "cli/verbs.h"
#include "orvix/platform/child_process.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "parallel/pool.h"

namespace orvix::cli {

namespace {

constexpr unsigned kLook = 100;  // milliseconds between two looks for a request to end

std::string TextOf(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return {};
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    text.resize(file.ReadAt(0, text.data(), text.size(), error));
    return text;
}

// What a command that failed said: the sentence of its error, its first fault, or its last line.
std::string SentenceOf(const Json& result, const std::string& errors, int code) {
    if (result.is_object() && result.contains("error")) return result["error"].value("message", "");
    if (result.is_object() && result.contains("faults") && !result["faults"].empty()) {
        const Json& first = result["faults"][0];
        return fmt::format("{} faults; the first: {}: {}", result.value("total_faults", 0),
                           first.value("file", ""), first.value("what", ""));
    }
    const std::size_t end = errors.find_last_not_of("\r\n");
    if (end == std::string::npos) return fmt::format("ended with {} and without a word", code);
    const std::size_t before = errors.find_last_of('\n', end);
    return errors.substr(before + 1, end - before);
}

Expected<void> MakeFolders(const CString& folder) {
    if (folder.empty() || platform::IsFolder(folder)) return {};
    if (auto made = MakeFolders(platform::ParentOf(folder)); !made) return made;
    std::error_code error;
    platform::MakeFolder(folder, error);
    if (error) return FailSystem(error, platform::ToUtf8(folder) + " could not be made");
    return {};
}

class Runner {
public:
    Runner(const SiteOptions& options, const SiteWork& work)
        : options_(options), work_(work), program_(platform::ToUtf8(platform::ProgramPath())) {}

    Expected<void> RunScan(SiteResult& result) {
        const SiteScan& scan = *result.scan;
        const SiteStamps stamps(options_, scan);
        std::error_code error;
        const auto lock = platform::PathLock::TryAcquire(stamps.PathOf("scan", ".lock"), error);
        bool failed = false;
        for (SiteStep& step : result.steps) {
            if (step.state == SiteStep::State::Done) continue;
            if (failed) {
                step.state = SiteStep::State::Left;
                step.message.clear();
                continue;
            }
            if (!lock) {
                step.state = SiteStep::State::Failed;
                step.message = error ? error.message() : "another orvix site is at work on it";
            } else if (auto done = RunStep(stamps, scan, step); !done) {
                return done;
            }
            failed = step.state == SiteStep::State::Failed;
            const std::lock_guard<std::mutex> one(reporting_);
            if (work_.ended) work_.ended(scan, step);
        }
        return {};
    }

private:
    // Only a request to end is an error; all else belongs to the step.
    Expected<void> RunStep(const SiteStamps& stamps, const SiteScan& scan, SiteStep& step) {
        const auto start = std::chrono::steady_clock::now();
        const bool replaces = step.step == "import" && stamps.HasBegun();
        Expected<void> done = MayImport(scan, step, replaces);
        if (done) done = MakeFolders(platform::ParentOf(scan.project));
        if (done) done = stamps.Begin(step.step);
        if (done) done = RunCommand(stamps, scan, step, replaces);
        step.seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (done) {
            step.state = SiteStep::State::Ran;
            step.message.clear();
            return {};
        }
        if (done.error().code == ErrorCode::Cancelled) return done;
        step.state = SiteStep::State::Failed;
        step.message = done.error().message;
        return {};
    }

    // BEHAVIOUR C22
    static Expected<void> MayImport(const SiteScan& scan, const SiteStep& step, bool replaces) {
        if (step.step != "import" || replaces || !platform::PathExists(scan.project)) return {};
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(scan.project) +
                        " is there, and no site has made it; move it away, or name another "
                        "folder with --to");
    }

    Expected<void> RunCommand(const SiteStamps& stamps, const SiteScan& scan, const SiteStep& step,
                              bool replaces) {
        std::vector<std::string> words = WordsOf(options_, scan, step.step);
        words.insert(words.begin() + 1, "--json");
        if (replaces) words.insert(words.begin() + 1, "--overwrite");
        if (step.step != "check")
            words.insert(words.begin() + 1, fmt::format("--threads={}", work_.threads));
        words.insert(words.begin(), program_);
        const CString output = stamps.PathOf(step.step, ".out");
        const CString errors = stamps.PathOf(step.step, ".err");
        const Expected<int> code = Follow(words, output, errors);
        if (!code) return ErrorOf(code);
        const Json result = Json::parse(TextOf(output), nullptr, false);
        const std::string said = TextOf(errors);
        for (const CString& each : {output, errors}) {
            std::error_code ignored;
            platform::RemoveFile(each, ignored);
        }
        if (*code == kExitOk && result.is_object()) return stamps.Finish(step.step, result);
        const std::string sentence = SentenceOf(result, said, *code);
        if (auto noted = stamps.Fail(step.step, *code, sentence); !noted) return noted;
        return Fail(ErrorCode::Failure, sentence);
    }

    Expected<int> Follow(const std::vector<std::string>& words, const CString& output,
                         const CString& errors) const {
        std::error_code error;
        auto child = platform::ChildProcess::Start(words, output, errors, error);
        if (error) return FailSystem(error, program_ + " could not be started");
        bool asked = false;
        for (;;) {
            if (const auto code = child.WaitFor(kLook)) {
                if (asked) return Fail(ErrorCode::Cancelled, "the site was cancelled");
                return *code;
            }
            if (!asked && !MayGoOn()) {
                child.AskToEnd();
                asked = true;
            }
        }
    }

    const SiteOptions& options_;
    const SiteWork& work_;
    std::string program_;
    std::mutex reporting_;
};

}  // namespace

const SiteStep* SiteResult::Failed() const {
    const auto failed = std::find_if(steps.begin(), steps.end(), [](const SiteStep& step) {
        return step.state == SiteStep::State::Failed;
    });
    return failed == steps.end() ? nullptr : &*failed;
}

bool SiteResult::HasToDo() const {
    return std::any_of(steps.begin(), steps.end(),
                       [](const SiteStep& step) { return step.state == SiteStep::State::ToDo; });
}

SiteResult LookAt(const SiteOptions& options, const SiteScan& scan) {
    SiteResult result{&scan, {}};
    const SiteStamps stamps(options, scan);
    bool anew = false;  // what follows a step that runs is done again
    for (const std::string& name : options.steps) {
        anew |= !stamps.IsDone(name);
        const auto state = anew ? SiteStep::State::ToDo : SiteStep::State::Done;
        result.steps.push_back({name, state, 0, anew ? stamps.FailureOf(name) : std::string()});
    }
    return result;
}

Expected<std::vector<SiteResult>> RunSite(const SiteOptions& options,
                                          const std::vector<SiteScan>& scans,
                                          const SiteWork& work) {
    if (auto made = MakeFolders(StampFolderOf(options)); !made) return ErrorOf(made);
    std::vector<SiteResult> results;
    for (const SiteScan& scan : scans) results.push_back(LookAt(options, scan));
    std::vector<std::size_t> order(scans.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return scans[a].bytes > scans[b].bytes; });
    Runner runner(options, work);
    const parallel::Pool pool(work.jobs, MayGoOn, "the site was cancelled");
    auto done = pool.RunJobs(order.size(), [&](std::size_t job, unsigned) {
        return runner.RunScan(results[order[job]]);
    });
    if (!done) return ErrorOf(done);
    return results;
}

}  // namespace orvix::cli
