// SPDX-License-Identifier: GPL-3.0-or-later
#include <windows.h>

#include <algorithm>
#include <commctrl.h>
#include <utility>

#include "orvix/platform/row_window_maker.h"
#include "orvix/platform/system.h"
#include "orvix/platform/win32/row_window_resource.h"
#include "orvix/platform/win32/row_window_template.h"

namespace orvix::platform {
namespace {

using namespace detail;

constexpr UINT kTickMilliseconds = 50;
constexpr UINT_PTR kTickTimer = 1;

/// The module that this code is part of, which carries the manifest.
HINSTANCE OwnModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&OwnModule), &module);
    return module;
}

/// A function that only newer releases of the system have; null on the others.
template <class Function>
Function FunctionOf(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

HMODULE User() {
    return GetModuleHandleW(L"user32.dll");
}

/// Windows made in this scope follow the scale of the monitor they are on, not that of the host.
class PerMonitorScale {
public:
    PerMonitorScale()
        : set_(FunctionOf<Set>(User(), "SetThreadDpiAwarenessContext")),
          before_(set_ != nullptr ? set_(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2) : nullptr) {}
    ~PerMonitorScale() {
        if (before_ != nullptr) set_(before_);
    }
    PerMonitorScale(const PerMonitorScale&) = delete;
    PerMonitorScale& operator=(const PerMonitorScale&) = delete;

private:
    using Set = DPI_AWARENESS_CONTEXT(WINAPI*)(DPI_AWARENESS_CONTEXT);
    Set set_;
    DPI_AWARENESS_CONTEXT before_;
};

/// Controls made in this scope have the system's current look, not that of the host's manifest.
class CurrentLook {
public:
    CurrentLook() {
        ACTCTXW wanted{};
        wanted.cbSize = sizeof wanted;
        wanted.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        wanted.hModule = OwnModule();
        wanted.lpResourceName = MAKEINTRESOURCEW(ORVIX_WINDOW_MANIFEST);
        context_ = CreateActCtxW(&wanted);
        active_ = context_ != INVALID_HANDLE_VALUE && ActivateActCtx(context_, &cookie_) != FALSE;
    }
    ~CurrentLook() {
        if (active_) DeactivateActCtx(0, cookie_);
        if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
    }
    CurrentLook(const CurrentLook&) = delete;
    CurrentLook& operator=(const CurrentLook&) = delete;

private:
    HANDLE context_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
    bool active_ = false;
};

/// Sliders are no part of the system's core; programs that never open the dialog do without.
bool LoadSliders() {
    using Initialize = BOOL(WINAPI*)(const INITCOMMONCONTROLSEX*);
    const HMODULE library = LoadLibraryW(L"comctl32.dll");
    const auto initialize =
        library != nullptr ? FunctionOf<Initialize>(library, "InitCommonControlsEx") : nullptr;
    const INITCOMMONCONTROLSEX wanted{sizeof wanted, ICC_BAR_CLASSES};
    return initialize != nullptr && initialize(&wanted) != FALSE;
}

bool IsOneOf(int number, int base) {
    return number >= base && number < base + kMaxOfEach;
}

class DialogWindow final : public RowWindow {
public:
    explicit DialogWindow(const std::string& name) : name_(FromUtf8(name)) {}

    int Run(void* parent, const RowWindowContent& content, RowWindowEvents& events) override;
    void Close(int code) override { EndDialog(dialog_, code); }
    [[nodiscard]] CString Trouble() const override { return trouble_; }
    void SetChoice(int entry) override {
        Send(kChoiceControl, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
    }
    void SetRow(std::size_t row, int position, const CString& value) override {
        Send(kSliderControls + static_cast<int>(row), TBM_SETPOS, TRUE, position);
        Text(kValueControls + static_cast<int>(row), value);
    }
    void SetChoiceNote(const CString& text) override { Text(kChoiceNoteControl, text); }
    void SetGroupNote(const CString& text) override { Text(kGroupNoteControl, text); }
    void EnableButton(int id, bool enabled) override;
    void ShowPicture(const WindowPicture& picture) override;
    void StepAside() override;
    void ComeBack() override;

private:
    static INT_PTR CALLBACK Receive(HWND dialog, UINT message, WPARAM word, LPARAM value);
    INT_PTR Handle(UINT message, WPARAM word, LPARAM value);
    void Fill();
    bool Command(int number, int what);
    bool PressButton(int number);
    void Slid(HWND control);
    void Draw(const DRAWITEMSTRUCT& item) const;
    void DrawPicture(HDC device, const RECT& place) const;
    void MakePlaceForPicture();

    [[nodiscard]] HWND Control(int number) const { return GetDlgItem(dialog_, number); }
    LRESULT Send(int number, UINT message, WPARAM word, LPARAM value) const {
        return SendMessageW(Control(number), message, word, value);
    }
    void Text(int number, const CString& text) const {
        SetWindowTextW(Control(number), text.c_str());
    }

    CString name_;
    HWND dialog_ = nullptr;
    HWND parent_ = nullptr;
    const RowWindowContent* content_ = nullptr;
    RowWindowEvents* events_ = nullptr;
    CString trouble_;
    bool hasPlace_ = false;  // for the picture
    WindowPicture picture_;
    std::vector<std::uint32_t> pixels_;  // its pixels, blue in the lowest byte
};

int DialogWindow::Run(void* parent, const RowWindowContent& content, RowWindowEvents& events) {
    const PerMonitorScale scale;
    const CurrentLook look;
    if (!LoadSliders()) {
        trouble_ = name_ + L" needs comctl32.dll, which could not be loaded";
        return kCannotOpen;
    }
    content_ = &content;
    events_ = &events;
    parent_ = static_cast<HWND>(parent);
    hasPlace_ = false;
    const std::vector<WORD> dialog = RowWindowTemplate(content);
    const INT_PTR code =
        DialogBoxIndirectParamW(OwnModule(), reinterpret_cast<LPCDLGTEMPLATEW>(dialog.data()),
                                parent_, &Receive, reinterpret_cast<LPARAM>(this));
    const DWORD error = GetLastError();
    dialog_ = nullptr;
    if (code > 0) return static_cast<int>(code);
    trouble_ = name_ + L" could not be opened: " + SystemMessage(error);
    return kCannotOpen;
}

INT_PTR CALLBACK DialogWindow::Receive(HWND dialog, UINT message, WPARAM word, LPARAM value) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, value);
        reinterpret_cast<DialogWindow*>(value)->dialog_ = dialog;
    }
    auto* const self = reinterpret_cast<DialogWindow*>(GetWindowLongPtrW(dialog, DWLP_USER));
    return self != nullptr ? self->Handle(message, word, value) : FALSE;
}

INT_PTR DialogWindow::Handle(UINT message, WPARAM word, LPARAM value) {
    switch (message) {
        case WM_INITDIALOG:
            Fill();
            SetTimer(dialog_, kTickTimer, kTickMilliseconds, nullptr);
            events_->Opened();
            return TRUE;  // the first control takes the focus
        case WM_COMMAND:
            return Command(LOWORD(word), HIWORD(word)) ? TRUE : FALSE;
        case WM_HSCROLL:
            Slid(reinterpret_cast<HWND>(value));
            return TRUE;
        case WM_TIMER:
            events_->Tick();
            return TRUE;
        case WM_DRAWITEM:
            Draw(*reinterpret_cast<const DRAWITEMSTRUCT*>(value));
            return TRUE;
        case WM_DESTROY:
            KillTimer(dialog_, kTickTimer);
            return TRUE;
        default:
            return FALSE;
    }
}

/// What the template cannot hold.
void DialogWindow::Fill() {
    for (const CString& choice : content_->choices)
        Send(kChoiceControl, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(choice.c_str()));
    int number = kSliderControls;
    for (const SliderRow& row : content_->rows) {
        Send(number, TBM_SETRANGEMIN, FALSE, row.low);
        Send(number, TBM_SETRANGEMAX, TRUE, row.high);
        Send(number, TBM_SETPAGESIZE, 0, SliderPage(row.low, row.high));
        ++number;
    }
    ShowWindow(Control(kPictureControl), SW_HIDE);
}

bool DialogWindow::Command(int number, int what) {
    if (number == kChoiceControl) {
        if (what == CBN_SELCHANGE)
            events_->ChoiceMade(static_cast<int>(Send(number, CB_GETCURSEL, 0, 0)));
        return true;
    }
    // Of two quick clicks on a button that the dialog draws, the second comes as a double one.
    if (what != BN_CLICKED && what != BN_DOUBLECLICKED) return false;
    if (PressButton(number)) return true;
    const bool down = IsOneOf(number, kDownControls);
    if (!down && !IsOneOf(number, kUpControls)) return false;
    const int row = number - (down ? kDownControls : kUpControls);
    events_->StepPressed(static_cast<std::size_t>(row), down ? SliderStep::Down : SliderStep::Up);
    // The keys go on where the mouse left off.
    SendMessageW(dialog_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(Control(kSliderControls + row)),
                 TRUE);
    return true;
}

bool DialogWindow::PressButton(int number) {
    for (std::size_t i = 0; i < content_->buttons.size(); ++i) {
        if (ButtonControl(*content_, i) != number) continue;
        events_->ButtonPressed(content_->buttons[i].id);
        return true;
    }
    return false;
}

void DialogWindow::Slid(HWND control) {
    const int number = GetDlgCtrlID(control);
    if (!IsOneOf(number, kSliderControls)) return;
    const auto position = static_cast<int>(SendMessageW(control, TBM_GETPOS, 0, 0));
    events_->SliderMoved(static_cast<std::size_t>(number - kSliderControls), position);
}

void DialogWindow::EnableButton(int id, bool enabled) {
    if (dialog_ == nullptr) return;
    for (std::size_t i = 0; i < content_->buttons.size(); ++i)
        if (content_->buttons[i].id == id)
            EnableWindow(Control(ButtonControl(*content_, i)), enabled ? TRUE : FALSE);
}

void DialogWindow::ShowPicture(const WindowPicture& picture) {
    if (dialog_ == nullptr) return;
    picture_ = picture;
    const std::size_t count = picture.rgb.size() / 3;
    pixels_.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* const p = &picture.rgb[3 * i];
        pixels_[i] = std::uint32_t{p[0]} << 16 | std::uint32_t{p[1]} << 8 | p[2];
    }
    picture_.rgb.clear();
    if (!std::exchange(hasPlace_, true)) MakePlaceForPicture();
    InvalidateRect(Control(kPictureControl), nullptr, FALSE);
}

/// Widens the dialog to the right, as far as its monitor allows, and keeps it on the monitor.
void DialogWindow::MakePlaceForPicture() {
    using DpiOf = UINT(WINAPI*)(HWND);
    const auto dpiOf = FunctionOf<DpiOf>(User(), "GetDpiForWindow");
    const int dpi = dpiOf != nullptr ? static_cast<int>(dpiOf(dialog_)) : 96;
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(dialog_, MONITOR_DEFAULTTONEAREST), &monitor);
    const RECT& work = monitor.rcWork;
    RECT frame{};
    RECT client{};
    GetWindowRect(dialog_, &frame);
    GetClientRect(dialog_, &client);
    RECT gap{0, 0, 7, 7};
    MapDialogRect(dialog_, &gap);

    const auto border = (frame.bottom - frame.top) - client.bottom;
    const auto roomWide = (work.right - work.left) - (frame.right - frame.left) - gap.right;
    const auto roomHigh = (work.bottom - work.top) - border - 2 * gap.bottom;
    const int wantWide = MulDiv(kWindowPictureWidth, dpi, 96);
    const int wantHigh = MulDiv(kWindowPictureHeight, dpi, 96);
    const double shrink = std::min(
        {1.0, static_cast<double>(roomWide) / wantWide, static_cast<double>(roomHigh) / wantHigh});
    const int wide = std::max(1, static_cast<int>(wantWide * shrink));
    const int high = std::max(1, static_cast<int>(wantHigh * shrink));

    const auto frameWide = static_cast<int>(frame.right - frame.left + wide + gap.right);
    const auto frameHigh =
        static_cast<int>(std::max(frame.bottom - frame.top, border + high + 2 * gap.bottom));
    const auto left = std::clamp(frame.left - (wide + gap.right) / 2, work.left,
                                 std::max(work.left, work.right - frameWide));
    const auto top = std::clamp(frame.top - (frameHigh - (frame.bottom - frame.top)) / 2, work.top,
                                std::max(work.top, work.bottom - frameHigh));
    SetWindowPos(Control(kPictureControl), nullptr, static_cast<int>(client.right),
                 static_cast<int>(gap.bottom), wide, high, SWP_NOZORDER | SWP_SHOWWINDOW);
    SetWindowPos(dialog_, nullptr, static_cast<int>(left), static_cast<int>(top), frameWide,
                 frameHigh, SWP_NOZORDER | SWP_NOACTIVATE);
}

void DialogWindow::Draw(const DRAWITEMSTRUCT& item) const {
    RECT place = item.rcItem;
    if (item.CtlID == kPictureControl) return DrawPicture(item.hDC, place);
    const bool down = IsOneOf(static_cast<int>(item.CtlID), kDownControls);
    const UINT pushed = (item.itemState & ODS_SELECTED) != 0 ? DFCS_PUSHED : 0;
    DrawFrameControl(item.hDC, &place, DFC_SCROLL,
                     (down ? DFCS_SCROLLLEFT : DFCS_SCROLLRIGHT) | pushed);
}

void DialogWindow::DrawPicture(HDC device, const RECT& place) const {
    RECT area = place;
    const auto wide = static_cast<int>(area.right - area.left);
    const auto high = static_cast<int>(area.bottom - area.top);
    FillRect(device, &area, GetSysColorBrush(COLOR_WINDOW));
    if (pixels_.empty()) {
        SetBkMode(device, TRANSPARENT);
        SetTextColor(device, GetSysColor(COLOR_WINDOWTEXT));
        InflateRect(&area, -wide / 10, -high / 10);
        DrawTextW(device, picture_.text.c_str(), -1, &area, DT_CENTER | DT_WORDBREAK | DT_NOPREFIX);
        return;
    }
    const double scale = std::min(static_cast<double>(wide) / picture_.width,
                                  static_cast<double>(high) / picture_.height);
    const auto drawnWide = static_cast<int>(picture_.width * scale);
    const auto drawnHigh = static_cast<int>(picture_.height * scale);
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = picture_.width;
    format.bmiHeader.biHeight = -picture_.height;  // negative: rows from the top
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    SetStretchBltMode(device, HALFTONE);
    SetBrushOrgEx(device, 0, 0, nullptr);
    StretchDIBits(device, (wide - drawnWide) / 2, (high - drawnHigh) / 2, drawnWide, drawnHigh, 0,
                  0, picture_.width, picture_.height, pixels_.data(), &format, DIB_RGB_COLORS,
                  SRCCOPY);
}

void DialogWindow::StepAside() {
    // The parent first: a window that hides hands the focus to one that can take it.
    if (parent_ != nullptr) EnableWindow(parent_, TRUE);
    ShowWindow(dialog_, SW_HIDE);
}

void DialogWindow::ComeBack() {
    if (parent_ != nullptr) EnableWindow(parent_, FALSE);
    ShowWindow(dialog_, SW_SHOW);
    SetActiveWindow(dialog_);
}

}  // namespace

Expected<std::unique_ptr<RowWindow>> MakeRowWindow(const std::string& name) {
    return std::make_unique<DialogWindow>(name);
}

}  // namespace orvix::platform
