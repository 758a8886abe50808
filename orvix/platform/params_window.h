// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// The rows of the plane parameters window, in their order on it and in the Tab order.
enum class ParamsSlider { Metres, Decimetres, Centimetres, Angle, Speed };
inline constexpr std::size_t kParamsSliders = 5;

enum class ParamsButton { Default, View, Ok, Cancel };
enum class ParamsStep { Down, Up };

/// What the window says and never changes while it is open. An `&` makes the letter after it the
/// control's key; `&&` is the character itself.
struct ParamsCaptions {
    CString title;
    CString data;                  ///< before the choice
    std::vector<CString> choices;  ///< its entries
    CString scale;                 ///< a line under the choice
    CString splitSize;             ///< above the first three sliders
    std::array<CString, kParamsSliders> sliders;
    std::array<CString, kParamsSliders> widest;  ///< the widest text that each value takes
    CString stepDown;                            ///< names the buttons beside a slider aloud
    CString stepUp;
    CString defaults;
    CString view;
    CString ok;
    CString cancel;
};

/// A picture to stand beside the settings, or, where it has no rows, a text in its place.
struct ParamsPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;  ///< rows from the top, three bytes a pixel
    CString text;
};

/// What a window tells of its user. Every call comes on the thread that runs the window.
class ParamsEvents {
public:
    virtual void Opened() = 0;  ///< the controls are there, to be filled
    virtual void ChoiceMade(int entry) = 0;
    virtual void SliderMoved(ParamsSlider slider, int position) = 0;
    virtual void StepPressed(ParamsSlider slider, ParamsStep step) = 0;
    virtual void ButtonPressed(ParamsButton button) = 0;
    virtual void Tick() = 0;  ///< about twenty times a second

protected:
    ~ParamsEvents() = default;
};

/// The plane parameters window as its logic sees it: controls to fill, events to hear. The system's
/// own is made by MakeParamsWindow; a host with a toolkit of its own may bring another.
///
/// Order    Tab goes through the choice, the five sliders, Default, View, OK and Cancel. Right and
///          Up move a slider one position up, Left and Down one down, Page Up and Page Down a fifth
///          of its range. Enter is OK, save on a button that has the focus; Escape is Cancel.
/// Lifetime one run after the other; between `Opened` and the end of Run the other calls are heard,
///          outside they do nothing.
/// Threads  all calls on one thread.
class ParamsWindow {
public:
    static constexpr int kCannotOpen = -1;

    virtual ~ParamsWindow() = default;
    /// Shows the window, modal over `parent` (a native window handle, or null), until Close; gives
    /// the code that Close was given, kCannotOpen where there is nothing to show it on.
    virtual int Run(void* parent, ParamsEvents& events) = 0;
    virtual void Close(int code) = 0;
    /// Why the last Run gave kCannotOpen.
    [[nodiscard]] virtual CString Trouble() const = 0;

    virtual void SetCaptions(const ParamsCaptions& captions) = 0;
    virtual void SetChoice(int entry) = 0;
    virtual void SetRange(ParamsSlider slider, int low, int high) = 0;
    virtual void SetPosition(ParamsSlider slider, int position) = 0;
    virtual void SetValue(ParamsSlider slider, const CString& text) = 0;
    virtual void SetStep(const CString& text) = 0;  ///< the line under the first three sliders
    virtual void EnableView(bool enabled) = 0;
    /// Widens the window at its first call.
    virtual void ShowPicture(const ParamsPicture& picture) = 0;
    /// Out of the user's way, with `parent` free to be used, and back.
    virtual void StepAside() = 0;
    virtual void ComeBack() = 0;
};

/// Positions that Page Up and Page Down move a slider by.
constexpr int ParamsPage(int low, int high) {
    const int fifth = (high - low + 1) / 5;
    return fifth > 1 ? fifth : 1;
}

/// The size of the picture's place, in pixels at 96 a inch.
inline constexpr int kParamsPictureWidth = 820;
inline constexpr int kParamsPictureHeight = 490;

}  // namespace orvix::platform
