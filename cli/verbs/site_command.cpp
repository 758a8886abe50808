// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <thread>
#include <utility>

#include "cli/message.h"
#include "cli/options/search_options.h"
#include "cli/site/site_runner.h"
#include "cli/site/slurm_script.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/child_process.h"
#include "orvix/platform/path.h"
#include "orvix/platform/system.h"
#include "orvix/platform/unfinished_file.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string folder;
    std::string to;
    std::string slurm;
    std::vector<std::string> steps;
    std::vector<std::string> scans;
    std::string unit = "m", up = "z", skeleton = "10cm";
    bool dropZeros = false;
    bool dedupe = false;
    bool dryRun = false;
    bool lines = false;
    unsigned jobs = 0;
    unsigned threads = 0;
    SearchArguments search;
    // As they were typed, to be handed on.
    std::vector<std::string> importWords, planesWords;
};

constexpr const char* kExamples =
    "  orvix site scans --to projects --dry-run\n"
    "  orvix site scans --to projects --steps import,check --jobs 4\n"
    "  orvix site scans --to projects --scan floor1/hall.e57\n"
    "  orvix site scans --to projects --slurm site.sh && sbatch site.sh";

// Beside what --memory-limit says, a process has its code and its buffers.
constexpr std::uint64_t kMoreMemory = std::uint64_t{512} << 20;

SiteOptions OptionsOf(const Arguments& arguments) {
    SiteOptions options;
    options.folder = platform::AbsolutePath(platform::FromUtf8(arguments.folder));
    options.to = arguments.to.empty() ? options.folder
                                      : platform::AbsolutePath(platform::FromUtf8(arguments.to));
    for (const char* step : kSiteSteps)
        if (arguments.steps.empty() || std::find(arguments.steps.begin(), arguments.steps.end(),
                                                 step) != arguments.steps.end())
            options.steps.emplace_back(step);
    options.import = arguments.importWords;
    options.planes = arguments.planesWords;
    options.scans = arguments.scans;
    return options;
}

std::uint64_t MemoryOf(const Arguments& arguments) {
    return platform::ParseBytes(arguments.search.memoryLimit).value_or(std::uint64_t{1} << 30) +
           kMoreMemory;
}

// As many scans at a time as half of the memory holds, but no more than there are cores or scans.
SiteWork WorkFor(const Arguments& arguments, std::size_t scans) {
    const unsigned cores = std::max(std::thread::hardware_concurrency(), 1U);
    SiteWork work;
    work.jobs = arguments.jobs;
    if (work.jobs == 0) {
        const std::uint64_t fit = platform::PhysicalMemory() / 2 / MemoryOf(arguments);
        work.jobs = static_cast<unsigned>(std::clamp<std::uint64_t>(fit, 1, cores));
    }
    work.jobs = std::min(work.jobs, static_cast<unsigned>(scans));
    work.threads = arguments.threads > 0 ? arguments.threads : std::max(cores / work.jobs, 1U);
    return work;
}

Json JsonOf(const SiteStep& step) {
    return Json{{"step", step.step},
                {"state", WordOf(step.state)},
                {"seconds", step.seconds},
                {"message", step.message.empty() ? Json() : Json(step.message)}};
}

void PrintLine(const SiteScan& scan, const SiteStep& step) {
    Json line = Json::object();
    line["scan"] = scan.name;
    line.update(JsonOf(step));
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

Outcome OutcomeOf(const SiteOptions& options, const std::vector<SiteResult>& results) {
    Outcome outcome;
    outcome.json["folder"] = platform::ToUtf8(options.folder);
    outcome.json["to"] = platform::ToUtf8(options.to);
    outcome.json["scans"] = Json::array();
    std::size_t failed = 0;
    for (const SiteResult& result : results) {
        Json steps = Json::array();
        outcome.text += fmt::format("{:<40}", result.scan->name);
        for (const SiteStep& step : result.steps) {
            steps.push_back(JsonOf(step));
            outcome.text += fmt::format(" {} {:<7}", step.step, WordOf(step.state));
        }
        outcome.text += "\n";
        for (const SiteStep& step : result.steps)
            if (!step.message.empty())
                outcome.text +=
                    fmt::format("    {}{}: {}\n", step.step,
                                step.state == SiteStep::State::ToDo ? " failed" : "", step.message);
        const SiteStep* fault = result.Failed();
        if (fault != nullptr) ++failed;
        outcome.json["scans"].push_back(Json{{"scan", result.scan->name},
                                             {"project", platform::ToUtf8(result.scan->project)},
                                             {"bytes", result.scan->bytes},
                                             {"failed", fault != nullptr},
                                             {"steps", std::move(steps)}});
    }
    outcome.json["failed"] = failed;
    outcome.text += fmt::format("{} scans, {} failed\n", results.size(), failed);
    if (failed > 0) outcome.exitCode = kExitFailure;
    return outcome;
}

// The same verb for one scan; where it runs is the script's to say.
std::vector<std::string> WordsFor(const Arguments& arguments, const SiteOptions& options) {
    std::vector<std::string> words{"site"};
    std::string steps;
    for (const std::string& step : options.steps) steps += (steps.empty() ? "" : ",") + step;
    words.push_back("--steps=" + steps);
    std::vector<std::string> given = arguments.importWords;
    given.insert(given.end(), arguments.planesWords.begin(), arguments.planesWords.end());
    std::sort(given.begin(), given.end());
    given.erase(std::unique(given.begin(), given.end()), given.end());
    words.insert(words.end(), given.begin(), given.end());
    words.push_back("--to=" + platform::ToUtf8(options.to));
    words.push_back(platform::ToUtf8(options.folder));
    return words;
}

Expected<void> WriteSlurm(const Arguments& arguments, const SiteOptions& options,
                          const std::vector<SiteResult>& results) {
    SlurmJob job;
    job.program = platform::ToUtf8(platform::ProgramPath());
    job.words = WordsFor(arguments, options);
    job.log = platform::ToUtf8(StampFolderOf(options));
    job.jobs = arguments.jobs;
    job.threads = std::max(arguments.threads, 1U);
    job.memoryBytes = MemoryOf(arguments);
    for (const SiteResult& result : results)
        if (result.HasToDo()) job.scans.push_back(result.scan->name);
    if (job.scans.empty())
        return Fail(ErrorCode::BadInput,
                    "every scan is done; there is nothing to write a script for");
    const std::string script = SlurmScriptOf(job);
    const CString path = platform::FromUtf8(arguments.slurm);
    std::error_code error;
    // Slurm makes no folder for what jobs say.
    platform::MakeFolder(options.to, error);
    if (!error) platform::MakeFolder(StampFolderOf(options), error);
    if (error) return FailSystem(error, job.log + " could not be made");
    platform::UnfinishedFile file(path, L".orvix-part", error);
    if (!error) file.Append(script.data(), script.size(), error);
    if (!error) file.Publish(error);
    if (error) return FailSystem(error, arguments.slurm + " could not be written");
    return {};
}

Expected<Outcome> RunSiteVerb(const Arguments& arguments) {
    if (auto places = RequirePlaces({arguments.slurm}); !places) return ErrorOf(places);
    const SiteOptions options = OptionsOf(arguments);
    const auto scans = FindScans(options);
    if (!scans) return ErrorOf(scans);
    if (arguments.dryRun || !arguments.slurm.empty()) {
        std::vector<SiteResult> results;
        for (const SiteScan& scan : *scans) results.push_back(LookAt(options, scan));
        if (!arguments.slurm.empty())
            if (auto written = WriteSlurm(arguments, options, results); !written)
                return ErrorOf(written);
        return OutcomeOf(options, results);
    }
    SiteWork work = WorkFor(arguments, scans->size());
    work.ended = [&](const SiteScan& scan, const SiteStep& step) {
        if (arguments.lines) return PrintLine(scan, step);
        PrintNote(fmt::format("{}: {} {} after {:.1f} s", scan.name, step.step, WordOf(step.state),
                              step.seconds));
    };
    const auto results = RunSite(options, *scans, work);
    if (!results) return ErrorOf(results);
    Outcome outcome = OutcomeOf(options, *results);
    if (arguments.lines) outcome.text.clear();
    return outcome;
}

// "--unit=ft" of each option that was given.
std::vector<std::string> Given(const CLI::App& verb, std::initializer_list<const char*> names) {
    std::vector<std::string> words;
    for (const char* name : names) {
        const CLI::Option* option = verb.get_option(name);
        if (option->count() == 0) continue;
        words.push_back(option->get_expected_min() == 0
                            ? std::string(name)
                            : fmt::format("{}={}", name, option->results().back()));
    }
    return words;
}

void AddWorkOptions(CLI::App& verb, Arguments& arguments) {
    verb.add_option("--to", arguments.to,
                    "Where the projects go, and what is known of each scan (default: FOLDER)")
        ->type_name("FOLDER");
    verb.add_option("--steps", arguments.steps,
                    "What is done with each scan, of import, check and planes (default: all three)")
        ->delimiter(',')
        ->expected(1, 3)
        ->check(CLI::IsMember({"import", "check", "planes"}).description(""))
        ->type_name("STEP,...");
    verb.add_option("--scan", arguments.scans,
                    "Only this scan, as the list names it (may be repeated)")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("NAME");
    verb.add_option("--jobs", arguments.jobs,
                    "Scans at a time (default 0: as many as half of the memory holds)")
        ->check(CLI::Range(0u, 1024u).description(""))
        ->type_name("N");
    AddThreadsOption(verb, arguments.threads);
    CLI::Option* dry = verb.add_flag("--dry-run", arguments.dryRun, "Only list what is to be done");
    verb.add_option("--slurm", arguments.slurm,
                    "Write a script that runs each scan as a job of an array, and do nothing else")
        ->type_name("OUT.sh")
        ->excludes(dry);
    verb.add_flag("--lines", arguments.lines,
                  "Print one JSON object a line as each step ends, and no list at the end")
        ->excludes("--json")
        ->excludes(dry);
}

void AddImportOptions(CLI::App& verb, Arguments& arguments) {
    AddChoice(verb, "--unit", arguments.unit, "Of import: unit of the scans' coordinates",
              {"m", "mm", "cm", "ft", "us-ft"});
    AddChoice(verb, "--up", arguments.up, "Of import: the scans' upward axis", {"z", "y"});
    AddChoice(verb, "--skeleton", arguments.skeleton, "Of import: voxel of the thinned cloud",
              {"1cm", "10cm", "1m"});
    verb.add_flag("--drop-zeros", arguments.dropZeros, "Of import: reject points at 0, 0, 0");
    verb.add_flag("--dedupe", arguments.dedupe,
                  "Of import: keep only the first of points at the same position");
}

}  // namespace

void AddSiteVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "site", "Import, check and search a folder of scans", kExamples,
                [arguments](CommandContext&) { return RunSiteVerb(*arguments); });
    verb->add_option("folder", arguments->folder, "The folder of the scans, and folders in it")
        ->required()
        ->type_name("FOLDER");
    AddWorkOptions(*verb, *arguments);
    AddImportOptions(*verb, *arguments);
    AddSearchOptions(*verb, arguments->search);
    verb->parse_complete_callback([arguments, verb] {
        arguments->importWords = Given(
            *verb, {"--unit", "--up", "--skeleton", "--drop-zeros", "--dedupe", "--memory-limit"});
        arguments->planesWords =
            Given(*verb, {"--detail", "--cell", "--distance", "--angle", "--min-area",
                          "--min-points", "--bridge", "--memory-limit"});
    });
}

}  // namespace orvix::cli
