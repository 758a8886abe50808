// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

#include "orvix/planes/dialog/no_params_window.h"
#include "orvix/planes/dialog/plane_params_captions.h"
#include "orvix/planes/dialog/plane_params_sets.h"
#include "orvix/planes/dialog/plane_params_values.h"
#include "orvix/platform/params_window_maker.h"

namespace orvix {
namespace {

using detail::ParameterSet;
using detail::WhichSet;
using platform::ParamsButton;
using platform::ParamsSlider;
using platform::ParamsStep;

constexpr double kDefaultDiff = 0.15;
constexpr std::int32_t kLargestLeast = 1000;  // centimetres

/// The choice's entries are the sets in this order.
int EntryOf(WhichSet which) {
    return which == WhichSet::Alive ? 0 : 1;
}

WhichSet SetOf(int entry) {
    return entry == 1 ? WhichSet::Skeleton : WhichSet::Alive;
}

std::int32_t LeastCentimetres(double least) {
    std::int32_t centimetres = 1;
    while (centimetres < kLargestLeast && detail::SplitSizeOf(centimetres) < least) ++centimetres;
    return centimetres;
}

}  // namespace

struct PlaneParams::State final : platform::ParamsEvents {
    State(PlaneParams& dialog, std::shared_ptr<PlaneWormSettings> shared, bool draws, double value,
          void* owner)
        : self(dialog),
          settings(std::move(shared)),
          preview(draws),
          least(LeastCentimetres(value)),
          parent(owner) {}

    CSliderCtrl& Slider(ParamsSlider slider) { return sliders[static_cast<std::size_t>(slider)]; }
    [[nodiscard]] int Position(ParamsSlider slider) const {
        return sliders[static_cast<std::size_t>(slider)].GetPos();
    }
    void Place(ParamsSlider slider, int position) { Slider(slider).SetPos(position); }
    [[nodiscard]] bool Moved(ParamsSlider slider) const {
        return Position(slider) != shown[static_cast<std::size_t>(slider)];
    }
    ParameterSet& Shown() { return sets.Shown(); }
    void SetRange(ParamsSlider slider, int low, int high) {
        Slider(slider).SetRange(low, high);
        window->SetRange(slider, low, high);
    }
    void PlaceSplitSize(std::int32_t centimetres);

    void Opened() override { self.OnInitDialog(); }
    void ChoiceMade(int chosen) override;
    void SliderMoved(ParamsSlider slider, int position) override;
    void StepPressed(ParamsSlider slider, ParamsStep step) override;
    void ButtonPressed(ParamsButton button) override;
    void Tick() override {
        if (tick) tick();
    }

    PlaneParams& self;
    std::shared_ptr<PlaneWormSettings> settings;
    bool preview;
    std::int32_t least;
    void* parent;
    Draw draw;
    Orbit orbit;
    PlaneParams::Tick tick;
    CString trouble;
    detail::NoWindow noWindow;
    std::unique_ptr<platform::ParamsWindow> hostWindow;
    platform::ParamsWindow* window = &noWindow;

    detail::ParameterSets sets;
    int entry = 0;  // of the choice
    std::array<CSliderCtrl, platform::kParamsSliders> sliders;
    std::array<int, platform::kParamsSliders> shown{};  // positions that the set's values stand for
};

void PlaneParams::State::PlaceSplitSize(std::int32_t centimetres) {
    Place(ParamsSlider::Metres, centimetres / 100);
    Place(ParamsSlider::Decimetres, centimetres % 100 / 10);
    Place(ParamsSlider::Centimetres, centimetres % 10);
}

void PlaneParams::State::ChoiceMade(int chosen) {
    entry = chosen;
    self.OnCbnSelchangeComboData();
}

void PlaneParams::State::SliderMoved(ParamsSlider slider, int position) {
    Place(slider, position);
    if (slider == ParamsSlider::Speed) return self.OnNMReleasedcaptureSliderSpeed();
    self.OnNMReleasedcaptureSliderABC();
}

void PlaneParams::State::StepPressed(ParamsSlider slider, ParamsStep step) {
    using Handler = void (PlaneParams::*)();
    constexpr std::array<std::array<Handler, 2>, platform::kParamsSliders> kHandlers{{
        {&PlaneParams::OnBnClickedButtonLM, &PlaneParams::OnBnClickedButtonRM},
        {&PlaneParams::OnBnClickedButtonLDCM, &PlaneParams::OnBnClickedButtonRDCM},
        {&PlaneParams::OnBnClickedButtonLCM, &PlaneParams::OnBnClickedButtonRCM},
        {&PlaneParams::OnBnClickedButtonLABC, &PlaneParams::OnBnClickedButtonRABC},
        {&PlaneParams::OnBnClickedButtonLSpeed, &PlaneParams::OnBnClickedButtonRSpeed},
    }};
    const auto& both = kHandlers[static_cast<std::size_t>(slider)];
    (self.*both[step == ParamsStep::Down ? 0 : 1])();
}

void PlaneParams::State::ButtonPressed(ParamsButton button) {
    switch (button) {
        case ParamsButton::Default:
            return self.OnBnClickedButtonDefault();
        case ParamsButton::View:
            return self.OnBnClickedView();
        case ParamsButton::Ok:
            return self.OnBnClickedOk();
        case ParamsButton::Cancel:
            return self.OnBnClickedCancel();
    }
}

PlaneParams::PlaneParams(std::shared_ptr<PlaneWormSettings> settings, const bool& flag,
                         const double& value, void* parent)
    : state_(std::make_unique<State>(*this, std::move(settings), flag, value, parent)) {
    assert(state_->settings && "the dialog edits settings");
}

PlaneParams::~PlaneParams() = default;

int PlaneParams::DoModal() {
    State& s = *state_;
    std::unique_ptr<platform::ParamsWindow> made;
    if (!s.hostWindow) {
        auto window = platform::MakeParamsWindow();
        if (!window) {
            s.trouble = platform::FromUtf8(window.error().message);
            return kCannotOpen;
        }
        made = std::move(*window);
    }
    s.window = made ? made.get() : s.hostWindow.get();
    const int code = s.window->Run(s.parent, s);
    s.trouble = code == kCannotOpen ? s.window->Trouble() : CString();
    s.window = &s.noWindow;
    return code;
}

const CString& PlaneParams::Trouble() const {
    return state_->trouble;
}

void PlaneParams::UseWindow(std::unique_ptr<platform::ParamsWindow> window) {
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

void PlaneParams::ShowPicture(const platform::ParamsPicture& picture) {
    state_->window->ShowPicture(picture);
}

bool PlaneParams::OnInitDialog() {
    State& s = *state_;
    s.sets = detail::ParameterSets(*s.settings);
    s.entry = EntryOf(s.sets.Which());
    s.window->SetCaptions(detail::CaptionsOfPlaneParams(s.settings->stepClass));
    s.window->SetChoice(s.entry);
    s.window->EnableView(s.preview);
    for (const ParamsSlider slider :
         {ParamsSlider::Metres, ParamsSlider::Decimetres, ParamsSlider::Centimetres})
        s.SetRange(slider, 0, 10);
    s.SetRange(ParamsSlider::Angle, 1, 100);
    s.SetRange(ParamsSlider::Speed, 0, 2);
    SetValues();
    DrawResult();
    return true;
}

void PlaneParams::SetValues() {
    State& s = *state_;
    s.sets.Show(SetOf(s.entry));
    const ParameterSet& set = s.Shown();
    s.PlaceSplitSize(detail::CentimetresOf(set.splitSize));
    s.Place(ParamsSlider::Angle, detail::AngleStepsOf(set.diffs[0]));
    s.Place(ParamsSlider::Speed, detail::SpeedOf(set.minPlane));
    ShowSliders();
}

void PlaneParams::ShowSliders() {
    State& s = *state_;
    for (std::size_t i = 0; i < s.sliders.size(); ++i) s.shown[i] = s.sliders[i].GetPos();
    UpdateAngle();
    UpdateStep();
    UpdateSpeed();
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

void PlaneParams::StepDown(ParamsSlider slider) {
    if (LStep(&state_->Slider(slider))) TakeMoved();
}

void PlaneParams::StepUp(ParamsSlider slider) {
    if (RStep(&state_->Slider(slider))) TakeMoved();
}

void PlaneParams::OnBnClickedButtonLABC() {
    StepDown(ParamsSlider::Angle);
    UpdateAngle();
}

void PlaneParams::OnBnClickedButtonRABC() {
    StepUp(ParamsSlider::Angle);
    UpdateAngle();
}

void PlaneParams::OnBnClickedButtonLCM() {
    StepDown(ParamsSlider::Centimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonRCM() {
    StepUp(ParamsSlider::Centimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonLDCM() {
    StepDown(ParamsSlider::Decimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonRDCM() {
    StepUp(ParamsSlider::Decimetres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonLM() {
    StepDown(ParamsSlider::Metres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonRM() {
    StepUp(ParamsSlider::Metres);
    UpdateStep();
}

void PlaneParams::OnBnClickedButtonLSpeed() {
    StepDown(ParamsSlider::Speed);
    UpdateSpeed();
}

void PlaneParams::OnBnClickedButtonRSpeed() {
    StepUp(ParamsSlider::Speed);
    UpdateSpeed();
}

/// Values change where a slider stands elsewhere than it was shown, and nowhere else.
void PlaneParams::TakeMoved() {
    State& s = *state_;
    if (s.Moved(ParamsSlider::Metres) || s.Moved(ParamsSlider::Decimetres) ||
        s.Moved(ParamsSlider::Centimetres))
        TakeSplitSize();
    if (s.Moved(ParamsSlider::Angle))
        s.Shown().diffs.fill(detail::DiffOf(s.Position(ParamsSlider::Angle)));
    if (s.Moved(ParamsSlider::Speed))
        s.Shown().minPlane =
            detail::MinPlaneOf(s.Position(ParamsSlider::Speed), s.Shown().thirdMinPlane);
    for (std::size_t i = 0; i < s.sliders.size(); ++i) s.shown[i] = s.sliders[i].GetPos();
}

void PlaneParams::TakeSplitSize() {
    State& s = *state_;
    const std::int32_t sum = s.Position(ParamsSlider::Metres) * 100 +
                             s.Position(ParamsSlider::Decimetres) * 10 +
                             s.Position(ParamsSlider::Centimetres);
    if (sum < s.least) s.PlaceSplitSize(s.least);
    s.Shown().splitSize = detail::SplitSizeOf(std::max(sum, s.least));
}

void PlaneParams::UpdateAngle() {
    State& s = *state_;
    const int position = s.Position(ParamsSlider::Angle);
    const double least = *std::ranges::min_element(s.Shown().diffs);
    s.window->SetPosition(ParamsSlider::Angle, position);
    s.window->SetValue(ParamsSlider::Angle,
                       detail::AngleText(position, detail::PassingAngle(least)));
}

void PlaneParams::UpdateStep() {
    State& s = *state_;
    const auto show = [&s](ParamsSlider slider, CString (*text)(int)) {
        s.window->SetPosition(slider, s.Position(slider));
        s.window->SetValue(slider, text(s.Position(slider)));
    };
    show(ParamsSlider::Metres, &detail::MetresText);
    show(ParamsSlider::Decimetres, &detail::DecimetresText);
    show(ParamsSlider::Centimetres, &detail::CentimetresText);
    s.window->SetStep(detail::StepText(s.Shown().splitSize));
}

void PlaneParams::UpdateSpeed() {
    State& s = *state_;
    s.window->SetPosition(ParamsSlider::Speed, s.Position(ParamsSlider::Speed));
    s.window->SetValue(ParamsSlider::Speed, detail::SpeedText(s.Position(ParamsSlider::Speed)));
}

void PlaneParams::OnNMReleasedcaptureSliderABC() {
    TakeMoved();
    UpdateAngle();
    UpdateStep();
}

void PlaneParams::OnNMReleasedcaptureSliderSpeed() {
    TakeMoved();
    UpdateSpeed();
}

void PlaneParams::OnBnClickedButtonDefault() {
    State& s = *state_;
    const double step =
        s.sets.Which() == WhichSet::Alive ? s.settings->defaultStepB : s.settings->defaultStepA;
    s.Shown().splitSize = step;
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
    if (!s.preview || !s.draw) return;
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
    s.sets.StoreInto(*s.settings);
    s.window->Close(kOk);
}

void PlaneParams::OnBnClickedCancel() {
    state_->window->Close(kCancel);
}

}  // namespace orvix
