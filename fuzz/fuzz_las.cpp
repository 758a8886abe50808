// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/fuzz_reader.h"
#include "importer/formats/open_scan.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvix::fuzz::ReadAsScan(orvix::importer::OpenLasOrLaz, data, size);
    return 0;
}
