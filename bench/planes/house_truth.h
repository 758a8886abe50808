// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "bench/planes/face_pieces.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::bench {

/// The faces of a simulated house, in the order of their numbers.
///
/// The file is a JSON object whose `planes` have `id`, `normal`, `offset` (normal . p), `area`,
/// `curved` and `glass`. A point's colour is the id of its face (red << 16 | green << 8 | blue), 0 of
/// clutter. Face `id` is the result's place `id - 1`; numbers that the file leaves out are not
/// judged.
///
/// Units   metres, world coordinates.
/// Errors  BadInput, with the file's name, for what is no such file.
Expected<std::vector<TrueFace>> ReadHouse(const CString& path);
/// The same from a file's text; `name` is what errors call it.
Expected<std::vector<TrueFace>> ParseHouse(std::string_view text, std::string_view name);

}  // namespace orvix::bench
