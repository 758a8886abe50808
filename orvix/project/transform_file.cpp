// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/transform_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <system_error>

#include "orvix/geometry/bounds.h"
#include "orvix/platform/file.h"

namespace orvix::detail {
namespace {

using Matrix = std::array<double, 16>;

// The cofactor of the rotation part's element (row, column), signs included by the cyclic order.
double Cofactor(const Matrix& m, int row, int column) {
    const int r1 = (row + 1) % 3;
    const int r2 = (row + 2) % 3;
    const int c1 = (column + 1) % 3;
    const int c2 = (column + 2) % 3;
    return m[4 * r1 + c1] * m[4 * r2 + c2] - m[4 * r1 + c2] * m[4 * r2 + c1];
}

double Determinant(const Matrix& m) {
    return m[0] * Cofactor(m, 0, 0) + m[1] * Cofactor(m, 0, 1) + m[2] * Cofactor(m, 0, 2);
}

const char* FaultOf(const Matrix& m) {
    if (!std::all_of(m.begin(), m.end(), [](double v) { return std::isfinite(v); })) {
        return "holds a value that is not a finite number";
    }
    if (m[12] != 0 || m[13] != 0 || m[14] != 0 || m[15] != 1) {
        return "is no affine matrix: its last row is not 0, 0, 0, 1";
    }
    if (!std::isnormal(Determinant(m))) return "has no inverse";
    return nullptr;
}

tl::unexpected<Error> Damaged(const CString& path, const std::string& what) {
    return Fail(ErrorCode::Damaged,
                fmt::format("{} {}; import the project again", platform::ToUtf8(path), what));
}

}  // namespace

LocalToWorld LocalToWorld::Translation(const SimplePointT<double>& origin) {
    LocalToWorld frame;
    frame.m[3] = origin.x;
    frame.m[7] = origin.y;
    frame.m[11] = origin.z;
    return frame;
}

SimplePointT<double> LocalToWorld::ToWorld(const SimplePointT<double>& local) const {
    const auto row = [&](int r) {
        return m[4 * r] * local.x + m[4 * r + 1] * local.y + m[4 * r + 2] * local.z + m[4 * r + 3];
    };
    return {row(0), row(1), row(2)};
}

SimplePointT<double> LocalToWorld::ToLocal(const SimplePointT<double>& world) const {
    const SimplePointT<double> d{world.x - m[3], world.y - m[7], world.z - m[11]};
    const double determinant = Determinant(m);
    const auto row = [&](int r) {
        return (Cofactor(m, 0, r) * d.x + Cofactor(m, 1, r) * d.y + Cofactor(m, 2, r) * d.z) /
               determinant;
    };
    return {row(0), row(1), row(2)};
}

ExtendsT<double> LocalToWorld::ToWorld(const ExtendsT<double>& local) const {
    ExtendsT<double> world;
    for (int corner = 0; corner < 8; ++corner) {
        const SimplePointT<double> p =
            ToWorld(SimplePointT<double>{(corner & 1) != 0 ? local.max.x : local.min.x,
                                         (corner & 2) != 0 ? local.max.y : local.min.y,
                                         (corner & 4) != 0 ? local.max.z : local.min.z});
        if (corner == 0) world = {p, p};
        detail::Extend(world, p);
    }
    return world;
}

Expected<LocalToWorld> ReadTransform(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error == std::errc::no_such_file_or_directory) return LocalToWorld{};
    if (error) return FailSystem(error, "cannot open " + platform::ToUtf8(path));
    LocalToWorld frame;
    if (file.Size() != kTransformFileBytes) {
        return Damaged(
            path, fmt::format("holds {} bytes instead of {}", file.Size(), kTransformFileBytes));
    }
    const std::size_t read = file.ReadAt(0, frame.m.data(), kTransformFileBytes, error);
    if (error || read != kTransformFileBytes) {
        return FailSystem(error, "cannot read " + platform::ToUtf8(path));
    }
    if (const char* fault = FaultOf(frame.m)) return Damaged(path, fault);
    return frame;
}

Expected<void> WriteTransform(const CString& path, const LocalToWorld& frame) {
    std::error_code error;
    platform::File file = platform::File::Create(path, error);
    if (!error) file.WriteAt(0, frame.m.data(), kTransformFileBytes, error);
    if (!error) file.Close(error);
    if (error) return FailSystem(error, "cannot write " + platform::ToUtf8(path));
    return {};
}

}  // namespace orvix::detail
