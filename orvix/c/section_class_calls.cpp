// SPDX-License-Identifier: GPL-3.0-or-later
// Sections: classes, colours and streams.
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "orvix/c/project_handle.h"
#include "orvix/c/section_handle.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

static_assert(static_cast<int>(SectionClass::In) == ORVIX_CLASS_IN &&
              static_cast<int>(SectionClass::Behind) == ORVIX_CLASS_BEHIND &&
              static_cast<int>(SectionClass::Before) == ORVIX_CLASS_BEFORE &&
              static_cast<int>(SectionClass::Outside) == ORVIX_CLASS_OUTSIDE &&
              static_cast<int>(SectionClass::NoPosition) == ORVIX_CLASS_NO_POSITION);
static_assert(sizeof(SectionClass) == 1 &&
              std::is_same_v<std::underlying_type_t<SectionClass>, std::uint8_t>);
static_assert(sizeof(CCloudPoint<float>) == sizeof(orvix_point));

constexpr std::uint32_t kEveryClass = (1U << (ORVIX_CLASS_NO_POSITION + 1)) - 1;

SectionColour ColourAt(const std::uint8_t* bytes) {
    return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

// What the calls that fill an array have in common: `work` is given the entries as the class takes
// them, and where there is no array the counts alone are found.
template <class Entry, class Work>
Answer ForEntries(orvix_section* section, std::uint8_t* array, std::uint64_t capacity,
                  orvix_section_counts* counts, const Work& work) {
    if (auto there = RequirePointer(section, "section"); !there) return there;
    const std::uint64_t entries = section->amp.Count();
    const auto fill = Fits(entries, array, capacity, nullptr, "points");
    if (!fill) return ErrorOf(fill);
    return Counted(counts, [&](SectionCounts& found) -> Answer {
        const bool done = *fill ? work(std::span(reinterpret_cast<Entry*>(array),
                                                 static_cast<std::size_t>(entries)),
                                       found)
                                : section->amp.CheckPlaneXZ(found);
        if (done) return {};
        return Refuse(ORVIX_BAD_ARGUMENT,
                      "a ramp has 2 to 256 colours and finite ends, low below high");
    });
}

Answer GetIndices(orvix_section& section, std::int32_t wanted, std::uint64_t* indices,
                  std::uint64_t capacity, std::uint64_t* count) {
    if (wanted < ORVIX_CLASS_IN || wanted > ORVIX_CLASS_NO_POSITION) {
        return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("there is no class {}", wanted));
    }
    std::vector<std::uint64_t> found;
    section.amp.CheckPlaneXZ(static_cast<SectionClass>(wanted), found);
    const auto fill = Fits(found.size(), indices, capacity, count, "indices");
    if (!fill) return ErrorOf(fill);
    if (*fill) std::copy(found.begin(), found.end(), indices);
    return {};
}

Answer Stream(orvix_section& section, const orvix_stream_options& how, SectionCounts& counts) {
    if (!section.project) {
        return Refuse(ORVIX_BAD_ARGUMENT, "no project is set; call orvix_section_set_project");
    }
    if ((how.wanted & ~kEveryClass) != 0) {
        return Refuse(ORVIX_BAD_ARGUMENT, fmt::format("options.wanted is {}; its bits are 1 << "
                                                      "ORVIX_CLASS_",
                                                      how.wanted));
    }
    const auto points = static_cast<double>(section.project->Core().AlivePointCount());
    bool cancelled = false;
    const auto use = [&](const RevitAMP::Chunk& chunk) {
        const std::uint64_t count = chunk.points.size();
        if (how.chunk != nullptr) {
            cancelled = how.chunk(how.user, chunk.firstPoint, count,
                                  reinterpret_cast<const orvix_point*>(chunk.points.data()),
                                  reinterpret_cast<const std::uint8_t*>(chunk.classes.data())) == 0;
        }
        if (!cancelled && how.proceed != nullptr) {
            cancelled =
                how.proceed(how.user, static_cast<double>(chunk.firstPoint + count) / points) == 0;
        }
        return !cancelled;
    };
    if (section.amp.StreamPlaneXZ(how.wanted, use, &counts)) return {};
    if (cancelled) return Refuse(ORVIX_CANCELLED, "the section was cancelled");
    return Refuse(ORVIX_FAILED, "the points cannot be mapped; close other programs and retry");
}

}  // namespace

orvix_status orvix_section_check(orvix_section* section, uint8_t* classes, uint64_t capacity,
                                 orvix_section_counts* counts, orvix_error* error) {
    return Answered(error, [&] {
        return ForEntries<SectionClass>(section, classes, capacity, counts,
                                        [&](auto entries, SectionCounts& found) {
                                            return section->amp.CheckPlaneXZ(entries, &found);
                                        });
    });
}

orvix_status orvix_section_get_indices(orvix_section* section, int32_t wanted, uint64_t* indices,
                                       uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        return GetIndices(*section, wanted, indices, capacity, count);
    });
}

orvix_status orvix_section_colour_in(orvix_section* section, const uint8_t* colour,
                                     uint8_t* colours, uint64_t capacity,
                                     orvix_section_counts* counts, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(colour, "colour"); !there) return there;
        return ForEntries<SectionColour>(
            section, colours, capacity, counts, [&](auto entries, SectionCounts& found) {
                return section->amp.CheckPlaneXZ_ColorIn(ColourAt(colour), entries, &found);
            });
    });
}

orvix_status orvix_section_colour_plane(orvix_section* section, double low, double high,
                                        const uint8_t* ramp, uint64_t ramp_colours,
                                        uint8_t* colours, uint64_t capacity,
                                        orvix_section_counts* counts, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(ramp, "ramp"); !there) return there;
        const SectionRamp how{low, high,
                              std::span(reinterpret_cast<const SectionColour*>(ramp),
                                        static_cast<std::size_t>(ramp_colours))};
        return ForEntries<SectionColour>(
            section, colours, capacity, counts, [&](auto entries, SectionCounts& found) {
                return section->amp.CheckPlaneXZ_ColorPlane(how, entries, &found);
            });
    });
}

orvix_status orvix_section_colour_separate(orvix_section* section, const uint8_t* before,
                                           const uint8_t* behind, uint8_t* colours,
                                           uint64_t capacity, orvix_section_counts* counts,
                                           orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(before, "before"); !there) return there;
        if (auto there = RequirePointer(behind, "behind"); !there) return there;
        return ForEntries<SectionColour>(
            section, colours, capacity, counts, [&](auto entries, SectionCounts& found) {
                return section->amp.CheckPlaneXZ_ColorSeparate(ColourAt(before), ColourAt(behind),
                                                               entries, &found);
            });
    });
}

orvix_status orvix_section_stream(orvix_section* section, const orvix_stream_options* options,
                                  orvix_section_counts* counts, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(section, "section"); !there) return there;
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        return Counted(counts,
                       [&](SectionCounts& found) { return Stream(*section, *taken, found); });
    });
}
