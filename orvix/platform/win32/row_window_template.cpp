// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/win32/row_window_template.h"

#include <algorithm>
#include <cassert>
#include <commctrl.h>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace orvix::platform::detail {
namespace {

// Sizes and places are in dialog units: a quarter of a character's mean width, an eighth of its
// height.
constexpr int kMargin = 7;
constexpr int kTextHeight = 9;
constexpr int kRowPitch = 18;
constexpr int kArrowWidth = 12;
constexpr int kSliderWidth = 110;
constexpr int kChoiceWidth = 138;
constexpr int kButtonHeight = 14;
constexpr int kButtonGap = 4;
constexpr int kMinCaptionWidth = 94;
constexpr int kMinValueWidth = 44;
constexpr int kMinButtonWidth = 62;

struct Place {
    int x = 0;
    int y = 0;
    int wide = 0;
    int high = 0;
};

/// The room that a text is given.
int RoomFor(std::wstring_view text) {
    return static_cast<int>(text.size()) * 7 / 2 + 2;
}

/// The parts of a dialog template one after the other.
class Writer {
public:
    void Head(const CString& title, int wide, int high) {
        constexpr DWORD kStyle = DS_SETFONT | DS_FIXEDSYS | DS_MODALFRAME | DS_CENTER | WS_POPUP |
                                 WS_CAPTION | WS_SYSMENU;
        constexpr WORD kPoints = 9;
        constexpr WORD kItalicAndCharset = 1 << 8;  // upright, any character set
        Add({1, 0xFFFF});                           // version and signature
        AddLong(0);                                 // no help
        AddLong(0);                                 // no extended style
        AddLong(kStyle);
        countAt_ = words_.size();
        Add({0, 0, 0, Word(wide), Word(high)});
        Add({0, 0});  // no menu, the usual class
        AddText(title);
        Add({kPoints, FW_NORMAL, kItalicAndCharset});
        AddText(L"Segoe UI");
    }
    void Text(const CString& text, int number, const Place& place, DWORD style = 0) {
        Item(L"STATIC", text, number, place, SS_LEFT | WS_GROUP | style);
    }
    void Item(const wchar_t* kind, const CString& text, int number, const Place& place,
              DWORD style) {
        if (words_.size() % 2 != 0) words_.push_back(0);
        AddLong(0);  // no help
        AddLong(0);  // no extended style
        AddLong(style | WS_CHILD | WS_VISIBLE);
        Add({Word(place.x), Word(place.y), Word(place.wide), Word(place.high)});
        AddLong(static_cast<DWORD>(number));
        AddText(kind);
        AddText(text);
        words_.push_back(0);  // no data of its own
        ++words_[countAt_];
    }
    std::vector<WORD> Take() { return std::move(words_); }

private:
    static WORD Word(int value) { return static_cast<WORD>(value); }
    void Add(std::initializer_list<WORD> words) { words_.insert(words_.end(), words); }
    void AddLong(DWORD value) { Add({LOWORD(value), HIWORD(value)}); }
    void AddText(std::wstring_view text) {
        words_.insert(words_.end(), text.begin(), text.end());
        words_.push_back(0);
    }

    std::vector<WORD> words_;
    std::size_t countAt_ = 0;
};

/// The places of a window's controls.
class Layout {
public:
    explicit Layout(const RowWindowContent& content) : content_(content) {
        captions_ = std::max(kMinCaptionWidth, RoomFor(content.choiceCaption));
        values_ = kMinValueWidth;
        for (const SliderRow& row : content.rows) {
            captions_ = std::max(captions_, RoomFor(row.caption));
            values_ = std::max(values_, RoomFor(row.widest));
        }
        int buttons = 2 * kMargin + 20;
        for (const WindowButton& button : content.buttons) buttons += WidthOf(button) + kButtonGap;
        width_ = std::max(Controls() + kArrowWidth * 2 + kSliderWidth + 8 + values_ + 8, buttons);
    }

    [[nodiscard]] int Width() const { return width_; }
    [[nodiscard]] int Height() const { return Buttons() + kButtonHeight + kMargin; }
    /// The left end of everything that stands right of the captions.
    [[nodiscard]] int Controls() const { return 2 * kMargin + captions_ + 2; }
    [[nodiscard]] int Captions() const { return captions_; }
    [[nodiscard]] int Values() const { return values_; }
    [[nodiscard]] int Line(std::size_t row) const {
        const int group = 54 + static_cast<int>(row) * kRowPitch;
        return row < content_.groupRows ? group : group + 26;
    }
    [[nodiscard]] int GroupNote() const {
        return 54 + static_cast<int>(content_.groupRows) * kRowPitch;
    }
    [[nodiscard]] int Buttons() const {
        return Line(std::max(content_.rows.size(), content_.groupRows)) + 3;
    }
    static int WidthOf(const WindowButton& button) {
        return std::max(kMinButtonWidth, RoomFor(button.caption) + 10);
    }

private:
    const RowWindowContent& content_;
    int captions_ = 0;
    int values_ = 0;
    int width_ = 0;
};

CString WithoutKey(const CString& caption) {
    CString plain;
    for (std::size_t at = 0; at < caption.size(); ++at) {
        if (caption[at] == L'&') ++at;
        if (at < caption.size()) plain += caption[at];
    }
    return plain;
}

void WriteTop(const RowWindowContent& content, const Layout& layout, Writer& out) {
    const int x = layout.Controls();
    out.Text(content.choiceCaption, kTextControl,
             {2 * kMargin, 10, layout.Captions(), kTextHeight});
    out.Item(L"COMBOBOX", {}, kChoiceControl, {x, 8, kChoiceWidth, 80},
             CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP);
    out.Text(content.choiceNote, kChoiceNoteControl,
             {x, 25, layout.Width() - kMargin - 1 - x, kTextHeight});
    const int top = 38;
    out.Item(L"BUTTON", content.groupCaption, kGroupControl,
             {kMargin, top, layout.Width() - 2 * kMargin, layout.GroupNote() + 16 - top},
             BS_GROUPBOX);
    out.Text({}, kGroupNoteControl, {x, layout.GroupNote(), kChoiceWidth, kTextHeight},
             SS_NOPREFIX);
}

void WriteRow(const RowWindowContent& content, std::size_t index, const Layout& layout,
              Writer& out) {
    const SliderRow& row = content.rows[index];
    const int number = static_cast<int>(index);
    const int x = layout.Controls();
    const int y = layout.Line(index);
    const int up = x + kArrowWidth + 4 + kSliderWidth;
    const CString spoken = WithoutKey(row.caption) + L": ";
    out.Text(row.caption, kCaptionControls + number,
             {2 * kMargin, y, layout.Captions(), kTextHeight});
    out.Item(TRACKBAR_CLASSW, {}, kSliderControls + number,
             {x + kArrowWidth + 2, y - 3, kSliderWidth, 16},
             TBS_NOTICKS | TBS_DOWNISLEFT | WS_TABSTOP);
    out.Item(L"BUTTON", spoken + content.stepDown, kDownControls + number,
             {x, y - 2, kArrowWidth, 13}, BS_OWNERDRAW);
    out.Item(L"BUTTON", spoken + content.stepUp, kUpControls + number, {up, y - 2, kArrowWidth, 13},
             BS_OWNERDRAW);
    out.Text({}, kValueControls + number, {up + kArrowWidth + 4, y, layout.Values(), kTextHeight},
             SS_NOPREFIX);
}

void WriteButtons(const RowWindowContent& content, const Layout& layout, Writer& out) {
    int right = 0;  // the width of those at the right
    for (const WindowButton& button : content.buttons)
        if (button.role != ButtonRole::Plain) right += Layout::WidthOf(button) + kButtonGap;
    int x = kMargin;
    bool atLeft = true;
    for (std::size_t i = 0; i < content.buttons.size(); ++i) {
        const WindowButton& button = content.buttons[i];
        if (button.role != ButtonRole::Plain && std::exchange(atLeft, false))
            x = layout.Width() - kMargin + kButtonGap - right;
        const int wide = Layout::WidthOf(button);
        const DWORD kind = button.role == ButtonRole::Accept ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
        out.Item(L"BUTTON", button.caption, ButtonControl(content, i),
                 {x, layout.Buttons(), wide, kButtonHeight}, kind | WS_TABSTOP);
        x += wide + kButtonGap;
    }
}

}  // namespace

int ButtonControl(const RowWindowContent& content, std::size_t index) {
    const ButtonRole role = content.buttons[index].role;
    if (role == ButtonRole::Plain) return kButtonControls + static_cast<int>(index);
    return role == ButtonRole::Accept ? IDOK : IDCANCEL;
}

std::vector<WORD> RowWindowTemplate(const RowWindowContent& content) {
    assert(content.rows.size() <= kMaxOfEach && content.buttons.size() <= kMaxOfEach);
    const Layout layout(content);
    Writer out;
    out.Head(content.title, layout.Width(), layout.Height());
    WriteTop(content, layout, out);
    for (std::size_t row = 0; row < content.rows.size(); ++row) WriteRow(content, row, layout, out);
    WriteButtons(content, layout, out);
    // Has no size until there is a picture.
    out.Item(L"STATIC", {}, kPictureControl, {layout.Width(), kMargin, 0, 0}, SS_OWNERDRAW);
    return out.Take();
}

}  // namespace orvix::platform::detail
