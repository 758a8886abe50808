// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params_state.h"

#include <algorithm>
#include <utility>

#include "orvix/planes/dialog/plane_params_values.h"

namespace orvix {
namespace {

using detail::PlaneButton;

constexpr std::int32_t kMaxMinCentimetres = 1000;

std::int32_t CentimetresFrom(double minSplitSize) {
    std::int32_t centimetres = 1;
    while (centimetres < kMaxMinCentimetres && detail::SplitSizeOf(centimetres) < minSplitSize)
        ++centimetres;
    return centimetres;
}

}  // namespace

PlaneParams::State::State(PlaneParams& dialog, std::shared_ptr<PlaneWormSettings> shared,
                          bool draws, double minSplitSize, void* owner)
    : self(dialog),
      settings(std::move(shared)),
      preview(draws),
      minCentimetres(CentimetresFrom(minSplitSize)),
      parent(owner) {}

void PlaneParams::State::PlaceSplitSize(std::int32_t centimetres) {
    Slider(Row::Metres).SetPos(centimetres / 100);
    Slider(Row::Decimetres).SetPos(centimetres % 100 / 10);
    Slider(Row::Centimetres).SetPos(centimetres % 10);
}

void PlaneParams::State::ShowRow(Row row, const CString& value) {
    window->SetRow(static_cast<std::size_t>(row), Position(row), value);
}

void PlaneParams::State::ShowSliders() {
    RememberPositions();
    self.UpdateAngle();
    self.UpdateStep();
    self.UpdateSpeed();
}

void PlaneParams::State::StepDown(Row row) {
    if (self.LStep(&Slider(row))) TakeMoved();
}

void PlaneParams::State::StepUp(Row row) {
    if (self.RStep(&Slider(row))) TakeMoved();
}

void PlaneParams::State::TakeMoved() {
    if (Moved(Row::Metres) || Moved(Row::Decimetres) || Moved(Row::Centimetres)) TakeSplitSize();
    // BEHAVIOUR D1
    if (Moved(Row::Angle)) Shown().diffs.fill(detail::DiffOf(Position(Row::Angle)));
    if (Moved(Row::Speed))
        Shown().minPlane = detail::MinPlaneOf(Position(Row::Speed), Shown().thirdMinPlane);
    RememberPositions();
}

void PlaneParams::State::TakeSplitSize() {
    // BEHAVIOUR D2
    const std::int32_t sum =
        Position(Row::Metres) * 100 + Position(Row::Decimetres) * 10 + Position(Row::Centimetres);
    if (sum < minCentimetres) PlaceSplitSize(minCentimetres);  // BEHAVIOUR D4
    Shown().splitSize = detail::SplitSizeOf(std::max(sum, minCentimetres));
}

void PlaneParams::State::RememberPositions() {
    for (std::size_t row = 0; row < sliders.size(); ++row) shown_[row] = sliders[row].GetPos();
}

void PlaneParams::State::ChoiceMade(int chosen) {
    entry = chosen;
    self.OnCbnSelchangeComboData();
}

void PlaneParams::State::SliderMoved(std::size_t row, int position) {
    sliders[row].SetPos(position);
    if (static_cast<Row>(row) == Row::Speed) return self.OnNMReleasedcaptureSliderSpeed();
    self.OnNMReleasedcaptureSliderABC();
}

void PlaneParams::State::StepPressed(std::size_t row, platform::SliderStep step) {
    using Handler = void (PlaneParams::*)();
    constexpr std::array<std::array<Handler, 2>, detail::kPlaneRows> kHandlers{{
        {&PlaneParams::OnBnClickedButtonLM, &PlaneParams::OnBnClickedButtonRM},
        {&PlaneParams::OnBnClickedButtonLDCM, &PlaneParams::OnBnClickedButtonRDCM},
        {&PlaneParams::OnBnClickedButtonLCM, &PlaneParams::OnBnClickedButtonRCM},
        {&PlaneParams::OnBnClickedButtonLABC, &PlaneParams::OnBnClickedButtonRABC},
        {&PlaneParams::OnBnClickedButtonLSpeed, &PlaneParams::OnBnClickedButtonRSpeed},
    }};
    (self.*kHandlers[row][step == platform::SliderStep::Down ? 0 : 1])();
}

void PlaneParams::State::ButtonPressed(int id) {
    switch (static_cast<PlaneButton>(id)) {
        case PlaneButton::Default:
            return self.OnBnClickedButtonDefault();
        case PlaneButton::View:
            return self.OnBnClickedView();
        case PlaneButton::Ok:
            return self.OnBnClickedOk();
        case PlaneButton::Cancel:
            return self.OnBnClickedCancel();
    }
}

}  // namespace orvix
