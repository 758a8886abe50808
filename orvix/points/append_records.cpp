// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/append_records.h"

namespace orvix::detail {

void AppendRecords(std::vector<CCloudPoint<float>>& out,
                   const CCloudPoint<float>* __restrict records, std::size_t count) {
    out.insert(out.end(), records, records + count);
}

}  // namespace orvix::detail
