// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_histogram.h"

#include <fmt/format.h>

#include "orvix/platform/amounts.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"

namespace orvix::output {

namespace {

std::string TitleOf(const CString& project, reports::Field field) {
    return fmt::format("{}: {}", platform::ToUtf8(platform::FileNameOf(project)),
                       reports::NameOf(field));
}

}  // namespace

HistogramPanel PanelOf(const CString& project, const reports::FieldHistogram& histogram) {
    HistogramPanel panel{histogram, nullptr, TitleOf(project, histogram.field), ""};
    panel.subtitle = fmt::format("{} points, {} to {}", platform::CountText(histogram.points),
                                 histogram.ValueText(histogram.Lowest()),
                                 histogram.ValueText(histogram.Highest()));
    return panel;
}

HistogramPanel PanelOf(const CString& project, const reports::FieldHistogram& histogram,
                       const reports::Classification& classes) {
    HistogramPanel panel{histogram, &classes, TitleOf(project, histogram.field), ""};
    panel.title += fmt::format(" in {} natural classes", classes.Classes());
    panel.subtitle =
        fmt::format("{} points, {}, goodness of variance fit {:.4f}",
                    platform::CountText(histogram.points), classes.HowText(), classes.fit);
    return panel;
}

}  // namespace orvix::output
