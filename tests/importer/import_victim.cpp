// SPDX-License-Identifier: GPL-3.0-or-later
// import_victim PROJECT POINTS kill PHASE | limit BYTES: imports a line of points over the project
// and is ended on the way, or meets a disk that is full. Exit code: 0 imported, 1 failed for
// another reason, 2 no space, 77 this system has no limit to meet.
#include <cstdlib>
#include <string>

#include "importer/import_scans.h"
#include "orvix/platform/program.h"
#include "orvix/platform/text.h"
#include "tests/importer/memory_scan.h"
#include "tests/support/process.h"

int main(int argc, char** argv) {
    using namespace orvix;
    using namespace orvix::importer;
    const std::vector<std::string> words = platform::ProgramArguments(argc, argv);
    if (words.size() != 5) return 1;
    const CString project = platform::FromUtf8(words[1]);
    const std::uint64_t number = std::stoull(words[4]);
    if (words[3] == "limit" && !orvix::test::LimitFileSize(number)) return 77;

    ImportOptions options;
    options.overwrite = true;
    const auto onProgress = [&](const ImportProgress& progress) {
        if (words[3] == "kill" && progress.phase == static_cast<ImportPhase>(number)) {
            orvix::test::KillThisProcess();
        }
        return true;
    };
    const std::vector scans{importer::test::LineScan(std::stoull(words[2]))};
    const auto report = ImportScans(importer::test::Open(scans), project, options,
                                    importer::test::SmallPlan(), onProgress);
    if (report) return 0;
    return report.error().code == ErrorCode::NoSpace ? 2 : 1;
}
