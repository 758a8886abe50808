// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "orvix/platform/error.h"
#include "reports/deviation/elements.h"
#include "reports/world_project.h"

namespace orvix::reports {

/// How points are held against elements.
struct DeviationOptions {
    double reach = 0.10;      ///< metres from a face within which a point is taken for its own
    double tolerance = 0.02;  ///< metres from a face that count as in place
    double cell = 0.10;       ///< metres: side of the squares that tell seen surface from missing
    /// Takes points on either side of a face, wherever the scanner stood.
    bool bothSides = false;
    std::uint64_t memoryLimitBytes = std::uint64_t{256} << 20;
    unsigned threads = 0;                  ///< 0: every core; 1: the calling thread alone
    std::function<bool()> proceed;         ///< called often, on the calling thread; false cancels
    std::function<void(double)> progress;  ///< called before it with the part that is done
};

/// How the points near some surface lie before it.
///
/// Units  metres; positive in front of the face. Numbers come from counts in steps of
///        DeviationReport::step: a median or percentile is off by half a step at most.
struct DeviationFigures {
    std::uint64_t points = 0;  ///< those near it; without any, the rest is 0
    std::uint64_t within = 0;  ///< of them, within the tolerance
    double median = 0;
    double low = 0;   ///< 5th percentile
    double high = 0;  ///< 95th
    double rms = 0;   ///< about the face
};

struct ElementDeviation {
    DeviationFigures figures;
    double area = 0;     ///< square metres of its triangles
    double missing = 0;  ///< share of the surface near which no point lies
    double hidden = 0;   ///< share that is missing and that no scanner could see, by the drawing
};

/// A square of an element's face with what was seen of it, world coordinates.
struct SeenSquare {
    SimplePointT<double> middle;
    SimplePointT<double> normal;
    std::uint32_t element = 0;
    float share = 0;              ///< of the square that is surface
    bool bothSides = false;       ///< of an element that encloses no solid
    std::optional<float> height;  ///< mean of its points over the front; none where there are none
    bool hidden = false;          ///< there are none, and no scanner could see it
};

struct DeviationReport {
    std::vector<ElementDeviation> elements;  ///< as those given
    DeviationFigures all;
    std::uint64_t points = 0;  ///< of the project
    double area = 0;
    double missing = 0;
    double hidden = 0;  ///< 0 where no scanner's position is known
    double step = 0;    ///< metres: what figures are counted in
    double cell = 0;    ///< metres: side of the squares
    bool stationsKnown = false;
    std::vector<SeenSquare> squares;
    double seconds = 0;
};

/// Holds each point of a project against the elements of a drawing, in one pass.
///
///     auto report = FindDeviations(project, elements, {.reach = 0.05, .proceed = proceed});
///     for (const ElementDeviation& element : report->elements) Use(element.figures.median);
///
/// A point belongs to the nearest face that it lies before or behind, within the reach and up to 1 cm
/// beside its rim, if its scanner stood in front of that face; ties go to the element that comes
/// first. Either side will do where the scanner's position is not known, and of elements that enclose
/// no solid.
///
/// A square without points is hidden where each of the eight nearest scanners stands behind it, or has
/// another face of the drawing before it.
///
/// Order   the same bits at any number of threads and on every system: sums are of integers.
/// Errors  Failure where the points cannot be mapped; Cancelled; those of NumberedScanners.
/// Threads works on the calling thread and `threads` - 1 more, which have ended when it returns.
/// Cost    a pass over the points, some 40 ns for each that is near a face. Memory: 370 bytes a
///         triangle; the squares grow, and then the steps, before the rest passes the limit.
Expected<DeviationReport> FindDeviations(const WorldProject& project,
                                         const std::vector<DrawnElement>& elements,
                                         const DeviationOptions& options);

}  // namespace orvix::reports
