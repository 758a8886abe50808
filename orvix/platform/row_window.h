// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::platform {

enum class SliderStep { Down, Up };

/// A row of the window: a caption, a slider between a button for one step down and one for one step
/// up, and the text of its value.
struct SliderRow {
    CString caption;
    int low = 0;  ///< the slider's positions, both included
    int high = 100;
    CString widest;  ///< the widest text that the value takes
};

/// Enter presses the Accept button, save on another button that has the focus; Escape and the
/// frame's own button press the Cancel button. A window has at most one of each.
enum class ButtonRole { Plain, Accept, Cancel };

struct WindowButton {
    int id = 0;  ///< the caller's own number for it
    CString caption;
    ButtonRole role = ButtonRole::Plain;
};

/// What a window shows and never changes while it is open. In a caption an `&` makes the letter
/// after it the control's key; `&&` is the character itself.
struct RowWindowContent {
    CString title;
    CString choiceCaption;         ///< before the choice
    std::vector<CString> choices;  ///< its entries
    CString choiceNote;            ///< a line under the choice, the widest text that it takes
    CString groupCaption;          ///< of the frame around the first rows and the note below them
    std::size_t groupRows = 0;     ///< how many rows the frame holds
    std::vector<SliderRow> rows;
    CString stepDown;  ///< names the buttons beside a slider aloud
    CString stepUp;
    std::vector<WindowButton> buttons;  ///< the plain ones first: they stand at the left
};

/// A picture to stand beside the rows, or, where it has no pixels, a text in its place.
struct WindowPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;  ///< rows from the top, three bytes per pixel
    CString text;
};

/// What a window reports of its user. Rows are counted from 0. Every call comes on the thread that
/// runs the window.
class RowWindowEvents {
public:
    virtual void Opened() = 0;  ///< the controls are there, to be filled
    virtual void ChoiceMade(int entry) = 0;
    virtual void SliderMoved(std::size_t row, int position) = 0;
    virtual void StepPressed(std::size_t row, SliderStep step) = 0;
    virtual void ButtonPressed(int id) = 0;
    virtual void Tick() = 0;  ///< about twenty times a second

protected:
    ~RowWindowEvents() = default;
};

/// A modal window of a choice, rows of sliders and a line of buttons, with place for a picture. It
/// knows nothing of what its rows mean: the caller describes them and hears of each change.
///
///     RowWindowContent content;
///     content.title = L"Thickness";
///     content.rows = {{L"&Millimetres", 0, 10, L"10 mm"}};
///     content.buttons = {{1, L"OK", ButtonRole::Accept}, {2, L"Cancel", ButtonRole::Cancel}};
///     auto window = MakeRowWindow("the thickness window");  // row_window_maker.h
///     if (window) (*window)->Run(nullptr, content, events);  // until events call Close
///
/// MakeRowWindow makes the system's own; a host with a toolkit of its own may bring another.
///
/// Order    Tab goes through the choice, the sliders and the buttons. Right and Up move a slider
///          one position up, Left and Down one down, Page Up and Page Down a fifth of its range.
/// Lifetime one run after the other; between `Opened` and the end of Run the other calls are heard,
///          outside they do nothing.
/// Threads  all calls on one thread.
class RowWindow {
public:
    static constexpr int kCannotOpen = -1;

    virtual ~RowWindow() = default;
    /// Shows the window, modal over `parent` (a native window handle, or null), until Close;
    /// returns the code that Close was given, kCannotOpen where there is nothing to show it on.
    virtual int Run(void* parent, const RowWindowContent& content, RowWindowEvents& events) = 0;
    /// `code` is above 0.
    virtual void Close(int code) = 0;
    /// Why the last Run returned kCannotOpen.
    [[nodiscard]] virtual CString Trouble() const = 0;

    virtual void SetChoice(int entry) = 0;
    virtual void SetRow(std::size_t row, int position, const CString& value) = 0;
    /// The line under the choice. A window without a place for it leaves this out.
    virtual void SetChoiceNote(const CString& text) { static_cast<void>(text); }
    virtual void SetGroupNote(const CString& text) = 0;  ///< the line under the group's rows
    virtual void EnableButton(int id, bool enabled) = 0;
    /// Widens the window at its first call.
    virtual void ShowPicture(const WindowPicture& picture) = 0;
    /// Out of the user's way, with `parent` free to be used, and back.
    virtual void StepAside() = 0;
    virtual void ComeBack() = 0;
};

/// Positions that Page Up and Page Down move a slider by.
constexpr int SliderPage(int low, int high) {
    const int fifth = (high - low + 1) / 5;
    return fifth > 1 ? fifth : 1;
}

/// The size of the picture's place, in pixels at 96 per inch.
inline constexpr int kWindowPictureWidth = 820;
inline constexpr int kWindowPictureHeight = 490;

}  // namespace orvix::platform
