// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvix/planes/dialog/plane_params_rows.h"
#include "orvix/platform/row_window.h"

namespace orvix::test {

enum class Key { Tab, Enter, Escape, Left, Right, Up, Down, PageUp, PageDown };

/// Uses the open plane parameters window as a person would, from another thread: real keys and
/// clicks to the real controls. Made on the thread that will run the window.
///
/// An action may be under way when its call returns: wait for a tick of the window before looking.
class WindowDriver {
public:
    static std::unique_ptr<WindowDriver> Make();

    virtual ~WindowDriver() = default;
    virtual void Press(Key key) = 0;          ///< to the control that has the focus
    virtual void PressWithAlt(char key) = 0;  ///< a caption's key
    virtual void Click(detail::PlaneButton button) = 0;
    virtual void Click(detail::PlaneRow row, platform::SliderStep step) = 0;
    virtual void CloseFrame() = 0;

    /// What has the focus: "choice", "slider 0" to "slider 4", "button 0" (Default) to "button 3".
    virtual std::string Focus() = 0;
    virtual CString Value(detail::PlaneRow row) = 0;
    virtual bool Visible() = 0;
    virtual int Width() = 0;
    /// The texts that have less room than they take.
    virtual std::vector<CString> CutOff() = 0;
};

}  // namespace orvix::test
