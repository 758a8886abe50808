// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include "support/scenes/synthetic_room.h"

namespace orvix::test {

/// The options of a room, for the programs that make one.
inline void AddRoomOptions(CLI::App& app, RoomOptions& options) {
    app.add_option("--noise", options.noise, "Metres along the ray, standard deviation");
    app.add_option("--waviness", options.waviness, "Metres from crest to trough of a wall");
    app.add_option("--warp", options.warp, "Metres that a wall's corners stand out or lie back");
    app.add_option("--skirting", options.skirting, "Metres; 0: none");
    app.add_option("--relief", options.relief, "Metres that the panels of door leaves lie back");
    app.add_option("--reveal", options.reveal, "Metres that doors and windows are deep")
        ->check(CLI::Range(0.06, 0.3));
    app.add_option("--frames", options.frames, "true or false");
    app.add_option("--furniture", options.furniture, "true or false");
    app.add_option("--glass", options.glass, "Share of the beams that the pane lets through")
        ->check(CLI::Range(0.0, 1.0));
    app.add_option("--stations", options.stations, "1 to 4")->check(CLI::Range(1, 4));
    app.add_option("--step", options.step, "Degrees between directions")
        ->check(CLI::Range(0.02, 10.0));
    app.add_option("--registration", options.registration, "Metres that each station is off");
    app.add_option("--mixed-pixels", options.mixedPixels, "true or false");
}

}  // namespace orvix::test
