// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/points/attributes.h"
#include "output/export/cloud_writer.h"
#include "output/export/project_export.h"

namespace orvix::output {

/// From a project's frame to the world. A shift is added per axis, and not at all where it is zero:
/// coordinates come back bit for bit, the sign of a zero included.
class ToWorldMap {
public:
    explicit ToWorldMap(const detail::LocalToWorld& frame) : frame_(frame), shift_(frame.Origin()) {
        isShift_ = frame.m == detail::LocalToWorld::Translation(shift_).m;
    }
    [[nodiscard]] SimplePointT<double> operator()(const SimplePointT<double>& local) const {
        if (!isShift_) return frame_.ToWorld(local);
        return {Shifted(local.x, shift_.x), Shifted(local.y, shift_.y), Shifted(local.z, shift_.z)};
    }

private:
    static double Shifted(double local, double shift) { return shift == 0 ? local : local + shift; }

    detail::LocalToWorld frame_;
    SimplePointT<double> shift_;
    bool isShift_ = false;
};

/// Chooses records of a project and makes exported points of them; without the plane's number.
///
/// Threads  a constant: any number may decode.
class PointDecoder {
public:
    PointDecoder(const detail::LocalToWorld& frame, const ExportOptions& options)
        : toWorld_(frame), station_(options.station), box_(options.box) {}

    /// False for a point that was not chosen.
    bool Decode(const CCloudPoint<float>& local, ExportedPoint& point) const {
        point.station = detail::StationOf(local);
        if (station_ && point.station != *station_) return false;
        point.world = toWorld_({static_cast<double>(local.x), static_cast<double>(local.y),
                                static_cast<double>(local.z)});
        if (box_ && !Inside(point.world, *box_)) return false;
        const detail::PointAttributes attributes = detail::AttributesOf(local);
        point.intensity = attributes.intensity;
        point.red = attributes.red;
        point.green = attributes.green;
        point.blue = attributes.blue;
        point.classification = attributes.classification;
        point.dclcFirst = local.dclcFirst;
        point.dclcSecond = local.dclcSecond;
        return true;
    }

private:
    static bool Inside(const SimplePointT<double>& p, const ExtendsT<double>& box) {
        return p.x >= box.min.x && p.x <= box.max.x && p.y >= box.min.y && p.y <= box.max.y &&
               p.z >= box.min.z && p.z <= box.max.z;
    }

    ToWorldMap toWorld_;
    std::optional<std::uint16_t> station_;
    std::optional<ExtendsT<double>> box_;
};

}  // namespace orvix::output
