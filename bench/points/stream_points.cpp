// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does streaming every point cost over a bare loop on the mapped file?
// Ceiling:  that loop, on the same bytes, in the same run: over a view of the whole file mapped
//           for the occasion, and over one that is mapped already and whose pages are in place.
#include <cstring>

#include "bench/points/alive_file.h"

namespace {

using orvix::CCloudPoint;
using orvix::kAlivePointBytes;
using orvix::bench::AliveFile;

struct Sums {
    double x = 0;
    double y = 0;
    double z = 0;
    bool operator==(const Sums&) const = default;
};

Sums LoopOver(const std::uint8_t* view, std::uint64_t count) {
    double x = 0, y = 0, z = 0;
    CCloudPoint<float> point;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::memcpy(&point, view + i * kAlivePointBytes, sizeof point);
        x += point.x;
        y += point.y;
        z += point.z;
    }
    return {x, y, z};
}

Sums LoopOverNewView(const AliveFile& file) {
    const std::uint8_t* view =
        orvix::platform::MapFileView(file.Mapping(), orvix::platform::kViewRead, 0, 0);
    const Sums sums = LoopOver(view, file.Count());
    orvix::UnmapFileView(view);
    return sums;
}

Sums Stream(const AliveFile& file) {
    auto reader = file.Reader();
    double x = 0, y = 0, z = 0;
    CCloudPoint<float> point;
    for (std::uint64_t i = 0, count = file.Count(); i < count && reader.ReadNextPoint(); ++i) {
        reader.ReadCurrentPoint(point);
        x += point.x;
        y += point.y;
        z += point.z;
    }
    return {x, y, z};
}

Sums IterateRun(const AliveFile& file) {
    auto reader = file.Reader();
    const orvix::CIndexerSmall run{0, static_cast<std::uint32_t>(file.Count())};
    double x = 0, y = 0, z = 0;
    CCloudPoint<float> point;
    while (reader.ReadIndexPoints(run)) {
        reader.ReadCurrentPoint(point);
        x += point.x;
        y += point.y;
        z += point.z;
    }
    return {x, y, z};
}

std::uint64_t LoopOverPairs(const std::uint8_t* view, std::uint64_t count) {
    std::uint64_t sum = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        unsigned short first = 0;
        std::memcpy(&first, view + i * kAlivePointBytes + 20, sizeof first);
        sum += first * std::uint64_t{view[i * kAlivePointBytes + 22]};
    }
    return sum;
}

std::uint64_t StreamPairs(const AliveFile& file) {
    auto reader = file.Reader();
    std::uint64_t sum = 0;
    unsigned short first = 0;
    unsigned char second = 0;
    for (std::uint64_t i = 0, count = file.Count(); i < count && reader.ReadNextPoint(); ++i) {
        reader.ReadCurrentDCLC(first, second);
        sum += first * std::uint64_t{second};
    }
    return sum;
}

}  // namespace

int main(int argc, char** argv) {
    namespace bench = orvix::bench;
    const auto options = bench::ParseOptions(argc, argv);
    const AliveFile file(options.points);
    const auto loop = [&] { bench::Keep(LoopOver(file.Whole(), file.Count())); };
    const auto loopOverNewView = [&] { bench::Keep(LoopOverNewView(file)); };
    const auto stream = [&] { bench::Keep(Stream(file)); };

    bench::Require(Stream(file) == LoopOver(file.Whole(), file.Count()), "streamed sums differ");
    bench::Require(IterateRun(file) == LoopOver(file.Whole(), file.Count()), "run sums differ");
    bench::Require(StreamPairs(file) == LoopOverPairs(file.Whole(), file.Count()),
                   "sums over the pairs differ");

    bench::Report report("stream_points", options);
    report.Compare("points, over a loop on a new view", file.Size(), loopOverNewView, stream,
                   bench::AtMost(1.15));
    report.Compare("points, over a loop on a mapped view", file.Size(), loop, stream,
                   bench::AtMost(1.15));
    report.Compare(
        "points of one run, over a loop on a new view", file.Size(), loopOverNewView,
        [&] { bench::Keep(IterateRun(file)); }, bench::AtMost(1.15));
    report.Compare(
        "DCLC pairs, over a loop on a mapped view", file.Size(),
        [&] { bench::Keep(LoopOverPairs(file.Whole(), file.Count())); },
        [&] { bench::Keep(StreamPairs(file)); }, bench::AtMost(1.15));
    return 0;
}
