// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "importer/formats/e57/e57_document.h"
#include "importer/formats/e57/e57_pages.h"

namespace orvix::importer {

/// The data packets that hold a scan's records: one section, in logical offsets.
struct E57Section {
    std::uint64_t start = 0;  ///< the section's header
    std::uint64_t data = 0;   ///< the first packet
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t DataBytes() const { return end - data; }
};

/// Finds and checks a scan's section.
///
/// Errors   BadInput: an offset outside the file, another kind of section, lengths that contradict
///          each other, more records than the section's bytes can hold.
Expected<E57Section> FindE57Section(E57Pages& pages, const E57Scan& scan);

/// Takes the byte streams of a scan's fields out of its data packets, side by side.
///
/// A packet holds a part of each field's stream; parts need not end at a record, nor at the same
/// record for all fields. Index packets and empty ones are passed over. Each field keeps its own
/// place, so that a file whose packets hold first one field and then the next takes no more memory
/// than one that interleaves them.
///
///     E57Streams streams(pages, section, fields, scan.fields.size());
///     streams.Take({bytes of field 0, bytes of field 1, ...}, out);
///
/// Boundaries one packet (64 KiB at most) is in memory at a time.
/// Errors   BadInput: a packet of unknown kind, lengths that contradict each other, packets that
///          end before the bytes that were asked for.
/// Lifetime borrows the pages.
/// Threads  one at a time.
class E57Streams {
public:
    E57Streams() = default;
    E57Streams(E57Pages& pages, const E57Section& section, std::vector<std::size_t> fields,
               std::size_t streamCount);

    /// Fills `out` with the next `bytes[i]` of each field, field by field.
    Expected<void> Take(const std::vector<std::size_t>& bytes, std::uint8_t* out);
    /// How much of the section's data was read so far.
    [[nodiscard]] std::uint64_t BytesSeen() const { return seen_ - section_.data; }

private:
    struct Place {
        std::uint64_t packet = 0;  // logical offset
        std::size_t used = 0;      // of its part of the stream
    };

    Expected<void> Load(std::uint64_t packet);
    [[nodiscard]] tl::unexpected<Error> Bad(std::uint64_t at, const std::string& what) const;

    E57Pages* pages_ = nullptr;
    E57Section section_;
    std::vector<std::size_t> fields_;
    std::size_t streamCount_ = 0;
    std::vector<Place> places_;  // by entry of fields_
    std::uint64_t loaded_ = 0;   // logical offset of the packet in memory; 0: none
    std::vector<std::uint8_t> packet_;
    std::vector<std::size_t> parts_;  // where each stream's part begins, and the end
    std::uint64_t seen_ = 0;
};

}  // namespace orvix::importer
