// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "bench/planes/face_pieces.h"
#include "bench/planes/marked_planes.h"
#include "bench/planes/plane_score.h"
#include "orvix/points/records.h"

namespace orvix {
class CProjectCore;
}

namespace orvix::bench {

/// What is known about the points of a project: which planes there are, and each point's.
///
///     PointTruth truth = PointTruth::OfFaces(faces);
///     truth.MoveTo(origin);
///     truth.Read(core);
///     const std::int32_t plane = truth.Of(record, point);
///
/// Units  metres; world coordinates until MoveTo, the project's frame from then on.
class PointTruth {
public:
    /// Nothing: every point is on no plane.
    PointTruth() = default;
    /// Planes marked in a scan.
    static PointTruth OfMarks(std::vector<MarkedPlane> marked);
    /// A point's intensity is the number of its plane counted from 1, 0 for none.
    static PointTruth OfIntensities(std::vector<test::TruePlane> planes);
    /// A point's colour is the number of its face counted from 1: red << 16 | green << 8 | blue, and
    /// 0xFFFFFF for what is not judged. Of points of colour 0 it is known that they are on no
    /// plane, or nothing (`clutter` is kNoPlane or kUnjudgedPlane). The planes are the pieces that
    /// were seen of the faces.
    static PointTruth OfFaces(std::vector<TrueFace> faces, std::int32_t clutter);
    /// A point's colour is the number of its plane, as above; each is fitted to its points.
    static PointTruth OfColours();

    /// Brings planes into the frame of a project whose zero lies at `origin`.
    void MoveTo(const detail::Vector& origin);
    /// Reads the points once, where planes follow from them.
    void Read(CProjectCore& core);

    [[nodiscard]] const std::vector<test::TruePlane>& Planes() const { return planes_; }
    /// Of each plane the widest circle in it; empty where nobody knows.
    [[nodiscard]] const std::vector<double>& Widths() const { return widths_; }
    /// Points that a plane has at least, to count; 0: as many as the search asks for.
    [[nodiscard]] std::uint64_t MinPoints() const { return minPoints_; }
    /// A place in Planes(), kNoPlane or kUnknownPlane. `record` is the point's place in the file.
    [[nodiscard]] std::int32_t Of(std::uint64_t record, const CCloudPoint<float>& point) const;

private:
    enum class Source { Nothing, Marks, Intensities, Faces, Colours };

    [[nodiscard]] std::int32_t ColourOf(const CCloudPoint<float>& point) const;
    void FindPieces(CProjectCore& core);
    void Fit(CProjectCore& core);

    Source source_ = Source::Nothing;
    std::vector<test::TruePlane> planes_;
    std::vector<double> widths_;
    std::uint64_t minPoints_ = 0;
    std::vector<MarkedPlane> marked_;
    detail::Vector origin_;
    std::vector<TrueFace> faces_;
    std::int32_t clutter_ = test::kNoPlane;
    std::vector<std::int32_t> pieces_;  // of each record
};

}  // namespace orvix::bench
