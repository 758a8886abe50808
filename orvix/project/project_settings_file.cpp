// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_settings_file.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <system_error>
#include <type_traits>

#include "orvix/platform/file.h"

namespace orvix::detail {
namespace {

static_assert(std::endian::native == std::endian::little, "records are copied byte for byte");
static_assert(std::is_standard_layout_v<PROJECT_SETTINGS>);
static_assert(std::is_trivially_copyable_v<PROJECT_SETTINGS>);

struct Field {
    std::uint16_t fileOffset;
    std::uint16_t memoryOffset;
    std::uint8_t width;
    std::uint8_t firstVersion;
    std::uint64_t absent;  // its low `width` bytes are what an older file reads as
};

constexpr std::uint64_t Bits(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

#define ORVIX_FIELD(fileOffset, member, firstVersion, absent)                             \
    Field {                                                                               \
        fileOffset, offsetof(PROJECT_SETTINGS, member), sizeof(PROJECT_SETTINGS::member), \
            firstVersion, absent                                                          \
    }

// clang-format off
constexpr Field kFields[] = {
    ORVIX_FIELD(4, hostField1, 0, 0),
    ORVIX_FIELD(8, hostField2, 0, 0),
    ORVIX_FIELD(12, hostField7, 0, 0),
    ORVIX_FIELD(16, hostField27, 0, 0),
    ORVIX_FIELD(20, hostField3, 0, 0),
    ORVIX_FIELD(28, hostField4, 0, 0),
    ORVIX_FIELD(36, hostField5, 0, 0),
    ORVIX_FIELD(44, hostField31, 0, 0),
    ORVIX_FIELD(52, hostField32, 0, 0),
    ORVIX_FIELD(60, hostField34, 0, 0),
    ORVIX_FIELD(68, hostField6, 0, 0),
    ORVIX_FIELD(76, hostField8, 0, 0),
    ORVIX_FIELD(84, hostField9, 0, 0),
    ORVIX_FIELD(92, hostField10, 0, 0),
    ORVIX_FIELD(100, hostField25, 0, 0),
    ORVIX_FIELD(102, hostField26, 0, 0),
    ORVIX_FIELD(104, hostField28, 0, 0),
    ORVIX_FIELD(106, hostField29, 0, 0),
    ORVIX_FIELD(108, hostField30, 0, 0),
    ORVIX_FIELD(110, hostField33, 0, 0),
    ORVIX_FIELD(112, hostField11, 0, 0),
    ORVIX_FIELD(116, hostField13, 0, 0),
    ORVIX_FIELD(124, hostField12, 0, 0),
    ORVIX_FIELD(132, hostField16, 0, 0),
    ORVIX_FIELD(140, hostField17, 0, 0),
    ORVIX_FIELD(148, hostField14, 0, 0),
    ORVIX_FIELD(156, hostField15, 0, 0),
    ORVIX_FIELD(158, hostField18, 0, 0),
    ORVIX_FIELD(162, hostField20, 0, 0),
    ORVIX_FIELD(170, hostField19, 0, 0),
    ORVIX_FIELD(178, hostField23, 0, 0),
    ORVIX_FIELD(186, hostField24, 0, 0),
    ORVIX_FIELD(194, hostField21, 0, 0),
    ORVIX_FIELD(202, hostField22, 0, 0),
    ORVIX_FIELD(204, hostField35, 5, 0),
    ORVIX_FIELD(208, hostField36, 5, 0),
    ORVIX_FIELD(210, hostField37, 6, Bits(-1.0)),
    ORVIX_FIELD(218, aliveSplitSize, 7, Bits(-1.0)),
    ORVIX_FIELD(226, aliveDiffA, 7, Bits(0.15)),
    ORVIX_FIELD(234, aliveDiffB, 7, Bits(0.15)),
    ORVIX_FIELD(242, aliveDiffC, 7, Bits(0.15)),
    ORVIX_FIELD(250, hostField42, 8, 0xFFFF),
    ORVIX_FIELD(252, hostField43, 8, 3),
    ORVIX_FIELD(254, baseStep, 9, Bits(0.1)),
    ORVIX_FIELD(262, aliveMinPlane, 10, 9),
    ORVIX_FIELD(270, skeletSplitSize, 11, Bits(-1.0)),
    ORVIX_FIELD(278, skeletDiffA, 11, Bits(0.15)),
    ORVIX_FIELD(286, skeletDiffB, 11, Bits(0.15)),
    ORVIX_FIELD(294, skeletDiffC, 11, Bits(0.15)),
    ORVIX_FIELD(302, skeletMinPlane, 12, 0),
    ORVIX_FIELD(310, colour, 13, 0xFFFF0000),
    ORVIX_FIELD(314, minCellPoints, 13, 10),
    ORVIX_FIELD(318, usage, 13, 0),
};
// clang-format on
#undef ORVIX_FIELD

constexpr std::size_t kVersionBytes = sizeof(std::int32_t);

constexpr bool FieldsAreGapless() {
    std::size_t end = kVersionBytes;
    int version = 0;
    for (const Field& field : kFields) {
        if (field.fileOffset != end || field.firstVersion < version) return false;
        end += field.width;
        version = field.firstVersion;
    }
    return end == kProjectFileBytes && version == kSettingsVersion;
}
static_assert(std::size(kFields) == 53 && FieldsAreGapless());

// First version 0 stands for "every version", negative ones included.
bool IsLacking(std::int32_t version, const Field& field) {
    return field.firstVersion > 0 && version < field.firstVersion;
}

std::byte* MemoryOf(PROJECT_SETTINGS& settings, const Field& field) {
    return reinterpret_cast<std::byte*>(&settings) + field.memoryOffset;
}

}  // namespace

void DecodeSettings(std::span<const std::uint8_t> bytes, PROJECT_SETTINGS& settings) {
    const std::int32_t version = SettingsVersionOf(bytes);
    for (const Field& field : kFields) {
        if (IsLacking(version, field)) {
            std::memcpy(MemoryOf(settings, field), &field.absent, field.width);
        } else if (field.fileOffset + field.width <= bytes.size()) {  // BEHAVIOUR P11
            std::memcpy(MemoryOf(settings, field), bytes.data() + field.fileOffset, field.width);
        }
    }
}

std::array<std::uint8_t, kProjectFileBytes> EncodeSettings(std::int32_t version,
                                                           const PROJECT_SETTINGS& settings) {
    std::array<std::uint8_t, kProjectFileBytes> bytes{};
    std::memcpy(bytes.data(), &version, kVersionBytes);  // BEHAVIOUR P12
    const auto* memory = reinterpret_cast<const std::byte*>(&settings);
    for (const Field& field : kFields) {
        std::memcpy(bytes.data() + field.fileOffset, memory + field.memoryOffset, field.width);
    }
    return bytes;
}

std::int32_t SettingsVersionOf(std::span<const std::uint8_t> bytes) {
    std::int32_t version = 0;
    if (bytes.size() >= kVersionBytes) std::memcpy(&version, bytes.data(), kVersionBytes);
    return version;
}

std::uint64_t SettingsBytesOfVersion(std::int32_t version) {
    for (const Field& field : kFields) {
        if (IsLacking(version, field)) return field.fileOffset;
    }
    return kProjectFileBytes;
}

Expected<SettingsRecord> ExamineSettingsFile(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error == std::errc::invalid_seek) return SettingsRecord::Foreign;  // a pipe, a device
    if (error) return FailSystem(error, platform::ToUtf8(path) + " cannot be opened");
    std::array<std::uint8_t, kVersionBytes> start{};
    const std::size_t read = file.ReadAt(0, start.data(), start.size(), error);
    if (error) return FailSystem(error, platform::ToUtf8(path) + " cannot be read");
    if (file.Size() == 0) return SettingsRecord::Cut;
    const std::int32_t version = SettingsVersionOf({start.data(), read});
    const bool known = version >= 1 && version <= kSettingsVersion;  // BEHAVIOUR I15
    if (!known || file.Size() > kProjectFileBytes) return SettingsRecord::Foreign;
    const bool whole = file.Size() >= SettingsBytesOfVersion(version);
    return whole ? SettingsRecord::Whole : SettingsRecord::Cut;
}

}  // namespace orvix::detail
