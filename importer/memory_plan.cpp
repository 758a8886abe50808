// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/memory_plan.h"

#include <algorithm>
#include <thread>

#include "orvix/points/records.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kMiB = 1u << 20;
constexpr std::uint64_t kWorkerBytes = 24 * kMiB;   // a piece, its points, its records, its keys
constexpr std::uint64_t kProcessBytes = 48 * kMiB;  // code, libraries, samples, write buffers
constexpr std::uint64_t kBytesPerBlockPoint = 240;  // with a cell for each point
constexpr std::uint64_t kMemoryBlock = 100 * 1024;  // fits a processor's cache
constexpr std::uint64_t kMaxFileBlock = 1 << 20;
constexpr std::uint64_t kMinFileBlock = 128 * 1024;

static_assert(kMemoryBlock * kBytesPerBlockPoint <= kWorkerBytes);

}  // namespace

MemoryPlan PlanMemory(std::uint64_t limitBytes, unsigned threads) {
    const unsigned wanted =
        threads != 0 ? threads : std::max(1u, std::thread::hardware_concurrency());
    const std::uint64_t affordable = std::max<std::uint64_t>(1, limitBytes / 3 / kWorkerBytes);
    MemoryPlan plan;
    plan.workers = static_cast<unsigned>(std::min<std::uint64_t>(wanted, affordable));
    const std::uint64_t reserved = plan.workers * kWorkerBytes + kProcessBytes;
    plan.poolBytes = std::max(limitBytes / 6, limitBytes - std::min(limitBytes, reserved));
    plan.memoryBlockPoints = kMemoryBlock;
    plan.fileBlockPoints = std::clamp(limitBytes / 2 / plan.workers / kBytesPerBlockPoint,
                                      kMinFileBlock, kMaxFileBlock);
    return plan;
}

}  // namespace orvix::importer
