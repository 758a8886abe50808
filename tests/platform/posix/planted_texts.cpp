// SPDX-License-Identifier: GPL-3.0-or-later
// A text library that lies where none should be looked for.
extern "C" __attribute__((visibility("default"))) wchar_t* GetString(unsigned int, int) {
    static wchar_t text[] = L"planted";
    return text;
}
