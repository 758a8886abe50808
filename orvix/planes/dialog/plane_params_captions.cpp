// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params_captions.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "localization/text_ids.h"
#include "orvix/planes/dialog/caption_keys.h"
#include "orvix/planes/dialog/plane_params_rows.h"
#include "orvix/platform/utility_lib.h"

namespace orvix::detail {
namespace {

using namespace localization;
using platform::ButtonRole;

constexpr std::int32_t kLastStepClass = 3;

CString Text(unsigned int id) {
    return UtilityLib::LocaleString(id);
}

CString Widened(const std::string& ascii) {
    return CString(ascii.begin(), ascii.end());
}

CString LongestSpeed() {
    CString longest;
    for (int position = 0; position <= 2; ++position) {
        const CString text = SpeedText(position);
        if (text.size() > longest.size()) longest = text;
    }
    return longest;
}

}  // namespace

platform::RowWindowContent PlaneParamsContent(std::int32_t stepClass) {
    CaptionKeys keys;
    const auto marked = [&keys](unsigned int id) { return keys.Mark(Text(id)); };
    platform::RowWindowContent content;
    content.title = Text(kPlaneParamsTitle);
    content.choiceCaption = marked(kSelectData);
    content.choices = {Text(kFullCloud), Text(kThinnedCloud)};
    content.choiceNote = ThinnedText(stepClass);
    content.groupCaption = Text(kSplitSize);
    content.groupRows = kSplitSizeRows;
    const auto addRow = [&](PlaneRow row, unsigned int id, const CString& widest) {
        const PlaneRowRange range = kPlaneRowRanges[static_cast<std::size_t>(row)];
        content.rows.push_back({marked(id), range.low, range.high, widest});
    };
    addRow(PlaneRow::Metres, kMetres, MetresText(10));
    addRow(PlaneRow::Decimetres, kDecimetres, DecimetresText(10));
    addRow(PlaneRow::Centimetres, kCentimetres, CentimetresText(10));
    addRow(PlaneRow::Angle, kAngularTolerance, AngleText(100, 180.0));
    addRow(PlaneRow::Speed, kSpeed, LongestSpeed());
    content.stepDown = Text(kStepDown);
    content.stepUp = Text(kStepUp);
    const auto addButton = [&](PlaneButton button, const CString& caption, ButtonRole role) {
        content.buttons.push_back({static_cast<int>(button), caption, role});
    };
    addButton(PlaneButton::Default, marked(kDefault), ButtonRole::Plain);
    addButton(PlaneButton::View, marked(kView), ButtonRole::Plain);
    // Enter and Escape are their keys.
    addButton(PlaneButton::Ok, Text(kOk), ButtonRole::Accept);
    addButton(PlaneButton::Cancel, Text(kCancel), ButtonRole::Cancel);
    return content;
}

CString ThinnedText(std::int32_t stepClass) {
    return Text(kThinnedTo1cm +
                static_cast<unsigned int>(std::clamp(stepClass, 0, kLastStepClass)));
}

CString MetresText(int position) {
    return Widened(fmt::format("{} m", position));
}

CString DecimetresText(int position) {
    return Widened(fmt::format("{} dcm", position));
}

CString CentimetresText(int position) {
    return Widened(fmt::format("{} cm", position));
}

CString AngleText(int position, double degrees) {
    return Widened(fmt::format("{} ({:.1f}", position, degrees)) + L"\u00B0)";
}

CString SpeedText(int position) {
    constexpr unsigned int kNames[] = {kSpeedExact, kSpeedBalanced, kSpeedFast};
    return Text(kNames[std::clamp(position, 0, 2)]);
}

// BEHAVIOUR D10
CString StepText(double splitSize) {
    return Widened(fmt::format("Step: {:.2f} m", splitSize));
}

}  // namespace orvix::detail
