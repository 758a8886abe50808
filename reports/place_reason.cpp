// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/place_reason.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "orvix/platform/amounts.h"

namespace orvix::reports {

namespace {

using detection::PlaceReport;
using detection::PlaneSearchSettings;

bool IsFlat(const PlaceReport& place) {
    const auto& n = place.cellNormal;
    return n.x != 0 || n.y != 0 || n.z != 0;
}

// A plane whose points scatter more, or that waves, allows more than the distance does.
std::string Distances(const PlaceReport& place, const PlaneSearchSettings& settings,
                      const std::vector<WorldPlane>& planes) {
    const auto i = static_cast<std::size_t>(place.nearest);
    const double allowed = i < planes.size() ? planes[i].tolerance : settings.distance;
    return fmt::format("{:.1f} mm away, of {:.1f} mm allowed{}",
                       std::abs(place.nearestDistance) * 1000, allowed * 1000,
                       allowed > settings.distance ? " for a plane that scatters or waves like it"
                                                   : " (--distance)");
}

std::string NameOf(std::int32_t plane, const std::vector<WorldPlane>& planes) {
    const auto i = static_cast<std::size_t>(plane);
    const std::size_t number = i < planes.size() ? planes[i].number : i + 1;
    if (i >= planes.size() || planes[i].kind == "other") return fmt::format("plane {}", number);
    return fmt::format("plane {}, a {}", number, planes[i].kind);
}

std::string LeastOf(const PlaneSearchSettings& settings) {
    return fmt::format("{:g} m2 (--min-area) and {:g} points (--min-points)", settings.minArea,
                       settings.minPoints);
}

std::string SentenceOf(const PlaceReport& place, const PlaneSearchSettings& settings,
                       const std::vector<WorldPlane>& planes) {
    switch (VerdictOf(place)) {
        case PlaceVerdict::OnPlane:
            return fmt::format("{} {}: {}", place.occupied ? "on" : "a point there would be on",
                               NameOf(place.plane, planes), Distances(place, settings, planes));
        case PlaceVerdict::TooFar:
            return fmt::format("on none: the nearest around is {}: {}",
                               NameOf(place.nearest, planes), Distances(place, settings, planes));
        case PlaceVerdict::Dropped:
            return fmt::format(
                "on none: the nearest plane around, {:.1f} mm away, is dropped, for a plane has at "
                "least {}",
                std::abs(place.nearestDistance) * 1000, LeastOf(settings));
        case PlaceVerdict::NotFlat:
            return "on none: no plane passes its cell or one beside it, and none begins where it "
                   "is not flat";
        case PlaceVerdict::NoPlane:
            return fmt::format(
                "on none: no plane passes its cell or one beside it; it is flat here, but not over "
                "enough cells in one plane for {}",
                LeastOf(settings));
        case PlaceVerdict::Empty:
            break;
    }
    return "on none: no plane passes its cell or one beside it";
}

std::string CellOf(const PlaceReport& place, const PlaneSearchSettings& settings) {
    if (!place.occupied) return fmt::format("its cell of {:g} m holds no point", settings.cellSize);
    std::string text = fmt::format("its cell of {:g} m holds {} point{}", settings.cellSize,
                                   platform::CountText(place.points), place.points == 1 ? "" : "s");
    if (!IsFlat(place)) return text + "; its surroundings are not flat";
    text += fmt::format(", flat within {:.1f} mm", place.cellRms * 1000);
    const double turn = TurnInDegrees(place);
    if (turn < 0) return text;
    text += fmt::format(" and turned by {:.1f} degrees from the plane, of {:g} allowed (--angle)",
                        turn, settings.angle);
    if (turn <= settings.angle) return text;
    return text + (place.plane < 0 ? ": too much to be part of it"
                                   : ": too much for the plane to grow here, but a point so near "
                                     "is on it all the same");
}

}  // namespace

PlaceVerdict VerdictOf(const PlaceReport& place) {
    if (place.plane >= 0) return PlaceVerdict::OnPlane;
    if (place.nearest >= 0) return PlaceVerdict::TooFar;
    if (place.nearestDistance != 0) return PlaceVerdict::Dropped;
    if (!place.occupied) return PlaceVerdict::Empty;
    return IsFlat(place) ? PlaceVerdict::NoPlane : PlaceVerdict::NotFlat;
}

const char* WordOf(PlaceVerdict verdict) {
    switch (verdict) {
        case PlaceVerdict::OnPlane:
            return "on-plane";
        case PlaceVerdict::TooFar:
            return "too-far";
        case PlaceVerdict::Dropped:
            return "dropped";
        case PlaceVerdict::NotFlat:
            return "not-flat";
        case PlaceVerdict::NoPlane:
            return "no-plane";
        case PlaceVerdict::Empty:
            break;
    }
    return "empty";
}

double TurnInDegrees(const PlaceReport& place) {
    if (place.nearest < 0 || !IsFlat(place)) return -1;
    constexpr double kDegrees = 180 / std::numbers::pi;
    return std::round(std::acos(std::clamp(place.nearestTurn, -1.0, 1.0)) * kDegrees * 1000) / 1000;
}

std::string SentencesOf(const PlaceReport& place, const PlaneSearchSettings& settings,
                        const std::vector<WorldPlane>& planes) {
    return SentenceOf(place, settings, planes) + "\n" + CellOf(place, settings) + "\n";
}

}  // namespace orvix::reports
