// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/project_settings_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace orvix {
namespace {

using Bytes = std::vector<std::uint8_t>;

template <class... Fields>
std::vector<std::span<std::uint8_t>> Spans(Fields&... fields) {
    return {std::span(reinterpret_cast<std::uint8_t*>(&fields), sizeof fields)...};
}

// The fields in declaration order: number n stands at n - 1.
std::vector<std::span<std::uint8_t>> FieldsOf(PROJECT_SETTINGS& s) {
    return Spans(
        s.hostField1, s.hostField2, s.hostField3, s.hostField4, s.hostField5, s.hostField6,
        s.hostField7, s.hostField8, s.hostField9, s.hostField10, s.hostField11, s.hostField12,
        s.hostField13, s.hostField14, s.hostField15, s.hostField16, s.hostField17, s.hostField18,
        s.hostField19, s.hostField20, s.hostField21, s.hostField22, s.hostField23, s.hostField24,
        s.hostField25, s.hostField26, s.hostField27, s.hostField28, s.hostField29, s.hostField30,
        s.hostField31, s.hostField32, s.hostField33, s.hostField34, s.hostField35, s.hostField36,
        s.hostField37, s.aliveSplitSize, s.aliveDiffA, s.aliveDiffB, s.aliveDiffC, s.hostField42,
        s.hostField43, s.baseStep, s.aliveMinPlane, s.skeletSplitSize, s.skeletDiffA, s.skeletDiffB,
        s.skeletDiffC, s.skeletMinPlane, s.colour, s.minCellPoints, s.usage);
}

// Field numbers in file order, up to the ones that every version holds, then the rest.
const std::vector<int> kFileOrder = {1,  2,  7,  27, 3,  4,  5,  31, 32, 34, 6,  8,  9,  10,
                                     25, 26, 28, 29, 30, 33, 11, 13, 12, 16, 17, 14, 15, 18,
                                     20, 19, 23, 24, 21, 22, 35, 36, 37, 38, 39, 40, 41, 42,
                                     43, 44, 45, 46, 47, 48, 49, 50, 51, 52, 53};

int FirstVersion(int field) {
    const std::map<int, int> lastFieldBefore{{35, 0}, {37, 5},  {38, 6},  {42, 7},  {44, 8},
                                             {45, 9}, {46, 10}, {50, 11}, {51, 12}, {54, 13}};
    return lastFieldBefore.upper_bound(field)->second;
}

template <class T>
Bytes Image(T value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

Bytes AbsentImage(int field, std::size_t width) {
    const std::map<int, Bytes> absent{
        {37, Image(-1.0)}, {38, Image(-1.0)},      {39, Image(0.15)},
        {40, Image(0.15)}, {41, Image(0.15)},      {42, {255, 255}},
        {43, {3, 0}},      {44, Image(0.1)},       {45, Image<std::int64_t>(9)},
        {46, Image(-1.0)}, {47, Image(0.15)},      {48, Image(0.15)},
        {49, Image(0.15)}, {51, {0, 0, 255, 255}}, {52, {10, 0, 0, 0}}};
    const auto found = absent.find(field);
    return found != absent.end() ? found->second : Bytes(width, 0);
}

PROJECT_SETTINGS Filled(std::uint8_t first) {
    PROJECT_SETTINGS settings;
    std::uint8_t value = first;
    for (const auto field : FieldsOf(settings)) std::fill(field.begin(), field.end(), value++);
    return settings;
}

Bytes Flat(PROJECT_SETTINGS settings) {
    Bytes bytes;
    for (const auto field : FieldsOf(settings))
        bytes.insert(bytes.end(), field.begin(), field.end());
    return bytes;
}

Bytes GoldenFile(std::int32_t version) {
    PROJECT_SETTINGS settings;
    Bytes file = Image(version);
    for (const int n : kFileOrder) {
        file.insert(file.end(), FieldsOf(settings)[n - 1].size(), static_cast<std::uint8_t>(n));
    }
    return file;
}

// Reads field by field from a stream, as the file's rules say.
void ReadAsAStream(const Bytes& file, PROJECT_SETTINGS& settings) {
    std::istringstream stream(std::string(file.begin(), file.end()));
    const auto read = [&](std::span<std::uint8_t> into) {
        Bytes bytes(into.size());
        stream.read(reinterpret_cast<char*>(bytes.data()),
                    static_cast<std::streamsize>(bytes.size()));
        if (stream) std::copy(bytes.begin(), bytes.end(), into.begin());
    };
    std::int32_t version = 0;
    read(std::span(reinterpret_cast<std::uint8_t*>(&version), sizeof version));
    const auto fields = FieldsOf(settings);
    for (const int n : kFileOrder) {
        if (FirstVersion(n) == 0 || version >= FirstVersion(n)) {
            read(fields[n - 1]);
        } else {
            const Bytes absent = AbsentImage(n, fields[n - 1].size());
            std::copy(absent.begin(), absent.end(), fields[n - 1].begin());
        }
    }
}

TEST(ProjectSettingsFile, WritesTheVersionAndThenEveryFieldInFileOrder) {
    const auto bytes = detail::EncodeSettings(13, Filled(1));
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), GoldenFile(13));
    EXPECT_EQ(bytes.size(), 322U);
}

TEST(ProjectSettingsFile, ReadsBackEveryFieldThatItWrote) {
    PROJECT_SETTINGS read;
    detail::DecodeSettings(detail::EncodeSettings(13, Filled(101)), read);
    EXPECT_EQ(Flat(read), Flat(Filled(101)));
}

// BEHAVIOUR P11
TEST(ProjectSettingsFile, GivesTheFixedValuesToTheFieldsOfLaterVersions) {
    Bytes file = GoldenFile(4);
    file.resize(204);
    PROJECT_SETTINGS read = Filled(150);
    detail::DecodeSettings(file, read);
    EXPECT_EQ(read.hostField22, 22 * 257);
    EXPECT_EQ(read.hostField35, 0U);
    EXPECT_EQ(read.hostField37, -1.0);
    EXPECT_EQ(read.hostField42, 0xFFFF);
    EXPECT_EQ(read.hostField43, 3);
    EXPECT_EQ(read.baseStep, 0.1);
    EXPECT_EQ(read.aliveMinPlane, 9);
    EXPECT_EQ(read.skeletDiffC, 0.15);
    EXPECT_THAT(read.colour, testing::ElementsAre(0, 0, 255, 255));
    EXPECT_EQ(read.minCellPoints, 10);
}

// BEHAVIOUR P11
TEST(ProjectSettingsFile, ReadsEveryTruncationOfEveryVersionAsAStreamWould) {
    for (std::int32_t version = -1; version <= 14; ++version) {
        const Bytes whole = GoldenFile(version);
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            const Bytes file(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            PROJECT_SETTINGS expected = Filled(180);
            PROJECT_SETTINGS read = Filled(180);
            ReadAsAStream(file, expected);
            detail::DecodeSettings(file, read);
            ASSERT_EQ(Flat(read), Flat(expected)) << "version " << version << ", bytes " << length;
        }
    }
}

TEST(ProjectSettingsFile, TellsHowManyBytesAVersionTakes) {
    const std::map<std::int32_t, std::uint64_t> expected{{0, 204},  {4, 204},  {5, 210}, {6, 218},
                                                         {7, 250},  {8, 254},  {9, 262}, {10, 270},
                                                         {11, 302}, {12, 310}, {13, 322}};
    for (const auto& [version, bytes] : expected) {
        EXPECT_EQ(detail::SettingsBytesOfVersion(version), bytes) << version;
    }
}

}  // namespace
}  // namespace orvix
