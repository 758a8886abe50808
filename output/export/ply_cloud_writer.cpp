// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <iterator>

#include "output/export/cloud_writer.h"
#include "output/export/little_endian.h"

namespace orvix::output {

namespace {

class PlyCloudWriter final : public CloudWriter {
public:
    explicit PlyCloudWriter(const ExportedCloud& cloud) : cloud_(cloud) {}

    void Begin(Bytes& bytes) const override {
        const SimplePointT<double> origin = cloud_.frame.Origin();
        fmt::format_to(std::back_inserter(bytes),
                       // BEHAVIOUR C9
                       "ply\nformat binary_little_endian 1.0\ncomment orvix_origin {} {} {}\n"
                       "element vertex {}\nproperty double x\nproperty double y\n"
                       "property double z\nproperty ushort intensity\nproperty uchar red\n"
                       "property uchar green\nproperty uchar blue\n"
                       "property uchar classification\nproperty ushort station\n"
                       "property ushort dclc_first\nproperty uchar dclc_second\n{}end_header\n",
                       origin.x, origin.y, origin.z, cloud_.points,
                       cloud_.planes ? "property uint plane\n" : "");
    }

    void Add(std::span<const ExportedPoint> points, Bytes& bytes) const override {
        const std::size_t before = bytes.size();
        bytes.resize(before + points.size() * static_cast<std::size_t>(PointBytes()));
        std::uint8_t* at = bytes.data() + before;
        for (const ExportedPoint& point : points) {
            at = PutNumber(at, point.world.x);
            at = PutNumber(at, point.world.y);
            at = PutNumber(at, point.world.z);
            at = PutNumber(at, point.intensity);
            at = PutNumber(at, point.red);
            at = PutNumber(at, point.green);
            at = PutNumber(at, point.blue);
            at = PutNumber(at, point.classification);
            at = PutNumber(at, point.station);
            at = PutNumber(at, point.dclcFirst);
            at = PutNumber(at, point.dclcSecond);
            if (cloud_.planes) at = PutNumber(at, point.plane);
        }
    }

    std::uint64_t PointBytes() const override { return cloud_.planes ? 39 : 35; }
    std::string Format() const override { return "PLY binary little-endian"; }

private:
    ExportedCloud cloud_;
};

}  // namespace

std::unique_ptr<CloudWriter> MakePlyCloudWriter(const ExportedCloud& cloud) {
    return std::make_unique<PlyCloudWriter>(cloud);
}

}  // namespace orvix::output
