// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/export.h"

/// The text of a number (text_ids.h) in the language of a Windows language identifier: English,
/// German, French or Spanish, in each of their countries. An unknown language reads as English; an
/// unknown number yields the number itself as decimal text, the same address every time.
///
///     const wchar_t* text = GetString(1370, 0x407);  // "Eine erforderliche Datei ... fehlt. ..."
///
/// Lifetime  the text belongs to this library, is read only, and is valid until the process ends.
/// Threads   any, without locks.
extern "C" ORVIX_API wchar_t* GetString(unsigned int id, int language);
