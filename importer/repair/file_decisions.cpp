// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/file_decisions.h"

#include <utility>

#include "importer/repair/repair_files.h"
#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::importer {
namespace {

using detail::ProjectFile;

class Decisions {
public:
    Decisions(const RepairedProject& project, const RebuiltFiles& made,
              const RepairOptions& options)
        : project_(project), made_(made), options_(options) {}

    Expected<void> Decide();
    std::vector<RepairedFile> Take() { return std::move(files_); }

private:
    Expected<void> DecideDerived(const ProjectFile& derived, const JudgedFile& file);
    [[nodiscard]] Expected<FileState> StateOf(const ProjectFile& derived,
                                              const JudgedFile& file) const;
    Expected<void> DecideRecord(const JudgedFile& file);
    void Add(const JudgedFile& file, FileState state, std::string why);

    const RepairedProject& project_;
    const RebuiltFiles& made_;
    const RepairOptions& options_;
    std::vector<RepairedFile> files_;
};

const ProjectFile* DerivedFileOf(const std::string& name) {
    for (const ProjectFile& file : detail::ProjectFiles()) {
        if (file.derived && name == file.name) return &file;
    }
    return nullptr;
}

void Decisions::Add(const JudgedFile& file, FileState state, std::string why) {
    files_.push_back({file.name, file.path, state, std::move(why)});
}

// A file that has its sum stays; another one stays where it is what the points make of it.
Expected<FileState> Decisions::StateOf(const ProjectFile& derived, const JudgedFile& file) const {
    const bool followsThePoints =
        !project_.HasDamagedPoints() || file.name == detail::kSettingsName;
    if (file.judgement == Judgement::Sound && followsThePoints) return FileState::Sound;
    if (file.judgement == Judgement::Missing) return FileState::Rebuilt;
    if (file.name == detail::kSettingsName && file.judgement != Judgement::Damaged) {
        // Users change settings, so they are not compared with the defaults.
        const auto record = detail::ExamineSettingsFile(file.path);
        if (!record) return ErrorOf(record);
        return *record == detail::SettingsRecord::Whole ? FileState::Sound : FileState::Rebuilt;
    }
    const bool pairs =
        file.name == detail::kSkeletonDataName && file.judgement != Judgement::Damaged;
    const auto alike = AreAlike(project_.Unfinished().*derived.path, file.path, pairs);
    if (!alike) return ErrorOf(alike);
    return *alike ? FileState::Sound : FileState::Rebuilt;
}

Expected<void> Decisions::DecideDerived(const ProjectFile& derived, const JudgedFile& file) {
    const bool absent = derived.fine && !made_.HasFineLevel();
    if (absent || !made_.Built()) {
        if (!absent || platform::PathExists(file.path)) Add(file, FileState::Sound, "");
        return {};
    }
    const auto state = StateOf(derived, file);
    if (!state) return ErrorOf(state);
    const char* why = file.judgement == Judgement::Missing   ? "was missing"
                      : file.judgement == Judgement::Damaged ? "was not as it was written"
                                                             : "did not go with the points";
    Add(file, *state, *state == FileState::Rebuilt ? why : "");
    return {};
}

// What comes from the scans alone.
// BEHAVIOUR I26
Expected<void> Decisions::DecideRecord(const JudgedFile& file) {
    if (file.judgement == Judgement::Sound || file.judgement == Judgement::Unsummed) {
        Add(file, FileState::Sound, "");
        return {};
    }
    const auto bytes = ReadSmall(file.path);
    if (!bytes) return ErrorOf(bytes);
    if (file.judgement == Judgement::Damaged && file.stored->sums.size() == 1 &&
        bytes->size() == file.stored->bytes) {
        if (const auto mended = WithoutFlippedBit(*bytes, file.stored->sums.front())) {
            Add(file, FileState::Mended, "one bit had flipped; its sum shows which");
            return options_.dryRun ? Expected<void>()
                                   : WriteNew(detail::UnfinishedPathOf(file.path), *mended);
        }
    }
    const bool missing = file.judgement == Judgement::Missing;
    if (options_.accept) {
        Add(file, FileState::Accepted, missing ? "is missing" : "is taken as it is");
    } else {
        Add(file, FileState::Lost,
            missing ? "is missing, and only the scans hold it"
                    : "is not as it was written, and only the scans hold it");
    }
    return {};
}

Expected<void> Decisions::Decide() {
    for (const JudgedFile& file : project_.Files()) {
        Expected<void> done;
        if (file.name == detail::kPointsName) {
            const bool damaged = file.judgement == Judgement::Damaged;
            Add(file, damaged ? FileState::Accepted : FileState::Sound,
                damaged ? "is taken as it is" : "");
        } else if (const ProjectFile* derived = DerivedFileOf(file.name)) {
            done = DecideDerived(*derived, file);
        } else {
            done = DecideRecord(file);
        }
        if (!done) return done;
    }
    return {};
}

}  // namespace

Expected<std::vector<RepairedFile>> DecideFiles(const RepairedProject& project,
                                                const RebuiltFiles& made,
                                                const RepairOptions& options) {
    Decisions decisions(project, made, options);
    if (auto done = decisions.Decide(); !done) return ErrorOf(done);
    return decisions.Take();
}

}  // namespace orvix::importer
