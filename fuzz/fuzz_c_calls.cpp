// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes are a host in C: which calls of the interface it makes, in which order, on which of its
// handles, with which numbers, sizes and null pointers. It keeps to what the header asks of a host
// and what nobody can check: arrays are as long as it says, handles are its own, structs are memory
// of the size that they state.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/small_project.h"
#include "orvix/c/orvix.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/covered_files.h"

namespace {

using namespace orvix;
using fuzz::Require;

constexpr std::size_t kItems = 4096;  // of every array: more than the project has of anything
constexpr int kMostCalls = 48;
constexpr int kMostSearches = 3;

/// The bytes, read off as the numbers and choices that calls take; zeros when they are used up.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
    [[nodiscard]] bool Done() const { return left_ == 0; }
    std::uint8_t Byte() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }
    bool Flag() { return (Byte() & 1) != 0; }
    template <class Number>
    Number Raw() {
        std::array<std::uint8_t, sizeof(Number)> bytes{};
        for (std::uint8_t& byte : bytes) byte = Byte();
        Number number;
        std::memcpy(&number, bytes.data(), sizeof number);
        return number;
    }
    /// Most often a small number, else one at an edge of what its type holds, or any.
    std::uint64_t Count() {
        constexpr std::array<std::uint64_t, 8> kEdges = {
            127, 128, 129, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, INT64_MAX, UINT64_MAX};
        const std::uint8_t kind = Byte();
        if (kind < 200) return kind;
        if (kind < 248) return kEdges[kind % kEdges.size()];
        return Raw<std::uint64_t>();
    }
    std::size_t Capacity() { return static_cast<std::size_t>(Count() % (kItems + 1)); }
    double Real() {
        using Limits = std::numeric_limits<double>;
        constexpr std::array<double, 8> kEdges = {
            0,  -1, 1e-300, 1e300, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
            2e9};
        const std::uint8_t kind = Byte();
        if (kind < 200) return (kind - 100) / 20.0;
        if (kind < 248) return kEdges[kind % kEdges.size()];
        return Raw<double>();
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

/// Memory for a struct of any size that a host may state, its first member.
class AnyStruct {
public:
    template <class Struct>
    Struct* Make(Choices& choices) {
        bytes_.fill(std::byte{0});
        auto* made = reinterpret_cast<Struct*>(bytes_.data());
        made->size = sizeof(Struct);
        if (choices.Byte() >= 64) return made;
        made->size = static_cast<std::uint32_t>(choices.Count());
        // Members of a later version, which this one must refuse or leave alone.
        if (choices.Flag()) {
            const std::size_t beyond = choices.Count() % (bytes_.size() - sizeof(Struct));
            bytes_[sizeof(Struct) + beyond] = std::byte{choices.Byte()};
        }
        return choices.Byte() == 0 ? nullptr : made;
    }

private:
    alignas(8) std::array<std::byte, 4096> bytes_{};
};

class Host {
public:
    Host(Choices choices, const std::string& path, const std::string& folder)
        : in_(choices), paths_{path, folder, path + "x", ""}, xyz_(3 * kItems), points_(kItems) {
        error_.size = sizeof error_;
    }
    ~Host() {
        // Handles in any order: planes, meshes and views outlive their project.
        for (orvix_project*& project : projects_) Close(project, orvix_project_close);
        Close(plane_, orvix_plane_close);
        Close(planes_, orvix_planes_close);
        Close(mesh_, orvix_mesh_close);
        Close(view_, orvix_view_close);
        Close(near_, orvix_neighbours_close);
        Close(section_, orvix_section_close);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Run() {
        for (int call = 0; call < kMostCalls && !in_.Done(); ++call) Call();
    }
    [[nodiscard]] bool Wrote() const { return wrote_; }

private:
    static std::int32_t ORVIX_C_CALL Proceed(void* user, double done) {
        Require(done <= 1, "a part of the work is at most all of it");
        if (user == nullptr) return 1;  // the struct's size ended before it
        return --static_cast<Host*>(user)->patience_ > 0 ? 1 : 0;
    }
    static void ORVIX_C_CALL Hear(void* user, const char* file, const char* what) {
        Require(file != nullptr && *what != 0, "a fault has a file and a sentence");
        if (user != nullptr) --static_cast<Host*>(user)->patience_;
    }

    void Check(orvix_status status) {
        const bool known =
            (status >= ORVIX_OK && status <= ORVIX_UNSUPPORTED) || status == ORVIX_CANCELLED;
        Require(known, "a status is one of those listed");
        if (status == ORVIX_OK || error_.size != sizeof error_) return;
        Require(error_.status == status && error_.text[0] != 0, "an error has a sentence");
    }
    orvix_error* Error() {
        error_ = {};
        error_.size = sizeof error_;
        return &error_;
    }
    template <class Handle>
    static void Close(Handle*& handle, void(ORVIX_C_CALL* close)(Handle*)) {
        close(handle);
        handle = nullptr;
    }
    // `handle` is a reference: the call that makes the status sets it.
    template <class Handle>
    void Made(orvix_status status, Handle* const& handle) {
        Check(status);
        Require((status == ORVIX_OK) == (handle != nullptr), "a handle comes with success alone");
    }
    orvix_project*& Project() { return projects_[in_.Byte() % projects_.size()]; }
    const char* Path() {
        const std::size_t which = in_.Byte() % 16;
        if (which == 15) return nullptr;
        return paths_[which < 12 ? 0 : which - 11].c_str();
    }
    const double* Place() {
        for (double& value : place_) value = in_.Real();
        return in_.Byte() == 0 ? nullptr : place_.data();
    }
    template <class Options>
    void Patience(Options* options) {
        patience_ = in_.Byte() + 1;
        if (options == nullptr || !in_.Flag()) return;
        options->proceed = Proceed;
        options->user = this;
    }

    void Call() {
        switch (in_.Byte() % 13) {
            case 0:
                return OpenOrClose();
            case 1:
                return AskProject();
            case 2:
                return CheckIt();
            case 3:
                return AskCells();
            case 4:
                return ReadPoints();
            case 5:
                return BorrowOrWrite();
            case 6:
                return GrowPlane();
            case 7:
                return FindPlanes();
            case 8:
                return AskPlanes();
            case 9:
                return Meshes();
            case 10:
                return Neighbours();
            case 11:
                return Statistics();
            default:
                return Sections();
        }
    }

    void OpenOrClose() {
        orvix_project*& project = Project();
        Close(project, orvix_project_close);
        if (in_.Byte() < 32) return;
        auto* options = any_.Make<orvix_open_options>(in_);
        if (options != nullptr) options->access = in_.Byte() % 3;
        Made(orvix_project_open(Path(), options, &project, Error()), project);
    }

    void AskProject() {
        const orvix_project* project = Project();
        Check(orvix_project_get_info(project, any_.Make<orvix_project_info>(in_), Error()));
        text_.resize(kItems);
        const std::int32_t which = in_.Byte() % 5 - 1;
        Check(
            orvix_project_get_text(project, which, text_.data(), in_.Capacity(), &count_, Error()));
        const auto station = static_cast<std::uint32_t>(in_.Count());
        Check(orvix_project_get_station(project, station, any_.Make<orvix_station_info>(in_),
                                        Error()));
    }

    void CheckIt() {
        auto* options = any_.Make<orvix_check_options>(in_);
        if (options != nullptr) options->max_faults = in_.Count();
        Patience(options);
        if (options != nullptr && in_.Flag()) {
            options->fault = Hear;
            options->user = this;
        }
        const char* path = Path();
        Check(orvix_project_check(path, options, in_.Byte() == 0 ? nullptr : &count_, Error()));
    }

    void AskCells() {
        constexpr std::array<std::int32_t, 5> kLevels = {1000, 100, 10, 1, -100};
        const orvix_project* project = Project();
        const std::int32_t level = kLevels[in_.Byte() % kLevels.size()];
        const void* records = nullptr;
        Check(orvix_cells_borrow(project, level, &records, &count_, Error()));
        const orvix_run* runs = nullptr;
        Check(orvix_fine_runs_borrow(project, in_.Byte() == 0 ? nullptr : &runs, &count_, Error()));
        const std::uint64_t entry = in_.Count();
        Check(orvix_cell_get(project, level, entry, any_.Make<orvix_cell>(in_), Error()));
        const double* place = Place();
        Check(orvix_cell_at(project, level, place, any_.Make<orvix_cell>(in_), Error()));
    }

    // Any first point and count: the project has fewer points than the arrays have room for.
    void ReadPoints() {
        const orvix_project* project = Project();
        const std::uint64_t first = in_.Count();
        const std::uint64_t count = in_.Count();
        Check(orvix_points_read(project, first, count, points_.data(), Error()));
        Check(orvix_points_read_world(project, first, count, xyz_.data(), Error()));
        std::vector<orvix_run> runs(in_.Byte() % 8);
        for (orvix_run& run : runs) run = {in_.Count(), static_cast<std::uint32_t>(in_.Count()), 0};
        const std::size_t capacity = in_.Capacity();
        Check(orvix_points_read_runs(project, runs.data(), runs.size(),
                                     capacity == 0 ? nullptr : points_.data(), capacity, &count_,
                                     Error()));
    }

    void BorrowOrWrite() {
        orvix_project* project = Project();
        const std::uint64_t first = in_.Count();
        const std::uint64_t count = in_.Count();
        if (in_.Flag()) {
            const std::vector<orvix_dclc> values(kItems, {7, in_.Byte(), 0});
            const orvix_status status =
                orvix_points_write_dclc(project, first, count, values.data(), Error());
            wrote_ = wrote_ || status == ORVIX_OK;
            return Check(status);
        }
        Close(view_, orvix_view_close);
        const orvix_point* points = nullptr;
        Made(orvix_points_borrow(project, first, count, &view_, &points, Error()), view_);
        if (view_ == nullptr) return;
        for (std::uint64_t i = 0; i < count; ++i) sum_ += points[i].attributes[0];
    }

    void GrowPlane() {
        orvix_project* project = Project();
        if (++searches_ > kMostSearches) return;
        auto* options = any_.Make<orvix_plane_options>(in_);
        if (options != nullptr) {
            options->seed_is_local = in_.Byte() % 2;
            options->reach = in_.Real();
            options->split_size = in_.Real();
            options->max_distance = in_.Real();
            options->snap_distance = in_.Real();
            options->memory_limit = in_.Count();
            options->outline_points = in_.Count();
            for (double& diff : options->diff) diff = in_.Real();
        }
        Patience(options);
        Close(plane_, orvix_plane_close);
        const double* seed = Place();
        Made(orvix_plane_grow(project, seed, options, &plane_, Error()), plane_);
        Check(orvix_plane_get_info(plane_, any_.Make<orvix_plane_info>(in_), Error()));
        std::vector<std::uint64_t> records(kItems);
        std::uint64_t* numbers = in_.Flag() ? records.data() : nullptr;
        Check(
            orvix_plane_get_points(plane_, xyz_.data(), numbers, in_.Capacity(), &count_, Error()));
        std::vector<orvix_ring> rings(kItems);
        Check(orvix_plane_get_rings(plane_, rings.data(), in_.Capacity(), &count_, Error()));
        const std::uint64_t ring = in_.Count();
        Check(orvix_plane_get_ring(plane_, ring, xyz_.data(), in_.Capacity(), &count_, Error()));
    }

    void FindPlanes() {
        orvix_project* project = Project();
        if (++searches_ > kMostSearches) return;
        constexpr std::array<std::uint32_t, 6> kThreads = {1, 0, 2, 3, 1025, UINT32_MAX};
        auto* options = any_.Make<orvix_planes_options>(in_);
        if (options != nullptr) {
            options->detail = in_.Byte() % 5 - 1;
            options->cell_size = in_.Real();
            options->distance = in_.Real();
            options->angle = in_.Real();
            options->min_area = in_.Real();
            options->bridge = in_.Real();
            options->min_points = in_.Count();
            options->memory_limit = in_.Count();
            options->threads = kThreads[in_.Byte() % kThreads.size()];
        }
        Patience(options);
        Close(planes_, orvix_planes_close);
        Made(orvix_planes_find(project, options, &planes_, Error()), planes_);
    }

    void AskPlanes() {
        const auto number = static_cast<std::uint32_t>(in_.Count());
        Check(orvix_planes_get_info(planes_, any_.Make<orvix_planes_info>(in_), Error()));
        Check(orvix_planes_get_plane(planes_, number, any_.Make<orvix_found_plane>(in_), Error()));
        std::vector<orvix_ring> rings(kItems);
        Check(orvix_planes_get_rings(planes_, number, rings.data(), in_.Capacity(), &count_,
                                     Error()));
        const std::uint64_t ring = in_.Count();
        Check(orvix_planes_get_ring(planes_, number, ring, xyz_.data(), in_.Capacity(), &count_,
                                    Error()));
        std::vector<std::uint32_t> numbers(kItems);
        const std::uint64_t first = in_.Count();
        Check(orvix_planes_read_numbers(planes_, first, in_.Count(), numbers.data(), Error()));
        std::vector<std::uint64_t> records(kItems);
        double* xyz = in_.Flag() ? xyz_.data() : nullptr;
        Check(orvix_planes_get_points(planes_, number, xyz, records.data(), in_.Capacity(), &count_,
                                      Error()));
        const double* place = Place();
        Check(orvix_planes_explain(planes_, place, any_.Make<orvix_place>(in_), Error()));
    }

    void Meshes() {
        Close(mesh_, orvix_mesh_close);
        if (in_.Flag()) {
            Made(orvix_plane_mesh(plane_, &mesh_, Error()), mesh_);
        } else {
            const std::size_t count = in_.Byte() % 32;
            for (std::size_t i = 0; i < 3 * count; ++i) xyz_[i] = in_.Real();
            std::array<double, 4> equation{};
            for (double& value : equation) value = in_.Real();
            std::vector<double> boundary(3 * (in_.Byte() % 6));
            for (double& value : boundary) value = in_.Real();
            Made(orvix_triangulate(xyz_.data(), count, equation.data(), boundary.data(),
                                   boundary.size() / 3, &mesh_, Error()),
                 mesh_);
        }
        std::vector<std::uint32_t> corners(3 * kItems);
        std::uint64_t triangles = 0;
        const std::size_t room = in_.Capacity();
        Check(orvix_mesh_read(mesh_, xyz_.data(), room, &count_, corners.data(), in_.Capacity(),
                              &triangles, Error()));
    }

    void Neighbours() {
        if (in_.Flag()) {
            constexpr std::array<std::uint64_t, 6> kStrides = {12, 24, 13, 0, 11, 32};
            Close(near_, orvix_neighbours_close);
            const std::size_t count = in_.Byte() % 64;
            std::vector<float> places(8 * 64);
            for (std::size_t i = 0; i < 3 * count; ++i) places[i] = static_cast<float>(in_.Real());
            Made(orvix_neighbours_open(places.data(), count, kStrides[in_.Byte() % kStrides.size()],
                                       &near_, Error()),
                 near_);
        }
        std::vector<std::int32_t> indices(kItems);
        const double* place = Place();
        const double radius = in_.Real();
        Check(orvix_neighbours_within(near_, place, radius, indices.data(), in_.Capacity(), &count_,
                                      Error()));
        Check(orvix_neighbours_nearest(near_, place, indices.data(), Error()));
        std::vector<std::uint32_t> counts(kItems);
        const std::uint64_t places = in_.Byte() % (kItems / 3);
        Check(orvix_neighbours_within_many(near_, xyz_.data(), places, radius, nullptr, nullptr,
                                           counts.data(), indices.data(), in_.Capacity(), &count_,
                                           Error()));
        Check(orvix_neighbours_nearest_many(near_, xyz_.data(), places, nullptr, nullptr,
                                            indices.data(), Error()));
    }

    void Statistics() {
        const std::size_t count = in_.Byte();
        const std::size_t room = in_.Capacity();
        const orvix_project* project = Project();
        const std::int32_t which = in_.Byte() % 4 - 1;
        Check(orvix_histogram_sample(project, which, in_.Real(), static_cast<std::uint32_t>(count),
                                     xyz_.data(), room, &count_, Error()));
        std::vector<double> values(count);
        for (double& value : values) value = in_.Real();
        if (in_.Flag()) std::sort(values.begin(), values.end());
        // Memory for values and classes is the caller's choice; so are few of them, or too many.
        std::uint64_t classes = in_.Count();
        if (classes > 200 && classes < INT32_MAX) classes = 200;
        const double lowerBound = in_.Real();
        Check(orvix_natural_breaks(values.data(), values.size(),
                                   static_cast<std::uint32_t>(classes), lowerBound, xyz_.data(),
                                   in_.Capacity(), &count_, Error()));
    }

    void Sections() {
        switch (in_.Byte() % 6) {
            case 0:
                return OpenSection();
            case 1:
                return PlaceSection();
            case 2:
                return GivePoints();
            case 3:
                return Classify();
            case 4:
                return Snap();
            default:
                return StreamSection();
        }
    }

    // Never a device: its driver's memory and threads are not what is looked for.
    void OpenSection() {
        constexpr std::array<std::int32_t, 4> kDevices = {ORVIX_DEVICE_CPU, ORVIX_DEVICE_AUTO, -1,
                                                          3};
        Close(section_, orvix_section_close);
        auto* options = any_.Make<orvix_section_options>(in_);
        if (options != nullptr) {
            options->device = kDevices[in_.Byte() % kDevices.size()];
            options->device_memory = in_.Count();
        }
        Made(orvix_section_open(options, &section_, Error()), section_);
        const orvix_project* project = Project();
        Check(orvix_section_set_project(section_, project, Error()));
    }

    void PlaceSection() {
        if (in_.Flag()) {
            std::array<double, 16> matrix{};
            for (double& value : matrix) value = in_.Real();
            if (in_.Flag()) std::fill(matrix.begin() + 12, matrix.end(), 0), matrix[15] = 1;
            Check(orvix_section_set_transformation(section_, matrix.data(), Error()));
        } else {
            const std::array<double, 3> normal{in_.Real(), in_.Real(), in_.Real()};
            Check(orvix_section_set_plane(section_, Place(), normal.data(), Error()));
        }
        Check(orvix_section_get_transformation(section_, xyz_.data(), Error()));
        if (in_.Byte() < 32) Check(orvix_section_set_origin(section_, Place(), Error()));
        const std::array<double, 4> bounds{in_.Real(), in_.Real(), in_.Real(), in_.Real()};
        const double* given = in_.Flag() ? bounds.data() : nullptr;
        Check(orvix_section_set_slab(section_, in_.Real(), given, Error()));
    }

    // The section borrows the points, which stay where they are and as they are.
    void GivePoints() {
        constexpr std::array<std::uint64_t, 6> kStrides = {12, 24, 13, 0, 8, 32};
        orvix_section_release(section_);
        const std::uint64_t count = in_.Capacity();
        places_.assign(8 * kItems, 0);
        std::array<float, 48> some{};
        for (float& value : some) value = static_cast<float>(in_.Real());
        for (std::size_t i = 0; i < places_.size(); ++i) places_[i] = some[i % some.size()];
        const std::uint64_t stride = kStrides[in_.Byte() % kStrides.size()];
        const void* points = in_.Byte() == 0 ? nullptr : places_.data();
        Check(in_.Flag() ? orvix_section_hold(section_, points, count, stride, Error())
                         : orvix_section_set_points(section_, points, count, stride, Error()));
        std::vector<std::uint64_t> indices(in_.Byte() % 32);
        for (std::uint64_t& index : indices) index = in_.Count();
        if (in_.Flag()) {
            Check(orvix_section_set_indices(section_, indices.data(), indices.size(), Error()));
        }
        if (in_.Byte() == 0) Check(orvix_section_clear_indices(section_, Error()));
        Check(orvix_section_get_count(section_, &count_, Error()));
    }

    void Classify() {
        std::vector<std::uint8_t> bytes(4 * kItems);
        std::vector<std::uint64_t> indices(kItems);
        const std::uint64_t entries = in_.Capacity();
        Check(orvix_section_check(section_, bytes.data(), entries,
                                  any_.Make<orvix_section_counts>(in_), Error()));
        const std::int32_t wanted = in_.Byte() % 7 - 1;
        Check(orvix_section_get_indices(section_, wanted, indices.data(), in_.Capacity(), &count_,
                                        Error()));
        const std::vector<std::uint8_t> colours(4 * 257, in_.Byte());
        const std::uint64_t room = in_.Capacity();
        Check(orvix_section_colour_in(section_, colours.data(), bytes.data(), room,
                                      any_.Make<orvix_section_counts>(in_), Error()));
        Check(orvix_section_colour_separate(section_, colours.data(), colours.data() + 4,
                                            room == 0 ? nullptr : bytes.data(), room, nullptr,
                                            Error()));
        const double low = in_.Real();
        const double high = in_.Real();
        const std::uint64_t ramp = in_.Count() % 258;
        Check(orvix_section_colour_plane(section_, low, high, colours.data(), ramp, bytes.data(),
                                         room, nullptr, Error()));
    }

    void Snap() {
        std::vector<orvix_picking_ray> rays(in_.Byte() % 32);
        for (orvix_picking_ray& ray : rays) {
            for (double& value : ray.origin) value = in_.Real();
            for (double& value : ray.direction) value = in_.Real();
            ray.radius = in_.Real();
            ray.tangent = in_.Flag() ? 0 : in_.Real();
        }
        std::vector<orvix_snapped_point> found(kItems);
        orvix_snapped_point* out = in_.Byte() == 0 ? nullptr : found.data();
        Check(orvix_section_snap_rays(section_, rays.data(), rays.size(), out, Error()));
        Check(orvix_section_snap_rays_in_project(section_, rays.data(), rays.size(), out, Error()));
        const std::uint64_t places = in_.Byte() % 4;
        for (std::size_t i = 0; i < 3 * places; ++i) xyz_[i] = in_.Real();
        const double radius = in_.Real();
        Check(orvix_section_snap_positions(section_, xyz_.data(), places, radius, out, Error()));
        Check(orvix_section_snap_positions_in_project(section_, xyz_.data(), places, radius, out,
                                                      Error()));
    }

    static std::int32_t ORVIX_C_CALL Chunk(void* user, std::uint64_t, std::uint64_t count,
                                           const orvix_point* points, const std::uint8_t* classes) {
        for (std::uint64_t k = 0; k < count; ++k)
            Require(classes[k] <= ORVIX_CLASS_NO_POSITION, "a class is one of those listed");
        if (user == nullptr) return 1;
        Host& host = *static_cast<Host*>(user);
        for (std::uint64_t k = 0; k < count; ++k) host.sum_ += points[k].attributes[0];
        return --host.patience_ > 0 ? 1 : 0;
    }

    void StreamSection() {
        auto* options = any_.Make<orvix_stream_options>(in_);
        if (options != nullptr) options->wanted = static_cast<std::uint32_t>(in_.Count());
        Patience(options);
        if (options != nullptr && in_.Flag()) options->chunk = Chunk;
        AnyStruct counts;
        Check(orvix_section_stream(section_, options, counts.Make<orvix_section_counts>(in_),
                                   Error()));
        text_.resize(kItems);
        Check(orvix_section_get_device(section_, text_.data(), in_.Capacity(), &count_, Error()));
    }

    Choices in_;
    std::array<std::string, 4> paths_;
    std::array<orvix_project*, 2> projects_{};
    orvix_plane* plane_ = nullptr;
    orvix_planes* planes_ = nullptr;
    orvix_mesh* mesh_ = nullptr;
    orvix_view* view_ = nullptr;
    orvix_neighbours* near_ = nullptr;
    orvix_section* section_ = nullptr;
    std::vector<float> places_;  // borrowed by the section
    orvix_error error_{};
    AnyStruct any_;
    std::array<double, 3> place_{};
    std::vector<double> xyz_;
    std::vector<orvix_point> points_;
    std::string text_;
    std::uint64_t count_ = 0;
    std::uint64_t sum_ = 0;
    int patience_ = 0;
    int searches_ = 0;
    bool wrote_ = false;
};

// What changes when points are written, as it is at first.
class Former {
public:
    explicit Former(const ProjectManager& paths)
        : paths_(paths),
          points_(test::ReadBytes(paths.gridPts)),
          manifest_(test::ReadBytes(detail::ManifestPath(paths))) {}

    void RequireTrueSums() const {
        if (detail::TimesWritten(paths_.gridPts) > 0) return;  // two handles wrote: nobody sums
        const auto manifest = detail::ReadManifest(detail::ManifestPath(paths_));
        Require(manifest && *manifest, "the manifest can be read");
        const auto points = test::ReadBytes(paths_.gridPts);
        for (const detail::FileSums& file : (*manifest)->files) {
            const bool same =
                file.name != detail::kPointsName || file.sums == detail::SumsOf("", points).sums;
            Require(same, "the sums are those of the points");
        }
    }
    void PutBack() const {
        test::WriteRecords(paths_.gridPts, points_);
        test::WriteRecords(detail::ManifestPath(paths_), manifest_);
        std::error_code ignored;
        platform::RemoveFile(detail::WrittenMarkPath(paths_.gridPts), ignored);
    }

private:
    const ProjectManager& paths_;
    std::vector<std::uint8_t> points_;
    std::vector<std::uint8_t> manifest_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::SmallProject project;
    static const std::string path = platform::ToUtf8(project.File());
    static const std::string folder = platform::ToUtf8(project.Paths().projectFilesFolder);
    static const Former former(project.Paths());
    bool wrote = false;
    {
        Host host(Choices(data, size), path, folder);
        host.Run();
        wrote = host.Wrote();
    }
    if (wrote) {
        former.RequireTrueSums();
        former.PutBack();
    }
    return 0;
}
