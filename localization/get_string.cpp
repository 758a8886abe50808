// SPDX-License-Identifier: GPL-3.0-or-later
#include "localization/get_string.h"

#include "localization/text_table.h"
#include "orvix/platform/number_names.h"

namespace {

constinit orvix::platform::NumberNames numberNames;

}  // namespace

wchar_t* GetString(unsigned int id, int language) {
    using namespace orvix::localization;
    const wchar_t* const text = FindText(id, LanguageOf(language));
    return text != nullptr ? const_cast<wchar_t*>(text) : numberNames.Of(id);
}
