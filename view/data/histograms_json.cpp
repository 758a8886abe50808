// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/data/histograms_json.h"

#include "reports/classification.h"
#include "reports/field_histogram.h"
#include "reports/histogram_columns.h"

namespace orvix::view {

namespace {

constexpr std::size_t kColumns = 256;
constexpr std::size_t kMostExactValues = 65'536;
constexpr std::size_t kSample = 8000;

Json ClassesJson(const reports::FieldHistogram& histogram, std::size_t classes) {
    reports::ClassifyOptions options;
    options.classes = classes;
    options.sample = histogram.bins.size() > kMostExactValues ? kSample : 0;
    const auto divided = reports::Classify(histogram.bins, options);
    if (!divided) return {};
    return Json{
        {"boundaries", divided->boundaries}, {"counts", divided->counts}, {"fit", divided->fit}};
}

Json FieldJson(const CString& project, reports::Field field, std::size_t classes) {
    const auto histogram = reports::ReadField(project, field);
    if (!histogram) return {};
    const reports::Columns columns = reports::ColumnsOf(*histogram, kColumns);
    Json json = Json::object();
    json["axis"] = histogram->AxisText();
    json["points"] = histogram->points;
    json["shift"] = histogram->shift;
    json["lowest"] = histogram->Lowest();
    json["highest"] = histogram->Highest();
    json["mean"] = histogram->Mean();
    json["median"] = histogram->Median();
    json["start"] = columns.start;
    json["width"] = columns.width;
    json["counts"] = columns.counts;
    json["below"] = columns.below;
    json["above"] = columns.above;
    json["classes"] = ClassesJson(*histogram, classes);
    return json;
}

}  // namespace

Json HistogramsJson(const CString& project, std::size_t classes) {
    Json json = Json::object();
    json["intensity"] = FieldJson(project, reports::Field::Intensity, classes);
    json["height"] = FieldJson(project, reports::Field::Height, classes);
    return json;
}

}  // namespace orvix::view
