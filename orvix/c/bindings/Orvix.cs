// SPDX-License-Identifier: GPL-3.0-or-later
// Made from orvix.h by generate.py; the header is the manual. Compile with /unsafe.
using System;
using System.Runtime.InteropServices;

namespace Orvix {

[StructLayout(LayoutKind.Explicit, Size = 1024)]
public unsafe struct orvix_error {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int status;
    [FieldOffset(8)] public fixed byte text[1016];
}

[StructLayout(LayoutKind.Explicit, Size = 8)]
public unsafe struct orvix_open_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int access;
}

[StructLayout(LayoutKind.Explicit, Size = 360)]
public unsafe struct orvix_project_info {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint stations;
    [FieldOffset(8)] public ulong points;
    [FieldOffset(16)] public ulong skeleton_points;
    [FieldOffset(24)] public ulong cells_1000cm;
    [FieldOffset(32)] public ulong cells_100cm;
    [FieldOffset(40)] public ulong cells_10cm;
    [FieldOffset(48)] public ulong bytes;
    [FieldOffset(56)] public double scale;
    [FieldOffset(64)] public fixed double origin[3];
    [FieldOffset(88)] public fixed double local_to_world[16];
    [FieldOffset(216)] public fixed double min[3];
    [FieldOffset(240)] public fixed double max[3];
    [FieldOffset(264)] public double split_size;
    [FieldOffset(272)] public fixed double diff[3];
    [FieldOffset(296)] public long min_plane;
    [FieldOffset(304)] public double skeleton_split_size;
    [FieldOffset(312)] public fixed double skeleton_diff[3];
    [FieldOffset(336)] public long skeleton_min_plane;
    [FieldOffset(344)] public int min_cell_points;
    [FieldOffset(348)] public int usage;
    [FieldOffset(352)] public fixed byte colour[4];
    [FieldOffset(356)] public fixed byte reserved[4];
}

[StructLayout(LayoutKind.Explicit, Size = 40)]
public unsafe struct orvix_check_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint reserved;
    [FieldOffset(8)] public ulong max_faults;
    [FieldOffset(16)] public IntPtr fault;
    [FieldOffset(24)] public IntPtr proceed;
    [FieldOffset(32)] public IntPtr user;
}

[StructLayout(LayoutKind.Explicit, Size = 112)]
public unsafe struct orvix_station_info {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint known;
    [FieldOffset(8)] public fixed double position[3];
    [FieldOffset(32)] public fixed double rotation[9];
    [FieldOffset(104)] public int lowest_intensity;
    [FieldOffset(108)] public int highest_intensity;
}

[StructLayout(LayoutKind.Explicit, Size = 24)]
public unsafe struct orvix_point {
    [FieldOffset(0)] public float x;
    [FieldOffset(4)] public float y;
    [FieldOffset(8)] public float z;
    [FieldOffset(12)] public fixed byte attributes[8];
    [FieldOffset(20)] public ushort dclc_first;
    [FieldOffset(22)] public byte dclc_second;
    [FieldOffset(23)] public byte reserved;
}

[StructLayout(LayoutKind.Explicit, Size = 4)]
public unsafe struct orvix_dclc {
    [FieldOffset(0)] public ushort first;
    [FieldOffset(2)] public byte second;
    [FieldOffset(3)] public byte reserved;
}

[StructLayout(LayoutKind.Explicit, Size = 16)]
public unsafe struct orvix_run {
    [FieldOffset(0)] public ulong offset;
    [FieldOffset(8)] public uint count;
    [FieldOffset(12)] public uint padding;
}

[StructLayout(LayoutKind.Explicit, Size = 32)]
public unsafe struct orvix_grid_cell {
    [FieldOffset(0)] public int x;
    [FieldOffset(4)] public int y;
    [FieldOffset(8)] public int z;
    [FieldOffset(12)] public uint padding;
    [FieldOffset(16)] public ulong offset;
    [FieldOffset(24)] public uint count;
    [FieldOffset(28)] public uint padding2;
}

[StructLayout(LayoutKind.Explicit, Size = 24)]
public unsafe struct orvix_fine_cell {
    [FieldOffset(0)] public sbyte x;
    [FieldOffset(1)] public sbyte y;
    [FieldOffset(2)] public sbyte z;
    [FieldOffset(3)] public fixed byte padding[5];
    [FieldOffset(8)] public ulong offset;
    [FieldOffset(16)] public uint count;
    [FieldOffset(20)] public uint padding2;
}

[StructLayout(LayoutKind.Explicit, Size = 112)]
public unsafe struct orvix_cell {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int level;
    [FieldOffset(8)] public int x;
    [FieldOffset(12)] public int y;
    [FieldOffset(16)] public int z;
    [FieldOffset(20)] public uint reserved;
    [FieldOffset(24)] public ulong entry;
    [FieldOffset(32)] public ulong first_point;
    [FieldOffset(40)] public ulong points;
    [FieldOffset(48)] public ulong first_child;
    [FieldOffset(56)] public ulong children;
    [FieldOffset(64)] public fixed double min[3];
    [FieldOffset(88)] public fixed double max[3];
}

[StructLayout(LayoutKind.Explicit, Size = 96)]
public unsafe struct orvix_plane_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int seed_is_local;
    [FieldOffset(8)] public double split_size;
    [FieldOffset(16)] public fixed double diff[3];
    [FieldOffset(40)] public double max_distance;
    [FieldOffset(48)] public double snap_distance;
    [FieldOffset(56)] public double reach;
    [FieldOffset(64)] public ulong memory_limit;
    [FieldOffset(72)] public ulong outline_points;
    [FieldOffset(80)] public IntPtr proceed;
    [FieldOffset(88)] public IntPtr user;
}

[StructLayout(LayoutKind.Explicit, Size = 224)]
public unsafe struct orvix_plane_info {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int ended;
    [FieldOffset(8)] public fixed double equation[4];
    [FieldOffset(40)] public fixed double centroid[3];
    [FieldOffset(64)] public fixed double seed[3];
    [FieldOffset(88)] public fixed double local_equation[4];
    [FieldOffset(120)] public double snapped;
    [FieldOffset(128)] public double noise;
    [FieldOffset(136)] public double split_size;
    [FieldOffset(144)] public double max_distance_allowed;
    [FieldOffset(152)] public double rms;
    [FieldOffset(160)] public double max_distance;
    [FieldOffset(168)] public double area;
    [FieldOffset(176)] public ulong points;
    [FieldOffset(184)] public ulong listed_points;
    [FieldOffset(192)] public ulong cells;
    [FieldOffset(200)] public ulong rejected_cells;
    [FieldOffset(208)] public ulong rings;
    [FieldOffset(216)] public uint thinning;
    [FieldOffset(220)] public uint split_enlarged;
}

[StructLayout(LayoutKind.Explicit, Size = 16)]
public unsafe struct orvix_ring {
    [FieldOffset(0)] public ulong vertices;
    [FieldOffset(8)] public uint region;
    [FieldOffset(12)] public uint hole;
}

[StructLayout(LayoutKind.Explicit, Size = 88)]
public unsafe struct orvix_planes_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int detail;
    [FieldOffset(8)] public double cell_size;
    [FieldOffset(16)] public double distance;
    [FieldOffset(24)] public double angle;
    [FieldOffset(32)] public double min_area;
    [FieldOffset(40)] public double bridge;
    [FieldOffset(48)] public ulong min_points;
    [FieldOffset(56)] public ulong memory_limit;
    [FieldOffset(64)] public uint threads;
    [FieldOffset(68)] public uint reserved;
    [FieldOffset(72)] public IntPtr proceed;
    [FieldOffset(80)] public IntPtr user;
}

[StructLayout(LayoutKind.Explicit, Size = 32)]
public unsafe struct orvix_planes_saved {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint reserved;
    [FieldOffset(8)] public ulong kept;
    [FieldOffset(16)] public ulong added;
    [FieldOffset(24)] public ulong gone;
}

[StructLayout(LayoutKind.Explicit, Size = 112)]
public unsafe struct orvix_planes_info {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int detail;
    [FieldOffset(8)] public ulong planes;
    [FieldOffset(16)] public ulong left_out;
    [FieldOffset(24)] public ulong points;
    [FieldOffset(32)] public ulong on_planes;
    [FieldOffset(40)] public ulong cells;
    [FieldOffset(48)] public double cell_size;
    [FieldOffset(56)] public double distance;
    [FieldOffset(64)] public double angle;
    [FieldOffset(72)] public double min_area;
    [FieldOffset(80)] public double bridge;
    [FieldOffset(88)] public ulong min_points;
    [FieldOffset(96)] public double spacing;
    [FieldOffset(104)] public double noise;
}

[StructLayout(LayoutKind.Explicit, Size = 144)]
public unsafe struct orvix_found_plane {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int kind;
    [FieldOffset(8)] public uint number;
    [FieldOffset(12)] public uint group;
    [FieldOffset(16)] public fixed double equation[4];
    [FieldOffset(48)] public fixed double local_equation[4];
    [FieldOffset(80)] public fixed double centroid[3];
    [FieldOffset(104)] public double rms;
    [FieldOffset(112)] public double tolerance;
    [FieldOffset(120)] public double area;
    [FieldOffset(128)] public ulong points;
    [FieldOffset(136)] public ulong rings;
}

[StructLayout(LayoutKind.Explicit, Size = 80)]
public unsafe struct orvix_place {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int verdict;
    [FieldOffset(8)] public uint plane;
    [FieldOffset(12)] public uint nearest;
    [FieldOffset(16)] public ulong points;
    [FieldOffset(24)] public double distance;
    [FieldOffset(32)] public double allowed;
    [FieldOffset(40)] public double turn;
    [FieldOffset(48)] public fixed double cell_normal[3];
    [FieldOffset(72)] public double cell_rms;
}

[StructLayout(LayoutKind.Explicit, Size = 40)]
public unsafe struct orvix_building_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint threads;
    [FieldOffset(8)] public ulong memory_limit;
    [FieldOffset(16)] public int orthogonal;
    [FieldOffset(20)] public int search;
    [FieldOffset(24)] public IntPtr proceed;
    [FieldOffset(32)] public IntPtr user;
}

[StructLayout(LayoutKind.Explicit, Size = 72)]
public unsafe struct orvix_building_info {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int stations_known;
    [FieldOffset(8)] public ulong storeys;
    [FieldOffset(16)] public ulong slabs;
    [FieldOffset(24)] public ulong walls;
    [FieldOffset(32)] public ulong openings;
    [FieldOffset(40)] public ulong rooms;
    [FieldOffset(48)] public ulong slopes;
    [FieldOffset(56)] public ulong edges;
    [FieldOffset(64)] public ulong remarks;
}

[StructLayout(LayoutKind.Explicit, Size = 24)]
public unsafe struct orvix_storey {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint reserved;
    [FieldOffset(8)] public double elevation;
    [FieldOffset(16)] public double ceiling;
}

[StructLayout(LayoutKind.Explicit, Size = 88)]
public unsafe struct orvix_slab {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint storey;
    [FieldOffset(8)] public int top_seen;
    [FieldOffset(12)] public int bottom_seen;
    [FieldOffset(16)] public fixed double top[3];
    [FieldOffset(40)] public fixed double bottom[3];
    [FieldOffset(64)] public fixed double thickness[3];
}

[StructLayout(LayoutKind.Explicit, Size = 104)]
public unsafe struct orvix_wall {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint storey;
    [FieldOffset(8)] public int left_seen;
    [FieldOffset(12)] public int right_seen;
    [FieldOffset(16)] public int external;
    [FieldOffset(20)] public int reserved;
    [FieldOffset(24)] public fixed double axis[4];
    [FieldOffset(56)] public fixed double thickness[3];
    [FieldOffset(80)] public double bottom;
    [FieldOffset(88)] public double top;
    [FieldOffset(96)] public double deviation;
}

[StructLayout(LayoutKind.Explicit, Size = 152)]
public unsafe struct orvix_opening {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int kind;
    [FieldOffset(8)] public int state;
    [FieldOffset(12)] public uint wall;
    [FieldOffset(16)] public fixed uint rooms[2];
    [FieldOffset(24)] public double along;
    [FieldOffset(32)] public double bottom;
    [FieldOffset(40)] public fixed double centre[3];
    [FieldOffset(64)] public fixed double direction[2];
    [FieldOffset(80)] public fixed double width[3];
    [FieldOffset(104)] public fixed double height[3];
    [FieldOffset(128)] public double free;
    [FieldOffset(136)] public double hidden;
    [FieldOffset(144)] public double unknown;
}

[StructLayout(LayoutKind.Explicit, Size = 96)]
public unsafe struct orvix_room {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint storey;
    [FieldOffset(8)] public double floor;
    [FieldOffset(16)] public double ceiling;
    [FieldOffset(24)] public fixed double area[3];
    [FieldOffset(48)] public fixed double height[3];
    [FieldOffset(72)] public fixed double volume[3];
}

[StructLayout(LayoutKind.Explicit, Size = 72)]
public unsafe struct orvix_slope {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int upper_seen;
    [FieldOffset(8)] public fixed double equation[4];
    [FieldOffset(40)] public fixed double thickness[3];
    [FieldOffset(64)] public double area;
}

[StructLayout(LayoutKind.Explicit, Size = 64)]
public unsafe struct orvix_edge {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int kind;
    [FieldOffset(8)] public fixed uint slopes[2];
    [FieldOffset(16)] public fixed double ends[6];
}

[StructLayout(LayoutKind.Explicit, Size = 64)]
public unsafe struct orvix_evidence {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint inferred;
    [FieldOffset(8)] public double seen;
    [FieldOffset(16)] public double hidden;
    [FieldOffset(24)] public ulong points;
    [FieldOffset(32)] public double rms;
    [FieldOffset(40)] public double tolerance;
    [FieldOffset(48)] public ulong stations;
    [FieldOffset(56)] public ulong planes;
}

[StructLayout(LayoutKind.Explicit, Size = 24)]
public unsafe struct orvix_section_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public int device;
    [FieldOffset(8)] public ulong device_memory;
    [FieldOffset(16)] public int software_devices;
    [FieldOffset(20)] public uint reserved;
}

[StructLayout(LayoutKind.Explicit, Size = 48)]
public unsafe struct orvix_section_counts {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint reserved;
    [FieldOffset(8)] public ulong in_slab;
    [FieldOffset(16)] public ulong behind;
    [FieldOffset(24)] public ulong before;
    [FieldOffset(32)] public ulong outside;
    [FieldOffset(40)] public ulong no_position;
}

[StructLayout(LayoutKind.Explicit, Size = 64)]
public unsafe struct orvix_picking_ray {
    [FieldOffset(0)] public fixed double origin[3];
    [FieldOffset(24)] public fixed double direction[3];
    [FieldOffset(48)] public double radius;
    [FieldOffset(56)] public double tangent;
}

[StructLayout(LayoutKind.Explicit, Size = 24)]
public unsafe struct orvix_snapped_point {
    [FieldOffset(0)] public ulong index;
    [FieldOffset(8)] public double along;
    [FieldOffset(16)] public double distance;
}

[StructLayout(LayoutKind.Explicit, Size = 32)]
public unsafe struct orvix_stream_options {
    [FieldOffset(0)] public uint size;
    [FieldOffset(4)] public uint wanted;
    [FieldOffset(8)] public IntPtr chunk;
    [FieldOffset(16)] public IntPtr proceed;
    [FieldOffset(24)] public IntPtr user;
}

[UnmanagedFunctionPointer(CallingConvention.Cdecl)]
public unsafe delegate void orvix_channel(void* user, byte* text);
[UnmanagedFunctionPointer(CallingConvention.Cdecl)]
public unsafe delegate int orvix_proceed(void* user, double done);
[UnmanagedFunctionPointer(CallingConvention.Cdecl)]
public unsafe delegate void orvix_fault(void* user, byte* file, byte* what);
[UnmanagedFunctionPointer(CallingConvention.Cdecl)]
public unsafe delegate int orvix_section_chunk(void* user, ulong first, ulong count, orvix_point* points, byte* classes);

public static unsafe class NativeMethods {
    private const string Library = "orvix";
    public const int ORVIX_C_MAJOR = 1;
    public const int ORVIX_C_MINOR = 5;
    public const int ORVIX_OK = 0;
    public const int ORVIX_FAILED = 1;
    public const int ORVIX_BAD_ARGUMENT = 2;
    public const int ORVIX_BAD_INPUT = 3;
    public const int ORVIX_NO_SPACE = 4;
    public const int ORVIX_DAMAGED = 5;
    public const int ORVIX_NO_MEMORY = 6;
    public const int ORVIX_TOO_SMALL = 7;
    public const int ORVIX_UNSUPPORTED = 8;
    public const int ORVIX_CANCELLED = 130;
    public const int ORVIX_READ = 0;
    public const int ORVIX_READ_WRITE = 1;
    public const int ORVIX_TEXT_NAME = 0;
    public const int ORVIX_TEXT_FILE = 1;
    public const int ORVIX_TEXT_FOLDER = 2;
    public const int ORVIX_STATION_POSITION = 1;
    public const int ORVIX_STATION_INTENSITIES = 2;
    public const int ORVIX_LEVEL_1000CM = 1000;
    public const int ORVIX_LEVEL_100CM = 100;
    public const int ORVIX_LEVEL_10CM = 10;
    public const int ORVIX_ENDED_EDGE = 1;
    public const int ORVIX_ENDED_OUTLINE = 2;
    public const int ORVIX_ENDED_REACH = 3;
    public const int ORVIX_ENDED_BUDGET = 4;
    public const int ORVIX_DETAIL_NORMAL = 0;
    public const int ORVIX_DETAIL_FINE = 1;
    public const int ORVIX_DETAIL_COARSE = 2;
    public const int ORVIX_KIND_FLOOR = 0;
    public const int ORVIX_KIND_CEILING = 1;
    public const int ORVIX_KIND_WALL = 2;
    public const int ORVIX_KIND_ROOF = 3;
    public const int ORVIX_KIND_OTHER = 4;
    public const int ORVIX_PLACE_ON_PLANE = 0;
    public const int ORVIX_PLACE_TOO_FAR = 1;
    public const int ORVIX_PLACE_LEFT_OUT = 2;
    public const int ORVIX_PLACE_NOT_FLAT = 3;
    public const int ORVIX_PLACE_NO_PLANE = 4;
    public const int ORVIX_PLACE_EMPTY = 5;
    public const int ORVIX_ELEMENT_WALL = 0;
    public const int ORVIX_ELEMENT_OPENING = 1;
    public const int ORVIX_ELEMENT_SLAB = 2;
    public const int ORVIX_ELEMENT_ROOM = 3;
    public const int ORVIX_ELEMENT_SLOPE = 4;
    public const int ORVIX_ELEMENT_STOREY = 5;
    public const int ORVIX_OPENING_DOOR = 0;
    public const int ORVIX_OPENING_WINDOW = 1;
    public const int ORVIX_OPENING_HOLE = 2;
    public const int ORVIX_STATE_FREE = 0;
    public const int ORVIX_STATE_OPEN = 1;
    public const int ORVIX_STATE_CLOSED = 2;
    public const int ORVIX_STATE_UNKNOWN = 3;
    public const int ORVIX_EDGE_RIDGE = 0;
    public const int ORVIX_EDGE_HIP = 1;
    public const int ORVIX_EDGE_VALLEY = 2;
    public const int ORVIX_INFERRED_OTHER_SIDE = 1;
    public const int ORVIX_INFERRED_HIDDEN_PART = 2;
    public const int ORVIX_INFERRED_FREE_END = 4;
    public const int ORVIX_INFERRED_FLOOR_LEVEL = 8;
    public const int ORVIX_INFERRED_CEILING_LEVEL = 16;
    public const int ORVIX_INFERRED_OPEN_BOUND = 32;
    public const int ORVIX_INFERRED_KIND_BY_SIZE = 64;
    public const int ORVIX_INFERRED_SQUARED = 128;
    public const int ORVIX_DEVICE_AUTO = 0;
    public const int ORVIX_DEVICE_CPU = 1;
    public const int ORVIX_DEVICE_GPU = 2;
    public const int ORVIX_CLASS_IN = 0;
    public const int ORVIX_CLASS_BEHIND = 1;
    public const int ORVIX_CLASS_BEFORE = 2;
    public const int ORVIX_CLASS_OUTSIDE = 3;
    public const int ORVIX_CLASS_NO_POSITION = 4;
    public const int ORVIX_HISTOGRAM_INTENSITY = 0;
    public const int ORVIX_HISTOGRAM_HEIGHT = 1;

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern uint orvix_interface_version();

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern byte* orvix_library_version();

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_set_channel(orvix_channel channel, void* user);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_project_open(byte* path, orvix_open_options* options, IntPtr* project, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_project_close(IntPtr project);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_project_get_info(IntPtr project, orvix_project_info* info, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_project_get_text(IntPtr project, int which, byte* text, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_project_check(byte* path, orvix_check_options* options, ulong* faults, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_project_get_station(IntPtr project, uint station, orvix_station_info* info, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_cells_borrow(IntPtr project, int level, void** records, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_fine_runs_borrow(IntPtr project, orvix_run** runs, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_cell_get(IntPtr project, int level, ulong entry, orvix_cell* cell, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_cell_at(IntPtr project, int level, double* world, orvix_cell* cell, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_points_read(IntPtr project, ulong first, ulong count, orvix_point* points, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_points_read_runs(IntPtr project, orvix_run* runs, ulong run_count, orvix_point* points, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_points_read_world(IntPtr project, ulong first, ulong count, double* xyz, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_points_transform(double* matrix, void* points, ulong count, ulong stride, double* xyz, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_points_borrow(IntPtr project, ulong first, ulong count, IntPtr* view, orvix_point** points, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_view_close(IntPtr view);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_points_write_dclc(IntPtr project, ulong first, ulong count, orvix_dclc* values, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_grow(IntPtr project, double* seed, orvix_plane_options* options, IntPtr* plane, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_plane_close(IntPtr plane);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_get_info(IntPtr plane, orvix_plane_info* info, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_get_points(IntPtr plane, double* xyz, ulong* records, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_get_rings(IntPtr plane, orvix_ring* rings, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_get_ring(IntPtr plane, ulong ring, double* xyz, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_find(IntPtr project, orvix_planes_options* options, IntPtr* planes, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_open_saved(IntPtr project, IntPtr* planes, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_save(IntPtr project, IntPtr planes, orvix_proceed proceed, void* user, orvix_planes_saved* saved, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_planes_close(IntPtr planes);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_info(IntPtr planes, orvix_planes_info* info, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_numbers(IntPtr planes, uint* numbers, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_plane(IntPtr planes, uint number, orvix_found_plane* plane, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_rings(IntPtr planes, uint number, orvix_ring* rings, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_ring(IntPtr planes, uint number, ulong ring, double* xyz, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_read_numbers(IntPtr planes, ulong first, ulong count, uint* numbers, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_points(IntPtr planes, uint number, double* xyz, ulong* records, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_get_points_while(IntPtr planes, uint number, orvix_proceed proceed, void* user, double* xyz, ulong* records, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_planes_explain(IntPtr planes, double* world, orvix_place* place, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_mesh(IntPtr plane, IntPtr* mesh, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_plane_mesh_while(IntPtr plane, orvix_proceed proceed, void* user, IntPtr* mesh, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_triangulate(double* xyz, ulong count, double* equation, double* boundary, ulong boundary_count, IntPtr* mesh, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_triangulate_while(double* xyz, ulong count, double* equation, double* boundary, ulong boundary_count, orvix_proceed proceed, void* user, IntPtr* mesh, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_mesh_read(IntPtr mesh, double* xyz, ulong point_capacity, ulong* points, uint* triangles, ulong triangle_capacity, ulong* triangle_count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_mesh_close(IntPtr mesh);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_find(IntPtr project, IntPtr planes, orvix_building_options* options, IntPtr* building, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_open_saved(IntPtr project, IntPtr* building, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_save(IntPtr project, IntPtr building, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_write(IntPtr building, byte* path, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_building_close(IntPtr building);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_info(IntPtr building, orvix_building_info* info, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_storey(IntPtr building, uint number, orvix_storey* storey, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_slab(IntPtr building, uint number, orvix_slab* slab, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_wall(IntPtr building, uint number, orvix_wall* wall, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_opening(IntPtr building, uint number, orvix_opening* opening, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_room(IntPtr building, uint number, orvix_room* room, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_slope(IntPtr building, uint number, orvix_slope* slope, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_edge(IntPtr building, uint number, orvix_edge* edge, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_name(IntPtr building, int kind, uint number, byte* text, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_remark(IntPtr building, uint number, byte* text, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_evidence(IntPtr building, int kind, uint number, orvix_evidence* evidence, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_stations(IntPtr building, int kind, uint number, uint* stations, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_planes(IntPtr building, int kind, uint number, uint* planes, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_rings(IntPtr building, int kind, uint number, orvix_ring* rings, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_get_ring(IntPtr building, int kind, uint number, ulong ring, double* xyz, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_building_mesh(IntPtr building, int kind, uint number, IntPtr* mesh, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_neighbours_open(void* points, ulong count, ulong stride, IntPtr* neighbours, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_neighbours_open_while(void* points, ulong count, ulong stride, orvix_proceed proceed, void* user, IntPtr* neighbours, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_neighbours_within(IntPtr neighbours, double* position, double radius, int* indices, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_neighbours_nearest(IntPtr neighbours, double* position, int* index, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_neighbours_within_many(IntPtr neighbours, double* xyz, ulong count, double radius, orvix_proceed proceed, void* user, uint* counts, int* indices, ulong capacity, ulong* searched, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_neighbours_nearest_many(IntPtr neighbours, double* xyz, ulong count, orvix_proceed proceed, void* user, int* indices, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_neighbours_close(IntPtr neighbours);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_open(orvix_section_options* options, IntPtr* section, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_section_close(IntPtr section);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_transformation(IntPtr section, double* matrix, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_plane(IntPtr section, double* point, double* normal, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_get_transformation(IntPtr section, double* matrix, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_origin(IntPtr section, double* origin, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_slab(IntPtr section, double half_thickness, double* bounds, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_points(IntPtr section, void* points, ulong count, ulong stride, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_hold(IntPtr section, void* points, ulong count, ulong stride, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern void orvix_section_release(IntPtr section);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_indices(IntPtr section, ulong* indices, ulong count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_clear_indices(IntPtr section, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_get_count(IntPtr section, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_check(IntPtr section, byte* classes, ulong capacity, orvix_section_counts* counts, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_get_indices(IntPtr section, int wanted, ulong* indices, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_colour_in(IntPtr section, byte* colour, byte* colours, ulong capacity, orvix_section_counts* counts, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_colour_plane(IntPtr section, double low, double high, byte* ramp, ulong ramp_colours, byte* colours, ulong capacity, orvix_section_counts* counts, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_colour_separate(IntPtr section, byte* before, byte* behind, byte* colours, ulong capacity, orvix_section_counts* counts, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_snap_rays(IntPtr section, orvix_picking_ray* rays, ulong count, orvix_snapped_point* snapped, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_snap_positions(IntPtr section, double* xyz, ulong count, double radius, orvix_snapped_point* snapped, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_set_project(IntPtr section, IntPtr project, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_stream(IntPtr section, orvix_stream_options* options, orvix_section_counts* counts, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_snap_rays_in_project(IntPtr section, orvix_picking_ray* rays, ulong count, orvix_snapped_point* snapped, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_snap_positions_in_project(IntPtr section, double* xyz, ulong count, double radius, orvix_snapped_point* snapped, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_section_get_device(IntPtr section, byte* text, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_histogram_sample(IntPtr project, int which, double shift, uint sample_count, double* samples, ulong capacity, ulong* count, orvix_error* error);

    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
    public static extern int orvix_natural_breaks(double* values, ulong count, uint classes, double lower_bound, double* breaks, ulong capacity, ulong* break_count, orvix_error* error);
}
}
