// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/row_window_maker.h"
#include "orvix/platform/system.h"

namespace orvix::platform {

Expected<std::unique_ptr<RowWindow>> MakeRowWindow(const std::string& name) {
    using Make = RowWindow* (*)();
    void* const library = LoadSharedLibrary(L"orvix_qt");
    if (library == nullptr)
        return Fail(ErrorCode::Failure,
                    name +
                        " needs liborvix_qt.so, or the Qt 6 libraries that it needs, which are "
                        "not installed here; install Qt 6 Widgets (Debian: libqt6widgets6) and "
                        "the part of Orvix that opens windows");
    // The number in the name counts the changes to the interface.
    const auto make = reinterpret_cast<Make>(FindSymbol(library, "OrvixMakeRowWindow1"));
    if (make == nullptr)
        return Fail(ErrorCode::Failure,
                    "the liborvix_qt.so found is of another version than this library; install "
                    "both from the same release");
    return std::unique_ptr<RowWindow>(make());
}

}  // namespace orvix::platform
