// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/platform/text.h"
#include "support/scenes/ray_scan.h"
#include "support/scenes/true_plane.h"

namespace orvix::test {

/// What makes a room and its scan real, each by itself. Lengths are metres.
struct RoomOptions {
    std::uint32_t seed = 1;
    // The room
    double waviness = 0.01;  ///< of walls and ceilings, crest to trough a metre apart; floors half
    double warp = 0.008;     ///< of walls: two opposite corners stand out, the others lie back
    double skirting = 0.02;  ///< depth of the strips along the walls' feet; 0: none
    double relief = 0.008;   ///< that the panels of door leaves lie back
    double reveal = 0.12;    ///< depth of doors and windows: 0.06 to 0.3
    bool frames = true;      ///< casings around doors, a frame in the window
    bool furniture = true;   ///< and a radiator, a lamp, plants
    double glass = 0.85;     ///< share of the beams that the window's pane lets through
    // The scan
    int stations = 3;             ///< 1 to 4, the third in the corridor
    double step = 0.2;            ///< degrees between neighbouring directions of a station
    double noise = 0.002;         ///< along the ray, standard deviation
    double registration = 0.003;  ///< error of each station, in a direction of its own
    bool mixedPixels = true;
};

/// A furnished room of 5 x 4 x 2.6 m with a corridor behind an open door, of known planes from 0.02
/// to 20 m2, and scans of it from stations. Choose SyntheticBuilding for many points of plain rooms.
///
/// A plane is what a person would draw: the whole of a wavy wall, a door leaf with its panels, but
/// the corridor's floor and the room's as one, joined through the doorway. Where a door or a
/// cabinet cuts a skirting in two, each piece is a plane. What is narrower than 4 cm or smaller
/// than 0.02 m2, the pane and what is seen through it are not judged (kUnjudgedPlane). Round things
/// and mixed pixels are on no plane.
///
///     const SyntheticRoom room({.noise = 0.005});
///     room.Scan([](const ScannedPoint& p) { ... });
///
/// Order  the same options give the same points in the same order, the same bits on every system.
class SyntheticRoom {
public:
    explicit SyntheticRoom(const RoomOptions& options);

    [[nodiscard]] const std::vector<TruePlane>& Planes() const { return planes_; }
    [[nodiscard]] const RayScene& Scene() const { return scene_; }
    /// Each station and how it measures.
    [[nodiscard]] const std::vector<RayOptions>& Stations() const { return stations_; }
    void Scan(const std::function<void(const ScannedPoint&)>& take) const;

private:
    using Vector = detail::Vector;
    enum class Shape { Flat, Wall, Floor };

    RaySurface& Add(const Vector& corner, const Vector& u, double width, const Vector& v,
                    double height, std::int32_t plane);
    RaySurface& AddFace(const Vector& corner, const Vector& u, double width, const Vector& v,
                        double height);
    RaySurface& AddShell(const Vector& corner, const Vector& u, double width, const Vector& v,
                         double height, Shape shape);
    void AddBox(const Vector& low, const Vector& high);
    std::int32_t NewPlane(const Vector& normal, const Vector& through);
    [[nodiscard]] double Random(double low, double high);

    void BuildRoom();
    void BuildCorridor();
    void BuildOpenDoor();
    void BuildClosedDoor();
    void BuildWindow();
    void BuildSkirtings();
    void Furnish();
    void PlaceStations();

    RoomOptions options_;
    std::uint64_t state_;
    RayScene scene_;
    std::vector<TruePlane> planes_;
    std::vector<RayOptions> stations_;
    std::int32_t floor_ = kNoPlane;
};

/// Writes the scans as PTX, a block for each station, with colours for the truth: red << 16 | green
/// << 8 | blue is a plane's number counted from 1, 0 for no plane and 0xFFFFFF for what is not
/// judged. Directions without a return are written too.
///
/// Cost  30 bytes per direction.
void WritePtx(const SyntheticRoom& room, const CString& path);

/// The plane of a colour that WritePtx wrote.
std::int32_t PlaneOfColour(std::uint8_t red, std::uint8_t green, std::uint8_t blue);

}  // namespace orvix::test
