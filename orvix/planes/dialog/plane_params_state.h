// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "orvix/planes/dialog/no_window.h"
#include "orvix/planes/dialog/plane_params.h"
#include "orvix/planes/dialog/plane_params_rows.h"
#include "orvix/planes/dialog/plane_params_sets.h"

namespace orvix {

/// The dialog's working state: copies of both sets, its sliders, and the window's events, each of
/// which leads to the dialog's handler of that name.
struct PlaneParams::State final : platform::RowWindowEvents {
    using Row = detail::PlaneRow;

    /// `minSplitSize` in metres: the sliders make no smaller one.
    State(PlaneParams& dialog, std::shared_ptr<PlaneWormSettings> shared, bool draws,
          double minSplitSize, void* owner);

    CSliderCtrl& Slider(Row row) { return sliders[static_cast<std::size_t>(row)]; }
    [[nodiscard]] int Position(Row row) const {
        return sliders[static_cast<std::size_t>(row)].GetPos();
    }
    detail::ParameterSet& Shown() { return sets.Shown(); }

    void PlaceSplitSize(std::int32_t centimetres);
    /// Shows a slider's position in the window, with this text beside it.
    void ShowRow(Row row, const CString& value);
    /// Shows all rows as the sliders stand; their positions now stand for the set's values.
    void ShowSliders();
    void StepDown(Row row);
    void StepUp(Row row);
    /// Changes those values of the set shown whose sliders moved since they were shown.
    void TakeMoved();

    void Opened() override { self.OnInitDialog(); }
    void ChoiceMade(int chosen) override;
    void SliderMoved(std::size_t row, int position) override;
    void StepPressed(std::size_t row, platform::SliderStep step) override;
    void ButtonPressed(int id) override;
    void Tick() override {
        if (tick) tick();
    }

    PlaneParams& self;
    std::shared_ptr<PlaneWormSettings> settings;
    bool preview;
    std::int32_t minCentimetres;  ///< of the split size
    void* parent;
    Draw draw;
    Orbit orbit;
    PlaneParams::Tick tick;
    CString trouble;
    detail::NoWindow noWindow;
    std::unique_ptr<platform::RowWindow> hostWindow;
    platform::RowWindow* window = &noWindow;

    detail::ParameterSets sets;
    int entry = 0;  ///< of the choice
    std::array<CSliderCtrl, detail::kPlaneRows> sliders;

private:
    [[nodiscard]] bool Moved(Row row) const {
        return Position(row) != shown_[static_cast<std::size_t>(row)];
    }
    void TakeSplitSize();
    void RememberPositions();

    std::array<int, detail::kPlaneRows> shown_{};  // positions that the set's values stand for
};

}  // namespace orvix
