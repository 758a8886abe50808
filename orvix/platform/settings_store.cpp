// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/settings_store.h"

namespace orvix::platform {

std::optional<StoredSetting> QuerySetting(HKEY root, const CString& key, const CString& name) {
    StoredSetting value;
    if (LookUpSetting(root, key, name, value) != Lookup::Found) return std::nullopt;
    return value;
}

}  // namespace orvix::platform
