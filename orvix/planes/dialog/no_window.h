// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/row_window.h"

namespace orvix::detail {

/// Takes the dialog's calls while no window is open, and does nothing.
class NoWindow final : public platform::RowWindow {
public:
    int Run(void*, const platform::RowWindowContent&, platform::RowWindowEvents&) override {
        return kCannotOpen;
    }
    void Close(int) override {}
    [[nodiscard]] CString Trouble() const override { return {}; }
    void SetChoice(int) override {}
    void SetRow(std::size_t, int, const CString&) override {}
    void SetChoiceNote(const CString&) override {}
    void SetGroupNote(const CString&) override {}
    void EnableButton(int, bool) override {}
    void ShowPicture(const platform::WindowPicture&) override {}
    void StepAside() override {}
    void ComeBack() override {}
};

}  // namespace orvix::detail
