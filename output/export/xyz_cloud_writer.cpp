// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <iterator>
#include <string_view>

#include "output/export/cloud_writer.h"

namespace orvix::output {

namespace {

class XyzCloudWriter final : public CloudWriter {
public:
    explicit XyzCloudWriter(bool planes) : planes_(planes) {}

    void Begin(Bytes& bytes) const override {
        constexpr std::string_view kNames =
            "x y z intensity red green blue classification station dclc_first dclc_second";
        bytes.insert(bytes.end(), kNames.begin(), kNames.end());
        fmt::format_to(std::back_inserter(bytes), "{}\n", planes_ ? " plane" : "");
    }

    void Add(const ExportedPoint& p, Bytes& bytes) const override {
        fmt::format_to(std::back_inserter(bytes), "{} {} {} {} {} {} {} {} {} {} {}", p.world.x,
                       p.world.y, p.world.z, p.intensity, p.red, p.green, p.blue, p.classification,
                       p.station, p.dclcFirst, p.dclcSecond);
        if (planes_) fmt::format_to(std::back_inserter(bytes), " {}", p.plane);
        bytes.push_back('\n');
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
