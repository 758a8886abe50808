// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/fuzz_reader.h"
#include "importer/formats/las/las.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvix::fuzz::ReadAsScan(orvix::importer::OpenLas, data, size);
    return 0;
}
