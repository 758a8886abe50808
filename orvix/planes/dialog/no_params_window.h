// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/params_window.h"

namespace orvix::detail {

/// What calls go to while no window is open.
class NoWindow final : public platform::ParamsWindow {
public:
    int Run(void*, platform::ParamsEvents&) override { return kCannotOpen; }
    void Close(int) override {}
    [[nodiscard]] CString Trouble() const override { return {}; }
    void SetCaptions(const platform::ParamsCaptions&) override {}
    void SetChoice(int) override {}
    void SetRange(platform::ParamsSlider, int, int) override {}
    void SetPosition(platform::ParamsSlider, int) override {}
    void SetValue(platform::ParamsSlider, const CString&) override {}
    void SetStep(const CString&) override {}
    void EnableView(bool) override {}
    void ShowPicture(const platform::ParamsPicture&) override {}
    void StepAside() override {}
    void ComeBack() override {}
};

}  // namespace orvix::detail
