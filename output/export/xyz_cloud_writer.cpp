// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <iterator>
#include <string_view>

#include "output/export/cloud_writer.h"

namespace orvix::output {

namespace {

class XyzCloudWriter final : public CloudWriter {
public:
    void Begin(Bytes& bytes) const override {
        constexpr std::string_view kNames =
            "x y z intensity red green blue classification station dclc_first dclc_second\n";
        bytes.insert(bytes.end(), kNames.begin(), kNames.end());
    }

    void Add(const ExportedPoint& p, Bytes& bytes) const override {
        fmt::format_to(std::back_inserter(bytes), "{} {} {} {} {} {} {} {} {} {} {}\n", p.world.x,
                       p.world.y, p.world.z, p.intensity, p.red, p.green, p.blue, p.classification,
                       p.station, p.dclcFirst, p.dclcSecond);
    }

    std::uint64_t PointBytes() const override { return 64; }
    std::string Format() const override { return "text"; }
};

}  // namespace

std::unique_ptr<CloudWriter> MakeXyzCloudWriter() {
    return std::make_unique<XyzCloudWriter>();
}

}  // namespace orvix::output
