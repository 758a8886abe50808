// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "orvix/version.h"
#include "output/export/cloud_writer.h"
#include "output/export/little_endian.h"

namespace orvix::output {

namespace {

constexpr std::uint16_t kHeaderBytes = 375;
constexpr std::uint16_t kRecordBytes = 36 + 3;  // point format 7 and the DCLC pair
constexpr std::uint16_t kPlaneBytes = 4;
constexpr std::uint16_t kDescriptorBytes = 192;
constexpr std::uint16_t kDescriptorRecord = 4;
constexpr std::uint32_t kVariableRecordBytes = 54;
constexpr std::uint16_t kCoordinateSystemAsText = 1u << 4;  // as point formats from 6 on ask for
constexpr std::uint8_t kOnlyReturn = 0x11;
constexpr std::uint16_t kFullColour = 257;  // 255 becomes 65535
constexpr double kFinestScale = 1e-4;
constexpr double kMaxSteps = 2'147'483'647;

double ScaleFor(const ExportedCloud& cloud) {
    const SimplePointT<double> o = cloud.frame.Origin();
    const ExtendsT<double>& b = cloud.bounds;
    const double reach =
        std::max({std::fabs(b.min.x - o.x), std::fabs(b.max.x - o.x), std::fabs(b.min.y - o.y),
                  std::fabs(b.max.y - o.y), std::fabs(b.min.z - o.z), std::fabs(b.max.z - o.z)});
    double scale = kFinestScale;
    // One step is kept for rounding.
    while (reach / scale > kMaxSteps - 1) scale *= 10;
    return scale;
}

void AppendDescriptor(std::vector<std::uint8_t>& bytes, std::uint8_t type, std::string_view name,
                      std::string_view meaning) {
    const std::size_t end = bytes.size() + kDescriptorBytes;
    AppendNumber<std::uint16_t>(bytes, 0);
    AppendNumber(bytes, type);
    AppendNumber<std::uint8_t>(bytes, 0);
    AppendText(bytes, name, 32);
    bytes.resize(end - 32);
    AppendText(bytes, meaning, 32);
}

class LasCloudWriter final : public CloudWriter {
public:
    explicit LasCloudWriter(const ExportedCloud& cloud)
        : cloud_(cloud), offset_(cloud.frame.Origin()), scale_(ScaleFor(cloud)) {}

    void Begin(Bytes& bytes) const override {
        AppendHeader(bytes);
        AppendNumber<std::uint16_t>(bytes, 0);
        AppendText(bytes, "LASF_Spec", 16);
        AppendNumber(bytes, kDescriptorRecord);
        AppendNumber(bytes, DescriptorsBytes());
        AppendText(bytes, "extra bytes", 32);
        AppendDescriptor(bytes, 3, "dclc_first", "first value of the DCLC pair");
        AppendDescriptor(bytes, 1, "dclc_second", "second value of the DCLC pair");
        if (cloud_.planes) AppendDescriptor(bytes, 5, "plane", "number of the plane; 0: none");
    }

    void Add(std::span<const ExportedPoint> points, Bytes& bytes) const override {
        const std::size_t before = bytes.size();
        bytes.resize(before + points.size() * RecordBytes());
        std::uint8_t* at = bytes.data() + before;
        for (const ExportedPoint& point : points) at = Put(point, at);
    }

    std::uint64_t PointBytes() const override { return RecordBytes(); }
    std::string Format() const override {
        return fmt::format("LAS 1.4, point format 7, scale {}", scale_);
    }

private:
    [[nodiscard]] std::uint16_t RecordBytes() const {
        return static_cast<std::uint16_t>(kRecordBytes + (cloud_.planes ? kPlaneBytes : 0));
    }
    [[nodiscard]] std::uint16_t DescriptorsBytes() const {
        return static_cast<std::uint16_t>((cloud_.planes ? 3 : 2) * kDescriptorBytes);
    }
    // The nearest step, of two the one farther from zero: as std::lround should have it, which makes one
    // of what lies next to a half on some systems.
    [[nodiscard]] std::int32_t Stored(double world, double offset) const {
        const double steps = (world - offset) / scale_;
        if (!(std::fabs(steps) < 2147483648.0)) return 0;  // no number, or one that no step has
        const auto whole = static_cast<std::int64_t>(steps);
        const double rest = steps - static_cast<double>(whole);
        return static_cast<std::int32_t>(whole + static_cast<int>(rest >= 0.5) -
                                         static_cast<int>(rest <= -0.5));
    }

    std::uint8_t* Put(const ExportedPoint& point, std::uint8_t* at) const {
        at = PutNumber(at, Stored(point.world.x, offset_.x));
        at = PutNumber(at, Stored(point.world.y, offset_.y));
        at = PutNumber(at, Stored(point.world.z, offset_.z));
        at = PutNumber(at, point.intensity);
        at = PutNumber(at, kOnlyReturn);
        at = PutNumber<std::uint8_t>(at, 0);  // flags
        at = PutNumber(at, point.classification);
        at = PutNumber<std::uint8_t>(at, 0);   // user data
        at = PutNumber<std::uint16_t>(at, 0);  // scan angle
        at = PutNumber(at, point.station);
        at = PutNumber<std::uint64_t>(at, 0);  // GPS time
        for (const std::uint8_t colour : {point.red, point.green, point.blue}) {
            at = PutNumber(at, static_cast<std::uint16_t>(colour * kFullColour));
        }
        at = PutNumber(at, point.dclcFirst);
        at = PutNumber(at, point.dclcSecond);
        return cloud_.planes ? PutNumber(at, point.plane) : at;
    }

    void AppendHeader(Bytes& bytes) const {
        AppendText(bytes, "LASF", 4);
        AppendNumber<std::uint16_t>(bytes, 0);
        AppendNumber(bytes, kCoordinateSystemAsText);
        AppendText(bytes, {}, 16);  // project identifier
        AppendNumber<std::uint8_t>(bytes, 1);
        AppendNumber<std::uint8_t>(bytes, 4);
        AppendText(bytes, "EXPORT", 32);
        AppendText(bytes, "orvix " ORVIX_VERSION_STRING, 32);
        AppendNumber<std::uint32_t>(bytes, 0);  // no date: the same points give the same bytes
        AppendNumber(bytes, kHeaderBytes);
        AppendNumber(bytes, kHeaderBytes + kVariableRecordBytes + DescriptorsBytes());
        AppendNumber<std::uint32_t>(bytes, 1);  // variable records
        AppendNumber<std::uint8_t>(bytes, 7);
        AppendNumber(bytes, RecordBytes());
        AppendText(bytes, {}, 4 + 5 * 4);  // 32-bit counts: zero for this point format
        for (int axis = 0; axis < 3; ++axis) AppendNumber(bytes, scale_);
        for (const double o : {offset_.x, offset_.y, offset_.z}) AppendNumber(bytes, o);
        const ExtendsT<double>& b = cloud_.bounds;
        for (const double v : {b.max.x, b.min.x, b.max.y, b.min.y, b.max.z, b.min.z}) {
            AppendNumber(bytes, v);
        }
        AppendText(bytes, {}, 8 + 8 + 4);  // no waveforms, no extended records
        AppendNumber(bytes, cloud_.points);
        AppendNumber(bytes, cloud_.points);  // all are first returns
        AppendText(bytes, {}, 14 * 8);
    }

    ExportedCloud cloud_;
    SimplePointT<double> offset_;
    double scale_;
};

}  // namespace

std::unique_ptr<CloudWriter> MakeLasCloudWriter(const ExportedCloud& cloud) {
    return std::make_unique<LasCloudWriter>(cloud);
}

}  // namespace orvix::output
