// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do 1,000 picking rays cost on points in memory?
// Ceiling:  a linear pass over the points a ray, here the time of ten of them times 100. The tree
//           that the rays pay for is built in the first call; it is timed alone, and with the rays.
#include "bench/bench_support.h"
#include "bench/gpu/scanned_hall.h"
#include "orvix/gpu/ray_rule.h"
#include "orvix/gpu/revit_amp.h"
#include "orvix/gpu/section_entries.h"

namespace {

constexpr std::size_t kRays = 1000;
constexpr std::size_t kPasses = 10;

std::vector<orvix::PickingRay> Rays() {
    std::uint64_t state = 12;
    orvix::test::Dice dice(state);
    std::vector<orvix::PickingRay> rays(kRays);
    for (auto& ray : rays) {
        ray.origin = {2 + 36 * dice.Share(), 2 + 21 * dice.Share(), 1.7};
        ray.direction = {dice.Share() - 0.5, dice.Share() - 0.5, 0.5 * (dice.Share() - 0.5)};
        ray.radius = 0.02;
        ray.tangent = 0.001;
    }
    return rays;
}

}  // namespace

int main(int argc, char** argv) {
    auto options = orvix::bench::ParseOptions(argc, argv);
    options.points = std::min<std::uint64_t>(options.points, 10'000'000);
    const auto points = orvix::bench::ScannedHall(options.points);
    const auto given =
        orvix::SectionPoints::Of(std::span<const orvix::SimplePointT<float>>(points));
    const auto rays = Rays();
    std::vector<orvix::SnappedPoint> snapped(kRays);
    std::vector<orvix::SnappedPoint> plain(kPasses);
    const auto passes = [&] {
        for (std::size_t k = 0; k < kPasses; ++k) {
            const auto rule = orvix::detail::RuleOf(rays[k], {});
            orvix::detail::SnapBest best;
            for (std::uint64_t i = 0; i < points.size(); ++i) {
                best.Offer(rule, orvix::detail::MeasureOf(rule, points[i]), i);
            }
            plain[k] = best.point;
        }
    };
    orvix::RevitAMP section;
    section.Hold(given);
    const double first = orvix::bench::Seconds([&] { section.Snap(rays, snapped); });
    passes();
    for (std::size_t k = 0; k < kPasses; ++k) {
        orvix::bench::Require(plain[k].index == snapped[k].index, "the points differ");
    }
    options.repeats = std::min(options.repeats, 5);
    orvix::bench::Report report("snap_rays", options);
    const double ratio = report.Compare("1,000 rays through the tree against 10 passes", 0, passes,
                                        [&] { section.Snap(rays, snapped); });
    const double pass = orvix::bench::Seconds(passes) / kPasses;
    fmt::print(
        "a pass takes {:.1f} ms; 1,000 rays are {:.0f} times as fast as 1,000 passes, and {:.0f} "
        "times with the building of the tree ({:.2f} s)\n",
        pass * 1e3, kRays / kPasses / ratio, pass * kRays / first, first);
    return 0;
}
