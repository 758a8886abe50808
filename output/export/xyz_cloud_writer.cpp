// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/compile.h>
#include <fmt/format.h>

#include <iterator>
#include <string_view>

#include "output/export/cloud_writer.h"

namespace orvix::output {

namespace {

// Three doubles of 24 characters at most, four numbers of 5 digits and four of 3, one of 10, and what
// is between them.
constexpr std::size_t kLongestLine = 128;

class XyzCloudWriter final : public CloudWriter {
public:
    explicit XyzCloudWriter(bool planes) : planes_(planes) {}

    void Begin(Bytes& bytes) const override {
        constexpr std::string_view kNames =
            "x y z intensity red green blue classification station dclc_first dclc_second";
        bytes.insert(bytes.end(), kNames.begin(), kNames.end());
        fmt::format_to(std::back_inserter(bytes), "{}\n", planes_ ? " plane" : "");
    }

    void Add(std::span<const ExportedPoint> points, Bytes& bytes) const override {
        const std::size_t before = bytes.size();
        bytes.resize(before + points.size() * kLongestLine);
        char* const begin = reinterpret_cast<char*>(bytes.data());
        char* at = begin + before;
        for (const ExportedPoint& p : points) {
            at = fmt::format_to(at, FMT_COMPILE("{} {} {} {} {} {} {} {} {} {} {}"), p.world.x,
                                p.world.y, p.world.z, p.intensity, p.red, p.green, p.blue,
                                p.classification, p.station, p.dclcFirst, p.dclcSecond);
            if (planes_) at = fmt::format_to(at, FMT_COMPILE(" {}"), p.plane);
            *at++ = '\n';
        }
        bytes.resize(static_cast<std::size_t>(at - begin));
    }

    std::uint64_t PointBytes() const override { return 64; }
    std::string Format() const override { return "text"; }

private:
    bool planes_;
};

}  // namespace

std::unique_ptr<CloudWriter> MakeXyzCloudWriter(const ExportedCloud& cloud) {
    return std::make_unique<XyzCloudWriter>(cloud.planes);
}

}  // namespace orvix::output
