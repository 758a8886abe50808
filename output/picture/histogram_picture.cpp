// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/histogram_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "orvix/platform/amounts.h"
#include "output/output_file.h"
#include "reports/histogram_columns.h"

namespace orvix::output {

namespace {

constexpr double kWidth = 1000;
constexpr double kPanelHeight = 420;
constexpr double kLeft = 90;
constexpr double kRight = 30;
constexpr double kTop = 92;  // title, subtitle, two rows of boundary values
constexpr double kBottom = 64;
constexpr std::size_t kColumns = 240;
constexpr double kPlainTop = 62;  // without boundary values
constexpr std::size_t kLabelledClasses = 16;

constexpr std::array<const char*, 8> kClassColours{"#3b6fb6", "#d9822b", "#3a9a5b", "#b5485d",
                                                   "#7a5ea8", "#8a6d3b", "#2a9db0", "#6b7683"};

/// Where a panel's values and counts lie on the picture.
struct Scale {
    double top, bottom;  // of the plot
    double start, end;
    double max;

    [[nodiscard]] double X(double stored) const {
        return kLeft + (stored - start) / (end - start) * (kWidth - kLeft - kRight);
    }
    [[nodiscard]] double Y(double count) const { return bottom - count / max * Height(); }
    [[nodiscard]] double Height() const { return bottom - top; }
};

int DecimalsOf(double step) {
    return std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
        }
    }
    return escaped;
}

enum class Anchor { Start, Middle, End };

std::string Text(double x, double y, int size, Anchor anchor, const std::string& text,
                 const char* extra = "") {
    constexpr std::array<const char*, 3> kAnchors{"start", "middle", "end"};
    return fmt::format(R"(<text x="{:.1f}" y="{:.1f}" font-size="{}" text-anchor="{}"{}>{}</text>)"
                       "\n",
                       x, y, size, kAnchors[static_cast<std::size_t>(anchor)], extra,
                       Escaped(text));
}

std::string Rect(double left, double top, double width, double height, const char* fill,
                 double opacity) {
    return fmt::format(
        R"(<rect x="{:.2f}" y="{:.2f}" width="{:.2f}" height="{:.2f}" fill="{}" fill-opacity="{}"/>)"
        "\n",
        left, top, width, height, fill, opacity);
}

std::string Line(double x1, double y1, double x2, double y2, const char* style) {
    return fmt::format(R"(<line x1="{:.2f}" y1="{:.2f}" x2="{:.2f}" y2="{:.2f}" {}/>)"
                       "\n",
                       x1, y1, x2, y2, style);
}

const char* ColourOf(std::size_t number) {
    return kClassColours[number % kClassColours.size()];
}

/// The classes' stretches of the axis: a class ends at the upper edge of its last bin.
std::vector<double> EdgesOf(const HistogramPanel& panel, const Scale& scale) {
    std::vector<double> edges{scale.start};
    const auto& boundaries = panel.classes->boundaries;
    for (std::size_t i = 1; i + 1 < boundaries.size(); ++i) {
        const double edge = boundaries[i] + panel.histogram.binWidth / 2;
        edges.push_back(std::clamp(edge, scale.start, scale.end));
    }
    edges.push_back(scale.end);
    return edges;
}

std::string Bands(const std::vector<double>& edges, const Scale& scale) {
    std::string svg;
    for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
        const double left = scale.X(edges[i]);
        const double width = scale.X(edges[i + 1]) - left;
        svg += Rect(left, scale.top, width, scale.Height(), ColourOf(i), 0.13);
        if (width > 16) {
            svg += Text(left + width / 2, scale.top + 16, 12, Anchor::Middle, std::to_string(i + 1),
                        R"( fill="#444")");
        }
    }
    return svg;
}

// Values stand above the plot, in two rows where one would run into the next.
std::string BoundaryLines(const HistogramPanel& panel, const std::vector<double>& edges,
                          const Scale& scale) {
    std::string svg;
    const bool labelled = panel.classes->Classes() <= kLabelledClasses;
    std::array<double, 2> taken{-1e9, -1e9};
    for (std::size_t i = 1; i + 1 < edges.size(); ++i) {
        if (edges[i] <= scale.start || edges[i] >= scale.end) continue;
        const double x = scale.X(edges[i]);
        svg += Line(x, scale.top, x, scale.bottom,
                    R"(stroke="#222" stroke-width="1.2" stroke-dasharray="5 3")");
        if (!labelled) continue;
        const std::string value = panel.histogram.ValueText(panel.classes->boundaries[i]);
        const double width = 7.0 * static_cast<double>(value.size()) + 6;
        for (std::size_t row = 0; row < taken.size(); ++row) {
            if (x - width / 2 < taken[row]) continue;
            taken[row] = x + width / 2;
            svg +=
                Text(x, scale.top - 6 - 15 * static_cast<double>(row), 12, Anchor::Middle, value);
            break;
        }
    }
    return svg;
}

std::string Bars(const reports::Columns& columns, const std::vector<double>& edges,
                 const Scale& scale) {
    std::string svg;
    std::size_t number = 0;
    for (std::size_t i = 0; i < columns.counts.size(); ++i) {
        if (columns.counts[i] == 0) continue;
        const double left = columns.start + columns.width * static_cast<double>(i);
        const double middle = left + columns.width / 2;
        while (number + 2 < edges.size() && middle > edges[number + 1]) ++number;
        const double x = scale.X(left);
        const double y = scale.Y(static_cast<double>(columns.counts[i]));
        svg +=
            Rect(x, y, scale.X(left + columns.width) - x, scale.bottom - y, ColourOf(number), 0.85);
    }
    return svg;
}

std::string HorizontalAxis(const reports::FieldHistogram& histogram, const Scale& scale) {
    std::string svg = Line(kLeft, scale.bottom, kWidth - kRight, scale.bottom,
                           R"(stroke="#222" stroke-width="1.2")");
    const double step = reports::RoundStep(scale.end - scale.start, 9);
    const double first = std::ceil((scale.start + histogram.shift) / step);
    for (double tick = first; tick * step <= scale.end + histogram.shift + step * 1e-9; tick += 1) {
        const double value = tick == 0 ? 0.0 : tick * step;  // never "-0"
        const double x = scale.X(value - histogram.shift);
        svg += Line(x, scale.bottom, x, scale.bottom + 5, R"(stroke="#222")");
        svg += Text(x, scale.bottom + 20, 12, Anchor::Middle,
                    fmt::format("{:.{}f}", value, DecimalsOf(step)));
    }
    return svg + Text((kLeft + kWidth - kRight) / 2, scale.bottom + 44, 14, Anchor::Middle,
                      histogram.AxisText());
}

std::string VerticalAxis(const reports::FieldHistogram& histogram, const reports::Columns& columns,
                         const Scale& scale) {
    std::string svg;
    const double step = std::max(1.0, reports::RoundStep(scale.max, 5));
    for (double count = 0; count <= scale.max; count += step) {
        const double y = scale.Y(count);
        svg += Line(kLeft, y, kWidth - kRight, y, R"(stroke="#999" stroke-opacity="0.4")");
        svg += Text(kLeft - 8, y + 4, 12, Anchor::End,
                    platform::CountText(static_cast<std::uint64_t>(count)));
    }
    const std::string per =
        histogram.field == reports::Field::Height
            ? fmt::format("points per {:.0f} cm", columns.width * 100)
            : fmt::format("points per {:.0f} value{}", columns.width, columns.width > 1 ? "s" : "");
    const double middle = scale.top + scale.Height() / 2;
    return svg + fmt::format(R"(<text x="20" y="{0:.1f}" font-size="14" text-anchor="middle" )"
                             R"svg(transform="rotate(-90 20 {0:.1f})">{1}</text>)svg"
                             "\n",
                             middle, per);
}

std::string Draw(const HistogramPanel& panel, double top) {
    const reports::Columns columns = reports::ColumnsOf(panel.histogram, kColumns);
    const std::uint64_t max = *std::max_element(columns.counts.begin(), columns.counts.end());
    const double plotTop = top + (panel.classes != nullptr ? kTop : kPlainTop);
    const Scale scale{plotTop, top + kPanelHeight - kBottom, columns.start, columns.End(),
                      std::max(1.0, static_cast<double>(max) * 1.08)};
    std::string svg = Text(kLeft, top + 28, 18, Anchor::Start, panel.title) +
                      Text(kLeft, top + 48, 13, Anchor::Start, panel.subtitle);
    std::vector<double> edges{scale.start, scale.end};
    if (panel.classes != nullptr) edges = EdgesOf(panel, scale);
    if (panel.classes != nullptr) svg += Bands(edges, scale);
    svg += VerticalAxis(panel.histogram, columns, scale) + Bars(columns, edges, scale);
    if (panel.classes != nullptr) svg += BoundaryLines(panel, edges, scale);
    svg += HorizontalAxis(panel.histogram, scale);
    if (columns.below + columns.above > 0) {
        svg += Text(kWidth - kRight, scale.bottom + 44, 12, Anchor::End,
                    fmt::format("not drawn: {} below, {} above", platform::CountText(columns.below),
                                platform::CountText(columns.above)),
                    R"( fill="#666")");
    }
    return svg;
}

}  // namespace

std::string DrawHistograms(const std::vector<HistogramPanel>& panels) {
    const double height = kPanelHeight * static_cast<double>(panels.size());
    std::string svg =
        fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0:.0f}" height="{1:.0f}" )"
                    R"(viewBox="0 0 {0:.0f} {1:.0f}" font-family="DejaVu Sans, Arial, sans-serif">)"
                    "\n",
                    kWidth, height);
    svg += Rect(0, 0, kWidth, height, "#fff", 1);
    for (std::size_t i = 0; i < panels.size(); ++i) {
        svg += Draw(panels[i], kPanelHeight * static_cast<double>(i));
    }
    return svg + "</svg>\n";
}

Expected<void> WriteSvg(const CString& path, const std::string& svg) {
    OutputFile file(path);
    file.Append(svg.data(), svg.size());
    return file.Commit();
}

}  // namespace orvix::output
