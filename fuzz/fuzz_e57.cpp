// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes are the content of the file's pages; pages and checksums are made here, so that faults
// reach what lies behind them. Content bytes 24 and 32 say where the XML is.
#include "fuzz/fuzz_reader.h"
#include "importer/formats/byte_order.h"
#include "importer/formats/e57/e57.h"
#include "support/scans/e57_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using orvix::importer::Load;
    if (size < 48) return 0;
    const std::vector<std::uint8_t> file =
        orvix::test::PageE57(std::vector<std::uint8_t>(data, data + size),
                             Load<std::uint64_t>(data + 24), Load<std::uint64_t>(data + 32));
    orvix::fuzz::ReadAsScan(orvix::importer::OpenE57, file.data(), file.size());
    return 0;
}
