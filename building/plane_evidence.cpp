// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/plane_evidence.h"

#include <algorithm>
#include <cmath>

namespace orvix::building {
namespace {

constexpr std::uint64_t kLeastPoints = 30;
constexpr double kSure = 1.96;  // standard deviations: 95 of 100

}  // namespace

Evidence PlaneEvidence::Of(std::vector<std::size_t> planes) const {
    std::sort(planes.begin(), planes.end());
    planes.erase(std::unique(planes.begin(), planes.end()), planes.end());
    Evidence evidence;
    double squares = 0;
    for (const std::size_t p : planes) {
        const detection::FoundPlane& plane = scan_.planes[p];
        evidence.points += plane.points;
        squares += plane.rms * plane.rms * static_cast<double>(plane.points);
        evidence.tolerance = std::max(evidence.tolerance, plane.tolerance);
        evidence.planes.push_back(numbers_[p]);
    }
    std::sort(evidence.planes.begin(), evidence.planes.end());
    if (evidence.points > 0)
        evidence.rms = std::sqrt(squares / static_cast<double>(evidence.points));
    for (std::size_t s = 0; s < scan_.stations.size(); ++s) {
        std::uint64_t points = 0;
        for (const std::size_t p : planes) points += scan_.Points(p, s);
        if (points >= kLeastPoints) evidence.stations.push_back(scan_.stations[s].number);
    }
    return evidence;
}

double PlaneEvidence::Scatter(std::span<const std::size_t> planes) const {
    double squares = 0, points = 0;
    for (const std::size_t p : planes) {
        const detection::FoundPlane& plane = scan_.planes[p];
        squares += plane.rms * plane.rms * static_cast<double>(plane.points);
        points += static_cast<double>(plane.points);
    }
    return points > 0 ? kSure * std::sqrt(squares / points) : 0;
}

std::vector<std::size_t> PlanesWithin(const ScanEvidence& scan, std::size_t line, double begin,
                                      double end, double bottom, double top) {
    constexpr double kOverlap = 0.1;
    std::vector<std::size_t> planes;
    for (const std::size_t p : scan.faces.lines[line].planes) {
        const auto own = FaceLineOf(scan.planes[p]);
        if (!own) continue;
        const FaceLine& whole = scan.faces.lines[line];
        double from = whole.Along(own->At(own->begin)), to = whole.Along(own->At(own->end));
        if (from > to) std::swap(from, to);
        if (std::min(to, end) - std::max(from, begin) < kOverlap) continue;
        if (std::min(own->top, top) - std::max(own->bottom, bottom) < kOverlap) continue;
        planes.push_back(p);
    }
    return planes;
}

}  // namespace orvix::building
