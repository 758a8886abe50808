// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/revit_amp.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <optional>

#include "orvix/gpu/project_sections.h"
#include "orvix/gpu/ray_rule.h"
#include "orvix/gpu/section_rule.h"
#include "orvix/gpu/section_work.h"

namespace orvix {
namespace {

using detail::SectionPiece;

bool IsFinite(const SimplePointT<double>& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

SimplePointT<double> Cross(const SimplePointT<double>& a, const SimplePointT<double>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Dot(const SimplePointT<double>& a, const SimplePointT<double>& b) {
    return (a.x * b.x + a.y * b.y) + a.z * b.z;
}

// Nothing for a vector of length 0.
std::optional<SimplePointT<double>> Unit(const SimplePointT<double>& v) {
    const double largest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    if (largest == 0) return {};
    const SimplePointT<double> scaled{v.x / largest, v.y / largest, v.z / largest};
    const double length = std::sqrt(Dot(scaled, scaled));
    return SimplePointT<double>{scaled.x / length, scaled.y / length, scaled.z / length};
}

// Squares of such numbers, and their sums, are finite.
constexpr double kLargestNumber = 1e100;

bool IsMeasurable(double number) {
    return std::fabs(number) <= kLargestNumber;
}

bool IsMeasurable(const SimplePointT<double>& p) {
    return IsMeasurable(p.x) && IsMeasurable(p.y) && IsMeasurable(p.z);
}

bool IsRay(const PickingRay& ray) {
    const auto& d = ray.direction;
    return IsMeasurable(ray.origin) && IsFinite(d) && (d.x != 0 || d.y != 0 || d.z != 0) &&
           IsMeasurable(ray.radius) && ray.radius >= 0 && IsMeasurable(ray.tangent) &&
           ray.tangent >= 0;
}

// Without a branch: neighbouring points of a scan lie now in the slab, now beside it.
SectionColour Chosen(bool first, SectionColour one, SectionColour other) {
    const std::uint32_t mask = -static_cast<std::uint32_t>(first);
    return std::bit_cast<SectionColour>((std::bit_cast<std::uint32_t>(one) & mask) |
                                        (std::bit_cast<std::uint32_t>(other) & ~mask));
}

bool ArePoints(const SectionPoints& points) {
    return points.stride >= 12 && points.stride % 4 == 0 &&
           (points.data != nullptr || points.count == 0);
}

}  // namespace

struct RevitAMP::State {
    explicit State(const SectionOptions& options) : work(options) {}

    [[nodiscard]] detail::SectionRule Rule() const {
        return detail::ComposedRule(matrix, origin, slab);
    }
    /// Whether every ray, or position, can be asked for; their rules.
    std::optional<std::vector<detail::SnapRule>> Rules(std::span<const PickingRay> rays) const;
    std::optional<std::vector<detail::SnapRule>> Rules(
        std::span<const SimplePointT<double>> positions, double radius) const;

    std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SimplePointT<double> origin;
    SectionSlab slab;
    detail::SectionWork work;
    std::shared_ptr<detail::ProjectSections> project;  // a stream holds on to its own
};

std::optional<std::vector<detail::SnapRule>> RevitAMP::State::Rules(
    std::span<const PickingRay> rays) const {
    if (!std::all_of(rays.begin(), rays.end(), IsRay)) return {};
    std::vector<detail::SnapRule> rules;
    rules.reserve(rays.size());
    for (const PickingRay& ray : rays) rules.push_back(detail::RuleOf(ray, origin));
    return rules;
}

std::optional<std::vector<detail::SnapRule>> RevitAMP::State::Rules(
    std::span<const SimplePointT<double>> positions, double radius) const {
    if (!IsMeasurable(radius) || radius < 0) return {};
    for (const auto& position : positions) {
        if (!IsMeasurable(position)) return {};
    }
    std::vector<detail::SnapRule> rules;
    rules.reserve(positions.size());
    for (const auto& position : positions) {
        rules.push_back(detail::RuleOf(position, radius, origin));
    }
    return rules;
}

RevitAMP::RevitAMP() : RevitAMP(SectionOptions{}) {}
RevitAMP::RevitAMP(const SectionOptions& options) : state_(std::make_unique<State>(options)) {}
RevitAMP::~RevitAMP() = default;
RevitAMP::RevitAMP(RevitAMP&& other) noexcept = default;
RevitAMP& RevitAMP::operator=(RevitAMP&& other) noexcept = default;

bool RevitAMP::SetTransformation(std::span<const double, 16> matrix) {
    for (const double number : matrix) {
        if (!std::isfinite(number)) return false;
    }
    if (matrix[12] != 0 || matrix[13] != 0 || matrix[14] != 0 || matrix[15] != 1) return false;
    std::copy(matrix.begin(), matrix.end(), state_->matrix.begin());
    return true;
}

bool RevitAMP::SetPlane(const SimplePointT<double>& point, const SimplePointT<double>& normal) {
    if (!IsFinite(point) || !IsFinite(normal)) return false;
    const auto towards = Unit(normal);
    if (!towards) return false;
    // BEHAVIOUR V11
    const SimplePointT<double> y{-towards->x, -towards->y, -towards->z};
    // Level to a billionth: world x lies in the plane, and z follows from it.
    const double level = 1e-9;
    const bool isLevel = std::fabs(y.x) <= level && std::fabs(y.y) <= level;
    const auto x =
        isLevel ? *Unit({std::fabs(y.z), 0, y.z > 0 ? -y.x : y.x}) : *Unit({y.y, -y.x, 0});
    const auto z = Cross(x, y);
    // A point may be so far that its distance from the axes is not finite.
    return SetTransformation(std::array<double, 16>{x.x, x.y, x.z, -Dot(x, point), y.x, y.y, y.z,
                                                    -Dot(y, point), z.x, z.y, z.z, -Dot(z, point),
                                                    0, 0, 0, 1});
}

void RevitAMP::GetTransformation(std::span<double, 16> matrix) const {
    std::copy(state_->matrix.begin(), state_->matrix.end(), matrix.begin());
}

bool RevitAMP::SetOrigin(const SimplePointT<double>& origin) {
    if (!IsFinite(origin)) return false;
    state_->origin = origin;
    return true;
}

bool RevitAMP::SetSlab(const SectionSlab& slab) {
    if (!std::isfinite(slab.halfThickness) || slab.halfThickness < 0) return false;
    for (const double bound : {slab.xLow, slab.xHigh, slab.zLow, slab.zHigh}) {
        if (std::isnan(bound)) return false;
    }
    state_->slab = slab;
    return true;
}

bool RevitAMP::SetPoints(const SectionPoints& points) {
    if (!ArePoints(points)) return false;
    state_->work.SetPoints(points, false);
    return true;
}

bool RevitAMP::Hold(const SectionPoints& points) {
    if (!ArePoints(points)) return false;
    state_->work.SetPoints(points, true);
    return true;
}

void RevitAMP::Release() {
    state_->work.SetPoints({}, false);
    state_->project.reset();
}

bool RevitAMP::SetIndexLists(std::span<const std::span<const std::uint64_t>> lists) {
    return state_->work.SetLists(lists);
}

void RevitAMP::ClearIndexLists() {
    state_->work.ClearLists();
}

std::uint64_t RevitAMP::Count() const {
    return state_->work.Entries().Count();
}

bool RevitAMP::CheckPlaneXZ(std::span<SectionClass> classes, SectionCounts* counts) {
    if (classes.size() != Count()) return false;
    const auto found = state_->work.Classify(state_->Rule(), classes.data(), {});
    if (counts != nullptr) *counts = found;
    return true;
}

bool RevitAMP::CheckPlaneXZ(SectionCounts& counts) {
    counts = state_->work.Classify(state_->Rule(), nullptr, {});
    return true;
}

bool RevitAMP::CheckPlaneXZ(SectionClass wanted, std::vector<std::uint64_t>& indices,
                            SectionCounts* counts) {
    if (wanted > SectionClass::NoPosition) return false;
    const auto before = static_cast<std::ptrdiff_t>(indices.size());
    const auto found =
        state_->work.Classify(state_->Rule(), nullptr, [&](const SectionPiece& piece) {
            detail::ForEachOfClass(piece.classes, wanted, [&](std::uint64_t k) {
                indices.push_back(piece.indices != nullptr ? piece.indices[k] : piece.first + k);
            });
        });
    // BEHAVIOUR V7
    if (state_->work.Entries().listed) std::sort(indices.begin() + before, indices.end());
    if (counts != nullptr) *counts = found;
    return true;
}

bool RevitAMP::CheckPlaneXZ_ColorIn(SectionColour colour, std::span<SectionColour> colours,
                                    SectionCounts* counts) {
    if (colours.size() != Count()) return false;
    const auto found =
        state_->work.Classify(state_->Rule(), nullptr, [&](const SectionPiece& piece) {
            SectionColour* const to = colours.data() + piece.first;
            for (std::size_t k = 0; k < piece.classes.size(); ++k) {
                to[k] = Chosen(piece.classes[k] == SectionClass::In, colour, to[k]);
            }
        });
    if (counts != nullptr) *counts = found;
    return true;
}

bool RevitAMP::CheckPlaneXZ_ColorPlane(const SectionRamp& ramp, std::span<SectionColour> colours,
                                       SectionCounts* counts) {
    if (colours.size() != Count()) return false;
    if (ramp.colours.size() < 2 || ramp.colours.size() > 256) return false;
    if (!std::isfinite(ramp.low) || !std::isfinite(ramp.high) || ramp.low >= ramp.high) {
        return false;
    }
    detail::SectionRule rule = state_->Rule();
    detail::SetRamp(rule, ramp);
    const auto found = state_->work.Classify(rule, nullptr, [&](const SectionPiece& piece) {
        SectionColour* const to = colours.data() + piece.first;
        for (std::size_t k = 0; k < piece.classes.size(); ++k) {
            const SectionColour step = ramp.colours[piece.steps[k]];
            to[k] = Chosen(piece.classes[k] < SectionClass::Outside, step, to[k]);
        }
    });
    if (counts != nullptr) *counts = found;
    return true;
}

bool RevitAMP::CheckPlaneXZ_ColorSeparate(SectionColour before, SectionColour behind,
                                          std::span<SectionColour> colours, SectionCounts* counts) {
    if (colours.size() != Count()) return false;
    const auto found =
        state_->work.Classify(state_->Rule(), nullptr, [&](const SectionPiece& piece) {
            SectionColour* const to = colours.data() + piece.first;
            for (std::size_t k = 0; k < piece.classes.size(); ++k) {
                const bool isBefore = piece.classes[k] == SectionClass::Before;
                const bool isBehind = piece.classes[k] == SectionClass::Behind;
                to[k] = Chosen(isBehind, behind, Chosen(isBefore, before, to[k]));
            }
        });
    if (counts != nullptr) *counts = found;
    return true;
}

bool RevitAMP::Snap(std::span<const PickingRay> rays, std::span<SnappedPoint> snapped) {
    const auto rules = state_->Rules(rays);
    if (!rules || snapped.size() != rays.size()) return false;
    state_->work.Snap(*rules, snapped);
    return true;
}

bool RevitAMP::Snap(std::span<const SimplePointT<double>> positions, double radius,
                    std::span<SnappedPoint> snapped) {
    const auto rules = state_->Rules(positions, radius);
    if (!rules || snapped.size() != positions.size()) return false;
    state_->work.Snap(*rules, snapped);
    return true;
}

bool RevitAMP::SetProject(const CProjectCore& core) {
    auto project = detail::ProjectSections::Open(core);
    state_->project =
        project ? std::make_shared<detail::ProjectSections>(std::move(*project)) : nullptr;
    return state_->project != nullptr;
}

bool RevitAMP::StreamPlaneXZ(std::uint32_t wanted, const UseChunk& use, SectionCounts* counts) {
    SectionCounts found;
    const auto project = state_->project;
    const bool whole = project && project->Stream(state_->Rule(), state_->work, wanted, use, found);
    if (counts != nullptr) *counts = found;
    return whole;
}

bool RevitAMP::SnapInProject(std::span<const PickingRay> rays, std::span<SnappedPoint> snapped) {
    const auto rules = state_->Rules(rays);
    if (!rules || snapped.size() != rays.size() || !state_->project) return false;
    return state_->project->Snap(*rules, snapped);
}

bool RevitAMP::SnapInProject(std::span<const SimplePointT<double>> positions, double radius,
                             std::span<SnappedPoint> snapped) {
    const auto rules = state_->Rules(positions, radius);
    if (!rules || snapped.size() != positions.size() || !state_->project) return false;
    return state_->project->Snap(*rules, snapped);
}

std::string RevitAMP::Device() const {
    return state_->work.DeviceName();
}

}  // namespace orvix
