// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params_captions.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "localization/text_ids.h"
#include "orvix/planes/dialog/caption_keys.h"
#include "orvix/platform/utility_lib.h"

namespace orvix::detail {
namespace {

using namespace localization;

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

platform::ParamsCaptions CaptionsOfPlaneParams(std::int32_t stepClass) {
    CaptionKeys keys;
    const auto marked = [&keys](unsigned int id) { return keys.Mark(Text(id)); };
    const auto scale = static_cast<unsigned int>(std::clamp(stepClass, 0, kLastStepClass));
    platform::ParamsCaptions captions;
    captions.title = Text(kPlaneParamsTitle);
    captions.data = marked(kSelectData);
    captions.choices = {Text(kFullCloud), Text(kThinnedCloud)};
    captions.scale = Text(kThinnedTo1cm + scale);
    captions.splitSize = Text(kSplitSize);
    captions.sliders = {marked(kMetres), marked(kDecimetres), marked(kCentimetres),
                        marked(kAngularTolerance), marked(kSpeed)};
    captions.widest = {MetresText(10), DecimetresText(10), CentimetresText(10),
                       AngleText(100, 180.0), LongestSpeed()};
    captions.stepDown = Text(kStepDown);
    captions.stepUp = Text(kStepUp);
    captions.defaults = marked(kDefault);
    captions.view = marked(kView);
    // Enter and Escape are their keys.
    captions.ok = Text(kOk);
    captions.cancel = Text(kCancel);
    return captions;
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

CString StepText(double splitSize) {
    return Widened(fmt::format("Step: {:.2f} m", splitSize));
}

}  // namespace orvix::detail
