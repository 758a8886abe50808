// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/export.h"

namespace orvix {

/// Running processes, and the texts of the localisation library ("Orvix.Localization.dll",
/// elsewhere libOrvix.Localization.so, kept beside this library).
///
///     UtilityLib::OverrideLocale(0x407);                    // German from here on
///     const wchar_t* text = UtilityLib::LocaleString(1370);
///
/// Threads  LocaleString and IsProcessRunning from any; OverrideLocale while no other thread asks
///          for texts: the language is a plain integer.
class ORVIX_API UtilityLib {
public:
    /// Whether a process whose executable is called `name` runs, without regard to case. The
    /// first process that the system lists is never compared (on Windows it is no program, on
    /// Linux it is the one that starts all others): the answer for it alone is false.
    static bool IsProcessRunning(const wchar_t* name);

    /// The text of a number in the current language. The first call loads the localisation
    /// library; without it the text is the number itself.
    ///
    /// Lifetime  read only; valid as long as the process lives.
    static wchar_t* LocaleString(unsigned int id);

    /// Sets the language of later LocaleString calls: a Windows language identifier.
    static void OverrideLocale(const int& locale);

    /// The language. While the library is loaded, the machine's value "locale" under
    /// "SOFTWARE\Orvix\Orvix for AutoCAD\" is read into it, default 0x409 (English, United
    /// States).
    static int _locale;
    /// The localisation library's lookup; null until the first LocaleString call.
    static wchar_t* (*getString)(unsigned int id, int language);
};

}  // namespace orvix
