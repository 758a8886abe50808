// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/sorted_run.h"

#include <algorithm>

namespace orvix::importer {
namespace {

struct Bracket {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

// Between which points the first one that is not below `key` stands, both ends included.
Bracket BracketOf(const SortedRun& run, const SortKey& key) {
    const auto sample = static_cast<std::uint64_t>(
        std::lower_bound(run.samples.begin(), run.samples.end(), key) - run.samples.begin());
    return {sample == 0 ? 0 : (sample - 1) * run.stride, std::min(sample * run.stride, run.count)};
}

const AlivePoint* FirstNotBelow(const GridFrame& frame, const AlivePoint* begin,
                                const AlivePoint* end, const SortKey& key) {
    return std::partition_point(begin, end,
                                [&](const AlivePoint& p) { return frame.KeyOf(p) < key; });
}

}  // namespace

SortedRun RunInMemory(const GridFrame& frame, std::span<const AlivePoint> points) {
    SortedRun run;
    run.records = points.data();
    run.count = points.size();
    run.stride = kMemoryStride;
    run.samples.reserve((points.size() + kMemoryStride - 1) / kMemoryStride);
    for (std::size_t i = 0; i < points.size(); i += kMemoryStride) {
        run.samples.push_back(frame.KeyOf(points[i]));
    }
    return run;
}

Expected<void> AppendPoints(const SortedRun& run, std::uint64_t first, std::size_t count,
                            RawBuffer<AlivePoint>& out) {
    if (count == 0) return {};
    AlivePoint* const place = out.Grow(count);
    if (run.records == nullptr) {
        return run.file->ReadAt((run.first + first) * sizeof(AlivePoint), place,
                                count * sizeof(AlivePoint));
    }
    std::copy_n(run.records + first, count, place);
    return {};
}

Expected<std::uint64_t> CountBelow(const SortedRun& run, const GridFrame& frame,
                                   const SortKey& key) {
    const Bracket bracket = BracketOf(run, key);
    if (run.records != nullptr) {
        return static_cast<std::uint64_t>(
            FirstNotBelow(frame, run.records + bracket.begin, run.records + bracket.end, key) -
            run.records);
    }
    RawBuffer<AlivePoint> points;
    const auto count = static_cast<std::size_t>(bracket.end - bracket.begin);
    if (auto read = AppendPoints(run, bracket.begin, count, points); !read) {
        return ErrorOf(read);
    }
    const AlivePoint* const begin = points.Data();
    return bracket.begin +
           static_cast<std::uint64_t>(FirstNotBelow(frame, begin, begin + count, key) - begin);
}

Expected<void> AppendRange(const SortedRun& run, const GridFrame& frame, const SortKey& low,
                           const SortKey& high, RawBuffer<AlivePoint>& out) {
    const Bracket lowest = BracketOf(run, low);
    const Bracket highest = BracketOf(run, high);
    if (run.records != nullptr) {
        const AlivePoint* const begin =
            FirstNotBelow(frame, run.records + lowest.begin, run.records + lowest.end, low);
        const AlivePoint* const end =
            FirstNotBelow(frame, run.records + highest.begin, run.records + highest.end, high);
        return AppendPoints(run, static_cast<std::uint64_t>(begin - run.records),
                            static_cast<std::size_t>(end - begin), out);
    }
    const std::size_t before = out.Size();
    const auto count = static_cast<std::size_t>(highest.end - lowest.begin);
    if (auto read = AppendPoints(run, lowest.begin, count, out); !read) return read;
    AlivePoint* const place = out.Data() + before;
    const AlivePoint* const begin = FirstNotBelow(frame, place, place + count, low);
    const AlivePoint* const end = FirstNotBelow(frame, begin, place + count, high);
    std::copy(begin, end, place);
    out.Resize(before + static_cast<std::size_t>(end - begin));
    return {};
}

}  // namespace orvix::importer
