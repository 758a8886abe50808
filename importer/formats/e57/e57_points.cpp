// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/e57/e57_points.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <span>

#include "importer/formats/byte_order.h"
#include "orvix/geometry/sine_cosine.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kTail = 8;  // bytes after the last field, so that it too is read in words
constexpr std::uint64_t kMaxRecords = 1u << 16;

/// The number of `bits` bits that begins at bit `at`; 64 bits from there on are in memory.
std::uint64_t BitsAt(const std::uint8_t* bytes, std::uint64_t at, unsigned bits) {
    if (bits == 0) return 0;
    const std::uint8_t* word = bytes + (at >> 3);
    const auto shift = static_cast<unsigned>(at & 7);
    std::uint64_t value = Load<std::uint64_t>(word) >> shift;
    if (bits + shift > 64) value |= std::uint64_t{word[8]} << (64 - shift);
    return bits == 64 ? value : value & ((std::uint64_t{1} << bits) - 1);
}

template <class Float>
void LoadFloats(const std::uint8_t* bytes, std::span<double> values) {
    for (double& value : values) {
        value = static_cast<double>(Load<Float>(bytes));
        bytes += sizeof(Float);
    }
}

// BEHAVIOUR X15
float Spread(double value, const std::optional<E57Limits>& limits, double max) {
    if (!std::isfinite(value)) return 0;
    if (!limits) return static_cast<float>(std::clamp<double>(value, -FLT_MAX, FLT_MAX));
    const double share = (value - limits->low) / (limits->high - limits->low);
    return static_cast<float>(std::floor(std::clamp(share, 0.0, 1.0) * max + 0.5));
}

}  // namespace

struct E57PointDecoder::Block {
    std::array<std::array<double, kBlock>, kColumns> values;
};

E57PointDecoder::E57PointDecoder(const E57Scan& scan)
    : intensity_(scan.intensity), colour_(scan.colour) {
    UseWhole(scan, {"cartesianX", "cartesianY", "cartesianZ"}, kFirst);
    if (columns_[kFirst]) {
        position_ = Position::Cartesian;
        Use(scan, kState, "cartesianInvalidState");
    } else {
        UseWhole(scan, {"sphericalRange", "sphericalAzimuth", "sphericalElevation"}, kFirst);
        if (!columns_[kFirst]) return;
        position_ = Position::Spherical;
        Use(scan, kState, "sphericalInvalidState");
    }
    Use(scan, kIntensity, "intensity");
    Use(scan, kIntensityInvalid, "isIntensityInvalid");
    UseWhole(scan, {"colorRed", "colorGreen", "colorBlue"}, kRed);
    Use(scan, kColourInvalid, "isColorInvalid");
}

void E57PointDecoder::Use(const E57Scan& scan, Column column, const char* name) {
    const auto field = scan.Find(name);
    if (!field || scan.fields[*field].kind == E57Field::Kind::String) return;
    columns_[column] = fields_.size();
    fields_.push_back(*field);
    used_.push_back(scan.fields[*field]);
    recordBits_ += used_.back().bits;
}

void E57PointDecoder::UseWhole(const E57Scan& scan, std::array<const char*, 3> names,
                               Column first) {
    for (const char* name : names) {
        const auto field = scan.Find(name);
        if (!field || scan.fields[*field].kind == E57Field::Kind::String) return;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        Use(scan, static_cast<Column>(first + i), names[i]);
    }
}

std::uint64_t E57PointDecoder::RecordsPerPiece() const {
    if (recordBits_ == 0) return kMaxRecords;
    const std::uint64_t fitting = (kPieceBytes - kTail) * 8 / recordBits_;
    return std::min(kMaxRecords, fitting / 8 * 8);
}

std::vector<std::size_t> E57PointDecoder::BytesOf(std::uint64_t records) const {
    std::vector<std::size_t> bytes;
    for (const E57Field& field : used_) {
        bytes.push_back(static_cast<std::size_t>((records * field.bits + 7) / 8));
    }
    return bytes;
}

void E57PointDecoder::Unpack(Column column, const std::uint8_t* bytes, std::uint64_t first,
                             std::span<double> values) const {
    const E57Field& field = used_[*columns_[column]];
    switch (field.kind) {
        case E57Field::Kind::Single:
            return LoadFloats<float>(bytes + first * sizeof(float), values);
        case E57Field::Kind::Double:
            return LoadFloats<double>(bytes + first * sizeof(double), values);
        case E57Field::Kind::Integer:
        case E57Field::Kind::ScaledInteger:
        case E57Field::Kind::String:
            break;
    }
    std::uint64_t at = first * field.bits;
    for (double& value : values) {
        value = field.ValueOf(BitsAt(bytes, at, field.bits));
        at += field.bits;
    }
}

void E57PointDecoder::Append(const Block& block, std::size_t count, DecodedPiece& decoded) const {
    const auto& values = block.values;
    const auto set = [&](Column column, std::size_t i) {
        return columns_[column].has_value() && values[column][i] != 0;
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (set(kState, i)) {
            ++(values[kState][i] == 1 ? decoded.directionOnly : decoded.invalid);  // BEHAVIOUR X16
            continue;
        }
        ScanPoint& point = decoded.points.emplace_back();
        if (position_ == Position::Cartesian) {
            point.x = values[kFirst][i];
            point.y = values[kSecond][i];
            point.z = values[kThird][i];
        } else {
            const detail::SineCosine azimuth = detail::SineCosineOf(values[kSecond][i]);
            const detail::SineCosine elevation = detail::SineCosineOf(values[kThird][i]);
            const double level = values[kFirst][i] * elevation.cosine;
            point.x = level * azimuth.cosine;
            point.y = level * azimuth.sine;
            point.z = values[kFirst][i] * elevation.sine;
        }
        if (HasIntensity() && !set(kIntensityInvalid, i)) {
            point.intensity = Spread(values[kIntensity][i], intensity_, 65535);
        }
        if (HasColour() && !set(kColourInvalid, i)) {
            const auto colour = [&](Column column) {
                const float value = Spread(values[column][i], colour_[column - kRed], 255);
                return static_cast<std::uint16_t>(std::clamp(value, 0.0F, 255.0F));
            };
            point.red = colour(kRed);
            point.green = colour(kGreen);
            point.blue = colour(kBlue);
        }
    }
}

void E57PointDecoder::Decode(const RawPiece& piece, DecodedPiece& decoded) const {
    decoded.points.clear();
    decoded.points.reserve(static_cast<std::size_t>(piece.records));
    std::vector<const std::uint8_t*> parts;
    const std::uint8_t* part = piece.bytes.data();
    for (const std::size_t bytes : BytesOf(piece.records)) {
        parts.push_back(part);
        part += bytes;
    }
    Block block;
    for (std::uint64_t first = 0; first < piece.records; first += kBlock) {
        const auto count =
            static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, piece.records - first));
        for (std::size_t column = 0; column < kColumns; ++column) {
            if (!columns_[column]) continue;
            Unpack(static_cast<Column>(column), parts[*columns_[column]], first,
                   {block.values[column].data(), count});
        }
        Append(block, count, decoded);
    }
}

}  // namespace orvix::importer
