// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/fuzz_reader.h"
#include "importer/formats/ply/ply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvix::fuzz::ReadAsScan(orvix::importer::OpenPly, data, size);
    return 0;
}
