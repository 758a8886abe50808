// SPDX-License-Identifier: GPL-3.0-or-later
// Sections: the handle, what it is given, and what it worked on.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "orvix/c/project_handle.h"
#include "orvix/c/section_handle.h"
#include "orvix/platform/text.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

using Matrix = std::array<double, 16>;

constexpr double kUnbounded = std::numeric_limits<double>::infinity();

static_assert(static_cast<int>(SectionDevice::Auto) == ORVIX_DEVICE_AUTO &&
              static_cast<int>(SectionDevice::Cpu) == ORVIX_DEVICE_CPU &&
              static_cast<int>(SectionDevice::Gpu) == ORVIX_DEVICE_GPU);

// first * second, which is affine. The fourth column is summed as the class sums a shift.
Matrix Product(const Matrix& first, const Matrix& second) {
    Matrix product{};
    for (std::size_t row = 0; row < 4; ++row) {
        const double* a = first.data() + 4 * row;
        for (std::size_t column = 0; column < 4; ++column) {
            const auto b = [&](std::size_t k) { return second[4 * k + column]; };
            product[4 * row + column] = (a[0] * b(0) + a[1] * b(1)) + a[2] * b(2);
        }
        product[4 * row + 3] += a[3];
    }
    return product;
}

tl::expected<SectionOptions, Refusal> OptionsOf(const orvix_section_options& given) {
    if (given.device < ORVIX_DEVICE_AUTO || given.device > ORVIX_DEVICE_GPU) {
        return Refuse(ORVIX_BAD_ARGUMENT,
                      fmt::format("options.device is {}; it is ORVIX_DEVICE_AUTO, _CPU or _GPU",
                                  given.device));
    }
    SectionOptions options;
    options.device = static_cast<SectionDevice>(given.device);
    if (given.device_memory != 0) options.deviceMemory = given.device_memory;
    options.softwareDevices = given.software_devices != 0;
    return options;
}

Answer TakeMatrix(orvix_section& section, const Matrix& matrix) {
    if (section.Take(matrix, section.frame)) return {};
    return Refuse(ORVIX_BAD_ARGUMENT,
                  "the matrix is not affine: a number is not finite, or its last row is not "
                  "0, 0, 0, 1");
}

Answer SetPoints(orvix_section* section, const void* points, std::uint64_t count,
                 std::uint64_t stride, bool (RevitAMP::*set)(const SectionPoints&)) {
    if (auto there = RequirePointer(section, "section"); !there) return there;
    const bool reaches = stride == 0 || count <= static_cast<std::uint64_t>(PTRDIFF_MAX) / stride;
    if (reaches && (section->amp.*set)({points, count, stride})) {
        section->indices.clear();
        return {};
    }
    return Refuse(
        ORVIX_BAD_ARGUMENT,
        fmt::format("{} points, {} bytes apart: points are there and fit into memory, and "
                    "the stride is 12 or more and divisible by 4",
                    count, stride));
}

// The indices of before are needed until the new ones are taken.
Answer SetIndices(orvix_section& section, const std::uint64_t* indices, std::uint64_t count) {
    if (count > 0) {
        if (auto there = RequirePointer(indices, "indices"); !there) return there;
    }
    std::vector<std::uint64_t> copy(indices, indices + count);
    const std::array lists{std::span<const std::uint64_t>(copy)};
    if (!section.amp.SetIndexLists(lists)) {
        return Refuse(ORVIX_BAD_ARGUMENT,
                      "an index is beyond the points that are set; the indices of before stay");
    }
    section.indices = std::move(copy);
    return {};
}

Answer SetProject(orvix_section& section, const orvix_project& project) {
    const LocalToWorld before = section.frame;
    if (!section.Take(section.matrix, project.summary.frame)) {
        return Refuse(ORVIX_BAD_ARGUMENT,
                      "the transformation and the project's own are too large together");
    }
    // The project of before is closed once the class has let it go.
    bool taken = false;
    try {
        taken = section.amp.SetProject(project.opened->Core());
    } catch (...) {
        section.Take(section.matrix, before);  // the frame of the project that stays
        throw;
    }
    if (taken) {
        section.project = project.opened;
        return {};
    }
    section.project.reset();
    section.Take(section.matrix, before);
    return Refuse(ORVIX_DAMAGED,
                  fmt::format("the 100 cm cells of {} do not lead to the points of its point file; "
                              "check the project or import it again",
                              platform::ToUtf8(project.Paths().projectFile)));
}

}  // namespace

bool orvix_section::Take(const Matrix& worldToSection, const LocalToWorld& pointsToWorld) {
    const bool shift = IsShift(pointsToWorld);  // BEHAVIOUR B7
    if (!amp.SetTransformation(shift ? worldToSection : Product(worldToSection, pointsToWorld.m))) {
        return false;
    }
    amp.SetOrigin(shift ? pointsToWorld.Origin() : SimplePointT<double>{});
    matrix = worldToSection;
    frame = pointsToWorld;
    return true;
}

namespace orvix::detail {

bool IsShift(const LocalToWorld& frame) {
    return frame.m == LocalToWorld::Translation(frame.Origin()).m;
}

}  // namespace orvix::detail

orvix_status orvix_section_open(const orvix_section_options* options, orvix_section** section,
                                orvix_error* error) {
    if (section != nullptr) *section = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        const auto how = OptionsOf(*taken);
        if (!how) return ErrorOf(how);
        *section = std::make_unique<orvix_section>(*how).release();
        return {};
    });
}

void orvix_section_close(orvix_section* section) {
    delete section;
}

orvix_status orvix_section_set_transformation(orvix_section* section, const double* matrix,
                                              orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        if (auto there = RequirePointer(matrix, "matrix"); !there) return there;
        Matrix given{};
        std::copy_n(matrix, given.size(), given.begin());
        return TakeMatrix(*section, given);
    });
}

orvix_status orvix_section_set_plane(orvix_section* section, const double* point,
                                     const double* normal, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        if (auto there = RequirePointer(point, "point"); !there) return there;
        if (auto there = RequirePointer(normal, "normal"); !there) return there;
        RevitAMP facing;
        if (!facing.SetPlane(PositionAt(point), PositionAt(normal))) {
            return Refuse(ORVIX_BAD_ARGUMENT,
                          "the plane has no direction, or a number is not finite or too large");
        }
        Matrix matrix{};
        facing.GetTransformation(matrix);
        return TakeMatrix(*section, matrix);
    });
}

orvix_status orvix_section_get_transformation(const orvix_section* section, double* matrix,
                                              orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        if (auto there = RequirePointer(matrix, "matrix"); !there) return there;
        std::copy(section->matrix.begin(), section->matrix.end(), matrix);
        return {};
    });
}

orvix_status orvix_section_set_origin(orvix_section* section, const double* origin,
                                      orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        if (auto there = RequirePointer(origin, "origin"); !there) return there;
        const bool finite =
            std::all_of(origin, origin + 3, [](double v) { return std::isfinite(v); });
        if (finite &&
            section->Take(section->matrix, LocalToWorld::Translation(PositionAt(origin)))) {
            return {};
        }
        return Refuse(ORVIX_BAD_ARGUMENT, "the origin is not finite");
    });
}

orvix_status orvix_section_set_slab(orvix_section* section, double half_thickness,
                                    const double* bounds, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        SectionSlab slab{half_thickness, -kUnbounded, kUnbounded, -kUnbounded, kUnbounded};
        if (bounds != nullptr) slab = {half_thickness, bounds[0], bounds[1], bounds[2], bounds[3]};
        if (section->amp.SetSlab(slab)) return {};
        return Refuse(ORVIX_BAD_ARGUMENT,
                      fmt::format("the half thickness {} is negative or not finite, or a bound is "
                                  "no number",
                                  half_thickness));
    });
}

orvix_status orvix_section_set_points(orvix_section* section, const void* points, uint64_t count,
                                      uint64_t stride, orvix_error* error) {
    return Answered(
        error, [&] { return SetPoints(section, points, count, stride, &RevitAMP::SetPoints); });
}

orvix_status orvix_section_hold(orvix_section* section, const void* points, uint64_t count,
                                uint64_t stride, orvix_error* error) {
    return Answered(error,
                    [&] { return SetPoints(section, points, count, stride, &RevitAMP::Hold); });
}

void orvix_section_release(orvix_section* section) {
    if (section == nullptr) return;
    section->amp.Release();
    section->indices = {};
    section->project.reset();
}

orvix_status orvix_section_set_indices(orvix_section* section, const uint64_t* indices,
                                       uint64_t count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        return SetIndices(*section, indices, count);
    });
}

orvix_status orvix_section_clear_indices(orvix_section* section, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        section->amp.ClearIndexLists();
        section->indices = {};
        return {};
    });
}

orvix_status orvix_section_get_count(const orvix_section* section, uint64_t* count,
                                     orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        if (auto there = RequirePointer(count, "count"); !there) return there;
        *count = section->amp.Count();
        return {};
    });
}

orvix_status orvix_section_set_project(orvix_section* section, const orvix_project* project,
                                       orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        if (auto there = RequirePointer(project, "project"); !there) return there;
        return SetProject(*section, *project);
    });
}

orvix_status orvix_section_get_device(const orvix_section* section, char* text, uint64_t capacity,
                                      uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        const std::string name = section->amp.Device();
        const auto fill = Fits(name.size() + 1, text, capacity, count, "bytes");
        if (!fill) return ErrorOf(fill);
        if (*fill) std::memcpy(text, name.c_str(), name.size() + 1);
        return {};
    });
}
