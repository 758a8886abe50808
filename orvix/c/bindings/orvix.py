# SPDX-License-Identifier: GPL-3.0-or-later
"""Made from orvix.h by generate.py; the header is the manual.

    import orvix
    library = orvix.load("liborvix.so")
    error = orvix.orvix_error(size=1024)
"""
import ctypes

ORVIX_C_MAJOR = 1
ORVIX_C_MINOR = 5
ORVIX_OK = 0
ORVIX_FAILED = 1
ORVIX_BAD_ARGUMENT = 2
ORVIX_BAD_INPUT = 3
ORVIX_NO_SPACE = 4
ORVIX_DAMAGED = 5
ORVIX_NO_MEMORY = 6
ORVIX_TOO_SMALL = 7
ORVIX_UNSUPPORTED = 8
ORVIX_CANCELLED = 130
ORVIX_READ = 0
ORVIX_READ_WRITE = 1
ORVIX_TEXT_NAME = 0
ORVIX_TEXT_FILE = 1
ORVIX_TEXT_FOLDER = 2
ORVIX_STATION_POSITION = 1
ORVIX_STATION_INTENSITIES = 2
ORVIX_LEVEL_1000CM = 1000
ORVIX_LEVEL_100CM = 100
ORVIX_LEVEL_10CM = 10
ORVIX_ENDED_EDGE = 1
ORVIX_ENDED_OUTLINE = 2
ORVIX_ENDED_REACH = 3
ORVIX_ENDED_BUDGET = 4
ORVIX_DETAIL_NORMAL = 0
ORVIX_DETAIL_FINE = 1
ORVIX_DETAIL_COARSE = 2
ORVIX_KIND_FLOOR = 0
ORVIX_KIND_CEILING = 1
ORVIX_KIND_WALL = 2
ORVIX_KIND_ROOF = 3
ORVIX_KIND_OTHER = 4
ORVIX_PLACE_ON_PLANE = 0
ORVIX_PLACE_TOO_FAR = 1
ORVIX_PLACE_LEFT_OUT = 2
ORVIX_PLACE_NOT_FLAT = 3
ORVIX_PLACE_NO_PLANE = 4
ORVIX_PLACE_EMPTY = 5
ORVIX_ELEMENT_WALL = 0
ORVIX_ELEMENT_OPENING = 1
ORVIX_ELEMENT_SLAB = 2
ORVIX_ELEMENT_ROOM = 3
ORVIX_ELEMENT_SLOPE = 4
ORVIX_ELEMENT_STOREY = 5
ORVIX_OPENING_DOOR = 0
ORVIX_OPENING_WINDOW = 1
ORVIX_OPENING_HOLE = 2
ORVIX_STATE_FREE = 0
ORVIX_STATE_OPEN = 1
ORVIX_STATE_CLOSED = 2
ORVIX_STATE_UNKNOWN = 3
ORVIX_EDGE_RIDGE = 0
ORVIX_EDGE_HIP = 1
ORVIX_EDGE_VALLEY = 2
ORVIX_INFERRED_OTHER_SIDE = 1
ORVIX_INFERRED_HIDDEN_PART = 2
ORVIX_INFERRED_FREE_END = 4
ORVIX_INFERRED_FLOOR_LEVEL = 8
ORVIX_INFERRED_CEILING_LEVEL = 16
ORVIX_INFERRED_OPEN_BOUND = 32
ORVIX_INFERRED_KIND_BY_SIZE = 64
ORVIX_INFERRED_SQUARED = 128
ORVIX_DEVICE_AUTO = 0
ORVIX_DEVICE_CPU = 1
ORVIX_DEVICE_GPU = 2
ORVIX_CLASS_IN = 0
ORVIX_CLASS_BEHIND = 1
ORVIX_CLASS_BEFORE = 2
ORVIX_CLASS_OUTSIDE = 3
ORVIX_CLASS_NO_POSITION = 4
ORVIX_HISTOGRAM_INTENSITY = 0
ORVIX_HISTOGRAM_HEIGHT = 1


class orvix_error(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("status", ctypes.c_int32),
        ("text", ctypes.c_char * 1016),
    ]


orvix_channel = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)


orvix_proceed = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_double)


class orvix_open_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("access", ctypes.c_int32),
    ]


class orvix_project_info(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("stations", ctypes.c_uint32),
        ("points", ctypes.c_uint64),
        ("skeleton_points", ctypes.c_uint64),
        ("cells_1000cm", ctypes.c_uint64),
        ("cells_100cm", ctypes.c_uint64),
        ("cells_10cm", ctypes.c_uint64),
        ("bytes", ctypes.c_uint64),
        ("scale", ctypes.c_double),
        ("origin", ctypes.c_double * 3),
        ("local_to_world", ctypes.c_double * 16),
        ("min", ctypes.c_double * 3),
        ("max", ctypes.c_double * 3),
        ("split_size", ctypes.c_double),
        ("diff", ctypes.c_double * 3),
        ("min_plane", ctypes.c_int64),
        ("skeleton_split_size", ctypes.c_double),
        ("skeleton_diff", ctypes.c_double * 3),
        ("skeleton_min_plane", ctypes.c_int64),
        ("min_cell_points", ctypes.c_int32),
        ("usage", ctypes.c_int32),
        ("colour", ctypes.c_uint8 * 4),
        ("reserved", ctypes.c_uint8 * 4),
    ]


orvix_fault = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p)


class orvix_check_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("max_faults", ctypes.c_uint64),
        ("fault", orvix_fault),
        ("proceed", orvix_proceed),
        ("user", ctypes.c_void_p),
    ]


class orvix_station_info(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("known", ctypes.c_uint32),
        ("position", ctypes.c_double * 3),
        ("rotation", ctypes.c_double * 9),
        ("lowest_intensity", ctypes.c_int32),
        ("highest_intensity", ctypes.c_int32),
    ]


class orvix_point(ctypes.Structure):
    _fields_ = [
        ("x", ctypes.c_float),
        ("y", ctypes.c_float),
        ("z", ctypes.c_float),
        ("attributes", ctypes.c_uint8 * 8),
        ("dclc_first", ctypes.c_uint16),
        ("dclc_second", ctypes.c_uint8),
        ("reserved", ctypes.c_uint8),
    ]


class orvix_dclc(ctypes.Structure):
    _fields_ = [
        ("first", ctypes.c_uint16),
        ("second", ctypes.c_uint8),
        ("reserved", ctypes.c_uint8),
    ]


class orvix_run(ctypes.Structure):
    _fields_ = [
        ("offset", ctypes.c_uint64),
        ("count", ctypes.c_uint32),
        ("padding", ctypes.c_uint32),
    ]


class orvix_grid_cell(ctypes.Structure):
    _fields_ = [
        ("x", ctypes.c_int32),
        ("y", ctypes.c_int32),
        ("z", ctypes.c_int32),
        ("padding", ctypes.c_uint32),
        ("offset", ctypes.c_uint64),
        ("count", ctypes.c_uint32),
        ("padding2", ctypes.c_uint32),
    ]


class orvix_fine_cell(ctypes.Structure):
    _fields_ = [
        ("x", ctypes.c_int8),
        ("y", ctypes.c_int8),
        ("z", ctypes.c_int8),
        ("padding", ctypes.c_uint8 * 5),
        ("offset", ctypes.c_uint64),
        ("count", ctypes.c_uint32),
        ("padding2", ctypes.c_uint32),
    ]


class orvix_cell(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("level", ctypes.c_int32),
        ("x", ctypes.c_int32),
        ("y", ctypes.c_int32),
        ("z", ctypes.c_int32),
        ("reserved", ctypes.c_uint32),
        ("entry", ctypes.c_uint64),
        ("first_point", ctypes.c_uint64),
        ("points", ctypes.c_uint64),
        ("first_child", ctypes.c_uint64),
        ("children", ctypes.c_uint64),
        ("min", ctypes.c_double * 3),
        ("max", ctypes.c_double * 3),
    ]


class orvix_plane_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("seed_is_local", ctypes.c_int32),
        ("split_size", ctypes.c_double),
        ("diff", ctypes.c_double * 3),
        ("max_distance", ctypes.c_double),
        ("snap_distance", ctypes.c_double),
        ("reach", ctypes.c_double),
        ("memory_limit", ctypes.c_uint64),
        ("outline_points", ctypes.c_uint64),
        ("proceed", orvix_proceed),
        ("user", ctypes.c_void_p),
    ]


class orvix_plane_info(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("ended", ctypes.c_int32),
        ("equation", ctypes.c_double * 4),
        ("centroid", ctypes.c_double * 3),
        ("seed", ctypes.c_double * 3),
        ("local_equation", ctypes.c_double * 4),
        ("snapped", ctypes.c_double),
        ("noise", ctypes.c_double),
        ("split_size", ctypes.c_double),
        ("max_distance_allowed", ctypes.c_double),
        ("rms", ctypes.c_double),
        ("max_distance", ctypes.c_double),
        ("area", ctypes.c_double),
        ("points", ctypes.c_uint64),
        ("listed_points", ctypes.c_uint64),
        ("cells", ctypes.c_uint64),
        ("rejected_cells", ctypes.c_uint64),
        ("rings", ctypes.c_uint64),
        ("thinning", ctypes.c_uint32),
        ("split_enlarged", ctypes.c_uint32),
    ]


class orvix_ring(ctypes.Structure):
    _fields_ = [
        ("vertices", ctypes.c_uint64),
        ("region", ctypes.c_uint32),
        ("hole", ctypes.c_uint32),
    ]


class orvix_planes_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("detail", ctypes.c_int32),
        ("cell_size", ctypes.c_double),
        ("distance", ctypes.c_double),
        ("angle", ctypes.c_double),
        ("min_area", ctypes.c_double),
        ("bridge", ctypes.c_double),
        ("min_points", ctypes.c_uint64),
        ("memory_limit", ctypes.c_uint64),
        ("threads", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("proceed", orvix_proceed),
        ("user", ctypes.c_void_p),
    ]


class orvix_planes_saved(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("kept", ctypes.c_uint64),
        ("added", ctypes.c_uint64),
        ("gone", ctypes.c_uint64),
    ]


class orvix_planes_info(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("detail", ctypes.c_int32),
        ("planes", ctypes.c_uint64),
        ("left_out", ctypes.c_uint64),
        ("points", ctypes.c_uint64),
        ("on_planes", ctypes.c_uint64),
        ("cells", ctypes.c_uint64),
        ("cell_size", ctypes.c_double),
        ("distance", ctypes.c_double),
        ("angle", ctypes.c_double),
        ("min_area", ctypes.c_double),
        ("bridge", ctypes.c_double),
        ("min_points", ctypes.c_uint64),
        ("spacing", ctypes.c_double),
        ("noise", ctypes.c_double),
    ]


class orvix_found_plane(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("kind", ctypes.c_int32),
        ("number", ctypes.c_uint32),
        ("group", ctypes.c_uint32),
        ("equation", ctypes.c_double * 4),
        ("local_equation", ctypes.c_double * 4),
        ("centroid", ctypes.c_double * 3),
        ("rms", ctypes.c_double),
        ("tolerance", ctypes.c_double),
        ("area", ctypes.c_double),
        ("points", ctypes.c_uint64),
        ("rings", ctypes.c_uint64),
    ]


class orvix_place(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("verdict", ctypes.c_int32),
        ("plane", ctypes.c_uint32),
        ("nearest", ctypes.c_uint32),
        ("points", ctypes.c_uint64),
        ("distance", ctypes.c_double),
        ("allowed", ctypes.c_double),
        ("turn", ctypes.c_double),
        ("cell_normal", ctypes.c_double * 3),
        ("cell_rms", ctypes.c_double),
    ]


class orvix_building_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("threads", ctypes.c_uint32),
        ("memory_limit", ctypes.c_uint64),
        ("orthogonal", ctypes.c_int32),
        ("search", ctypes.c_int32),
        ("proceed", orvix_proceed),
        ("user", ctypes.c_void_p),
    ]


class orvix_building_info(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("stations_known", ctypes.c_int32),
        ("storeys", ctypes.c_uint64),
        ("slabs", ctypes.c_uint64),
        ("walls", ctypes.c_uint64),
        ("openings", ctypes.c_uint64),
        ("rooms", ctypes.c_uint64),
        ("slopes", ctypes.c_uint64),
        ("edges", ctypes.c_uint64),
        ("remarks", ctypes.c_uint64),
    ]


class orvix_storey(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("elevation", ctypes.c_double),
        ("ceiling", ctypes.c_double),
    ]


class orvix_slab(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("storey", ctypes.c_uint32),
        ("top_seen", ctypes.c_int32),
        ("bottom_seen", ctypes.c_int32),
        ("top", ctypes.c_double * 3),
        ("bottom", ctypes.c_double * 3),
        ("thickness", ctypes.c_double * 3),
    ]


class orvix_wall(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("storey", ctypes.c_uint32),
        ("left_seen", ctypes.c_int32),
        ("right_seen", ctypes.c_int32),
        ("external", ctypes.c_int32),
        ("reserved", ctypes.c_int32),
        ("axis", ctypes.c_double * 4),
        ("thickness", ctypes.c_double * 3),
        ("bottom", ctypes.c_double),
        ("top", ctypes.c_double),
        ("deviation", ctypes.c_double),
    ]


class orvix_opening(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("kind", ctypes.c_int32),
        ("state", ctypes.c_int32),
        ("wall", ctypes.c_uint32),
        ("rooms", ctypes.c_uint32 * 2),
        ("along", ctypes.c_double),
        ("bottom", ctypes.c_double),
        ("centre", ctypes.c_double * 3),
        ("direction", ctypes.c_double * 2),
        ("width", ctypes.c_double * 3),
        ("height", ctypes.c_double * 3),
        ("free", ctypes.c_double),
        ("hidden", ctypes.c_double),
        ("unknown", ctypes.c_double),
    ]


class orvix_room(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("storey", ctypes.c_uint32),
        ("floor", ctypes.c_double),
        ("ceiling", ctypes.c_double),
        ("area", ctypes.c_double * 3),
        ("height", ctypes.c_double * 3),
        ("volume", ctypes.c_double * 3),
    ]


class orvix_slope(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("upper_seen", ctypes.c_int32),
        ("equation", ctypes.c_double * 4),
        ("thickness", ctypes.c_double * 3),
        ("area", ctypes.c_double),
    ]


class orvix_edge(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("kind", ctypes.c_int32),
        ("slopes", ctypes.c_uint32 * 2),
        ("ends", ctypes.c_double * 6),
    ]


class orvix_evidence(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("inferred", ctypes.c_uint32),
        ("seen", ctypes.c_double),
        ("hidden", ctypes.c_double),
        ("points", ctypes.c_uint64),
        ("rms", ctypes.c_double),
        ("tolerance", ctypes.c_double),
        ("stations", ctypes.c_uint64),
        ("planes", ctypes.c_uint64),
    ]


class orvix_section_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("device", ctypes.c_int32),
        ("device_memory", ctypes.c_uint64),
        ("software_devices", ctypes.c_int32),
        ("reserved", ctypes.c_uint32),
    ]


class orvix_section_counts(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("reserved", ctypes.c_uint32),
        ("in_slab", ctypes.c_uint64),
        ("behind", ctypes.c_uint64),
        ("before", ctypes.c_uint64),
        ("outside", ctypes.c_uint64),
        ("no_position", ctypes.c_uint64),
    ]


class orvix_picking_ray(ctypes.Structure):
    _fields_ = [
        ("origin", ctypes.c_double * 3),
        ("direction", ctypes.c_double * 3),
        ("radius", ctypes.c_double),
        ("tangent", ctypes.c_double),
    ]


class orvix_snapped_point(ctypes.Structure):
    _fields_ = [
        ("index", ctypes.c_uint64),
        ("along", ctypes.c_double),
        ("distance", ctypes.c_double),
    ]


orvix_section_chunk = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(orvix_point), ctypes.POINTER(ctypes.c_uint8))


class orvix_stream_options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("wanted", ctypes.c_uint32),
        ("chunk", orvix_section_chunk),
        ("proceed", orvix_proceed),
        ("user", ctypes.c_void_p),
    ]


STRUCTS = [orvix_error, orvix_open_options, orvix_project_info, orvix_check_options, orvix_station_info, orvix_point, orvix_dclc, orvix_run, orvix_grid_cell, orvix_fine_cell, orvix_cell, orvix_plane_options, orvix_plane_info, orvix_ring, orvix_planes_options, orvix_planes_saved, orvix_planes_info, orvix_found_plane, orvix_place, orvix_building_options, orvix_building_info, orvix_storey, orvix_slab, orvix_wall, orvix_opening, orvix_room, orvix_slope, orvix_edge, orvix_evidence, orvix_section_options, orvix_section_counts, orvix_picking_ray, orvix_snapped_point, orvix_stream_options]


def load(path):
    """The library at a path, its functions declared."""
    library = ctypes.CDLL(path)
    library.orvix_interface_version.restype = ctypes.c_uint32
    library.orvix_interface_version.argtypes = []
    library.orvix_library_version.restype = ctypes.c_char_p
    library.orvix_library_version.argtypes = []
    library.orvix_set_channel.restype = None
    library.orvix_set_channel.argtypes = [orvix_channel, ctypes.c_void_p]
    library.orvix_project_open.restype = ctypes.c_int32
    library.orvix_project_open.argtypes = [ctypes.c_char_p, ctypes.POINTER(orvix_open_options), ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_project_close.restype = None
    library.orvix_project_close.argtypes = [ctypes.c_void_p]
    library.orvix_project_get_info.restype = ctypes.c_int32
    library.orvix_project_get_info.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_project_info), ctypes.POINTER(orvix_error)]
    library.orvix_project_get_text.restype = ctypes.c_int32
    library.orvix_project_get_text.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_char_p, ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_project_check.restype = ctypes.c_int32
    library.orvix_project_check.argtypes = [ctypes.c_char_p, ctypes.POINTER(orvix_check_options), ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_project_get_station.restype = ctypes.c_int32
    library.orvix_project_get_station.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_station_info), ctypes.POINTER(orvix_error)]
    library.orvix_cells_borrow.restype = ctypes.c_int32
    library.orvix_cells_borrow.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_fine_runs_borrow.restype = ctypes.c_int32
    library.orvix_fine_runs_borrow.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.POINTER(orvix_run)), ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_cell_get.restype = ctypes.c_int32
    library.orvix_cell_get.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint64, ctypes.POINTER(orvix_cell), ctypes.POINTER(orvix_error)]
    library.orvix_cell_at.restype = ctypes.c_int32
    library.orvix_cell_at.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_cell), ctypes.POINTER(orvix_error)]
    library.orvix_points_read.restype = ctypes.c_int32
    library.orvix_points_read.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(orvix_point), ctypes.POINTER(orvix_error)]
    library.orvix_points_read_runs.restype = ctypes.c_int32
    library.orvix_points_read_runs.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_run), ctypes.c_uint64, ctypes.POINTER(orvix_point), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_points_read_world.restype = ctypes.c_int32
    library.orvix_points_read_world.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_points_transform.restype = ctypes.c_int32
    library.orvix_points_transform.argtypes = [ctypes.POINTER(ctypes.c_double), ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_points_borrow.restype = ctypes.c_int32
    library.orvix_points_borrow.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.POINTER(orvix_point)), ctypes.POINTER(orvix_error)]
    library.orvix_view_close.restype = None
    library.orvix_view_close.argtypes = [ctypes.c_void_p]
    library.orvix_points_write_dclc.restype = ctypes.c_int32
    library.orvix_points_write_dclc.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(orvix_dclc), ctypes.POINTER(orvix_error)]
    library.orvix_plane_grow.restype = ctypes.c_int32
    library.orvix_plane_grow.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_plane_options), ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_plane_close.restype = None
    library.orvix_plane_close.argtypes = [ctypes.c_void_p]
    library.orvix_plane_get_info.restype = ctypes.c_int32
    library.orvix_plane_get_info.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_plane_info), ctypes.POINTER(orvix_error)]
    library.orvix_plane_get_points.restype = ctypes.c_int32
    library.orvix_plane_get_points.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_uint64), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_plane_get_rings.restype = ctypes.c_int32
    library.orvix_plane_get_rings.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_ring), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_plane_get_ring.restype = ctypes.c_int32
    library.orvix_plane_get_ring.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_planes_find.restype = ctypes.c_int32
    library.orvix_planes_find.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_planes_options), ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_planes_open_saved.restype = ctypes.c_int32
    library.orvix_planes_open_saved.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_planes_save.restype = ctypes.c_int32
    library.orvix_planes_save.argtypes = [ctypes.c_void_p, ctypes.c_void_p, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(orvix_planes_saved), ctypes.POINTER(orvix_error)]
    library.orvix_planes_close.restype = None
    library.orvix_planes_close.argtypes = [ctypes.c_void_p]
    library.orvix_planes_get_info.restype = ctypes.c_int32
    library.orvix_planes_get_info.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_planes_info), ctypes.POINTER(orvix_error)]
    library.orvix_planes_get_numbers.restype = ctypes.c_int32
    library.orvix_planes_get_numbers.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_planes_get_plane.restype = ctypes.c_int32
    library.orvix_planes_get_plane.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_found_plane), ctypes.POINTER(orvix_error)]
    library.orvix_planes_get_rings.restype = ctypes.c_int32
    library.orvix_planes_get_rings.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_ring), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_planes_get_ring.restype = ctypes.c_int32
    library.orvix_planes_get_ring.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_planes_read_numbers.restype = ctypes.c_int32
    library.orvix_planes_read_numbers.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint32), ctypes.POINTER(orvix_error)]
    library.orvix_planes_get_points.restype = ctypes.c_int32
    library.orvix_planes_get_points.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_uint64), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_planes_get_points_while.restype = ctypes.c_int32
    library.orvix_planes_get_points_while.argtypes = [ctypes.c_void_p, ctypes.c_uint32, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_uint64), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_planes_explain.restype = ctypes.c_int32
    library.orvix_planes_explain.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_place), ctypes.POINTER(orvix_error)]
    library.orvix_plane_mesh.restype = ctypes.c_int32
    library.orvix_plane_mesh.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_plane_mesh_while.restype = ctypes.c_int32
    library.orvix_plane_mesh_while.argtypes = [ctypes.c_void_p, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_triangulate.restype = ctypes.c_int32
    library.orvix_triangulate.argtypes = [ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_triangulate_while.restype = ctypes.c_int32
    library.orvix_triangulate_while.argtypes = [ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_mesh_read.restype = ctypes.c_int32
    library.orvix_mesh_read.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(ctypes.c_uint32), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_mesh_close.restype = None
    library.orvix_mesh_close.argtypes = [ctypes.c_void_p]
    library.orvix_building_find.restype = ctypes.c_int32
    library.orvix_building_find.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.POINTER(orvix_building_options), ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_building_open_saved.restype = ctypes.c_int32
    library.orvix_building_open_saved.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_building_save.restype = ctypes.c_int32
    library.orvix_building_save.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.POINTER(orvix_error)]
    library.orvix_building_write.restype = ctypes.c_int32
    library.orvix_building_write.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(orvix_error)]
    library.orvix_building_close.restype = None
    library.orvix_building_close.argtypes = [ctypes.c_void_p]
    library.orvix_building_get_info.restype = ctypes.c_int32
    library.orvix_building_get_info.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_building_info), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_storey.restype = ctypes.c_int32
    library.orvix_building_get_storey.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_storey), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_slab.restype = ctypes.c_int32
    library.orvix_building_get_slab.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_slab), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_wall.restype = ctypes.c_int32
    library.orvix_building_get_wall.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_wall), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_opening.restype = ctypes.c_int32
    library.orvix_building_get_opening.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_opening), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_room.restype = ctypes.c_int32
    library.orvix_building_get_room.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_room), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_slope.restype = ctypes.c_int32
    library.orvix_building_get_slope.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_slope), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_edge.restype = ctypes.c_int32
    library.orvix_building_get_edge.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.POINTER(orvix_edge), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_name.restype = ctypes.c_int32
    library.orvix_building_get_name.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.c_char_p, ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_remark.restype = ctypes.c_int32
    library.orvix_building_get_remark.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.c_char_p, ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_evidence.restype = ctypes.c_int32
    library.orvix_building_get_evidence.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.POINTER(orvix_evidence), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_stations.restype = ctypes.c_int32
    library.orvix_building_get_stations.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.POINTER(ctypes.c_uint32), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_planes.restype = ctypes.c_int32
    library.orvix_building_get_planes.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.POINTER(ctypes.c_uint32), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_rings.restype = ctypes.c_int32
    library.orvix_building_get_rings.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.POINTER(orvix_ring), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_building_get_ring.restype = ctypes.c_int32
    library.orvix_building_get_ring.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.c_uint64, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_building_mesh.restype = ctypes.c_int32
    library.orvix_building_mesh.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_uint32, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_open.restype = ctypes.c_int32
    library.orvix_neighbours_open.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_open_while.restype = ctypes.c_int32
    library.orvix_neighbours_open_while.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_within.restype = ctypes.c_int32
    library.orvix_neighbours_within.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.c_double, ctypes.POINTER(ctypes.c_int32), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_nearest.restype = ctypes.c_int32
    library.orvix_neighbours_nearest.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_int32), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_within_many.restype = ctypes.c_int32
    library.orvix_neighbours_within_many.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.c_double, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32), ctypes.POINTER(ctypes.c_int32), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_nearest_many.restype = ctypes.c_int32
    library.orvix_neighbours_nearest_many.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, orvix_proceed, ctypes.c_void_p, ctypes.POINTER(ctypes.c_int32), ctypes.POINTER(orvix_error)]
    library.orvix_neighbours_close.restype = None
    library.orvix_neighbours_close.argtypes = [ctypes.c_void_p]
    library.orvix_section_open.restype = ctypes.c_int32
    library.orvix_section_open.argtypes = [ctypes.POINTER(orvix_section_options), ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(orvix_error)]
    library.orvix_section_close.restype = None
    library.orvix_section_close.argtypes = [ctypes.c_void_p]
    library.orvix_section_set_transformation.restype = ctypes.c_int32
    library.orvix_section_set_transformation.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_section_set_plane.restype = ctypes.c_int32
    library.orvix_section_set_plane.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_section_get_transformation.restype = ctypes.c_int32
    library.orvix_section_get_transformation.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_section_set_origin.restype = ctypes.c_int32
    library.orvix_section_set_origin.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_section_set_slab.restype = ctypes.c_int32
    library.orvix_section_set_slab.argtypes = [ctypes.c_void_p, ctypes.c_double, ctypes.POINTER(ctypes.c_double), ctypes.POINTER(orvix_error)]
    library.orvix_section_set_points.restype = ctypes.c_int32
    library.orvix_section_set_points.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(orvix_error)]
    library.orvix_section_hold.restype = ctypes.c_int32
    library.orvix_section_hold.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64, ctypes.POINTER(orvix_error)]
    library.orvix_section_release.restype = None
    library.orvix_section_release.argtypes = [ctypes.c_void_p]
    library.orvix_section_set_indices.restype = ctypes.c_int32
    library.orvix_section_set_indices.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint64), ctypes.c_uint64, ctypes.POINTER(orvix_error)]
    library.orvix_section_clear_indices.restype = ctypes.c_int32
    library.orvix_section_clear_indices.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_error)]
    library.orvix_section_get_count.restype = ctypes.c_int32
    library.orvix_section_get_count.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_section_check.restype = ctypes.c_int32
    library.orvix_section_check.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint8), ctypes.c_uint64, ctypes.POINTER(orvix_section_counts), ctypes.POINTER(orvix_error)]
    library.orvix_section_get_indices.restype = ctypes.c_int32
    library.orvix_section_get_indices.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(ctypes.c_uint64), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_section_colour_in.restype = ctypes.c_int32
    library.orvix_section_colour_in.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint8), ctypes.POINTER(ctypes.c_uint8), ctypes.c_uint64, ctypes.POINTER(orvix_section_counts), ctypes.POINTER(orvix_error)]
    library.orvix_section_colour_plane.restype = ctypes.c_int32
    library.orvix_section_colour_plane.argtypes = [ctypes.c_void_p, ctypes.c_double, ctypes.c_double, ctypes.POINTER(ctypes.c_uint8), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint8), ctypes.c_uint64, ctypes.POINTER(orvix_section_counts), ctypes.POINTER(orvix_error)]
    library.orvix_section_colour_separate.restype = ctypes.c_int32
    library.orvix_section_colour_separate.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint8), ctypes.POINTER(ctypes.c_uint8), ctypes.POINTER(ctypes.c_uint8), ctypes.c_uint64, ctypes.POINTER(orvix_section_counts), ctypes.POINTER(orvix_error)]
    library.orvix_section_snap_rays.restype = ctypes.c_int32
    library.orvix_section_snap_rays.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_picking_ray), ctypes.c_uint64, ctypes.POINTER(orvix_snapped_point), ctypes.POINTER(orvix_error)]
    library.orvix_section_snap_positions.restype = ctypes.c_int32
    library.orvix_section_snap_positions.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.c_double, ctypes.POINTER(orvix_snapped_point), ctypes.POINTER(orvix_error)]
    library.orvix_section_set_project.restype = ctypes.c_int32
    library.orvix_section_set_project.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.POINTER(orvix_error)]
    library.orvix_section_stream.restype = ctypes.c_int32
    library.orvix_section_stream.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_stream_options), ctypes.POINTER(orvix_section_counts), ctypes.POINTER(orvix_error)]
    library.orvix_section_snap_rays_in_project.restype = ctypes.c_int32
    library.orvix_section_snap_rays_in_project.argtypes = [ctypes.c_void_p, ctypes.POINTER(orvix_picking_ray), ctypes.c_uint64, ctypes.POINTER(orvix_snapped_point), ctypes.POINTER(orvix_error)]
    library.orvix_section_snap_positions_in_project.restype = ctypes.c_int32
    library.orvix_section_snap_positions_in_project.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.c_double, ctypes.POINTER(orvix_snapped_point), ctypes.POINTER(orvix_error)]
    library.orvix_section_get_device.restype = ctypes.c_int32
    library.orvix_section_get_device.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_histogram_sample.restype = ctypes.c_int32
    library.orvix_histogram_sample.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_double, ctypes.c_uint32, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    library.orvix_natural_breaks.restype = ctypes.c_int32
    library.orvix_natural_breaks.argtypes = [ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.c_uint32, ctypes.c_double, ctypes.POINTER(ctypes.c_double), ctypes.c_uint64, ctypes.POINTER(ctypes.c_uint64), ctypes.POINTER(orvix_error)]
    return library
