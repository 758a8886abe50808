// SPDX-License-Identifier: GPL-3.0-or-later
// save_victim PROJECT kill CALL | limit BYTES: finds planes of 5 square metres and more, saves them
// and is ended on the way, or meets a disk that is full. Exit code: 0 saved, 1 failed for another
// reason, 2 no space, 77 this system has no limit to meet.
#include <string>

#include "detection/saved_planes.h"
#include "orvix/platform/program.h"
#include "orvix/project/access/open_project.h"
#include "tests/support/process.h"

int main(int argc, char** argv) {
    using namespace orvix;
    const std::vector<std::string> words = platform::ProgramArguments(argc, argv);
    if (words.size() != 4) return 1;
    const std::uint64_t number = std::stoull(words[3]);
    const auto project = detail::OpenProject::Open(platform::FromUtf8(words[1]));
    if (!project) return 1;
    detection::PlaneSearchOptions options;
    options.minArea = 5;
    const auto search = detection::PlaneSearch::Run((*project)->Core(), options);
    if (!search) return 1;
    if (words[2] == "limit" && !test::LimitFileSize(number)) return 77;
    detection::SearchedPlanes planes((*project)->Core(), **search);
    std::uint64_t calls = 0;
    const auto saved =
        detection::SavePlanes((*project)->Manager(), (*project)->Core(), planes, [&] {
            if (words[2] == "kill" && ++calls == number) test::KillThisProcess();
            return true;
        });
    if (saved) return 0;
    return saved.error().code == ErrorCode::NoSpace ? 2 : 1;
}
