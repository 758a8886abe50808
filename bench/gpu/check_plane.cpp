// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do a section's classes, indices and colours cost over the memory that they read?
// Ceiling:  copying the coordinates from one place in memory to another, in the same run.
#include <cstring>

#include "bench/bench_support.h"
#include "bench/gpu/scanned_hall.h"
#include "orvix/gpu/revit_amp.h"
#include "orvix/gpu/section_loop.h"
#include "orvix/gpu/section_rule.h"

namespace {

using orvix::RevitAMP;
using orvix::SectionClass;
using orvix::SectionColour;
using orvix::SectionCounts;
using orvix::SectionPoints;
using Points = std::vector<orvix::SimplePointT<float>>;

SectionPoints Of(const Points& points) {
    return SectionPoints::Of(std::span<const orvix::SimplePointT<float>>(points));
}

void SetSection(RevitAMP& section) {
    const bool set = section.SetPlane({20, 12, 4}, {0.3, -1, 0.1}) &&
                     section.SetSlab({.halfThickness = 0.5, .xLow = -15, .xHigh = 15});
    orvix::bench::Require(set, "the section was refused");
}

// The plain loop over single points, which defines the answer.
std::vector<SectionClass> PlainClasses(const RevitAMP& section, const Points& points) {
    std::array<double, 16> matrix{};
    section.GetTransformation(matrix);
    const auto rule =
        orvix::detail::ComposedRule(matrix, {}, {.halfThickness = 0.5, .xLow = -15, .xHigh = 15});
    std::vector<SectionClass> classes;
    for (const auto& point : points) classes.push_back(orvix::detail::ClassOf(rule, point));
    return classes;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = orvix::bench::ParseOptions(argc, argv);
    const Points points = orvix::bench::ScannedHall(options.points);
    std::vector<SectionClass> classes(points.size());
    std::vector<std::uint64_t> indices;
    std::vector<SectionColour> colours(points.size());
    const std::vector<SectionColour> ramp(256, {10, 20, 30});
    Points copy(points.size());
    const std::uint64_t bytes = points.size() * sizeof points[0];
    const auto copyAll = [&] {
        std::memcpy(copy.data(), points.data(), bytes);
        orvix::bench::Keep(copy);
    };
    orvix::bench::Report report("check_plane", options);
    for (const auto wanted : {orvix::SectionDevice::Cpu, orvix::SectionDevice::Gpu}) {
        RevitAMP section({.device = wanted});
        SetSection(section);
        section.Hold(Of(points));
        section.CheckPlaneXZ(classes);
        if (wanted == orvix::SectionDevice::Gpu && section.Device() == "processor") break;
        const auto plain = PlainClasses(section, points);
        orvix::bench::Require(classes == plain, "the classes differ");
        section.CheckPlaneXZ(SectionClass::In, indices);
        std::vector<std::uint64_t> expected;
        for (std::uint64_t i = 0; i < plain.size(); ++i) {
            if (plain[i] == SectionClass::In) expected.push_back(i);
        }
        orvix::bench::Require(indices == expected, "the indices differ");
        const std::string on = " (" + section.Device() + ")";
        report.Compare("classes against a copy" + on, bytes, copyAll,
                       [&] { section.CheckPlaneXZ(classes); });
        report.Compare("indices of the slab" + on, bytes, copyAll, [&] {
            indices.clear();
            section.CheckPlaneXZ(SectionClass::In, indices);
        });
        report.Compare("colours of the slab" + on, bytes, copyAll, [&] {
            section.CheckPlaneXZ_ColorIn({255, 0, 0}, colours);
        });
        report.Compare("colours by distance" + on, bytes, copyAll, [&] {
            section.CheckPlaneXZ_ColorPlane({-8, 8, ramp}, colours);
        });
    }
    return 0;
}
