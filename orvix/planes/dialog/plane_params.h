// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "orvix/planes/dialog/slider_ctrl.h"
#include "orvix/planes/plane_worm_settings.h"
#include "orvix/platform/export.h"
#include "orvix/platform/row_window.h"
#include "orvix/platform/text.h"

namespace orvix {

/// The dialog in which a user sets the parameters of the plane search: its points, the cell size,
/// the angular tolerance and the speed, with a preview drawn by the host.
///
///     PlaneParams dialog(settings, true, 0.01, hostWindow);
///     dialog.DrawCallback([&](const PlaneWormSettings& tried) { DrawPlaneFoundWith(tried); });
///     dialog.OrbitCallback([&] { LetTheUserTurnTheDrawing(); });
///     if (dialog.DoModal() == PlaneParams::kOk) settings->Save();  // loaded from a project
///
/// The dialog works on copies of both parameter sets and shows the one that its choice selects. OK
/// stores both sets and the choice into the settings and makes the chosen set current; it saves
/// nothing. Cancel leaves the settings as they are.
///
/// Units      the split size is the sum of three sliders: metres 0..10, decimetres 0..10 and
///            centimetres 0..10. A step of the angular slider, 1..100, is 0.015 in all three Diff
///            fields. Speed 0, 1 and 2 are a MinPlane of 0, 400, and the set's own when the dialog
///            opened, or 100.
/// Boundaries what the user does not move stays as it was to the last bit: a split size finer than
///            a centimetre or above the sliders' 11.10 m, three different Diff fields. Moving one
///            of the three sliders takes the sum of them all, at least the smallest split size.
/// Errors     DoModal returns kCannotOpen, and Trouble says why: no display, or no window library.
/// Lifetime   shares the settings; they must be given. Callbacks are kept until replaced.
/// Threads    one thread, which the dialog's window keeps until DoModal returns. Callbacks come on
///            it; one that works long keeps the window from answering.
class ORVIX_API PlaneParams {
public:
    /// What DoModal returns.
    static constexpr int kOk = 1;
    static constexpr int kCancel = 2;
    static constexpr int kCannotOpen = -1;

    using Draw = std::function<void(const PlaneWormSettings& tried)>;
    using Orbit = std::function<void()>;
    using Tick = std::function<void()>;

    /// `flag`: the host draws a preview, so View is offered and DrawResult draws. `value`: the
    /// smallest split size that the sliders give, metres, for clouds in which smaller cells hold no
    /// plane; from 0.01 (one centimetre, also for anything below) to 10. `parent`: the native
    /// handle of the window that the dialog belongs to (HWND, an X11 window id), or null.
    PlaneParams(std::shared_ptr<PlaneWormSettings> settings, const bool& flag, const double& value,
                void* parent);
    ~PlaneParams();
    PlaneParams(const PlaneParams&) = delete;
    PlaneParams& operator=(const PlaneParams&) = delete;

    /// Runs the dialog: kOk, kCancel or kCannotOpen.
    int DoModal();
    /// Why DoModal could not open the dialog, a sentence.
    [[nodiscard]] const CString& Trouble() const;
    /// A window of the host's own toolkit in place of the system's.
    void UseWindow(std::unique_ptr<platform::RowWindow> window);

    /// The host's preview: called with a copy of the settings that holds what the dialog shows,
    /// its set current, when the dialog opens and at View.
    void DrawCallback(Draw draw);
    /// Called at View after drawing, with the dialog out of the way and the parent free to be used;
    /// the dialog comes back when it returns.
    void OrbitCallback(Orbit orbit);
    /// Called about twenty times a second while the dialog is open, for a host whose preview takes
    /// long: work on another thread, show the result from here.
    void TickCallback(Tick tick);
    /// Shows a picture, or a text, beside the settings; for hosts without a drawing of their own.
    void ShowPicture(const platform::WindowPicture& picture);

    /// What the window's events lead to. A host with a window of its own needs none of them: it
    /// passes events to the RowWindowEvents that its Run is given.
    bool OnInitDialog();
    void SetValues();
    /// Moves a slider one position down or up; whether it moved, which at an end it does not.
    bool LStep(CSliderCtrl* slider);
    bool RStep(CSliderCtrl* slider);
    void OnBnClickedButtonLABC();
    void OnBnClickedButtonRABC();
    void OnBnClickedButtonLCM();
    void OnBnClickedButtonRCM();
    void OnBnClickedButtonLDCM();
    void OnBnClickedButtonRDCM();
    void OnBnClickedButtonLM();
    void OnBnClickedButtonRM();
    void OnBnClickedButtonLSpeed();
    void OnBnClickedButtonRSpeed();
    /// Refresh the labels of the angular slider, of the three of the split size, of the speed.
    void UpdateAngle();
    void UpdateStep();
    void UpdateSpeed();
    void OnNMReleasedcaptureSliderABC();  ///< of ABC, CM, DCM and M
    void OnNMReleasedcaptureSliderSpeed();
    /// The set shown takes its defaults: a split size that suits the project's points, tolerances
    /// of 0.15, MinPlane 0. Without a project the split size is the settings' default step
    /// (`defaultStepA` for the skeleton set, `defaultStepB` for the alive one).
    void OnBnClickedButtonDefault();
    void OnBnClickedView();
    void DrawResult();
    void OnCbnSelchangeComboData();
    /// Puts the values shown back into their set and takes the alive or the skeleton set.
    void SwichData(const bool& alive);
    void OnBnClickedOk();
    void OnBnClickedCancel();

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace orvix
