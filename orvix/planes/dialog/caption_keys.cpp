// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/caption_keys.h"

namespace orvix::detail {
namespace {

constexpr wchar_t Lower(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool IsKey(wchar_t c) {
    return Lower(c) >= L'a' && Lower(c) <= L'z';
}

bool StartsWord(const CString& text, std::size_t at) {
    return at == 0 || text[at - 1] == L' ';
}

}  // namespace

// BEHAVIOUR D11
CString CaptionKeys::Mark(const CString& caption) {
    const auto find = [&](bool inside) {
        std::size_t at = 0;
        const auto suits = [&](wchar_t c) {
            return IsKey(c) && taken_.find(Lower(c)) == CString::npos;
        };
        while (at < caption.size() && !(suits(caption[at]) && (inside || StartsWord(caption, at))))
            ++at;
        return at;
    };
    std::size_t key = find(false);
    if (key == caption.size()) key = find(true);
    CString marked;
    for (std::size_t at = 0; at < caption.size(); ++at) {
        if (at == key || caption[at] == L'&') marked += L'&';
        marked += caption[at];
    }
    if (key < caption.size()) taken_ += Lower(caption[key]);
    return marked;
}

}  // namespace orvix::detail
