// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/planes/dialog/window_driver.h"

#include <windows.h>

#include <algorithm>

#include "orvix/platform/win32/row_window_template.h"

namespace orvix::test {
namespace {

using detail::PlaneButton;
using detail::PlaneRow;
using platform::SliderStep;
using namespace platform::detail;

constexpr int kButtons[] = {kButtonControls, kButtonControls + 1, IDOK, IDCANCEL};

WPARAM CodeOf(Key key) {
    switch (key) {
        case Key::Tab:
            return VK_TAB;
        case Key::Enter:
            return VK_RETURN;
        case Key::Escape:
            return VK_ESCAPE;
        case Key::Left:
            return VK_LEFT;
        case Key::Right:
            return VK_RIGHT;
        case Key::Up:
            return VK_UP;
        case Key::Down:
            return VK_DOWN;
        case Key::PageUp:
            return VK_PRIOR;
        case Key::PageDown:
            break;
    }
    return VK_NEXT;
}

CString TextOf(HWND control) {
    CString text(256, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

class Win32Driver final : public WindowDriver {
public:
    void Press(Key key) override { PostMessageW(Focused(), WM_KEYDOWN, CodeOf(key), 1); }
    void PressWithAlt(char key) override {
        constexpr LPARAM kAltIsDown = LPARAM{1} << 29;
        PostMessageW(Focused(), WM_SYSCHAR, static_cast<WPARAM>(key), kAltIsDown | 1);
    }
    void Click(PlaneButton button) override {
        PostMessageW(Control(kButtons[static_cast<int>(button)]), BM_CLICK, 0, 0);
    }
    void Click(PlaneRow row, SliderStep step) override {
        const int base = step == SliderStep::Down ? kDownControls : kUpControls;
        PostMessageW(Control(base + static_cast<int>(row)), BM_CLICK, 0, 0);
    }
    void CloseFrame() override { PostMessageW(Dialog(), WM_SYSCOMMAND, SC_CLOSE, 0); }

    std::string Focus() override {
        const int number = GetDlgCtrlID(Focused());
        if (number == kChoiceControl) return "choice";
        const int slider = number - kSliderControls;
        if (slider >= 0 && slider < 5) return "slider " + std::to_string(slider);
        const auto button = std::find(std::begin(kButtons), std::end(kButtons), number);
        if (button == std::end(kButtons)) return "other " + std::to_string(number);
        return "button " + std::to_string(button - std::begin(kButtons));
    }
    CString Value(PlaneRow row) override {
        return TextOf(Control(kValueControls + static_cast<int>(row)));
    }
    bool Visible() override { return IsWindowVisible(Dialog()) != FALSE; }
    int Width() override {
        RECT frame{};
        GetWindowRect(Dialog(), &frame);
        return static_cast<int>(frame.right - frame.left);
    }
    std::vector<CString> CutOff() override {
        std::vector<CString> cut;
        const HWND dialog = Dialog();
        for (HWND child = GetWindow(dialog, GW_CHILD); child != nullptr;
             child = GetWindow(child, GW_HWNDNEXT)) {
            const LONG style = GetWindowLongW(child, GWL_STYLE);
            const int number = GetDlgCtrlID(child);
            const bool drawn = number >= kDownControls && number < kValueControls;
            if ((style & WS_VISIBLE) == 0 || drawn) continue;
            RECT room{};
            GetClientRect(child, &room);
            const auto wide = static_cast<int>(room.right);
            if (number == kChoiceControl) {
                // The arrow stands beside the text.
                CheckChoices(child, wide - 2 * GetSystemMetrics(SM_CXVSCROLL), cut);
                continue;
            }
            const int border = (style & WS_TABSTOP) != 0 ? 8 : 0;
            const CString text = TextOf(child);
            if (Measure(child, text) + border > wide) cut.push_back(text);
        }
        return cut;
    }

private:
    static int Measure(HWND control, const CString& text) {
        const HDC device = GetDC(control);
        const auto font = reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0));
        const HGDIOBJ before = SelectObject(device, font);
        RECT taken{};
        DrawTextW(device, text.c_str(), -1, &taken, DT_CALCRECT | DT_SINGLELINE);
        SelectObject(device, before);
        ReleaseDC(control, device);
        return static_cast<int>(taken.right);
    }
    static void CheckChoices(HWND choice, int wide, std::vector<CString>& cut) {
        for (WPARAM i = 0; i < 2; ++i) {
            CString text(256, L'\0');
            text.resize(static_cast<std::size_t>(
                SendMessageW(choice, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text.data()))));
            if (Measure(choice, text) > wide) cut.push_back(text);
        }
    }
    static BOOL CALLBACK TakeDialog(HWND window, LPARAM found) {
        if (GetDlgItem(window, kChoiceControl) == nullptr) return TRUE;
        *reinterpret_cast<HWND*>(found) = window;
        return FALSE;
    }
    [[nodiscard]] HWND Dialog() const {
        HWND found = nullptr;
        EnumThreadWindows(thread_, &TakeDialog, reinterpret_cast<LPARAM>(&found));
        return found;
    }
    [[nodiscard]] HWND Control(int number) const { return GetDlgItem(Dialog(), number); }
    [[nodiscard]] HWND Focused() const {
        GUITHREADINFO state{};
        state.cbSize = sizeof state;
        GetGUIThreadInfo(thread_, &state);
        return state.hwndFocus != nullptr ? state.hwndFocus : Dialog();
    }

    DWORD thread_ = GetCurrentThreadId();
};

}  // namespace

std::unique_ptr<WindowDriver> WindowDriver::Make() {
    return std::make_unique<Win32Driver>();
}

}  // namespace orvix::test
