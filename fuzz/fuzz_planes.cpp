// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "orvix/points/stream_hash.h"
#include "orvix/project/saved/saved_planes.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;
using detail::CloudPart, detail::SavedPlanes;

void Require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

void Use(const SavedPlanes& saved) {
    for (const detail::SavedPlane& plane : saved.Planes()) {
        Require(plane.number > 0 && plane.number < saved.Search().nextNumber, "numbers");
        Require(std::isfinite(plane.offset) && std::isfinite(plane.area), "finite numbers");
        for (const PlaneRegion& region : plane.outline.regions)
            Require(region.outer.points.size() >= 3, "rings with corners");
    }
    std::vector<detail::PlaneRun> runs;
    for (const CloudPart part : {CloudPart::Points, CloudPart::Skeleton}) {
        for (std::uint64_t block = 0; block < saved.Blocks(part); ++block) {
            if (!saved.ReadBlock(part, block, runs)) continue;
            std::uint64_t points = 0;
            for (const detail::PlaneRun& run : runs) {
                points += run.count;
                Require(run.plane < static_cast<std::int64_t>(saved.Planes().size()), "planes");
            }
            Require(points == detail::PointsOfBlock(saved.PointsOf(part), block), "points");
        }
    }
}

void Read(const CString& path, const std::vector<std::uint8_t>& bytes) {
    test::WriteRecords(path, bytes);
    const auto saved = SavedPlanes::Open(path);
    if (saved) return Use(*saved);
    Require(!saved.error().message.empty(), "an error has a sentence");
}

}  // namespace

// The bytes as they are, and once more with a checksum that is right: else none would get past it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::ScratchFolder folder;
    std::vector<std::uint8_t> bytes(data, data + size);
    Read(folder / L"planes", bytes);
    std::uint64_t hash = 0;
    if (size < sizeof hash) return 0;
    hash = detail::HashOf(bytes.data(), size - sizeof hash);
    std::memcpy(bytes.data() + size - sizeof hash, &hash, sizeof hash);
    Read(folder / L"planes", bytes);
    return 0;
}
