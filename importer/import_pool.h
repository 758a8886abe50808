// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "importer/progress_meter.h"
#include "parallel/pool.h"

namespace orvix::importer {

/// The threads of an import and the meter that their work is reported to.
class ImportPool : public parallel::Pool {
public:
    ImportPool(ProgressMeter& meter, unsigned threads)
        : Pool(
              threads, [&meter] { return meter.Tick(); }, "the import was cancelled"),
          meter_(meter) {}

    [[nodiscard]] ProgressMeter& Meter() const { return meter_; }

private:
    ProgressMeter& meter_;
};

}  // namespace orvix::importer
