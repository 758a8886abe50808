// SPDX-License-Identifier: GPL-3.0-or-later
#include <windows.h>

#include <algorithm>
#include <commctrl.h>
#include <utility>

#include "orvix/platform/params_window_maker.h"
#include "orvix/platform/system.h"
#include "orvix/platform/win32/params_dialog.h"

namespace orvix::platform {
namespace {

constexpr UINT kTickMilliseconds = 50;
constexpr UINT_PTR kTickTimer = 1;

/// The module that this code is part of, which carries the dialog's resources.
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

/// Windows made in this scope follow the scale of the monitor they are on, whatever the host does.
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

/// Controls made in this scope have the system's current look, whatever the host's manifest says.
class CurrentLook {
public:
    CurrentLook() {
        ACTCTXW wanted{};
        wanted.cbSize = sizeof wanted;
        wanted.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        wanted.hModule = OwnModule();
        wanted.lpResourceName = MAKEINTRESOURCEW(ORVIX_PARAMS_MANIFEST);
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

int Number(ParamsSlider slider, int base) {
    return base + static_cast<int>(slider);
}

bool IsOneOf(int number, int base) {
    return number >= base && number < base + static_cast<int>(kParamsSliders);
}

ParamsSlider SliderOf(int number, int base) {
    return static_cast<ParamsSlider>(number - base);
}

CString WithoutKey(const CString& caption) {
    CString plain;
    for (std::size_t at = 0; at < caption.size(); ++at) {
        if (caption[at] == L'&') ++at;
        if (at < caption.size()) plain += caption[at];
    }
    return plain;
}

class DialogWindow final : public ParamsWindow {
public:
    int Run(void* parent, ParamsEvents& events) override;
    void Close(int code) override { EndDialog(dialog_, code); }
    [[nodiscard]] CString Trouble() const override { return trouble_; }
    void SetCaptions(const ParamsCaptions& captions) override;
    void SetChoice(int entry) override {
        Send(ORVIX_PARAMS_CHOICE, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
    }
    void SetRange(ParamsSlider slider, int low, int high) override;
    void SetPosition(ParamsSlider slider, int position) override {
        Send(Number(slider, ORVIX_PARAMS_SLIDER), TBM_SETPOS, TRUE, position);
    }
    void SetValue(ParamsSlider slider, const CString& text) override {
        Text(Number(slider, ORVIX_PARAMS_VALUE), text);
    }
    void SetStep(const CString& text) override { Text(ORVIX_PARAMS_STEP_TEXT, text); }
    void EnableView(bool enabled) override {
        EnableWindow(Control(ORVIX_PARAMS_VIEW), enabled ? TRUE : FALSE);
    }
    void ShowPicture(const ParamsPicture& picture) override;
    void StepAside() override;
    void ComeBack() override;

private:
    static INT_PTR CALLBACK Receive(HWND dialog, UINT message, WPARAM word, LPARAM value);
    INT_PTR Handle(UINT message, WPARAM word, LPARAM value);
    bool Command(int number, int what);
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

    HWND dialog_ = nullptr;
    HWND parent_ = nullptr;
    ParamsEvents* events_ = nullptr;
    CString trouble_;
    bool hasPlace_ = false;  // for the picture
    ParamsPicture picture_;
    std::vector<std::uint32_t> pixels_;  // its pixels, blue in the lowest byte
};

int DialogWindow::Run(void* parent, ParamsEvents& events) {
    const PerMonitorScale scale;
    const CurrentLook look;
    if (!LoadSliders()) {
        trouble_ = L"the plane parameters window needs comctl32.dll, which could not be loaded";
        return kCannotOpen;
    }
    events_ = &events;
    parent_ = static_cast<HWND>(parent);
    hasPlace_ = false;
    const INT_PTR code = DialogBoxParamW(OwnModule(), MAKEINTRESOURCEW(ORVIX_PARAMS_DIALOG),
                                         parent_, &Receive, reinterpret_cast<LPARAM>(this));
    const DWORD error = GetLastError();
    dialog_ = nullptr;
    if (code > 0) return static_cast<int>(code);
    trouble_ = L"the plane parameters window could not be opened: " + SystemMessage(error);
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

bool DialogWindow::Command(int number, int what) {
    if (number == ORVIX_PARAMS_CHOICE) {
        if (what == CBN_SELCHANGE)
            events_->ChoiceMade(static_cast<int>(Send(number, CB_GETCURSEL, 0, 0)));
        return true;
    }
    // Of two quick clicks on a button that the dialog draws, the second is told as a double one.
    if (what != BN_CLICKED && what != BN_DOUBLECLICKED) return false;
    if (number == IDOK) return events_->ButtonPressed(ParamsButton::Ok), true;
    if (number == IDCANCEL) return events_->ButtonPressed(ParamsButton::Cancel), true;
    if (number == ORVIX_PARAMS_DEFAULT) return events_->ButtonPressed(ParamsButton::Default), true;
    if (number == ORVIX_PARAMS_VIEW) return events_->ButtonPressed(ParamsButton::View), true;
    const bool down = IsOneOf(number, ORVIX_PARAMS_DOWN);
    if (!down && !IsOneOf(number, ORVIX_PARAMS_UP)) return false;
    const ParamsSlider slider = SliderOf(number, down ? ORVIX_PARAMS_DOWN : ORVIX_PARAMS_UP);
    events_->StepPressed(slider, down ? ParamsStep::Down : ParamsStep::Up);
    // The keys go on where the mouse left off.
    SendMessageW(dialog_, WM_NEXTDLGCTL,
                 reinterpret_cast<WPARAM>(Control(Number(slider, ORVIX_PARAMS_SLIDER))), TRUE);
    return true;
}

void DialogWindow::Slid(HWND control) {
    const int number = GetDlgCtrlID(control);
    if (!IsOneOf(number, ORVIX_PARAMS_SLIDER)) return;
    const auto position = static_cast<int>(SendMessageW(control, TBM_GETPOS, 0, 0));
    events_->SliderMoved(SliderOf(number, ORVIX_PARAMS_SLIDER), position);
}

void DialogWindow::SetCaptions(const ParamsCaptions& captions) {
    SetWindowTextW(dialog_, captions.title.c_str());
    Text(ORVIX_PARAMS_DATA_CAPTION, captions.data);
    Send(ORVIX_PARAMS_CHOICE, CB_RESETCONTENT, 0, 0);
    for (const CString& choice : captions.choices)
        Send(ORVIX_PARAMS_CHOICE, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(choice.c_str()));
    Text(ORVIX_PARAMS_SCALE, captions.scale);
    Text(ORVIX_PARAMS_GROUP, captions.splitSize);
    for (std::size_t i = 0; i < kParamsSliders; ++i) {
        const auto slider = static_cast<ParamsSlider>(i);
        const CString& caption = captions.sliders[i];
        Text(Number(slider, ORVIX_PARAMS_CAPTION), caption);
        const CString spoken = WithoutKey(caption) + L": ";
        Text(Number(slider, ORVIX_PARAMS_DOWN), spoken + captions.stepDown);
        Text(Number(slider, ORVIX_PARAMS_UP), spoken + captions.stepUp);
    }
    Text(ORVIX_PARAMS_DEFAULT, captions.defaults);
    Text(ORVIX_PARAMS_VIEW, captions.view);
    Text(IDOK, captions.ok);
    Text(IDCANCEL, captions.cancel);
}

void DialogWindow::SetRange(ParamsSlider slider, int low, int high) {
    const int number = Number(slider, ORVIX_PARAMS_SLIDER);
    Send(number, TBM_SETRANGEMIN, FALSE, low);
    Send(number, TBM_SETRANGEMAX, TRUE, high);
    Send(number, TBM_SETPAGESIZE, 0, ParamsPage(low, high));
}

void DialogWindow::ShowPicture(const ParamsPicture& picture) {
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
    InvalidateRect(Control(ORVIX_PARAMS_PICTURE), nullptr, FALSE);
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
    const int wantWide = MulDiv(kParamsPictureWidth, dpi, 96);
    const int wantHigh = MulDiv(kParamsPictureHeight, dpi, 96);
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
    SetWindowPos(Control(ORVIX_PARAMS_PICTURE), nullptr, static_cast<int>(client.right),
                 static_cast<int>(gap.bottom), wide, high, SWP_NOZORDER | SWP_SHOWWINDOW);
    SetWindowPos(dialog_, nullptr, static_cast<int>(left), static_cast<int>(top), frameWide,
                 frameHigh, SWP_NOZORDER | SWP_NOACTIVATE);
}

void DialogWindow::Draw(const DRAWITEMSTRUCT& item) const {
    RECT place = item.rcItem;
    if (item.CtlID == ORVIX_PARAMS_PICTURE) return DrawPicture(item.hDC, place);
    const bool down = IsOneOf(static_cast<int>(item.CtlID), ORVIX_PARAMS_DOWN);
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

Expected<std::unique_ptr<ParamsWindow>> MakeParamsWindow() {
    return std::make_unique<DialogWindow>();
}

}  // namespace orvix::platform
