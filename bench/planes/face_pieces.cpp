// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/face_pieces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orvix::bench {
namespace {

using detail::Cross, detail::Dot, detail::Unit, detail::Vector;

constexpr double kSquare = 0.05;  // metres
constexpr int kWiden = 2;         // squares
constexpr int kMargin = 5;        // squares around a face that stay empty
constexpr std::uint64_t kLeastPoints = 30;
constexpr double kLeastArea = 0.02;

/// Squares of a face, and a number in each.
template <class T>
struct Raster {
    int columns = 0, rows = 0;
    std::vector<T> values;

    Raster(int c, int r)
        : columns(c), rows(r), values(static_cast<std::size_t>(c) * static_cast<std::size_t>(r)) {}
    T& At(int c, int r) { return values[Place(c, r)]; }
    [[nodiscard]] const T& At(int c, int r) const { return values[Place(c, r)]; }
    [[nodiscard]] bool Has(int c, int r) const {
        return c >= 0 && r >= 0 && c < columns && r < rows;
    }

private:
    [[nodiscard]] std::size_t Place(int c, int r) const {
        return static_cast<std::size_t>(c) * static_cast<std::size_t>(rows) +
               static_cast<std::size_t>(r);
    }
};
using Mask = Raster<std::uint8_t>;

/// Which squares have one of a value within kWiden columns and rows; outside there is 0.
Mask Spread(const Mask& mask, std::uint8_t value) {
    Mask result(mask.columns, mask.rows);
    for (int c = 0; c < mask.columns; ++c)
        for (int r = 0; r < mask.rows; ++r)
            for (int dc = -kWiden; dc <= kWiden && result.At(c, r) == 0; ++dc)
                for (int dr = -kWiden; dr <= kWiden && result.At(c, r) == 0; ++dr) {
                    const bool has = mask.Has(c + dc, r + dr);
                    const std::uint8_t there = has ? mask.At(c + dc, r + dr) : 0;
                    result.At(c, r) = there == value ? 1 : 0;
                }
    return result;
}

/// Numbers from 1 what hangs together, over corners too; returns how many there are.
int Number(const Mask& mask, Raster<std::int32_t>& parts) {
    int count = 0;
    std::vector<std::pair<int, int>> open;
    for (int c = 0; c < mask.columns; ++c)
        for (int r = 0; r < mask.rows; ++r) {
            if (mask.At(c, r) == 0 || parts.At(c, r) != 0) continue;
            parts.At(c, r) = ++count;
            open.assign(1, {c, r});
            while (!open.empty()) {
                const auto [fromC, fromR] = open.back();
                open.pop_back();
                for (int nc = fromC - 1; nc <= fromC + 1; ++nc)
                    for (int nr = fromR - 1; nr <= fromR + 1; ++nr)
                        if (mask.Has(nc, nr) && mask.At(nc, nr) != 0 && parts.At(nc, nr) == 0) {
                            parts.At(nc, nr) = count;
                            open.emplace_back(nc, nr);
                        }
            }
        }
    return count;
}

/// Of each square of the mask the squared distance to the nearest square outside it, in squares.
Raster<std::int64_t> SquaredDistances(const Mask& mask) {
    Raster<std::int64_t> along(mask.columns, mask.rows), result(mask.columns, mask.rows);
    for (int c = 0; c < mask.columns; ++c) {
        const auto pass = [&](int from, int to, int step) {
            std::int64_t far = mask.rows + mask.columns;
            for (int r = from; r != to; r += step) {
                far = mask.At(c, r) != 0 ? far + 1 : 0;
                along.At(c, r) = step > 0 ? far : std::min(along.At(c, r), far);
            }
        };
        pass(0, mask.rows, 1);
        pass(mask.rows - 1, -1, -1);
    }
    for (int c = 0; c < mask.columns; ++c)
        for (int r = 0; r < mask.rows; ++r) {
            std::int64_t best = along.At(c, r) * along.At(c, r);
            for (int d = 1; std::int64_t{d} * d < best; ++d)
                for (const int other : {c - d, c + d}) {
                    if (other < 0 || other >= mask.columns) continue;
                    const std::int64_t far = along.At(other, r);
                    best = std::min(best, std::int64_t{d} * d + far * far);
                }
            result.At(c, r) = best;
        }
    return result;
}

/// Finds the pieces of one face after the other.
class Parter {
public:
    Parter(std::span<const Vector> points, FacePieces& found) : points_(points), found_(found) {}

    /// `members` are the points of the face, as places.
    void Part(std::int32_t number, const TrueFace& face, std::span<const std::uint32_t> members) {
        const std::vector<std::pair<int, int>> squares = SquaresOf(face.plane.normal, members);
        int columns = 0, rows = 0;
        for (const auto& [c, r] : squares) {
            columns = std::max(columns, c + 1 + kMargin);
            rows = std::max(rows, r + 1 + kMargin);
        }
        Mask seen(columns, rows);
        for (const auto& [c, r] : squares) seen.At(c, r) = 1;
        const Mask wide = Spread(seen, 1);
        Mask closed = Spread(wide, 0);
        for (std::size_t i = 0; i < closed.values.size(); ++i)
            closed.values[i] = closed.values[i] == 0 || seen.values[i] != 0 ? 1 : 0;
        Raster<std::int32_t> parts(columns, rows);
        std::vector<FacePiece> pieces(static_cast<std::size_t>(Number(wide, parts)));
        const Raster<std::int64_t> far = SquaredDistances(closed);
        for (std::size_t i = 0; i < parts.values.size(); ++i) {
            if (parts.values[i] == 0) continue;
            FacePiece& piece = pieces[static_cast<std::size_t>(parts.values[i] - 1)];
            piece.area += closed.values[i] * kSquare * kSquare;
            const double width = 2 * kSquare * std::sqrt(static_cast<double>(far.values[i]));
            if (closed.values[i] != 0) piece.width = std::max(piece.width, width);
        }
        for (const auto& [c, r] : squares)
            ++pieces[static_cast<std::size_t>(parts.At(c, r) - 1)].points;
        std::vector<std::int32_t> numbers;
        for (FacePiece& piece : pieces) {
            piece.face = number;
            piece.area = std::min(piece.area, face.plane.area);
            const bool counts = piece.points >= kLeastPoints && piece.area >= kLeastArea;
            numbers.push_back(counts ? static_cast<std::int32_t>(found_.pieces.size())
                                     : test::kUnjudgedPlane);
            if (counts) found_.pieces.push_back(piece);
        }
        for (std::size_t i = 0; i < members.size(); ++i) {
            const auto [c, r] = squares[i];
            found_.of[members[i]] = numbers[static_cast<std::size_t>(parts.At(c, r) - 1)];
        }
    }

private:
    /// The square of each point, kMargin away from the raster's edges at least.
    [[nodiscard]] std::vector<std::pair<int, int>> SquaresOf(
        const Vector& normal, std::span<const std::uint32_t> members) const {
        const Vector side = std::abs(normal.z) > 0.9 ? Vector{0, 1, 0} : Vector{0, 0, 1};
        const Vector u = Unit(Cross(normal, side)), v = Cross(normal, u);
        double lowU = std::numeric_limits<double>::infinity(), lowV = lowU;
        for (const std::uint32_t at : members) {
            lowU = std::min(lowU, Dot(points_[at], u));
            lowV = std::min(lowV, Dot(points_[at], v));
        }
        std::vector<std::pair<int, int>> squares;
        squares.reserve(members.size());
        const auto squareOf = [](double from) {
            return static_cast<int>(std::floor(from / kSquare)) + kMargin;
        };
        for (const std::uint32_t at : members)
            squares.emplace_back(squareOf(Dot(points_[at], u) - lowU),
                                 squareOf(Dot(points_[at], v) - lowV));
        return squares;
    }

    std::span<const Vector> points_;
    FacePieces& found_;
};

}  // namespace

FacePieces PiecesOf(std::span<const Vector> points, std::span<const std::int32_t> faceOf,
                    const std::vector<TrueFace>& faces) {
    FacePieces found;
    found.of.assign(faceOf.begin(), faceOf.end());
    std::vector<std::vector<std::uint32_t>> members(faces.size());
    for (std::size_t i = 0; i < faceOf.size(); ++i) {
        if (faceOf[i] < 0) continue;
        members[static_cast<std::size_t>(faceOf[i])].push_back(static_cast<std::uint32_t>(i));
        found.of[i] = test::kUnjudgedPlane;
    }
    Parter parter(points, found);
    for (std::size_t f = 0; f < faces.size(); ++f)
        if (faces[f].judged && members[f].size() >= kLeastPoints)
            parter.Part(static_cast<std::int32_t>(f), faces[f], members[f]);
    return found;
}

}  // namespace orvix::bench
