// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "orvix/planes/dialog/plane_params_captions.h"
#include "orvix/planes/dialog/plane_params_state.h"
#include "orvix/planes/dialog/plane_params_values.h"
#include "orvix/platform/row_window_maker.h"

namespace orvix {
namespace {

using detail::ParameterSet;
using detail::PlaneRow;
using detail::WhichSet;

constexpr double kDefaultDiff = 0.15;

/// The choice's entries are the sets in this order.
int EntryOf(WhichSet which) {
    return which == WhichSet::Alive ? 0 : 1;
}

WhichSet SetOf(int entry) {
    return entry == 1 ? WhichSet::Skeleton : WhichSet::Alive;
}

}  // namespace

PlaneParams::PlaneParams(std::shared_ptr<PlaneWormSettings> settings, const bool& flag,
                         const double& value, void* parent)
    : state_(std::make_unique<State>(*this, std::move(settings), flag, value, parent)) {
    assert(state_->settings && "the dialog edits settings");
}

PlaneParams::~PlaneParams() = default;

int PlaneParams::DoModal() {
    State& s = *state_;
    std::unique_ptr<platform::RowWindow> made;
    if (!s.hostWindow) {
        auto window = platform::MakeRowWindow("the plane parameters window");
        if (!window) {
            s.trouble = platform::FromUtf8(window.error().message);
            return kCannotOpen;
        }
        made = std::move(*window);
    }
    s.window = made ? made.get() : s.hostWindow.get();
    const int code = s.window->Run(s.parent, detail::PlaneParamsContent(s.settings->stepClass), s);
    s.trouble = code == kCannotOpen ? s.window->Trouble() : CString();
    s.window = &s.noWindow;
    return code;
}

const CString& PlaneParams::Trouble() const {
    return state_->trouble;
}

void PlaneParams::UseWindow(std::unique_ptr<platform::RowWindow> window) {
    state_->hostWindow = std::move(window);
}

void PlaneParams::DrawCallback(Draw draw) {
    state_->draw = std::move(draw);
}

void PlaneParams::OrbitCallback(Orbit orbit) {
    state_->orbit = std::move(orbit);
}

void PlaneParams::TickCallback(Tick tick) {
    state_->tick = std::move(tick);
}

void PlaneParams::ShowPicture(const platform::WindowPicture& picture) {
    state_->window->ShowPicture(picture);
}

bool PlaneParams::OnInitDialog() {
    State& s = *state_;
    s.sets = detail::ParameterSets(*s.settings);
    s.entry = EntryOf(s.sets.Which());
    s.window->SetChoice(s.entry);
    s.window->EnableButton(static_cast<int>(detail::PlaneButton::View), s.preview);
    for (std::size_t row = 0; row < detail::kPlaneRows; ++row)
        s.sliders[row].SetRange(detail::kPlaneRowRanges[row].low,
                                detail::kPlaneRowRanges[row].high);
    SetValues();
    DrawResult();
    return true;
}

void PlaneParams::SetValues() {
    State& s = *state_;
    s.sets.Show(SetOf(s.entry));
    const ParameterSet& set = s.Shown();
    s.window->SetChoiceNote(s.sets.Which() == WhichSet::Skeleton  // BEHAVIOUR D12
                                ? detail::ThinnedText(s.settings->stepClass)
                                : CString());
    s.PlaceSplitSize(detail::CentimetresOf(set.splitSize));
    s.Slider(PlaneRow::Angle).SetPos(detail::AngleStepsOf(set.diffs[0]));
    s.Slider(PlaneRow::Speed).SetPos(detail::SpeedOf(set.minPlane));
    s.ShowSliders();
}

bool PlaneParams::LStep(CSliderCtrl* slider) {
    const int before = slider->GetPos();
    slider->SetPos(before - 1);
    return slider->GetPos() != before;
}

bool PlaneParams::RStep(CSliderCtrl* slider) {
    const int before = slider->GetPos();
    slider->SetPos(before + 1);
    return slider->GetPos() != before;
}

void PlaneParams::OnBnClickedButtonLABC() {
    state_->StepDown(PlaneRow::Angle);
    UpdateAngle();
}

void PlaneParams::OnBnClickedButtonRABC() {
    state_->StepUp(PlaneRow::Angle);
    UpdateAngle();
}

void PlaneParams::OnBnClickedButtonLCM() {
    state_->StepDown(PlaneRow::Centimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonRCM() {
    state_->StepUp(PlaneRow::Centimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonLDCM() {
    state_->StepDown(PlaneRow::Decimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonRDCM() {
    state_->StepUp(PlaneRow::Decimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonLM() {
    state_->StepDown(PlaneRow::Metres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonRM() {
    state_->StepUp(PlaneRow::Metres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonLSpeed() {
    state_->StepDown(PlaneRow::Speed);
    UpdateSpeed();
}

void PlaneParams::OnBnClickedButtonRSpeed() {
    state_->StepUp(PlaneRow::Speed);
    UpdateSpeed();
}

void PlaneParams::UpdateAngle() {
    State& s = *state_;
    const double tightest = *std::ranges::min_element(s.Shown().diffs);
    s.ShowRow(PlaneRow::Angle,
              detail::AngleText(s.Position(PlaneRow::Angle), detail::PassingAngle(tightest)));
}

void PlaneParams::UpdateStep() {
    State& s = *state_;
    s.ShowRow(PlaneRow::Metres, detail::MetresText(s.Position(PlaneRow::Metres)));
    s.ShowRow(PlaneRow::Decimetres, detail::DecimetresText(s.Position(PlaneRow::Decimetres)));
    s.ShowRow(PlaneRow::Centimetres, detail::CentimetresText(s.Position(PlaneRow::Centimetres)));
    s.window->SetGroupNote(detail::StepText(s.Shown().splitSize));
}

void PlaneParams::UpdateSpeed() {
    State& s = *state_;
    s.ShowRow(PlaneRow::Speed, detail::SpeedText(s.Position(PlaneRow::Speed)));
}

void PlaneParams::OnNMReleasedcaptureSliderABC() {
    state_->TakeMoved();
    UpdateAngle();
    UpdateStep();
}

void PlaneParams::OnNMReleasedcaptureSliderSpeed() {
    state_->TakeMoved();
    UpdateSpeed();
}

// BEHAVIOUR D7
void PlaneParams::OnBnClickedButtonDefault() {
    State& s = *state_;
    s.Shown().splitSize = detail::DefaultSplitSize(*s.settings, s.sets.Which());
    s.Shown().diffs.fill(kDefaultDiff);
    s.Shown().minPlane = detail::kExactMinPlane;
    SetValues();
}

void PlaneParams::OnBnClickedView() {
    State& s = *state_;
    if (!s.preview) return;
    DrawResult();
    if (!s.orbit) return;
    s.window->StepAside();
    s.orbit();
    s.window->ComeBack();
}

void PlaneParams::DrawResult() {
    State& s = *state_;
    if (!s.preview || !s.draw) return;  // BEHAVIOUR D9
    PlaneWormSettings tried = *s.settings;
    s.sets.StoreInto(tried);
    s.draw(tried);
}

void PlaneParams::OnCbnSelchangeComboData() {
    SwichData(SetOf(state_->entry) == WhichSet::Alive);
}

void PlaneParams::SwichData(const bool& alive) {
    State& s = *state_;
    s.entry = EntryOf(alive ? WhichSet::Alive : WhichSet::Skeleton);
    s.window->SetChoice(s.entry);
    SetValues();
}

void PlaneParams::OnBnClickedOk() {
    State& s = *state_;
    s.sets.StoreInto(*s.settings);  // BEHAVIOUR D8
    s.window->Close(kOk);
}

void PlaneParams::OnBnClickedCancel() {
    state_->window->Close(kCancel);
}

}  // namespace orvix
