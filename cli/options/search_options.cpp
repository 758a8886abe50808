// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/options/search_options.h"

#include <CLI/App.hpp>

#include <optional>

#include "orvix/platform/amounts.h"

namespace orvix::cli {

namespace {

detection::Detail DetailOf(const std::string& word) {
    if (word == "fine") return detection::Detail::Fine;
    return word == "coarse" ? detection::Detail::Coarse : detection::Detail::Normal;
}

std::string CheckAbove0(const std::string& text) {
    const std::optional<double> value = platform::ParseNumber(text);
    return value && *value > 0 ? std::string() : text + " must be a number above 0";
}

}  // namespace

detection::PlaneSearchOptions SearchArguments::Options() const {
    detection::PlaneSearchOptions asked = options;
    asked.memoryLimitBytes = platform::ParseBytes(memoryLimit).value_or(options.memoryLimitBytes);
    asked.detail = DetailOf(detail);
    asked.proceed = MayGoOn;
    return asked;
}

void AddSearchOptions(CLI::App& verb, SearchArguments& arguments) {
    detection::PlaneSearchOptions& options = arguments.options;
    const auto add = [&verb](const std::string& name, double& value, const std::string& meaning,
                             const std::string& unit) {
        verb.add_option(name, value, meaning)->check(CheckAbove0)->type_name(unit);
    };
    verb.add_option("--detail", arguments.detail,
                    "How much of what stands out from a surface is a plane of its own: fine, "
                    "normal or coarse (default normal)")
        ->check(CLI::IsMember({"fine", "normal", "coarse"}).description(""))
        ->type_name("DETAIL");
    add("--cell", options.cellSize,
        "Side of a cell: 0.1, 0.2, 0.25, 0.5, 1, 2, 5 or 10, the next of them for a size between "
        "(default: from how densely points lie)",
        "M");
    add("--distance", options.distance,
        "Largest distance of a point from its plane, for all of them (default: from the noise, and "
        "from how each plane scatters and waves)",
        "M");
    add("--angle", options.angle, "Largest turn of a cell's normal (default 20)", "DEGREES");
    add("--min-area", options.minArea,
        "Least area of a plane (default: 0.015 in a room or house, up to 0.25 in what is wider)",
        "M2");
    add("--min-points", options.minPoints,
        "Least points of a plane (default 50, in thin scans 30; fine half, coarse three times "
        "that)",
        "N");
    verb.add_option(
            "--bridge", options.bridge,
            "Width of a gap across which pieces of one plane join, unless a wall stands between "
            "(default two cells and the points' distance; 0: none)")
        ->check(CLI::Range(0.0, 1000.0).description(""))
        ->type_name("M");
    AddMemoryOption(verb, arguments.memoryLimit,
                    "Memory for cells at most; larger cells are used beyond (default 1GiB)");
}

}  // namespace orvix::cli
