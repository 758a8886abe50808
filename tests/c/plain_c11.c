// SPDX-License-Identifier: GPL-3.0-or-later
// The header by itself, in strict C11 and without warnings; and what only C can show of it.
#include "orvix/c/orvix.h"
#include "orvix/c/orvix_import.h"

#include <stddef.h>

_Static_assert(sizeof(orvix_point) == 24 && offsetof(orvix_point, dclc_first) == 20, "Grid.pts");
_Static_assert(sizeof(orvix_grid_cell) == 32 && offsetof(orvix_grid_cell, offset) == 16,
               "Grid.idx");
_Static_assert(sizeof(orvix_fine_cell) == 24 && offsetof(orvix_fine_cell, offset) == 8, "Grid10cm");
_Static_assert(sizeof(orvix_run) == 16 && sizeof(orvix_dclc) == 4, "runs and pairs");
_Static_assert(sizeof(orvix_open_options) % 8 == 0 && sizeof(orvix_project_info) % 8 == 0 &&
                   sizeof(orvix_check_options) % 8 == 0 && sizeof(orvix_station_info) % 8 == 0 &&
                   sizeof(orvix_cell) % 8 == 0 && sizeof(orvix_plane_options) % 8 == 0 &&
                   sizeof(orvix_plane_info) % 8 == 0 && sizeof(orvix_planes_options) % 8 == 0 &&
                   sizeof(orvix_planes_info) % 8 == 0 && sizeof(orvix_found_plane) % 8 == 0 &&
                   sizeof(orvix_place) % 8 == 0,
               "sizes that calls accept");

orvix_status plain_c11_refused(void) {
    orvix_error error = {sizeof error, ORVIX_OK, ""};
    orvix_project* project = NULL;
    return orvix_project_open(NULL, NULL, &project, &error);
}
