// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C: cuts a slab of 10 cm out of a project, seen from the south, with a callback that is
// handed its points; cuts what was found thinner, colours it, and snaps to a point.
//
//     13_section_in_c building.prj 3.7 -5 12.9
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "orvix/c/orvix.h"

static orvix_error error = {sizeof error, ORVIX_OK, ""};

typedef struct slab {
    orvix_point* points;
    uint64_t count;
    uint64_t capacity;
} slab;

// Keeps the points of the slab; a chunk may hold others too. 0 cancels.
static int32_t ORVIX_C_CALL keep(void* user, uint64_t first, uint64_t count,
                                 const orvix_point* points, const uint8_t* classes) {
    slab* kept = user;
    (void)first;
    if (kept->count + count > kept->capacity) {
        const uint64_t capacity = 2 * (kept->count + count);
        orvix_point* grown = realloc(kept->points, (size_t)capacity * sizeof *grown);
        if (grown == NULL) return 0;
        kept->points = grown;
        kept->capacity = capacity;
    }
    for (uint64_t k = 0; k < count; ++k) {
        if (classes[k] == ORVIX_CLASS_IN) kept->points[kept->count++] = points[k];
    }
    return 1;
}

static orvix_status gather(orvix_section* section, slab* kept) {
    orvix_section_counts counts = {sizeof counts};
    orvix_stream_options options = {sizeof options};
    options.wanted = 1u << ORVIX_CLASS_IN;
    options.chunk = keep;
    options.user = kept;
    orvix_status status = orvix_section_stream(section, &options, &counts, &error);
    if (status != ORVIX_OK) return status;
    printf("in %" PRIu64 " behind %" PRIu64 " before %" PRIu64 "\n", counts.in_slab, counts.behind,
           counts.before);
    return kept->count == counts.in_slab ? ORVIX_OK : ORVIX_FAILED;
}

// The held points stay where they are while the plane, or here the slab, changes.
static orvix_status cut_thinner(orvix_section* section, const slab* kept) {
    static const double half_thickness[] = {0.02, 0.005};
    orvix_status status =
        orvix_section_hold(section, kept->points, kept->count, sizeof *kept->points, &error);
    for (int k = 0; k < 2 && status == ORVIX_OK; ++k) {
        uint64_t count = 0;
        status = orvix_section_set_slab(section, half_thickness[k], NULL, &error);
        if (status == ORVIX_OK) {
            status = orvix_section_get_indices(section, ORVIX_CLASS_IN, NULL, 0, &count, &error);
        }
        if (status == ORVIX_OK) {
            printf("%" PRIu64 " points within %.0f mm\n", count, 1000 * half_thickness[k]);
        }
    }
    return status;
}

static orvix_status colour(orvix_section* section, uint64_t count) {
    static const uint8_t ramp[] = {0, 0, 255, 255, 255, 255, 255, 255, 255, 0, 0, 255};
    uint64_t white = 0;
    uint8_t* colours = calloc((size_t)count + 1, 4);
    if (colours == NULL) return ORVIX_NO_MEMORY;
    orvix_status status =
        orvix_section_colour_plane(section, -0.05, 0.05, ramp, 3, colours, count, NULL, &error);
    for (uint64_t k = 0; k < count; ++k) white += colours[4 * k + 1] == 255;
    free(colours);
    if (status == ORVIX_OK) printf("%" PRIu64 " points in the middle third are white\n", white);
    return status;
}

// What a click means: the first point along the line of sight, in an aperture of 5 cm.
static orvix_status pick(orvix_section* section, const double* seen) {
    const orvix_picking_ray ray = {{seen[0], seen[1] - 30, seen[2]}, {0, 1, 0}, 0.05, 0};
    orvix_snapped_point snapped;
    orvix_status status = orvix_section_snap_rays_in_project(section, &ray, 1, &snapped, &error);
    if (status != ORVIX_OK) return status;
    if (snapped.index == UINT64_MAX) {
        puts("nothing is there");
    } else {
        printf("point %" PRIu64 ", %.3f m along the ray and %.1f mm beside it\n", snapped.index,
               snapped.along, 1000 * snapped.distance);
    }
    return ORVIX_OK;
}

static orvix_status show(orvix_section* section, const orvix_project* project, const double* seen) {
    static const double normal[] = {0, -1, 0};
    slab kept = {NULL, 0, 0};
    orvix_status status = orvix_section_set_project(section, project, &error);
    if (status == ORVIX_OK) status = orvix_section_set_plane(section, seen, normal, &error);
    if (status == ORVIX_OK) status = orvix_section_set_slab(section, 0.05, NULL, &error);
    if (status == ORVIX_OK) status = gather(section, &kept);
    if (status == ORVIX_OK) status = cut_thinner(section, &kept);
    if (status == ORVIX_OK) status = colour(section, kept.count);
    if (status == ORVIX_OK) status = pick(section, seen);
    orvix_section_release(section);  // before the points that it borrows
    free(kept.points);
    return status;
}

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: %s PROJECT X Y Z\n", argv[0]);
        return 2;
    }
    const double seen[] = {atof(argv[2]), atof(argv[3]), atof(argv[4])};
    orvix_project* project = NULL;
    orvix_section* section = NULL;
    orvix_status status = orvix_project_open(argv[1], NULL, &project, &error);
    if (status == ORVIX_OK) status = orvix_section_open(NULL, &section, &error);
    if (status == ORVIX_OK) status = show(section, project, seen);
    orvix_section_close(section);
    orvix_project_close(project);
    if (status != ORVIX_OK) fprintf(stderr, "%s\n", error.text);
    return status == ORVIX_OK ? 0 : 1;
}
