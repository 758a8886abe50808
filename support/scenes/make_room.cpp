// SPDX-License-Identifier: GPL-3.0-or-later
// make_room OUT.ptx [--noise M] [--waviness M] [--warp M] [--registration M] [--step DEGREES] ...
//
// Writes scans of a furnished room with known planes, as PTX: a point's colour is the number of its
// plane. `orvix import` keeps colours, and the stations; `bench_find_planes --room` scores the plane
// search on such a room.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "orvix/platform/text.h"
#include "support/scenes/room_arguments.h"
#include "support/scenes/synthetic_room.h"

int main(int argc, char** argv) {
    orvix::test::RoomOptions options;
    std::string path;
    bool list = false;
    CLI::App app("Writes scans of a furnished room with known planes");
    app.add_option("output", path, "OUT.ptx")->required();
    app.add_flag("--list", list, "The planes, a line for each: number, normal, offset, area");
    orvix::test::AddRoomOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    const orvix::test::SyntheticRoom room(options);
    orvix::test::WritePtx(room, orvix::platform::FromUtf8(path));
    int number = 0;
    for (const auto& plane : room.Planes())
        if (++number, list)
            fmt::print("{} {:.4f} {:.4f} {:.4f} {:.5f} {:.3f}\n", number, plane.normal.x,
                       plane.normal.y, plane.normal.z, plane.offset, plane.area);
    return 0;
}
