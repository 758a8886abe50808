// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/project_section.h"

#include <fmt/format.h>

#include <cstddef>
#include <utility>

#include "orvix/geometry/bounds.h"

namespace orvix::reports {

namespace {

using detail::Dot, detail::Vector, detail::operator-;

// Places that come one by one, thinned evenly to a bounded number: once there are too many, every
// second one goes, and from then on every second one is passed over.
class EvenSample {
public:
    void Add(const SimplePoint2DT<double>& place) {
        if (seen_++ % stride_ != 0) return;
        // As many are kept as a power of two: the one that makes it too many is kept as well.
        if (places_.size() == kMost) Halve();
        places_.push_back(place);
    }
    [[nodiscard]] std::vector<SimplePoint2DT<double>> Take() { return std::move(places_); }

private:
    static constexpr std::size_t kMost = std::size_t{1} << 18;

    void Halve() {
        for (std::size_t i = 0; i < kMost / 2; ++i) places_[i] = places_[2 * i];
        places_.resize(kMost / 2);
        stride_ *= 2;
    }

    std::vector<SimplePoint2DT<double>> places_;
    std::uint64_t seen_ = 0;
    std::uint64_t stride_ = 1;
};

// A direction of the world as one of the project's frame: its product with a local position is the
// position's share along it, but for a constant.
Vector ToLocal(const Vector& direction, const detail::LocalToWorld& frame) {
    const auto& m = frame.m;
    return {Dot(direction, {m[0], m[4], m[8]}), Dot(direction, {m[1], m[5], m[9]}),
            Dot(direction, {m[2], m[6], m[10]})};
}

}  // namespace

ProjectSection::ProjectSection(const WorldProject& project, const SectionRequest& request)
    : project_(&project),
      request_(request),
      section_(std::make_unique<RevitAMP>(SectionOptions{.device = request.device})),
      rows_{ToLocal(request.frame.right, project.frame), ToLocal(request.frame.away, project.frame),
            ToLocal(request.frame.up, project.frame)},
      base_(request.frame.ToSection(project.frame.Origin())) {}

Expected<ProjectSection> ProjectSection::Open(const WorldProject& project,
                                              const SectionRequest& request) {
    ProjectSection opened(project, request);
    const auto& [x, y, z] = opened.rows_;
    const Vector& base = opened.base_;
    const std::array<double, 16> matrix{x.x, x.y, x.z, 0, y.x, y.y, y.z, base.y,
                                        z.x, z.y, z.z, 0, 0,   0,   0,   1};
    SectionSlab slab = request.slab;
    slab.xLow -= base.x;
    slab.xHigh -= base.x;
    slab.zLow -= base.z;
    slab.zHigh -= base.z;
    const std::string name = platform::ToUtf8(project.Manager().projectFile);
    if (!opened.section_->SetTransformation(matrix) || !opened.section_->SetSlab(slab))
        return Fail(ErrorCode::BadInput, name + ": no such section; its numbers are too large");
    if (!opened.section_->SetProject(project.Core()))
        return Fail(ErrorCode::Damaged,
                    name +
                        ": the cells of its grid do not lead to its points; 'orvix check' lists "
                        "every fault");
    return opened;
}

Expected<SectionCounts> ProjectSection::Stream(std::uint32_t wanted, const Use& use,
                                               const Proceed& proceed) {
    const auto all = static_cast<double>(project_->Core().AlivePointCount());
    bool cancelled = false;
    const auto chunk = [&](const RevitAMP::Chunk& points) {
        use(points);
        const auto passed = static_cast<double>(points.firstPoint + points.points.size());
        cancelled = proceed && !proceed(passed / all);
        return !cancelled;
    };
    SectionCounts counts;
    const bool whole = section_->StreamPlaneXZ(wanted, chunk, &counts);
    // Asked once more at the end, since cells that are not read hand nothing on.
    if (whole && (!proceed || proceed(1.0))) return counts;
    if (whole || cancelled) return Fail(ErrorCode::Cancelled, "the section was cancelled");
    return Fail(ErrorCode::Failure,
                platform::ToUtf8(project_->Manager().gridPts) + " could not be mapped for reading");
}

Vector ProjectSection::Place(const CCloudPoint<float>& p) const {
    const Vector local{p.x, p.y, p.z};
    return {Dot(rows_[0], local) + base_.x, Dot(rows_[1], local) + base_.y,
            Dot(rows_[2], local) + base_.z};
}

Expected<SectionReport> ReportSection(ProjectSection& section,
                                      const ProjectSection::Proceed& proceed) {
    SectionReport report;
    report.extent = detail::NoBounds<Extends2DT<double>>();
    report.bounds = detail::NoBounds<ExtendsT<double>>();
    EvenSample sample;
    const auto use = [&](const RevitAMP::Chunk& chunk) {
        for (std::size_t i = 0; i < chunk.points.size(); ++i) {
            if (chunk.classes[i] != SectionClass::In) continue;
            const Vector seen = section.Place(chunk.points[i]);
            const SimplePoint2DT<double> place{seen.x, seen.z};
            detail::Extend(report.extent, place);
            detail::Extend(report.bounds, section.ToWorld(chunk.points[i]));
            sample.Add(place);
        }
    };
    const auto counts = section.Stream(RevitAMP::Bit(SectionClass::In), use, proceed);
    if (!counts) return ErrorOf(counts);
    report.counts = *counts;
    report.sample = sample.Take();
    return report;
}

}  // namespace orvix::reports
