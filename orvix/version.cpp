// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/version.h"

namespace orvix {

int Version() {
    return ORVIX_VERSION;
}

const char* VersionString() {
    return ORVIX_VERSION_STRING;
}

}  // namespace orvix
