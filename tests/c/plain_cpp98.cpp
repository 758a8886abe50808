// SPDX-License-Identifier: GPL-3.0-or-later
// The header by itself, in the oldest C++ that has its number types.
#include "orvix/c/orvix.h"

orvix_status PlainCpp98Closed() {
    orvix_project_close(0);
    return ORVIX_OK;
}
