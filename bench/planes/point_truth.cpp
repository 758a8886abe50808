// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/point_truth.h"

#include "detection/cells/moments.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/attributes.h"
#include "orvix/project/project_core.h"
#include "support/scenes/synthetic_room.h"

namespace orvix::bench {
namespace {

using detail::Dot, detail::Vector;
using detail::operator+, detail::operator-;

constexpr std::uint64_t kLeastPoints = 30;  // of a plane that a person would see

template <class Use>
void ForEachPoint(CProjectCore& core, Use&& use) {
    CCloudPoint<float> point;
    const auto reader = core.CreateAlivePointReader();
    for (std::int64_t i = 0; i < core.AlivePointCount() && reader->ReadNextPoint(); ++i) {
        reader->ReadCurrentPoint(point);
        use(point, Vector{point.x, point.y, point.z});
    }
}

}  // namespace

PointTruth PointTruth::OfMarks(std::vector<MarkedPlane> marked) {
    PointTruth truth;
    truth.source_ = Source::Marks;
    for (const MarkedPlane& plane : marked)
        truth.planes_.push_back({plane.normal, plane.offset, plane.Area()});
    truth.marked_ = std::move(marked);
    return truth;
}

PointTruth PointTruth::OfIntensities(std::vector<test::TruePlane> planes) {
    PointTruth truth;
    truth.source_ = Source::Intensities;
    truth.planes_ = std::move(planes);
    return truth;
}

PointTruth PointTruth::OfFaces(std::vector<TrueFace> faces, std::int32_t clutter) {
    PointTruth truth;
    truth.source_ = Source::Faces;
    truth.faces_ = std::move(faces);
    truth.clutter_ = clutter;
    truth.minPoints_ = kLeastPoints;
    return truth;
}

PointTruth PointTruth::OfColours() {
    PointTruth truth;
    truth.source_ = Source::Colours;
    truth.minPoints_ = kLeastPoints;
    return truth;
}

void PointTruth::MoveTo(const Vector& origin) {
    origin_ = origin;
    for (test::TruePlane& plane : planes_) plane.offset += Dot(plane.normal, origin);
    for (TrueFace& face : faces_) face.plane.offset += Dot(face.plane.normal, origin);
}

void PointTruth::Read(CProjectCore& core) {
    if (source_ == Source::Faces) FindPieces(core);
    if (source_ == Source::Colours) Fit(core);
}

std::int32_t PointTruth::ColourOf(const CCloudPoint<float>& point) const {
    const detail::PointAttributes a = detail::AttributesOf(point);
    const std::int32_t plane = test::PlaneOfColour(a.red, a.green, a.blue);
    return plane == test::kNoPlane ? clutter_ : plane;
}

void PointTruth::FindPieces(CProjectCore& core) {
    std::vector<Vector> points;
    std::vector<std::int32_t> faceOf;
    ForEachPoint(core, [&](const CCloudPoint<float>& point, const Vector& at) {
        // Faces are cut in world coordinates, wherever the project's zero lies.
        points.push_back(at + origin_);
        const std::int32_t face = ColourOf(point);
        const bool known = face < static_cast<std::int32_t>(faces_.size());
        faceOf.push_back(known ? face : test::kUnjudgedPlane);
    });
    FacePieces found = PiecesOf(points, faceOf, faces_);
    for (const FacePiece& piece : found.pieces) {
        planes_.push_back(faces_[static_cast<std::size_t>(piece.face)].plane);
        planes_.back().area = piece.area;
        widths_.push_back(piece.width);
    }
    pieces_ = std::move(found.of);
}

void PointTruth::Fit(CProjectCore& core) {
    std::vector<detection::MomentSum> sums;
    Vector first;
    ForEachPoint(core, [&](const CCloudPoint<float>& point, const Vector& at) {
        const std::int32_t plane = ColourOf(point);
        if (plane < 0) return;
        if (sums.empty()) first = at;
        if (static_cast<std::size_t>(plane) >= sums.size())
            sums.resize(static_cast<std::size_t>(plane) + 1);
        sums[static_cast<std::size_t>(plane)].Add(at - first);
    });
    for (const detection::MomentSum& sum : sums) {
        const bool fits = sum.count >= 3;
        const Vector normal = fits ? detail::SpreadOf(sum.Covariance()).normal : Vector{0, 0, 1};
        const double offset = fits ? -Dot(normal, sum.Mean() + first) : 0;
        planes_.push_back({normal, offset, 0});
    }
}

std::int32_t PointTruth::Of(std::uint64_t record, const CCloudPoint<float>& point) const {
    switch (source_) {
        case Source::Marks:
            return LabelOf(marked_, Vector{point.x, point.y, point.z} + origin_);
        case Source::Intensities:
            return static_cast<std::int32_t>(detail::IntensityOf(point)) - 1;
        case Source::Faces:
            return pieces_[record];
        case Source::Colours:
            return ColourOf(point);
        case Source::Nothing:
            break;
    }
    return test::kNoPlane;
}

}  // namespace orvix::bench
