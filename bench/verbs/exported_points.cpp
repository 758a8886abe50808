// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/verbs/exported_points.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "bench/bench_support.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/attributes.h"
#include "orvix/project/height_bins.h"
#include "orvix/project/transform_file.h"
#include "output/file_ending.h"

namespace orvix::bench {

namespace {

platform::MappedFile Mapped(const CString& path) {
    std::error_code error;
    auto file = platform::MappedFile::Open(path, error);
    Require(!error, "a file cannot be mapped");
    return file;
}

template <class Record>
Record RecordAt(const platform::MappedFile& file, std::uint64_t number) {
    Record record;
    std::memcpy(&record, file.Data() + number * sizeof(Record), sizeof record);
    return record;
}

template <class Use>
void ForEachPoint(const ProjectManager& paths, Use&& use) {
    const auto points = Mapped(paths.gridPts);
    const auto frame = detail::ReadTransform(paths.transformFile);
    Require(frame.has_value(), "there is no transform");
    for (std::uint64_t i = 0; i < points.Size() / kAlivePointBytes; ++i) {
        const auto point = RecordAt<CCloudPoint<float>>(points, i);
        use(point, frame->ToWorld(SimplePointT<double>{point.x, point.y, point.z}));
    }
}

template <class Number>
Number NumberAt(const std::uint8_t* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

void RequirePly(const ProjectManager& paths, const platform::MappedFile& file) {
    constexpr std::string_view kEnd = "end_header\n";
    constexpr std::size_t kBytes = 35;
    const std::string_view start(reinterpret_cast<const char*>(file.Data()), 4096);
    const std::uint8_t* at = file.Data() + start.find(kEnd) + kEnd.size();
    ForEachPoint(paths, [&at](const auto& point, const SimplePointT<double>& world) {
        Require(NumberAt<double>(at) == world.x && NumberAt<double>(at + 8) == world.y &&
                    NumberAt<double>(at + 16) == world.z &&
                    NumberAt<std::uint16_t>(at + 24) == detail::IntensityOf(point),
                "a point of the PLY file is not the project's");
        at += kBytes;
    });
    Require(at == file.Data() + file.Size(), "the PLY file has another length");
}

void RequireLas(const ProjectManager& paths, const platform::MappedFile& file) {
    const std::uint8_t* head = file.Data();
    const std::uint8_t* at = head + NumberAt<std::uint32_t>(head + 96);
    const auto bytes = NumberAt<std::uint16_t>(head + 105);
    const auto scale = NumberAt<double>(head + 131);
    ForEachPoint(paths, [&](const auto& point, const SimplePointT<double>& world) {
        const std::array<double, 3> axes{world.x, world.y, world.z};
        for (std::size_t axis = 0; axis < axes.size(); ++axis) {
            const double back = NumberAt<std::int32_t>(at + 4 * axis) * scale +
                                NumberAt<double>(head + 155 + 8 * axis);
            Require(std::fabs(back - axes[axis]) < 0.51 * scale,
                    "a point of the LAS file is not the project's");
        }
        Require(NumberAt<std::uint16_t>(at + 12) == detail::IntensityOf(point),
                "an intensity of the LAS file is not the project's");
        at += bytes;
    });
    Require(at == head + file.Size(), "the LAS file has another length");
}

void RequireText(const ProjectManager& paths, const platform::MappedFile& file) {
    const char* at = reinterpret_cast<const char*>(file.Data());
    const char* const end = at + file.Size();
    const auto nextLine = [&] {
        at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        Require(at != nullptr, "a line of the text has no end");
        ++at;
    };
    nextLine();
    ForEachPoint(paths, [&](const auto& point, const SimplePointT<double>& world) {
        for (const double axis : {world.x, world.y, world.z}) {
            double read = 0;
            const auto done = std::from_chars(at, end, read);
            Require(done.ec == std::errc() && read == axis,
                    "a coordinate of the text is not the project's");
            at = done.ptr + 1;
        }
        int intensity = 0;
        std::from_chars(at, end, intensity);
        Require(intensity == detail::IntensityOf(point), "an intensity is not the project's");
        nextLine();
    });
    Require(at == end, "the text has further lines");
}

}  // namespace

bool IsText(const CString& exported) {
    return output::HasEnding(exported, L".xyz");
}

void RequireSamePoints(const ProjectManager& paths, const CString& exported) {
    const auto file = Mapped(exported);
    if (output::HasEnding(exported, L".ply")) return RequirePly(paths, file);
    if (output::HasEnding(exported, L".las")) return RequireLas(paths, file);
    RequireText(paths, file);
}

void RequireClasses(const ProjectManager& paths, const reports::Classification& classes) {
    const auto classOf = [&classes](float z) {
        return classes.ClassOf(detail::HeightOfBin(detail::HeightBin(z))) + 1;
    };
    ForEachPoint(paths, [&](const auto& point, const SimplePointT<double>&) {
        Require(point.dclcSecond == classOf(point.z), "a point has another class");
    });
    const auto places = Mapped(paths.gridSkeletCoordPts);
    const auto data = Mapped(paths.gridSkeletDataPts);
    for (std::uint64_t i = 0; i < places.Size() / sizeof(SimplePointT<float>); ++i)
        Require(RecordAt<CPointDataFull>(data, i).dclcSecond ==
                    classOf(RecordAt<SimplePointT<float>>(places, i).z),
                "a skeleton point has another class");
}

std::uint64_t DigitsOf(const ProjectManager& paths) {
    std::uint64_t digits = 0;
    std::array<char, 64> room;
    ForEachPoint(paths, [&](const auto&, const SimplePointT<double>& world) {
        for (const double axis : {world.x, world.y, world.z})
            digits += static_cast<std::uint64_t>(
                std::to_chars(room.data(), room.data() + room.size(), axis).ptr - room.data());
    });
    return digits;
}

}  // namespace orvix::bench
