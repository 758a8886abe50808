// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C: finds all planes of a project, lists them with their corners, counts the points of
// each from the numbers of all points, and asks why a point of the largest is on it; then keeps the
// planes in the project and opens them again without a search.
//
//     08_all_planes_in_c building.prj
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "orvix/c/orvix.h"

enum { STRETCH = 65536 };

static orvix_error error = {sizeof error, ORVIX_OK, ""};
static const char* const kinds[] = {"floor", "ceiling", "wall", "roof", "other"};

static int32_t ORVIX_C_CALL go_on(void* user, double done) {
    (void)done;
    ++*(uint64_t*)user;
    return 1;
}

// The corners of a plane's outer rings.
static orvix_status count_corners(const orvix_planes* planes, const orvix_found_plane* plane,
                                  uint64_t* corners) {
    orvix_ring* rings = malloc((size_t)plane->rings * sizeof *rings);
    if (rings == NULL) return ORVIX_NO_MEMORY;
    orvix_status status =
        orvix_planes_get_rings(planes, plane->number, rings, plane->rings, NULL, &error);
    *corners = 0;
    for (uint64_t i = 0; i < plane->rings && status == ORVIX_OK; ++i) {
        if (rings[i].hole == 0) *corners += rings[i].vertices;
    }
    free(rings);
    return status;
}

static orvix_status show_planes(const orvix_planes* planes, uint64_t count) {
    for (uint32_t number = 1; number <= count; ++number) {
        orvix_found_plane plane = {sizeof plane};
        uint64_t corners = 0;
        orvix_status status = orvix_planes_get_plane(planes, number, &plane, &error);
        if (status == ORVIX_OK) status = count_corners(planes, &plane, &corners);
        if (status != ORVIX_OK) return status;
        printf("%3" PRIu32 " %-7s group %" PRIu32
               ": %.3f x %+.3f y %+.3f z %+.3f = 0, %.2f m2, "
               "%" PRIu64 " corners\n",
               number, kinds[plane.kind], plane.group, plane.equation[0], plane.equation[1],
               plane.equation[2], plane.equation[3], plane.area, corners);
    }
    return ORVIX_OK;
}

// Adds up the points of each plane, a stretch of the cloud at a time; 0 counts those on none.
static orvix_status count_points(const orvix_planes* planes, uint64_t points, uint64_t* counts) {
    static uint32_t numbers[STRETCH];
    for (uint64_t first = 0; first < points; first += STRETCH) {
        const uint64_t some = points - first < STRETCH ? points - first : STRETCH;
        orvix_status status = orvix_planes_read_numbers(planes, first, some, numbers, &error);
        if (status != ORVIX_OK) return status;
        for (uint64_t i = 0; i < some; ++i) ++counts[numbers[i]];
    }
    return ORVIX_OK;
}

static orvix_status compare_points(const orvix_planes* planes, const orvix_planes_info* info) {
    uint64_t* counts = calloc((size_t)info->planes + 1, sizeof *counts);
    if (counts == NULL) return ORVIX_NO_MEMORY;
    orvix_status status = count_points(planes, info->points, counts);
    for (uint32_t number = 1; number <= info->planes && status == ORVIX_OK; ++number) {
        orvix_found_plane plane = {sizeof plane};
        status = orvix_planes_get_plane(planes, number, &plane, &error);
        if (status == ORVIX_OK && counts[number] != plane.points) status = ORVIX_FAILED;
    }
    if (status == ORVIX_OK) printf("%" PRIu64 " points are on no plane\n", counts[0]);
    free(counts);
    return status;
}

static orvix_status show_place(const orvix_planes* planes) {
    uint64_t count = 0;
    orvix_place place = {sizeof place};
    orvix_status status = orvix_planes_get_points(planes, 1, NULL, NULL, 0, &count, &error);
    if (status != ORVIX_OK) return status;
    double* xyz = malloc((size_t)count * 3 * sizeof *xyz);
    if (xyz == NULL) return ORVIX_NO_MEMORY;
    status = orvix_planes_get_points(planes, 1, xyz, NULL, count, &count, &error);
    if (status == ORVIX_OK) status = orvix_planes_explain(planes, xyz, &place, &error);
    free(xyz);
    if (status != ORVIX_OK) return status;
    printf("its first point lies %.1f mm from plane %" PRIu32 ", of %.1f mm allowed\n",
           place.distance * 1000, place.nearest, place.allowed * 1000);
    return place.verdict == ORVIX_PLACE_ON_PLANE && place.plane == 1 ? ORVIX_OK : ORVIX_FAILED;
}

static orvix_status keep_planes(orvix_project* project, orvix_planes* planes, uint64_t count) {
    orvix_planes_saved saved = {sizeof saved};
    orvix_planes_info info = {sizeof info};
    orvix_planes* again = NULL;
    orvix_status status = orvix_planes_save(project, planes, NULL, NULL, &saved, &error);
    if (status == ORVIX_OK) status = orvix_planes_open_saved(project, &again, &error);
    if (status == ORVIX_OK) status = orvix_planes_get_info(again, &info, &error);
    orvix_planes_close(again);
    if (status != ORVIX_OK) return status;
    printf("saved: %" PRIu64 " planes have an earlier number, %" PRIu64 " a new one\n", saved.kept,
           saved.added);
    return info.planes == count ? ORVIX_OK : ORVIX_FAILED;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PROJECT\n", argv[0]);
        return 2;
    }
    uint64_t asked = 0;
    orvix_project* project = NULL;
    orvix_planes* planes = NULL;
    orvix_planes_info info = {sizeof info};
    orvix_planes_options options = {sizeof options};
    options.detail = ORVIX_DETAIL_NORMAL;
    options.proceed = go_on;
    options.user = &asked;
    orvix_open_options access = {sizeof access, ORVIX_READ_WRITE};
    orvix_status status = orvix_project_open(argv[1], &access, &project, &error);
    if (status == ORVIX_OK) status = orvix_planes_find(project, &options, &planes, &error);
    if (status == ORVIX_OK) status = orvix_planes_get_info(planes, &info, &error);
    if (status == ORVIX_OK) status = show_planes(planes, info.planes);
    if (status == ORVIX_OK) status = compare_points(planes, &info);
    if (status == ORVIX_OK) status = show_place(planes);
    if (status == ORVIX_OK) status = keep_planes(project, planes, info.planes);
    if (status == ORVIX_OK) {
        printf("%" PRIu64 " planes hold %" PRIu64 " of %" PRIu64 " points\n", info.planes,
               info.on_planes, info.points);
    }
    orvix_planes_close(planes);
    orvix_project_close(project);
    if (status != ORVIX_OK) fprintf(stderr, "%s\n", error.text);
    return status == ORVIX_OK && asked > 0 ? 0 : 1;
}
