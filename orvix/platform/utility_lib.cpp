// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/utility_lib.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <vector>

#include "orvix/platform/cache.h"
#include "orvix/platform/number_names.h"
#include "orvix/platform/system.h"

namespace orvix {
namespace {

using GetString = wchar_t* (*)(unsigned int, int);

constexpr int kEnglishUnitedStates = 0x409;

constinit platform::NumberNames numberNames;

/// Stands in for the localisation library where that is missing.
wchar_t* NumberAsText(unsigned int id, int) {
    return numberNames.Of(id);
}

GetString LoadGetString() {
    void* const library = platform::LoadSharedLibrary(L"Orvix.Localization");
    void* const symbol = platform::FindSymbol(library, "GetString");
    return symbol != nullptr ? reinterpret_cast<GetString>(symbol) : &NumberAsText;  // BEHAVIOUR O5
}

int ReadLocale() {
    // While a program is loaded nobody can catch what is thrown.
    try {
        const platform::QuietSettings quiet;
        return Cache::ReadRegistry(kLocalMachine, L"SOFTWARE\\Orvix\\Orvix for AutoCAD\\",
                                   L"locale", kEnglishUnitedStates);
    } catch (const std::exception&) {
        return kEnglishUnitedStates;
    }
}

}  // namespace

int UtilityLib::_locale = ReadLocale();
wchar_t* (*UtilityLib::getString)(unsigned int, int) = nullptr;

// BEHAVIOUR O3
bool UtilityLib::IsProcessRunning(const wchar_t* name) {
    if (name == nullptr) return false;
    const std::vector<CString> names = platform::ProcessNames();
    return !names.empty() &&
           std::any_of(names.begin() + 1, names.end(), [name](const CString& running) {
               return platform::EqualIgnoringCase(running, name);
           });
}

wchar_t* UtilityLib::LocaleString(unsigned int id) {
    // Threads that meet here for the first time at once all load the library, to the same end.
    const std::atomic_ref<GetString> shared(getString);
    GetString lookUp = shared.load(std::memory_order_acquire);
    if (lookUp == nullptr) {
        lookUp = LoadGetString();
        shared.store(lookUp, std::memory_order_release);
    }
    return lookUp(id, _locale);
}

void UtilityLib::OverrideLocale(const int& locale) {
    _locale = locale;
}

}  // namespace orvix
