// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::localization {

/// The languages that texts are kept in.
enum class Language { English, German, French, Spanish };

/// The language of a Windows language identifier: its low ten bits name the language, the rest
/// the country (0x407 and 0xC07 are both German). English for every language not kept here.
Language LanguageOf(int identifier);

/// The text of a number; null when there is none.
const wchar_t* FindText(unsigned int id, Language language);

/// How many texts there are, and the number of each, ascending.
unsigned int TextCount();
unsigned int TextIdAt(unsigned int index);

}  // namespace orvix::localization
