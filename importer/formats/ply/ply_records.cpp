// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/ply/ply_records.h"

#include <algorithm>
#include <array>

#include "importer/formats/byte_order.h"

namespace orvix::importer {
namespace {

constexpr std::size_t kBlock = 512;  // records whose values and points stay in the cache

struct Strided {
    const std::uint8_t* first = nullptr;
    std::size_t stride = 0;
    std::size_t count = 0;
};

template <class T, std::endian Order>
void LoadAs(const Strided& from, double* values) {
    for (std::size_t i = 0; i < from.count; ++i) {
        values[i] = static_cast<double>(Load<T, Order>(from.first + i * from.stride));
    }
}

template <std::endian Order>
void LoadValues(PlyType type, const Strided& from, double* values) {
    switch (type) {
        case PlyType::Int8:
            return LoadAs<std::int8_t, Order>(from, values);
        case PlyType::UInt8:
            return LoadAs<std::uint8_t, Order>(from, values);
        case PlyType::Int16:
            return LoadAs<std::int16_t, Order>(from, values);
        case PlyType::UInt16:
            return LoadAs<std::uint16_t, Order>(from, values);
        case PlyType::Int32:
            return LoadAs<std::int32_t, Order>(from, values);
        case PlyType::UInt32:
            return LoadAs<std::uint32_t, Order>(from, values);
        case PlyType::Float:
            return LoadAs<float, Order>(from, values);
        case PlyType::Double:
            return LoadAs<double, Order>(from, values);
    }
}

void LoadValues(PlyType type, bool bigEndian, const Strided& from, double* values) {
    if (bigEndian) {
        LoadValues<std::endian::big>(type, from, values);
    } else {
        LoadValues<std::endian::little>(type, from, values);
    }
}

/// One loop per role, so that none looks at the role point by point.
void StoreValues(Role role, std::span<const double> values, double colourScale, ScanPoint* out) {
    const auto store = [&](auto constant) {
        for (const double value : values) StoreValue(constant.value, value, colourScale, *out++);
    };
    switch (role) {
        case Role::X:
            return store(std::integral_constant<Role, Role::X>());
        case Role::Y:
            return store(std::integral_constant<Role, Role::Y>());
        case Role::Z:
            return store(std::integral_constant<Role, Role::Z>());
        case Role::Intensity:
            return store(std::integral_constant<Role, Role::Intensity>());
        case Role::Red:
            return store(std::integral_constant<Role, Role::Red>());
        case Role::Green:
            return store(std::integral_constant<Role, Role::Green>());
        case Role::Blue:
            return store(std::integral_constant<Role, Role::Blue>());
        case Role::Class:
            return store(std::integral_constant<Role, Role::Class>());
        case Role::None:
            return;
    }
}

}  // namespace

PlyRecordDecoder::PlyRecordDecoder(const PlyHeader& header)
    : properties_(header.Vertex().properties),
      roles_(header.columns.ByColumn()),
      recordBytes_(static_cast<std::size_t>(header.Vertex().MinBytes())),
      colourScale_(header.colourScale),
      hasLists_(header.Vertex().HasList()),
      bigEndian_(header.encoding == PlyEncoding::BigEndian) {
    roles_.resize(properties_.size(), Role::None);
    std::size_t byte = 0;
    for (std::size_t i = 0; i < properties_.size(); ++i) {
        if (roles_[i] != Role::None) columns_.push_back({roles_[i], properties_[i].type, byte});
        byte += SizeOf(properties_[i].type);
    }
}

void PlyRecordDecoder::Decode(std::span<const std::uint8_t> records,
                              std::vector<ScanPoint>& points) const {
    points.clear();
    if (hasLists_) {
        DecodeLists(records, points);
    } else {
        DecodeFixed(records, points);
    }
}

void PlyRecordDecoder::DecodeFixed(std::span<const std::uint8_t> records,
                                   std::vector<ScanPoint>& points) const {
    points.resize(records.size() / recordBytes_);
    std::array<double, kBlock> values;
    for (std::size_t first = 0; first < points.size(); first += kBlock) {
        const std::size_t count = std::min(kBlock, points.size() - first);
        const std::uint8_t* block = records.data() + first * recordBytes_;
        for (const Column& column : columns_) {
            LoadValues(column.type, bigEndian_, {block + column.byte, recordBytes_, count},
                       values.data());
            StoreValues(column.role, {values.data(), count}, colourScale_, &points[first]);
        }
    }
}

void PlyRecordDecoder::DecodeLists(std::span<const std::uint8_t> records,
                                   std::vector<ScanPoint>& points) const {
    const std::uint8_t* at = records.data();
    const std::uint8_t* end = at + records.size();
    while (at != end) {
        ScanPoint& point = points.emplace_back();
        for (std::size_t i = 0; i < properties_.size(); ++i) {
            const PlyProperty& property = properties_[i];
            std::size_t bytes = SizeOf(property.type);
            if (property.countType) {
                const auto length = LoadListLength(*property.countType, bigEndian_, at);
                at += SizeOf(*property.countType);
                bytes *= static_cast<std::size_t>(length);
            } else if (roles_[i] != Role::None) {
                double value = 0;
                LoadValues(property.type, bigEndian_, {at, 0, 1}, &value);
                StoreValue(roles_[i], value, colourScale_, point);
            }
            at += bytes;
        }
    }
}

std::int64_t LoadListLength(PlyType type, bool bigEndian, const std::uint8_t* bytes) {
    double length = 0;
    LoadValues(type, bigEndian, {bytes, 0, 1}, &length);
    return length < 0 ? -1 : static_cast<std::int64_t>(length);
}

}  // namespace orvix::importer
