// SPDX-License-Identifier: GPL-3.0-or-later
//
// The importer for hosts of another language or compiler: a call that turns scan files into a project,
// and the same as tasks that any engine can share among processes and machines. These functions are
// in the importer's library, orvix_importer, not in orvix; orvix/c/orvix.h says how all calls deal with
// structs, lists, errors, lifetime and callbacks, and importer/import_tasks.h what the tasks are.
//
//     orvix_error error = {sizeof error};
//     const char* scans[] = {"north.las", "south.las"};
//     orvix_import_tasks* tasks = NULL;
//     orvix_import_tasks_begin(scans, 2, "site.prj", NULL, &tasks, &error);
//     orvix_task_name ready[1000];
//     for (uint64_t count; !orvix_import_tasks_ready(tasks, ready, 1000, &count, &error) && count;)
//         for (uint64_t i = 0; i < count; ++i)      // at once, anywhere
//             orvix_import_tasks_run(tasks, ready[i].text, NULL, &error);
//     orvix_import_tasks_close(tasks);
//
// Threads    one thread at a time per handle; a call starts threads of its own and ends them.
#ifndef ORVIX_C_ORVIX_IMPORT_H
#define ORVIX_C_ORVIX_IMPORT_H

#include "orvix/c/orvix.h"

#if defined(_WIN32) && defined(ORVIX_BUILDING_IMPORTER)
#define ORVIX_C_IMPORT_API __declspec(dllexport)
#elif defined(_WIN32) && !defined(ORVIX_STATIC)
#define ORVIX_C_IMPORT_API __declspec(dllimport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define ORVIX_C_IMPORT_API __attribute__((visibility("default")))
#else
#define ORVIX_C_IMPORT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

enum {
    ORVIX_UNIT_METRE = 0,
    ORVIX_UNIT_MILLIMETRE = 1,
    ORVIX_UNIT_CENTIMETRE = 2,
    ORVIX_UNIT_FOOT = 3,
    ORVIX_UNIT_US_SURVEY_FOOT = 4
};
enum { ORVIX_UP_Z = 0, ORVIX_UP_Y = 1 };
enum { ORVIX_SKELETON_10CM = 0, ORVIX_SKELETON_1CM = 1, ORVIX_SKELETON_1M = 2 };

// How inputs are read and what the project is made of; the options of `orvix import`.
typedef struct orvix_import_options {
    uint32_t size;
    int32_t unit;        // ORVIX_UNIT_: of the inputs' coordinates
    int32_t up;          // ORVIX_UP_: Y makes (x, y, z) of the input (z, x, y)
    int32_t skeleton;    // ORVIX_SKELETON_: voxel of the thinned cloud
    int32_t drop_zeros;  // not 0: reject points at exactly (0, 0, 0) in the input
    int32_t dedupe;      // not 0: keep the first of points at the same position
    int32_t overwrite;   // not 0: replace an existing project
    int32_t resume;      // not 0: go on where an import was ended, keep what is done (orvix_import)
    const char* const* stations;  // import the scans of these names alone
    uint64_t station_count;       // 0: all scans
    uint64_t memory_limit;        // bytes; 0: 1 GiB; an import takes 64 MiB at least
    uint32_t threads;             // 0: every core; at most 1024
    uint32_t reserved;
    orvix_proceed proceed;  // null: cannot be cancelled; `done` never falls
    void* user;
} orvix_import_options;

// What an import did. `read` is `written` and `rejected` together.
typedef struct orvix_import_report {
    uint32_t size;
    uint32_t stations;
    uint64_t read;
    uint64_t written;
    uint64_t rejected;  // for whatever reason
    uint64_t skeleton_points;
    uint64_t checksum;  // sum modulo 2^64 of a hash of each record
    double origin[3];   // world position of the project frame's zero
} orvix_import_report;

// Turns scan files into a project, all or nothing, as `orvix import`.
// Errors    BAD_INPUT: an input that is missing, damaged or no scan, a project that exists.
//           NO_SPACE, CANCELLED, NO_MEMORY. `report` may be null.
// Cost      two passes over the inputs; memory below the limit.
ORVIX_C_IMPORT_API orvix_status ORVIX_C_CALL orvix_import(const char* const* inputs, uint64_t count,
                                                          const char* project,
                                                          const orvix_import_options* options,
                                                          orvix_import_report* report,
                                                          orvix_error* error);

typedef struct orvix_import_tasks orvix_import_tasks;

// The name of a task, such as "sort/17".
typedef struct orvix_task_name {
    char text[48];
} orvix_task_name;

// Lays an import out as tasks beside its target, or continues one of the same inputs and options.
// Errors    as orvix_import; BAD_INPUT for tasks of another import, which it names.
ORVIX_C_IMPORT_API orvix_status ORVIX_C_CALL orvix_import_tasks_begin(
    const char* const* inputs, uint64_t count, const char* project,
    const orvix_import_options* options, orvix_import_tasks** tasks, orvix_error* error);
// The tasks of an import that was begun, by this process or another. Of the options, memory_limit,
// threads, proceed and user count.
ORVIX_C_IMPORT_API orvix_status ORVIX_C_CALL
orvix_import_tasks_open(const char* project, const orvix_import_options* options,
                        orvix_import_tasks** tasks, orvix_error* error);
// The tasks that can run now, in any order and anywhere; the last is "publish", and none follows it.
ORVIX_C_IMPORT_API orvix_status ORVIX_C_CALL orvix_import_tasks_ready(orvix_import_tasks* tasks,
                                                                      orvix_task_name* names,
                                                                      uint64_t capacity,
                                                                      uint64_t* count,
                                                                      orvix_error* error);
// Runs one task; nothing where it is done. "publish" fills `report`, which may be null, and makes the
// project appear.
ORVIX_C_IMPORT_API orvix_status ORVIX_C_CALL orvix_import_tasks_run(orvix_import_tasks* tasks,
                                                                    const char* name,
                                                                    orvix_import_report* report,
                                                                    orvix_error* error);
ORVIX_C_IMPORT_API void ORVIX_C_CALL orvix_import_tasks_close(orvix_import_tasks* tasks);
// Gives an import up and removes what it left beside its target.
ORVIX_C_IMPORT_API orvix_status ORVIX_C_CALL orvix_import_tasks_clear(const char* project,
                                                                      orvix_error* error);

#ifdef __cplusplus
}
#endif

#endif
