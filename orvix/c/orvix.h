// SPDX-License-Identifier: GPL-3.0-or-later
//
// Orvix for hosts of another language or compiler: the projects, points, cells, planes and meshes
// of the classes, behind plain functions of C99 (or later, or any C++).
//
//     orvix_error error = {sizeof error};
//     orvix_project* project = NULL;
//     orvix_point first[1000];
//     if (orvix_project_open("scan.prj", NULL, &project, &error) ||
//         orvix_points_read(project, 0, 1000, first, &error)) {
//         fprintf(stderr, "%s\n", error.text);
//     }
//     orvix_project_close(project);
//
// A C++ host of the library's own compiler takes the classes instead. docs/EMBEDDING.md shows the
// way in for C, .NET and Python; the declarations for the latter two are made from this header.
//
// Units      metres. "Local" is the project's own frame, in which points are stored; "world" is
//            local through the project's transform, in double precision.
// Shape      positions are x, y, z one after the other; an equation a, b, c, d says
//            a x + b y + c z + d = 0. Texts are UTF-8 and end with a zero byte.
// Structs    those that begin with `size` may grow at their end in a later minor version. A caller
//            sets `size` to sizeof the struct that it was compiled with: a multiple of 8, from 8
//            to 4096, anything else is ORVIX_BAD_ARGUMENT. Where null stands for all defaults, the
//            parameter is called `options`. Of an
//            input, members beyond `size` take their default, which is always all bits zero, and
//            bytes beyond the members that the library knows must be zero, or the call answers
//            ORVIX_UNSUPPORTED. Of an output, no byte beyond `size` is written, and bytes that the
//            library does not know become zero. The other structs are records of the project's
//            files, laid out in memory as on disk, and items of arrays; they never change.
// Lists      a call that fills a caller's array takes its capacity and says in `count` how many
//            items there are. With a smaller capacity it writes none and answers ORVIX_TOO_SMALL;
//            a null array with capacity 0 asks for the number alone and succeeds.
// Errors     every call that can fail answers a status, and on failure fills `error` (null: not
//            asked for) with the status and one sentence: what happened, where, what to do. The
//            text lives in the caller's struct because an open that fails has no handle to keep
//            it, because every thread has its own, and because none has to be allocated when
//            memory is what ran out. On success `error` is left alone. On failure a handle is null,
//            and other outputs hold nothing to rely on. No exception leaves a call.
// Lifetime   what `..._open` and its like hand out is closed by the call of its name; null is left
//            alone. Planes, buildings, meshes, views and sections outlive their project. Closing a handle
//            twice, or using it afterwards, is the caller's mistake and is not detected; null is.
// Threads    one thread at a time per handle; any number of handles, several on one project too.
//            Calls on a const handle may run side by side. The library takes no lock and starts no
//            thread, but for orvix_planes_find and orvix_building_find, which end those that they
//            start; the driver of a graphics device may have threads of its own.
// Callbacks  run on the calling thread. They return; they do not throw, jump out, or close the
//            handle that is in use.
// Damage     every count, offset and size that comes from a project's files is held against the
//            files' real sizes before use: a damaged project gives ORVIX_DAMAGED, wrong points at
//            worst. Not guarded: another process that shortens a file while it is mapped here.
// Windows    64-bit; the calling convention is __cdecl. Paths are UTF-8 here as well.
#ifndef ORVIX_C_ORVIX_H
#define ORVIX_C_ORVIX_H

#include <stdint.h>

// What this header describes. A library of the same major and an equal or higher minor version
// serves a host; `orvix_interface_version` returns the library's.
#define ORVIX_C_MAJOR 1
#define ORVIX_C_MINOR 5

#if defined(_WIN32)
#define ORVIX_C_CALL __cdecl
#else
#define ORVIX_C_CALL
#endif
#if defined(_WIN32) && !defined(ORVIX_STATIC)
#if defined(ORVIX_BUILDING)
#define ORVIX_C_API __declspec(dllexport)
#else
#define ORVIX_C_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define ORVIX_C_API __attribute__((visibility("default")))
#else
#define ORVIX_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// ---- Status and errors ----------------------------------------------------------------------

// What a call answers. 1 to 5 and 130 mean what the command's exit codes mean.
typedef int32_t orvix_status;
enum {
    ORVIX_OK = 0,
    ORVIX_FAILED = 1,        // anything not named below: a refused permission, a broken device
    ORVIX_BAD_ARGUMENT = 2,  // null where something is needed, a range or size that cannot be
    ORVIX_BAD_INPUT = 3,     // a file that is missing or no project, a seed without points
    ORVIX_NO_SPACE = 4,      // the disk is full
    ORVIX_DAMAGED = 5,       // a project whose files contradict each other
    ORVIX_NO_MEMORY = 6,
    ORVIX_TOO_SMALL = 7,    // the caller's array; see Lists
    ORVIX_UNSUPPORTED = 8,  // asked for what a later version of the library has
    ORVIX_CANCELLED = 130   // a callback said so
};

typedef struct orvix_error {
    uint32_t size;
    orvix_status status;
    char text[1016];  // cut at a character's end where it would not fit
} orvix_error;

// ---- The library ----------------------------------------------------------------------------

// The interface that the running library serves: major * 65536 + minor.
ORVIX_C_API uint32_t ORVIX_C_CALL orvix_interface_version(void);
// The library's own version, such as "0.1.0". Static storage.
ORVIX_C_API const char* ORVIX_C_CALL orvix_library_version(void);

// Receives texts meant for the user, of trouble that a call went on after; valid in the call.
typedef void(ORVIX_C_CALL* orvix_channel)(void* user, const char* text);
// Sets where those texts go, for the whole process; null restores the default, a modal message box
// on Windows and standard error elsewhere. A host without windows sets it before anything else.
// Threads  set it while no other call runs.
ORVIX_C_API void ORVIX_C_CALL orvix_set_channel(orvix_channel channel, void* user);

// Asked often by long calls: 0 cancels them. `done` is the part done, 0 to 1, and negative where
// nobody can know it, as while a plane grows.
typedef int32_t(ORVIX_C_CALL* orvix_proceed)(void* user, double done);

// ---- Projects -------------------------------------------------------------------------------

typedef struct orvix_project orvix_project;

enum {
    ORVIX_READ = 0,
    ORVIX_READ_WRITE = 1  // for orvix_points_write_dclc and what saves planes or a building
};

typedef struct orvix_open_options {
    uint32_t size;
    int32_t access;
} orvix_open_options;

// Opens a project by its project file. Opening makes and changes nothing, and a read-only project
// can be opened with ORVIX_READ.
// Errors  BAD_INPUT: no such project. DAMAGED: a head, transform, point or index file is missing,
//         too short or not what it should be. FAILED: a file may not be opened as asked.
// Cost    no point is read; the folder's files are listed once.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_project_open(const char* path,
                                                         const orvix_open_options* options,
                                                         orvix_project** project,
                                                         orvix_error* error);
// After orvix_points_write_dclc the project's sums follow what changed; until then, and where the host
// ends without this call, the check says that the points were opened for writing.
// Cost    after orvix_points_write_dclc a wait until what changed is on the disk; else none.
ORVIX_C_API void ORVIX_C_CALL orvix_project_close(orvix_project* project);

typedef struct orvix_project_info {
    uint32_t size;
    uint32_t stations;  // scanner stations that the points come from
    uint64_t points;
    uint64_t skeleton_points;
    uint64_t cells_1000cm;
    uint64_t cells_100cm;
    uint64_t cells_10cm;        // 0 without the 10 cm level
    uint64_t bytes;             // of all files of the project
    double scale;               // skeleton voxel size
    double origin[3];           // the local frame's zero, in the world
    double local_to_world[16];  // a 4 x 4 matrix, row by row; the last row is 0 0 0 1
    double min[3];              // of the points, in the world
    double max[3];
    double split_size;           // plane search, full density: side of a cell; negative: unset
    double diff[3];              // largest differences of a cell's normal, by component
    int64_t min_plane;           // above 2: the most points handed on per cell
    double skeleton_split_size;  // the same for the thinned points
    double skeleton_diff[3];
    int64_t skeleton_min_plane;
    int32_t min_cell_points;
    int32_t usage;      // 0: the full-density set is current, else the skeleton's
    uint8_t colour[4];  // red, green, blue, alpha
    uint8_t reserved[4];
} orvix_project_info;

// What `orvix info` reports, as it was when the project was opened.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_project_get_info(const orvix_project* project,
                                                             orvix_project_info* info,
                                                             orvix_error* error);

enum {
    ORVIX_TEXT_NAME = 0,   // "scan"
    ORVIX_TEXT_FILE = 1,   // the project file, as it was given
    ORVIX_TEXT_FOLDER = 2  // the project-files folder
};
// A list of bytes, the zero at its end counted.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_project_get_text(const orvix_project* project,
                                                             int32_t which, char* text,
                                                             uint64_t capacity, uint64_t* count,
                                                             orvix_error* error);

// Called with each fault that a check lists: a file's path and a sentence, valid in the call.
typedef void(ORVIX_C_CALL* orvix_fault)(void* user, const char* file, const char* what);

typedef struct orvix_check_options {
    uint32_t size;
    uint32_t reserved;
    uint64_t max_faults;  // listed at most; 0: 1000
    orvix_fault fault;    // null: none is asked for
    orvix_proceed proceed;
    void* user;  // of both
} orvix_check_options;

// Holds every file of a project against the others; `faults` receives how many do not agree.
// Damage is no failure of the call. Nothing is changed or created.
// Cost  reads every point once.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_project_check(const char* path,
                                                          const orvix_check_options* options,
                                                          uint64_t* faults, orvix_error* error);

enum { ORVIX_STATION_POSITION = 1, ORVIX_STATION_INTENSITIES = 2 };

typedef struct orvix_station_info {
    uint32_t size;
    uint32_t known;      // ORVIX_STATION_ bits: what the project knows of the station
    double position[3];  // local
    double rotation[9];  // row by row; the identity where the project has none
    int32_t lowest_intensity;
    int32_t highest_intensity;
} orvix_station_info;

// A scanner station by its number, from 0. One that the project does not know has no bit set.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_project_get_station(const orvix_project* project,
                                                                uint32_t station,
                                                                orvix_station_info* info,
                                                                orvix_error* error);

// ---- Records of the project's files ---------------------------------------------------------

// A point: a record of Grid.pts, local coordinates. docs/FORMAT.md shows the attributes. The DCLC
// pair is the host's own.
typedef struct orvix_point {
    float x;
    float y;
    float z;
    uint8_t attributes[8];
    uint16_t dclc_first;
    uint8_t dclc_second;
    uint8_t reserved;
} orvix_point;

// The two values of a point that a host may change.
typedef struct orvix_dclc {
    uint16_t first;
    uint8_t second;
    uint8_t reserved;
} orvix_dclc;

// A run: records `offset` to `offset + count - 1`.
typedef struct orvix_run {
    uint64_t offset;
    uint32_t count;
    uint32_t padding;
} orvix_run;

// A cell of the 1000 cm or 100 cm index. x, y, z count cells of that size; the run is one of 100 cm
// cells at the 1000 cm level, of points at the 100 cm level.
typedef struct orvix_grid_cell {
    int32_t x;
    int32_t y;
    int32_t z;
    uint32_t padding;
    uint64_t offset;
    uint32_t count;
    uint32_t padding2;
} orvix_grid_cell;

// A cell of the 10 cm index. x, y, z are 0 to 9 inside its 100 cm cell; the run is one of points.
typedef struct orvix_fine_cell {
    int8_t x;
    int8_t y;
    int8_t z;
    uint8_t padding[5];
    uint64_t offset;
    uint32_t count;
    uint32_t padding2;
} orvix_fine_cell;

// ---- Cells ----------------------------------------------------------------------------------

// The levels of the grid, which are also the sides of their cells in centimetres.
enum { ORVIX_LEVEL_1000CM = 1000, ORVIX_LEVEL_100CM = 100, ORVIX_LEVEL_10CM = 10 };

// The index records of a level, mapped: orvix_grid_cell at 1000 and 100 cm, orvix_fine_cell at
// 10 cm. Nothing is copied; they are as stored, unchecked, and to be read only.
// Order     as stored: a cell's children lie side by side, in the order of the cells.
// Lifetime  until the project is closed.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_cells_borrow(const orvix_project* project,
                                                         int32_t level, const void** records,
                                                         uint64_t* count, orvix_error* error);
// For each 100 cm cell the run of its 10 cm cells. Likewise.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_fine_runs_borrow(const orvix_project* project,
                                                             const orvix_run** runs,
                                                             uint64_t* count, orvix_error* error);

typedef struct orvix_cell {
    uint32_t size;
    int32_t level;
    int32_t x;  // counts cells of this level from the local zero, at 10 cm as well
    int32_t y;
    int32_t z;
    uint32_t reserved;
    uint64_t entry;        // its record in the level's index
    uint64_t first_point;  // its points lie side by side
    uint64_t points;
    uint64_t first_child;  // entries of the next finer level
    uint64_t children;     // 0 at the finest
    double min[3];         // corners, local; a cell holds its lower faces, not its upper ones
    double max[3];
} orvix_cell;

// One cell by its entry, 0 to the level's count - 1. DAMAGED: its runs lie outside their files.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_cell_get(const orvix_project* project, int32_t level,
                                                     uint64_t entry, orvix_cell* cell,
                                                     orvix_error* error);
// The cell that a position in the world (three doubles) lies in. Where the cloud has no cell there,
// `points` is 0 and `entry` has all bits set; the rest describes the place.
// Cost  two or three binary searches.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_cell_at(const orvix_project* project, int32_t level,
                                                    const double* world, orvix_cell* cell,
                                                    orvix_error* error);

// ---- Points ---------------------------------------------------------------------------------

// Points `first` to `first + count - 1` into the caller's array, with one copy.
// Errors  BAD_ARGUMENT: beyond the last point.
// Cost    one read of the file into the array for any `count`; no other memory.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_points_read(const orvix_project* project,
                                                        uint64_t first, uint64_t count,
                                                        orvix_point* points, orvix_error* error);
// The points of many runs, in their order. A list: `count` receives the sum of the runs' counts.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_points_read_runs(const orvix_project* project,
                                                             const orvix_run* runs,
                                                             uint64_t run_count,
                                                             orvix_point* points, uint64_t capacity,
                                                             uint64_t* count, orvix_error* error);
// The same points as positions in the world, three doubles each.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_points_read_world(const orvix_project* project,
                                                              uint64_t first, uint64_t count,
                                                              double* xyz, orvix_error* error);

// Positions of points in memory through a matrix of 16 doubles, row by row, three doubles each:
// through a project's local_to_world the world, to the last bit as orvix_points_read_world has it.
// The points are three floats each, `stride` bytes apart (24 for orvix_point).
// Threads  no handle is used: calls may run side by side.
// Cost     some nanoseconds a point.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_points_transform(const double* matrix,
                                                             const void* points, uint64_t count,
                                                             uint64_t stride, double* xyz,
                                                             orvix_error* error);

typedef struct orvix_view orvix_view;

// Borrows points where they are mapped, without any copy. They are to be read only.
// Lifetime  until orvix_view_close, even beyond the project's. 0 points: a view without address.
// Cost      one mapping; pages are read when they are touched, and count as the host's memory.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_points_borrow(const orvix_project* project,
                                                          uint64_t first, uint64_t count,
                                                          orvix_view** view,
                                                          const orvix_point** points,
                                                          orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_view_close(orvix_view* view);

// Changes the DCLC pairs of points in place, in the file; readers and views see it at once. The
// skeleton's pairs stay. Precondition: opened with ORVIX_READ_WRITE, else BAD_ARGUMENT.
// Cost  one mapping for each 8 MiB of points, and one per call at least: hand over runs.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_points_write_dclc(orvix_project* project,
                                                              uint64_t first, uint64_t count,
                                                              const orvix_dclc* values,
                                                              orvix_error* error);

// ---- Planes ---------------------------------------------------------------------------------

typedef struct orvix_plane orvix_plane;

// How a plane is grown. All zero: everything as described.
typedef struct orvix_plane_options {
    uint32_t size;
    int32_t seed_is_local;    // otherwise the seed is in the world
    double split_size;        // side of a search cell; 0: the project's, more where points are few
    double diff[3];           // largest differences of a cell's normal; 0: the project's
    double max_distance;      // of a point from the plane; 0: from the noise at the seed
    double snap_distance;     // from the seed to the nearest point, at most; 0: 1 m
    double reach;             // from the seed; 0: until points end
    uint64_t memory_limit;    // bytes for points, about; 0: 1 GiB. Beyond it, points are thinned
    uint64_t outline_points;  // the outline is built from at most this many; 0: 1,000,000
    orvix_proceed proceed;    // null: the search cannot be cancelled
    void* user;
} orvix_plane_options;

// Grows the plane that a seed (three doubles) lies on, as `orvix plane` does: the same project,
// seed and options give the same plane to the last bit, on every system.
// Makes folders that the project lacks, as any host that loads its search settings does.
// Errors  BAD_INPUT: no point near the seed, or none that span a plane. CANCELLED, DAMAGED.
// Cost    reads the cells that the plane passes through; memory for the points near it.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_grow(orvix_project* project, const double* seed,
                                                       const orvix_plane_options* options,
                                                       orvix_plane** plane, orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_plane_close(orvix_plane* plane);

enum {
    ORVIX_ENDED_EDGE = 1,  // points end, or turn away, on every side
    ORVIX_ENDED_OUTLINE = 2,
    ORVIX_ENDED_REACH = 3,
    ORVIX_ENDED_BUDGET = 4
};

typedef struct orvix_plane_info {
    uint32_t size;
    int32_t ended;             // ORVIX_ENDED_
    double equation[4];        // world; unit normal whose largest component is positive
    double centroid[3];        // world
    double seed[3];            // world: the cloud's point that growth started from
    double local_equation[4];  // what the search fitted, in the local frame
    double snapped;            // between that point and the seed asked for
    double noise;              // standard deviation of the points at the seed
    double split_size;         // the one used
    double max_distance_allowed;
    double rms;
    double max_distance;
    double area;             // of the outline, holes left out, square metres
    uint64_t points;         // the plane's points, each of the cloud's counted
    uint64_t listed_points;  // fewer where points were thinned
    uint64_t cells;
    uint64_t rejected_cells;
    uint64_t rings;
    uint32_t thinning;        // above 1: growth used every k-th point of each grid cell
    uint32_t split_enlarged;  // 1: the project's cells would have held too few points
} orvix_plane_info;

ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_get_info(const orvix_plane* plane,
                                                           orvix_plane_info* info,
                                                           orvix_error* error);
// The plane's points, as many as listed_points: positions in the world (three doubles each) and
// the numbers of their records. Lists of one capacity; either array may be null.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_get_points(const orvix_plane* plane, double* xyz,
                                                             uint64_t* records, uint64_t capacity,
                                                             uint64_t* count, orvix_error* error);

// A ring of the outline: hole 0 is a region's outer ring, holes 1, 2, ... lie inside it. Regions
// and holes come by area, the largest first.
typedef struct orvix_ring {
    uint64_t vertices;
    uint32_t region;
    uint32_t hole;
} orvix_ring;

ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_get_rings(const orvix_plane* plane,
                                                            orvix_ring* rings, uint64_t capacity,
                                                            uint64_t* count, orvix_error* error);
// A ring's vertices laid on the plane, in the world; the last joins the first, which is not
// repeated. A list of positions.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_get_ring(const orvix_plane* plane, uint64_t ring,
                                                           double* xyz, uint64_t capacity,
                                                           uint64_t* count, orvix_error* error);

// ---- All planes -----------------------------------------------------------------------------

typedef struct orvix_planes orvix_planes;

enum { ORVIX_DETAIL_NORMAL = 0, ORVIX_DETAIL_FINE = 1, ORVIX_DETAIL_COARSE = 2 };

// What planes to look for. All zero: the search decides, by how densely points lie and their noise.
typedef struct orvix_planes_options {
    uint32_t size;
    int32_t detail;         // ORVIX_DETAIL_: how much of a wall is a plane of its own
    double cell_size;       // raised to the next of 0.1, 0.2, 0.25, 0.5, 1, 2, 5, 10
    double distance;        // of a point from its plane, at most
    double angle;           // degrees: largest turn of a cell's normal
    double min_area;        // square metres of outline that a plane has at least
    double bridge;          // pieces of one plane join across gaps of about this; negative: none
    uint64_t min_points;    // that a plane has at least
    uint64_t memory_limit;  // bytes for cells, about; 0: 1 GiB. Beyond it, cells are larger
    uint32_t threads;       // 0: every core; 1: the calling thread alone; at most 1024
    uint32_t reserved;
    orvix_proceed proceed;  // null: the search cannot be cancelled; `done` never falls
    void* user;
} orvix_planes_options;

// Finds all planes of a project, as `orvix planes` does: the same project and options give the same
// planes to the last bit, on every system and with any number of threads.
// Errors    BAD_ARGUMENT: an option that cannot be. BAD_INPUT: even the largest cells take more
//           memory than allowed. DAMAGED, CANCELLED.
// Lifetime  a search keeps the project's files open until orvix_planes_close, beyond
//           orvix_project_close.
// Threads   the calling one, which alone calls `proceed`, and as many more as options ask for.
// Cost      two passes over the points; about a microsecond per cell; 20 bytes per cell.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_find(orvix_project* project,
                                                        const orvix_planes_options* options,
                                                        orvix_planes** planes, orvix_error* error);
// The planes that a search left in the project, by orvix_planes_save or `orvix planes --save`:
// no second search. Every call but orvix_planes_explain takes them.
// Errors    BAD_INPUT: none are saved, or the points are not those that were searched. DAMAGED.
// Lifetime  as of orvix_planes_find.
// Cost      half a million points are read at most.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_open_saved(orvix_project* project,
                                                              orvix_planes** planes,
                                                              orvix_error* error);

// What a save did with the planes that were saved before.
typedef struct orvix_planes_saved {
    uint32_t size;
    uint32_t reserved;
    uint64_t kept;   // planes that have the number which an earlier save gave them
    uint64_t added;  // planes with a new number
    uint64_t gone;   // numbers whose planes are no more; they are given to none again
} orvix_planes_saved;

// Keeps planes in the project they were found in, open with ORVIX_READ_WRITE, in place of those
// kept so far. A plane that covers the surface of an earlier one gets its number: read the numbers
// anew (orvix_planes_get_numbers). `saved` and `proceed` may be null.
// Errors  BAD_ARGUMENT: another project's planes, or one open for reading. NO_SPACE, CANCELLED:
//         what was kept before stays. DAMAGED: so do planes kept before that cannot be read.
// Cost    a pass over the points and the thinned cloud on the calling thread.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_save(orvix_project* project,
                                                        orvix_planes* planes, orvix_proceed proceed,
                                                        void* user, orvix_planes_saved* saved,
                                                        orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_planes_close(orvix_planes* planes);

typedef struct orvix_planes_info {
    uint32_t size;
    int32_t detail;
    uint64_t planes;     // see orvix_planes_get_numbers
    uint64_t left_out;   // planes with too little area or too few points
    uint64_t points;     // of the project
    uint64_t on_planes;  // points that are on a plane
    uint64_t cells;      // that hold points
    double cell_size;    // this and what follows: as the search used it
    double distance;
    double angle;
    double min_area;
    double bridge;  // 0: none
    uint64_t min_points;
    double spacing;  // measured: between points on surfaces, typically
    double noise;    // measured: standard deviation of points about the planes of their cells
} orvix_planes_info;

ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_info(const orvix_planes* planes,
                                                            orvix_planes_info* info,
                                                            orvix_error* error);

enum {
    ORVIX_KIND_FLOOR = 0,
    ORVIX_KIND_CEILING = 1,
    ORVIX_KIND_WALL = 2,
    ORVIX_KIND_ROOF = 3,
    ORVIX_KIND_OTHER = 4
};

// One of the planes. The normal is of unit length and points to where the plane was seen from.
typedef struct orvix_found_plane {
    uint32_t size;
    int32_t kind;              // ORVIX_KIND_
    uint32_t number;           // from 1
    uint32_t group;            // from 1: planes of one group lie in the same endless plane
    double equation[4];        // world
    double local_equation[4];  // the same plane in the local frame
    double centroid[3];        // world: the mean of its points
    double rms;                // of its points' distances from it
    double tolerance;          // largest distance of a point from the plane of its cells
    double area;               // of the outline, holes left out, square metres
    uint64_t points;
    uint64_t rings;
} orvix_found_plane;

// The numbers of the planes, by their points, most first: 1, 2, 3 and so on, until they are saved
// over others. A list.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_numbers(const orvix_planes* planes,
                                                               uint32_t* numbers, uint64_t capacity,
                                                               uint64_t* count, orvix_error* error);
// A plane by its number. BAD_ARGUMENT: there is no such plane; 0 is none.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_plane(const orvix_planes* planes,
                                                             uint32_t number,
                                                             orvix_found_plane* plane,
                                                             orvix_error* error);
// The rings of its outline, region by region, the outer one first. A list.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_rings(const orvix_planes* planes,
                                                             uint32_t number, orvix_ring* rings,
                                                             uint64_t capacity, uint64_t* count,
                                                             orvix_error* error);
// A ring's vertices on the plane, in the world, as orvix_plane_get_ring: outer rings run
// counter-clockwise and holes clockwise, seen from where the normal points. A list of positions.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_ring(const orvix_planes* planes,
                                                            uint32_t number, uint64_t ring,
                                                            double* xyz, uint64_t capacity,
                                                            uint64_t* count, orvix_error* error);

// The plane's number, 0 for none, of each of the points `first` to `first + count - 1`, which
// orvix_points_read reads. Read a long cloud in stretches; several threads may read side by side.
// Errors  BAD_ARGUMENT: beyond the last point.
// Cost    about a microsecond per point. Some ten thousand more at both ends of a stretch.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_read_numbers(const orvix_planes* planes,
                                                                uint64_t first, uint64_t count,
                                                                uint32_t* numbers,
                                                                orvix_error* error);
// The points of one plane, in the order of the file: positions in the world (three doubles each)
// and the numbers of their records. Lists of one capacity; either array may be null.
// Cost  a pass over all points, whichever plane; of many planes, orvix_planes_read_numbers.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_points(const orvix_planes* planes,
                                                              uint32_t number, double* xyz,
                                                              uint64_t* records, uint64_t capacity,
                                                              uint64_t* count, orvix_error* error);

// The same with a callback, which is asked every few ten thousand points; null: nobody is asked.
// Errors  CANCELLED; what the arrays hold then is nothing to rely on.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_get_points_while(
    const orvix_planes* planes, uint32_t number, orvix_proceed proceed, void* user, double* xyz,
    uint64_t* records, uint64_t capacity, uint64_t* count, orvix_error* error);

enum {
    ORVIX_PLACE_ON_PLANE = 0,  // the nearest plane around is near enough
    ORVIX_PLACE_TOO_FAR = 1,   // the nearest plane around is not
    ORVIX_PLACE_LEFT_OUT = 2,  // the nearest is among those left out, so the place is on none
    ORVIX_PLACE_NOT_FLAT = 3,  // no plane around, and none could begin here
    ORVIX_PLACE_NO_PLANE = 4,  // no plane around, though it is flat
    ORVIX_PLACE_EMPTY = 5      // no plane around, and no point
};

// Why a place is on a plane or on none.
typedef struct orvix_place {
    uint32_t size;
    int32_t verdict;        // ORVIX_PLACE_
    uint32_t plane;         // the number of the plane that a point there is on; 0: none
    uint32_t nearest;       // the number of the nearest plane around; 0: none
    uint64_t points;        // of the place's cell
    double distance;        // from the nearest, signed
    double allowed;         // the distance at which a point is on it
    double turn;            // of the cell's normal from the nearest's, degrees; negative: unknown
    double cell_normal[3];  // world; zeros where the surroundings are not flat
    double cell_rms;        // of the points that decide the normal
} orvix_place;

// Looks at a place in the world (three doubles).
// Errors  BAD_ARGUMENT: no finite position, or saved planes. DAMAGED: the points have changed since
//         the search.
// Cost    reads the points of some cells around, up to 5 by 5 by 10 m of them.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_planes_explain(const orvix_planes* planes,
                                                           const double* world, orvix_place* place,
                                                           orvix_error* error);

// ---- Meshes ---------------------------------------------------------------------------------

typedef struct orvix_mesh orvix_mesh;

// The plane's points triangulated inside its outline and holes, in the world; triangles run
// counter-clockwise seen from the side that the equation's normal points to. What `orvix plane
// --mesh` writes. BAD_INPUT: the points enclose no area.
// Cost  n log n; about 2 s for a million points.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_mesh(const orvix_plane* plane, orvix_mesh** mesh,
                                                       orvix_error* error);
// The same with a callback, which is asked every few milliseconds; null: nobody is asked.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_plane_mesh_while(const orvix_plane* plane,
                                                             orvix_proceed proceed, void* user,
                                                             orvix_mesh** mesh, orvix_error* error);
// Triangulates any points (three doubles each) in the plane of `equation` (four doubles), with the
// segments of the open polyline `boundary` as edges: repeat its first position to close it; 0
// positions bound nothing. Every triangle of the convex hull is listed. The mesh's points are the
// given ones, in their order, then the vertices that the boundary adds, laid on the plane. Of
// several points at one place the last is the vertex; points that are not finite are in no
// triangle.
// Errors  BAD_ARGUMENT: an equation without a normal, more than 2^31 - 1 points.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_triangulate(const double* xyz, uint64_t count,
                                                        const double* equation,
                                                        const double* boundary,
                                                        uint64_t boundary_count, orvix_mesh** mesh,
                                                        orvix_error* error);
// The same with a callback, which is asked every few milliseconds; null: nobody is asked.
ORVIX_C_API orvix_status ORVIX_C_CALL
orvix_triangulate_while(const double* xyz, uint64_t count, const double* equation,
                        const double* boundary, uint64_t boundary_count, orvix_proceed proceed,
                        void* user, orvix_mesh** mesh, orvix_error* error);
// Positions, three doubles each, and triangles, three places in that list each, into the caller's
// arrays: two lists, each with its capacity and count; both must fit.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_mesh_read(const orvix_mesh* mesh, double* xyz,
                                                      uint64_t point_capacity, uint64_t* points,
                                                      uint32_t* triangles,
                                                      uint64_t triangle_capacity,
                                                      uint64_t* triangle_count, orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_mesh_close(orvix_mesh* mesh);

// ---- Buildings ------------------------------------------------------------------------------

typedef struct orvix_building orvix_building;

// What a building is found with. All zero: as `orvix model` finds it.
typedef struct orvix_building_options {
    uint32_t size;
    uint32_t threads;       // 0: every core; 1: the calling thread alone; at most 1024
    uint64_t memory_limit;  // bytes, about; 0: 1 GiB
    int32_t
        orthogonal;  // 1: walls are turned parallel and square to others, within their tolerance
    int32_t search;  // 1: planes are searched, even where the project keeps some
    orvix_proceed proceed;  // null: the work cannot be cancelled; `done` never falls
    void* user;
} orvix_building_options;

// Finds the building that a project shows: its storeys, slabs, walls, openings, rooms and roof. It is
// found in `planes`, those of a search or saved ones of the same project handle; null: in the planes
// that the project keeps, where it keeps some of its points, else in those of a search. The same
// project, planes and options give the same building to the last bit, on every system and with any
// number of threads. docs/MODEL.md says what the numbers mean.
// Errors    BAD_ARGUMENT: an option that cannot be, planes of another project handle. Those of
//           orvix_planes_find where planes are searched. CANCELLED. A scan without floors or walls is
//           no error: remarks say what it lacks.
// Lifetime  a building is a value: it needs neither the project nor the planes any more.
// Threads   as orvix_planes_find.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_find(orvix_project* project,
                                                          const orvix_planes* planes,
                                                          const orvix_building_options* options,
                                                          orvix_building** building,
                                                          orvix_error* error);
// The building that orvix_building_save or `orvix model --save` left in the project, as it was.
// Errors  BAD_INPUT: none is kept, or the points are not those that it was found in. DAMAGED.
// Cost    half a million points are read at most.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_open_saved(orvix_project* project,
                                                                orvix_building** building,
                                                                orvix_error* error);
// Keeps a building in the project it was found in, open with ORVIX_READ_WRITE, in place of the one
// kept so far.
// Errors  BAD_ARGUMENT: a project that is open for reading. BAD_INPUT: what is kept is of a later
//         version. NO_SPACE: what was kept before stays.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_save(orvix_project* project,
                                                          const orvix_building* building,
                                                          orvix_error* error);
// Writes a building, world coordinates, in the format that the name's ending says: what `orvix model`
// writes. A file of that name is replaced once the new one is whole.
// Errors  BAD_INPUT: another ending, or a folder that is not there. NO_SPACE, FAILED.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_write(const orvix_building* building,
                                                           const char* path, orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_building_close(orvix_building* building);

typedef struct orvix_building_info {
    uint32_t size;
    int32_t stations_known;  // 0: no scanner's position is known, so rooms and openings are guesses
    uint64_t storeys;        // this and what follows: how many there are; numbers count from 1
    uint64_t slabs;
    uint64_t walls;
    uint64_t openings;
    uint64_t rooms;
    uint64_t slopes;
    uint64_t edges;
    uint64_t remarks;
} orvix_building_info;

ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_info(const orvix_building* building,
                                                              orvix_building_info* info,
                                                              orvix_error* error);

// Elements. Those before ORVIX_ELEMENT_STOREY have evidence, rings and a mesh.
enum {
    ORVIX_ELEMENT_WALL = 0,
    ORVIX_ELEMENT_OPENING = 1,
    ORVIX_ELEMENT_SLAB = 2,
    ORVIX_ELEMENT_ROOM = 3,
    ORVIX_ELEMENT_SLOPE = 4,
    ORVIX_ELEMENT_STOREY = 5
};

// Members of three doubles named after an amount are the value, and between which it lies with 95 %
// likelihood: value, low, high; three zeros where it was not seen. Positions and heights are of the
// world. Other elements are named by their numbers, 0 for none.

typedef struct orvix_storey {
    uint32_t size;
    uint32_t reserved;
    double elevation;  // of its floor
    double ceiling;    // of its ceilings, the highest of the greater part of them
} orvix_storey;

typedef struct orvix_slab {
    uint32_t size;
    uint32_t storey;   // whose floor it is; of a ceiling under nothing seen, the one below
    int32_t top_seen;  // 1: its upper face was seen
    int32_t bottom_seen;
    double top[3];
    double bottom[3];
    double thickness[3];
} orvix_slab;

typedef struct orvix_wall {
    uint32_t size;
    uint32_t storey;
    int32_t left_seen;   // 1: the face to the left of the way from the start to the end was seen
    int32_t right_seen;  // thickness is known where both were
    int32_t external;    // 1: rooms of the storey lie on one side at most
    int32_t reserved;
    double axis[4];  // x, y of its start and of its end: the middle, or the face that was seen
    double thickness[3];
    double bottom;
    double top;
    double deviation;  // largest departure of a face from its plane over half a metre
} orvix_wall;

enum { ORVIX_OPENING_DOOR = 0, ORVIX_OPENING_WINDOW = 1, ORVIX_OPENING_HOLE = 2 };
enum {
    ORVIX_STATE_FREE = 0,
    ORVIX_STATE_OPEN = 1,  // its leaf stands beside it
    ORVIX_STATE_CLOSED = 2,
    ORVIX_STATE_UNKNOWN = 3
};

typedef struct orvix_opening {
    uint32_t size;
    int32_t kind;   // ORVIX_OPENING_
    int32_t state;  // ORVIX_STATE_
    uint32_t wall;
    uint32_t rooms[2];  // to the left and to the right of its wall
    double along;       // metres from the wall's start to its middle
    double bottom;      // height of its lower edge
    double centre[3];
    double direction[2];  // of its wall, x and y
    double width[3];
    double height[3];
    double free;     // share through which rays of scanners went
    double hidden;   // share before which something stood
    double unknown;  // share that no ray reached
} orvix_opening;

typedef struct orvix_room {
    uint32_t size;
    uint32_t storey;
    double floor;
    double ceiling;  // its highest
    double area[3];  // of its floor
    double height[3];
    double volume[3];
} orvix_room;

// A flat part of a roof; the normal points up and out.
typedef struct orvix_slope {
    uint32_t size;
    int32_t upper_seen;  // 0: the plane is that of the lower face
    double equation[4];
    double thickness[3];
    double area;
} orvix_slope;

enum { ORVIX_EDGE_RIDGE = 0, ORVIX_EDGE_HIP = 1, ORVIX_EDGE_VALLEY = 2 };

// Where two slopes meet: a stretch of the line of their planes.
typedef struct orvix_edge {
    uint32_t size;
    int32_t kind;  // ORVIX_EDGE_
    uint32_t slopes[2];
    double ends[6];
} orvix_edge;

// Bits of what was not measured but concluded.
enum {
    ORVIX_INFERRED_OTHER_SIDE = 1,      // one face was seen: how thick it is, is not known
    ORVIX_INFERRED_HIDDEN_PART = 2,     // it runs on where something stood before it
    ORVIX_INFERRED_FREE_END = 4,        // an end that no other element bounds
    ORVIX_INFERRED_FLOOR_LEVEL = 8,     // its floor was not seen; the storey's stands in
    ORVIX_INFERRED_CEILING_LEVEL = 16,  // its ceiling was not seen; the storey's stands in
    ORVIX_INFERRED_OPEN_BOUND = 32,     // a part of a room's bound is no wall that was seen
    ORVIX_INFERRED_KIND_BY_SIZE = 64,   // a door or window by its size and height alone
    ORVIX_INFERRED_SQUARED = 128        // moved to be parallel or square to others, as asked
};

// What an element rests on.
typedef struct orvix_evidence {
    uint32_t size;
    uint32_t inferred;  // ORVIX_INFERRED_
    double seen;        // share of its surface on which points lie
    double hidden;      // share of its surface before which something stood
    uint64_t points;
    double rms;        // of the points' distances from its planes
    double tolerance;  // of its planes, the largest
    uint64_t stations;
    uint64_t planes;
} orvix_evidence;

// An element by its number. BAD_ARGUMENT: there is no such element; 0 is none.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_storey(const orvix_building* building,
                                                                uint32_t number,
                                                                orvix_storey* storey,
                                                                orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_slab(const orvix_building* building,
                                                              uint32_t number, orvix_slab* slab,
                                                              orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_wall(const orvix_building* building,
                                                              uint32_t number, orvix_wall* wall,
                                                              orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_opening(const orvix_building* building,
                                                                 uint32_t number,
                                                                 orvix_opening* opening,
                                                                 orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_room(const orvix_building* building,
                                                              uint32_t number, orvix_room* room,
                                                              orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_slope(const orvix_building* building,
                                                               uint32_t number, orvix_slope* slope,
                                                               orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_edge(const orvix_building* building,
                                                              uint32_t number, orvix_edge* edge,
                                                              orvix_error* error);
// The name of an element (ORVIX_ELEMENT_), such as "Storey 1", "Room 1.2" or "wall 3", and a remark,
// 1 to orvix_building_info's remarks: a sentence on what could not be told of this scan. Lists of
// bytes, the zero at the end among them.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_name(const orvix_building* building,
                                                              int32_t kind, uint32_t number,
                                                              char* text, uint64_t capacity,
                                                              uint64_t* count, orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_remark(const orvix_building* building,
                                                                uint32_t number, char* text,
                                                                uint64_t capacity, uint64_t* count,
                                                                orvix_error* error);
// What an element (ORVIX_ELEMENT_, before STOREY) rests on, and the stations and planes themselves,
// by their numbers, ascending. Lists.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_evidence(const orvix_building* building,
                                                                  int32_t kind, uint32_t number,
                                                                  orvix_evidence* evidence,
                                                                  orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_stations(
    const orvix_building* building, int32_t kind, uint32_t number, uint32_t* stations,
    uint64_t capacity, uint64_t* count, orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_planes(const orvix_building* building,
                                                                int32_t kind, uint32_t number,
                                                                uint32_t* planes, uint64_t capacity,
                                                                uint64_t* count,
                                                                orvix_error* error);
// The rings of an element (before STOREY), region by region, the outer one first: a wall's profile
// over its axis, openings not cut out; an opening's rectangle there; a slab's plan at its upper face,
// or at its lower one where that alone was seen; a room's floor; a slope's outline. A list.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_rings(const orvix_building* building,
                                                               int32_t kind, uint32_t number,
                                                               orvix_ring* rings, uint64_t capacity,
                                                               uint64_t* count, orvix_error* error);
// A ring's vertices in the world; the last joins the first, which is not repeated. A list of
// positions.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_get_ring(const orvix_building* building,
                                                              int32_t kind, uint32_t number,
                                                              uint64_t ring, double* xyz,
                                                              uint64_t capacity, uint64_t* count,
                                                              orvix_error* error);
// The triangles of an element (before STOREY) in the world, counter-clockwise seen from outside: a
// wall without its openings and as thick as it is, a room's solid. Of what one face alone was seen, a
// surface. Empty where an element has no extent.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_building_mesh(const orvix_building* building,
                                                          int32_t kind, uint32_t number,
                                                          orvix_mesh** mesh, orvix_error* error);

// ---- Neighbours -----------------------------------------------------------------------------

typedef struct orvix_neighbours orvix_neighbours;

// An index over points for exact searches: three floats each, `stride` bytes apart (24 for
// orvix_point, 12 for bare positions). The points are copied; their frame is the queries' frame.
// Errors  BAD_ARGUMENT: more than 2^31 - 1 points, a stride below 12.
// Cost    n log n: a million points in under half a second.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_neighbours_open(const void* points, uint64_t count,
                                                            uint64_t stride,
                                                            orvix_neighbours** neighbours,
                                                            orvix_error* error);
// The same with a callback, which is asked every few milliseconds; null: nobody is asked.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_neighbours_open_while(const void* points,
                                                                  uint64_t count, uint64_t stride,
                                                                  orvix_proceed proceed, void* user,
                                                                  orvix_neighbours** neighbours,
                                                                  orvix_error* error);
// The points within `radius` of a position (three doubles), itself included, by ascending distance
// and, where equal, by ascending index. A list.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_neighbours_within(const orvix_neighbours* neighbours,
                                                              const double* position, double radius,
                                                              int32_t* indices, uint64_t capacity,
                                                              uint64_t* count, orvix_error* error);
// The nearest point; -1 where there is none.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_neighbours_nearest(const orvix_neighbours* neighbours,
                                                               const double* position,
                                                               int32_t* index, orvix_error* error);

// Both for many positions (three doubles each) in one call, for hosts in which a call costs more than
// a search does. `proceed` (null: nobody is asked) is asked every few milliseconds.
//
// `counts` receives how many points lie within `radius` of each position, and `indices` one list after
// the other, each as orvix_neighbours_within gives it. Positions are searched until `indices` is full:
// of the first `searched` positions counts and lists are whole. Call again with the others. A null
// array with capacity 0 asks for the counts alone.
//
//     for (at = 0; at < count; at += searched) {
//         orvix_neighbours_within_many(neighbours, xyz + 3 * at, count - at, 0.1, NULL, NULL,
//                                      counts, indices, capacity, &searched, &error);
//         Use(counts, indices, searched);
//     }
//
// Errors  TOO_SMALL: the first list alone does not fit; counts[0] says how many it has. CANCELLED.
// Threads calls may run side by side on one handle.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_neighbours_within_many(
    const orvix_neighbours* neighbours, const double* xyz, uint64_t count, double radius,
    orvix_proceed proceed, void* user, uint32_t* counts, int32_t* indices, uint64_t capacity,
    uint64_t* searched, orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_neighbours_nearest_many(
    const orvix_neighbours* neighbours, const double* xyz, uint64_t count, orvix_proceed proceed,
    void* user, int32_t* indices, orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_neighbours_close(orvix_neighbours* neighbours);

// ---- Sections -------------------------------------------------------------------------------

// Classifies and colours points against a section plane and snaps to points, on the processor or
// on a graphics device, with the same results to the bit.
//
//     orvix_section_open(NULL, &section, &error);
//     orvix_section_set_project(section, project, &error);
//     orvix_section_set_plane(section, point, normal, &error);
//     orvix_section_set_slab(section, 0.02, NULL, &error);
//     orvix_section_stream(section, &options, &counts, &error);
//
// The transformation takes the world into the section frame: the plane of the section is its XZ
// plane, y = 0; y counts away from the viewer, who sees x to the right and z upward.
//
// Shape      position = transformation * (points' frame * point), composed in double precision and
//            rounded once; then three multiplications and additions in single precision for each
//            row. docs/BEHAVIOUR.md V1 to V11 define every result.
// Order      results are in the order of the points, or of the indices that were set.
// Boundaries comparisons are inclusive, in single precision. Points without a finite position are
//            counted and left out.
// Errors     a device that fails, hangs or gives a wrong answer is dropped for good, and its work
//            is done again on the processor: no call fails for it.
// Cost       nothing is opened before the first call that needs it; opening a device takes up to
//            some seconds.
typedef struct orvix_section orvix_section;

enum {
    ORVIX_DEVICE_AUTO = 0,  // what is fastest, by measurement, unless ORVIX_GPU is set
    ORVIX_DEVICE_CPU = 1,
    ORVIX_DEVICE_GPU = 2  // a device, where there is one; the processor otherwise
};

typedef struct orvix_section_options {
    uint32_t size;
    int32_t device;            // ORVIX_DEVICE_
    uint64_t device_memory;    // bytes for held points on a device; 0: 1 GiB
    int32_t software_devices;  // 1 takes a device that is the processor by another name, for tests
    uint32_t reserved;
} orvix_section_options;

ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_open(const orvix_section_options* options,
                                                         orvix_section** section,
                                                         orvix_error* error);
ORVIX_C_API void ORVIX_C_CALL orvix_section_close(orvix_section* section);

// World to section frame: 16 doubles, an affine matrix row by row. Before the first call, the
// identity.
// Errors  BAD_ARGUMENT: a number that is not finite, a last row other than 0 0 0 1.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_transformation(orvix_section* section,
                                                                       const double* matrix,
                                                                       orvix_error* error);
// The frame whose XZ plane holds `point` and whose `normal` (three doubles each), of any length
// above 0, looks at the viewer: z is as near to world z as that allows; where the plane is level,
// x is world x. `point` becomes 0, 0, 0.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_plane(orvix_section* section,
                                                              const double* point,
                                                              const double* normal,
                                                              orvix_error* error);
// The transformation that is set: 16 doubles.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_get_transformation(const orvix_section* section,
                                                                       double* matrix,
                                                                       orvix_error* error);
// The points' frame is the world but for this shift (three doubles). Before the first call, and
// before orvix_section_set_project: no shift.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_origin(orvix_section* section,
                                                               const double* origin,
                                                               orvix_error* error);
// The slab |y| <= half_thickness, and bounds in the section frame: x low, x high, z low, z high
// (four doubles; infinite ones bound nothing; null: none). Before the first call: 0.05, no bounds.
// Errors  BAD_ARGUMENT: a half thickness that is negative or not finite, a bound that is no number.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_slab(orvix_section* section,
                                                             double half_thickness,
                                                             const double* bounds,
                                                             orvix_error* error);

// Points to classify where they lie: three floats each, `stride` bytes apart (24 for orvix_point,
// 12 for bare positions; divisible by 4). The indices of before are forgotten.
// Lifetime  borrowed until other points are set, the section is released or closed: the host keeps
//           them where they are. A host with a garbage collector pins them.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_points(orvix_section* section,
                                                               const void* points, uint64_t count,
                                                               uint64_t stride, orvix_error* error);
// The same for points that many calls will speak of and that do not change meanwhile: they go to
// the device once, as far as its memory allows, and snapping may build a tree over them.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_hold(orvix_section* section, const void* points,
                                                         uint64_t count, uint64_t stride,
                                                         orvix_error* error);
// Forgets points, indices and the project. Null is left alone.
ORVIX_C_API void ORVIX_C_CALL orvix_section_release(orvix_section* section);

// Restricts the calls below to these of the points, in this order, one as often as it is named.
// Lists of a host follow each other in one array. They are copied.
// Errors  BAD_ARGUMENT: an index beyond the points; what was set before stays.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_indices(orvix_section* section,
                                                                const uint64_t* indices,
                                                                uint64_t count, orvix_error* error);
// All points again.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_clear_indices(orvix_section* section,
                                                                  orvix_error* error);
// How many entries the arrays of the calls below have: that of the indices, or of all points.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_get_count(const orvix_section* section,
                                                              uint64_t* count, orvix_error* error);

enum {
    ORVIX_CLASS_IN = 0,
    ORVIX_CLASS_BEHIND = 1,      // y above the half thickness
    ORVIX_CLASS_BEFORE = 2,      // between the viewer and the slab
    ORVIX_CLASS_OUTSIDE = 3,     // beyond the bounds, whatever y is
    ORVIX_CLASS_NO_POSITION = 4  // not finite, before or after the transformation
};

typedef struct orvix_section_counts {
    uint32_t size;
    uint32_t reserved;
    uint64_t in_slab;
    uint64_t behind;
    uint64_t before;
    uint64_t outside;
    uint64_t no_position;
} orvix_section_counts;

// A class (ORVIX_CLASS_) for each entry, a byte each, and their counts (null: not asked for). A
// list whose number is orvix_section_get_count; null with capacity 0 asks for the counts alone.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_check(orvix_section* section, uint8_t* classes,
                                                          uint64_t capacity,
                                                          orvix_section_counts* counts,
                                                          orvix_error* error);
// The indices of the points of one class, ascending. A list; asking for the number alone takes a
// pass of its own, which an array for all entries saves.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_get_indices(orvix_section* section,
                                                                int32_t wanted, uint64_t* indices,
                                                                uint64_t capacity, uint64_t* count,
                                                                orvix_error* error);

// Colours are red, green, blue, opacity, a byte each; `colours` has four bytes for each entry, and
// `capacity` counts entries. The following calls colour some and leave the others as they are.
//
// The points in the slab take `colour` (four bytes).
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_colour_in(orvix_section* section,
                                                              const uint8_t* colour,
                                                              uint8_t* colours, uint64_t capacity,
                                                              orvix_section_counts* counts,
                                                              orvix_error* error);
// Every point within the bounds takes a colour of the ramp by its signed distance y: the ramp's 2
// to 256 colours (four bytes each) divide low to high into steps of equal width. Below low comes
// the first, from high on the last.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_colour_plane(
    orvix_section* section, double low, double high, const uint8_t* ramp, uint64_t ramp_colours,
    uint8_t* colours, uint64_t capacity, orvix_section_counts* counts, orvix_error* error);
// The points before and behind the slab take a colour each (four bytes).
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_colour_separate(
    orvix_section* section, const uint8_t* before, const uint8_t* behind, uint8_t* colours,
    uint64_t capacity, orvix_section_counts* counts, orvix_error* error);

// A ray to pick points with, in the world. The aperture is a cylinder (tangent 0) or a cone that
// opens along the ray: `radius` at the origin, and `tangent` metres more for each metre along.
typedef struct orvix_picking_ray {
    double origin[3];
    double direction[3];  // of any length above 0
    double radius;        // 0 or more
    double tangent;       // 0 or more
} orvix_picking_ray;

// A point that was snapped to.
typedef struct orvix_snapped_point {
    uint64_t index;   // all bits set: no point lies in the aperture
    double along;     // from the ray's origin to the point's foot on the ray
    double distance;  // from the ray, or from the position
} orvix_snapped_point;

// For each ray the point nearest along it among those in its aperture, ties to the lower index.
// Slab and bounds do not matter; indices that were set do. `snapped` has an entry for each ray.
// Errors  BAD_ARGUMENT: a ray that is not finite or has no direction, a negative radius or tangent.
// Cost    a pass over the points for each ray; of many rays, a tree, then some microseconds each.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_snap_rays(orvix_section* section,
                                                              const orvix_picking_ray* rays,
                                                              uint64_t count,
                                                              orvix_snapped_point* snapped,
                                                              orvix_error* error);
// The point nearest to each position in the world (three doubles each), within `radius`.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_snap_positions(orvix_section* section,
                                                                   const double* xyz,
                                                                   uint64_t count, double radius,
                                                                   orvix_snapped_point* snapped,
                                                                   orvix_error* error);

// The project that the calls below speak of; its frame becomes the points' frame. Points and
// indices that were set do not matter to those calls, and stay.
// Errors    DAMAGED: cells that do not lead to the points; no project is set then.
// Lifetime  the project's files stay open, beyond orvix_project_close, until the section is
//           released, closed or given another project.
// Cost      24 bytes of memory for each 100 cm cell.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_set_project(orvix_section* section,
                                                                const orvix_project* project,
                                                                orvix_error* error);

// Receives points `first` to `first + count - 1` of the project and their classes; both are valid
// in the call. 0 cancels.
typedef int32_t(ORVIX_C_CALL* orvix_section_chunk)(void* user, uint64_t first, uint64_t count,
                                                   const orvix_point* points,
                                                   const uint8_t* classes);

typedef struct orvix_stream_options {
    uint32_t size;
    uint32_t wanted;            // classes whose points are all handed out: 1 << ORVIX_CLASS_, or-ed
    orvix_section_chunk chunk;  // null: the counts alone are asked for
    orvix_proceed proceed;      // null: the call cannot be cancelled but by `chunk`
    void* user;                 // of both
} orvix_stream_options;

// Classifies the points of the project, in the order of the file. A 100 cm cell that lies in one
// class as a whole is counted by its corners and not read, unless that class is wanted; chunks may
// hold points of classes that are not. `options` null: the counts alone.
// Errors  CANCELLED; FAILED: points cannot be mapped.
// Cost    memory for one chunk; a pass over the points of the cells that are read.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_stream(orvix_section* section,
                                                           const orvix_stream_options* options,
                                                           orvix_section_counts* counts,
                                                           orvix_error* error);
// Snapping to the points of the project, whose numbers are the indices. Distances are measured in
// the project's frame, and are the world's unless its transform scales.
// Cost  a pass over the points of the cells that an aperture meets, nearest first.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_snap_rays_in_project(
    orvix_section* section, const orvix_picking_ray* rays, uint64_t count,
    orvix_snapped_point* snapped, orvix_error* error);
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_snap_positions_in_project(
    orvix_section* section, const double* xyz, uint64_t count, double radius,
    orvix_snapped_point* snapped, orvix_error* error);

// What the last call worked on: "processor", or the device's own name. A list of bytes, the zero at
// its end counted.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_section_get_device(const orvix_section* section,
                                                               char* text, uint64_t capacity,
                                                               uint64_t* count, orvix_error* error);

// ---- Classification -------------------------------------------------------------------------

enum { ORVIX_HISTOGRAM_INTENSITY = 0, ORVIX_HISTOGRAM_HEIGHT = 1 };

// Draws up to `sample_count` values from a histogram of the project, each as often as its bin has
// points, adds `shift` to them and sorts them. `capacity` must be sample_count at least; `count`
// receives how many were drawn, 0 for a project without the histogram. A draw has 32,768 levels, so
// a bin with less than a share of 1 / 32,768 of all points may be left out. Seeded with the time in
// seconds: two calls within one draw the same.
// Threads  the C runtime's generator is used, which the process shares.
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_histogram_sample(const orvix_project* project,
                                                             int32_t which, double shift,
                                                             uint32_t sample_count, double* samples,
                                                             uint64_t capacity, uint64_t* count,
                                                             orvix_error* error);
// The boundaries of `classes` natural classes of ascending values: `lower_bound`, the largest value
// of each class but the last, and the last value. A list of classes + 1.
// Errors  BAD_ARGUMENT: values that do not ascend, 0 classes or more than 2^31 - 2.
// Cost    12 bytes a value and class; samples of a few thousand are meant.
// Source  W. D. Fisher, "On grouping for maximum homogeneity", JASA 53 (1958).
ORVIX_C_API orvix_status ORVIX_C_CALL orvix_natural_breaks(const double* values, uint64_t count,
                                                           uint32_t classes, double lower_bound,
                                                           double* breaks, uint64_t capacity,
                                                           uint64_t* break_count,
                                                           orvix_error* error);

#ifdef __cplusplus
}
#endif

#endif
