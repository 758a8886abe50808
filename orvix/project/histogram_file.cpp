// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/project/project_manager.h"
#include "orvix/stats/mathematic.h"

namespace orvix {
namespace {

constexpr std::size_t kRecordBytes = 12;
constexpr std::size_t kBlockRecords = 5461;  // 64 KiB

struct Bin {
    double value = 0;
    std::int32_t count = 0;
};

/// Calls visit(bin) for each whole record of a histogram file; not at all when it cannot be opened.
/// Where a file has become shorter meanwhile, its last record stands for the missing ones.
template <class Visit>
void ForEachBin(const CString& path, Visit visit) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return;
    const auto records = static_cast<std::int32_t>(file.Size() / kRecordBytes);
    std::array<std::uint8_t, kBlockRecords * kRecordBytes> block;
    std::size_t held = 0;
    Bin bin;
    for (std::int32_t i = 0; i < records; ++i) {
        const std::size_t place = static_cast<std::size_t>(i) % kBlockRecords * kRecordBytes;
        if (place == 0) {
            held = file.ReadAt(static_cast<std::uint64_t>(i) * kRecordBytes, block.data(),
                               block.size(), error);
        }
        if (place + kRecordBytes <= held) {
            std::memcpy(&bin.value, &block[place], sizeof bin.value);
            std::memcpy(&bin.count, &block[place + sizeof bin.value], sizeof bin.count);
        }
        visit(bin);
    }
}

}  // namespace

void ProjectManager::ReadHistogram4Jenks(const CString& path, std::vector<double>* samples,
                                         const double& shift, const int& sampleCount,
                                         const int& unused) {
    std::map<long long, double> table;
    long long total = 0;
    ForEachBin(path, [&](const Bin& bin) {
        total += bin.count;
        // A bin without points has the running total of the one before it and takes its place.
        table.insert_or_assign(table.end(), total, bin.value + shift);
    });
    Mathematic::PreapareHistogram4Jenks(sampleCount, unused, table, samples, total);
}

}  // namespace orvix
