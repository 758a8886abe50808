// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The numbers of params_dialog.rc. The resource compiler knows macros alone.
#define ORVIX_PARAMS_DIALOG 100
#define ORVIX_PARAMS_MANIFEST 101

#define ORVIX_PARAMS_DATA_CAPTION 1000
#define ORVIX_PARAMS_CHOICE 1001
#define ORVIX_PARAMS_SCALE 1002
#define ORVIX_PARAMS_GROUP 1003
#define ORVIX_PARAMS_STEP_TEXT 1004
#define ORVIX_PARAMS_DEFAULT 1005
#define ORVIX_PARAMS_VIEW 1006
#define ORVIX_PARAMS_PICTURE 1007

// One of each kind a slider, in the sliders' order.
#define ORVIX_PARAMS_CAPTION 1010
#define ORVIX_PARAMS_DOWN 1020
#define ORVIX_PARAMS_SLIDER 1030
#define ORVIX_PARAMS_UP 1040
#define ORVIX_PARAMS_VALUE 1050
