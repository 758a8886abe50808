// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/manifest/block_sums.h"

#include <algorithm>

#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/project/manifest/manifest.h"

namespace orvix::detail {
namespace {

constexpr std::size_t kReadBytes = std::size_t{1} << 18;

struct BlockResult {
    std::uint32_t sum = 0;
    std::error_code error;
    bool cut = false;
};

BlockResult SumBlock(const SummedFile& summed, std::uint64_t block) {
    BlockResult result;
    const platform::File file = platform::File::OpenRead(summed.path, result.error);
    if (result.error) return result;
    std::uint64_t at = block * kSumBlockBytes;
    const std::uint64_t end = at + std::min(kSumBlockBytes, summed.bytes - at);
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(std::min<std::uint64_t>(kReadBytes, end - at)));
    while (at < end && !result.error && !result.cut) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), end - at));
        const std::size_t read = file.ReadAt(at, bytes.data(), wanted, result.error);
        result.sum = platform::Crc32c({bytes.data(), read}, result.sum);
        result.cut = read != wanted;
        at += read;
    }
    return result;
}

}  // namespace

Expected<void> RunOneByOne(std::size_t jobs, const BlockJob& job) {
    Expected<void> done;
    for (std::size_t i = 0; i < jobs && done; ++i) done = job(i, 0);
    return done;
}

Expected<void> SumBlocks(std::vector<SummedFile>& files, const BlockRunner& run) {
    std::vector<std::size_t> firstJobs;
    std::size_t jobs = 0;
    for (const SummedFile& file : files) {
        firstJobs.push_back(jobs);
        jobs += static_cast<std::size_t>(SumBlocksOf(file.bytes));
    }
    std::vector<BlockResult> results(jobs);
    auto done = run(jobs, [&](std::size_t job, unsigned) -> Expected<void> {
        const auto after = std::upper_bound(firstJobs.begin(), firstJobs.end(), job);
        const auto file = static_cast<std::size_t>(after - firstJobs.begin()) - 1;
        results[job] = SumBlock(files[file], job - firstJobs[file]);
        return {};
    });
    if (!done) return done;
    for (std::size_t i = 0, job = 0; i < files.size(); ++i) {
        files[i].sums.clear();
        for (std::uint64_t block = 0; block < SumBlocksOf(files[i].bytes); ++block, ++job) {
            files[i].sums.push_back(results[job].sum);
            if (!files[i].error) files[i].error = results[job].error;
            files[i].cut = files[i].cut || results[job].cut;
        }
    }
    return {};
}

}  // namespace orvix::detail
