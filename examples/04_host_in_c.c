// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C: opens a project, finds the cell of a seed, grows the plane there, marks the plane's
// points in their DCLC pairs, and triangulates it.
//
//     04_host_in_c building.prj 3.7 -4.0 12.9
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "orvix/c/orvix.h"

static orvix_error error = {sizeof error, ORVIX_OK, ""};

static int32_t ORVIX_C_CALL count_asked(void* user, double done) {
    (void)done;
    ++*(uint64_t*)user;
    return 1;
}

static orvix_status show_cell(const orvix_project* project, const double* seed) {
    orvix_cell cell = {sizeof cell};
    orvix_status status = orvix_cell_at(project, ORVIX_LEVEL_100CM, seed, &cell, &error);
    if (status != ORVIX_OK || cell.points == 0) return status;
    orvix_point* points = malloc((size_t)cell.points * sizeof *points);
    if (points == NULL) return ORVIX_NO_MEMORY;
    status = orvix_points_read(project, cell.first_point, cell.points, points, &error);
    if (status == ORVIX_OK) {
        float highest = points[0].z;
        for (uint64_t i = 1; i < cell.points; ++i) {
            if (points[i].z > highest) highest = points[i].z;
        }
        printf("the seed's cell has %" PRIu64 " points up to %.3f m\n", cell.points,
               (double)highest);
    }
    free(points);
    return status;
}

static orvix_status mark_points(orvix_project* project, const orvix_plane* plane) {
    const orvix_dclc mark = {7, 1, 0};
    uint64_t count = 0;
    orvix_status status = orvix_plane_get_points(plane, NULL, NULL, 0, &count, &error);
    if (status != ORVIX_OK) return status;
    uint64_t* records = malloc((size_t)count * sizeof *records);
    if (records == NULL) return ORVIX_NO_MEMORY;
    status = orvix_plane_get_points(plane, NULL, records, count, &count, &error);
    for (uint64_t i = 0; i < count && status == ORVIX_OK; ++i) {
        status = orvix_points_write_dclc(project, records[i], 1, &mark, &error);
    }
    if (status == ORVIX_OK) printf("%" PRIu64 " points marked\n", count);
    free(records);
    return status;
}

static orvix_status show_mesh(const orvix_plane* plane) {
    orvix_mesh* mesh = NULL;
    uint64_t points = 0;
    uint64_t triangles = 0;
    orvix_status status = orvix_plane_mesh(plane, &mesh, &error);
    if (status != ORVIX_OK) return status;
    status = orvix_mesh_read(mesh, NULL, 0, &points, NULL, 0, &triangles, &error);
    printf("mesh of %" PRIu64 " points and %" PRIu64 " triangles\n", points, triangles);
    orvix_mesh_close(mesh);
    return status;
}

static orvix_status use_plane(orvix_project* project, const double* seed) {
    uint64_t asked = 0;
    orvix_plane* plane = NULL;
    orvix_plane_info info = {sizeof info};
    orvix_plane_options options = {sizeof options};
    options.proceed = count_asked;
    options.user = &asked;
    orvix_status status = orvix_plane_grow(project, seed, &options, &plane, &error);
    if (status != ORVIX_OK) return status;
    status = orvix_plane_get_info(plane, &info, &error);
    if (status == ORVIX_OK) {
        printf("plane %.6f x %+.6f y %+.6f z %+.4f = 0, %.2f m2, rms %.1f mm\n", info.equation[0],
               info.equation[1], info.equation[2], info.equation[3], info.area, info.rms * 1000);
        status = mark_points(project, plane);
    }
    if (status == ORVIX_OK) status = show_mesh(plane);
    orvix_plane_close(plane);
    return asked > 0 ? status : ORVIX_FAILED;
}

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: %s PROJECT X Y Z\n", argv[0]);
        return 2;
    }
    if (orvix_interface_version() / 65536 != ORVIX_C_MAJOR) return 1;
    const double seed[3] = {atof(argv[2]), atof(argv[3]), atof(argv[4])};
    const orvix_open_options options = {sizeof options, ORVIX_READ_WRITE};
    orvix_project* project = NULL;
    orvix_project_info info = {sizeof info};
    orvix_status status = orvix_project_open(argv[1], &options, &project, &error);
    if (status == ORVIX_OK) status = orvix_project_get_info(project, &info, &error);
    if (status == ORVIX_OK) {
        printf("%" PRIu64 " points, origin %.3f, %.3f, %.3f\n", info.points, info.origin[0],
               info.origin[1], info.origin[2]);
        status = show_cell(project, seed);
    }
    if (status == ORVIX_OK) status = use_plane(project, seed);
    orvix_project_close(project);
    if (status != ORVIX_OK) fprintf(stderr, "%s\n", error.text);
    return status == ORVIX_OK ? 0 : 1;
}
