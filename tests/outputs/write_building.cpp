// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the sample building under the names given, and what it holds for readers to be held against:
// write_building FILE...
#include <cstdio>

#include "orvix/platform/text.h"
#include "output/building/building_file.h"
#include "support/scenes/sample_building.h"

int main(int count, char** arguments) {
    // Far from zero and turned by the angle of 3, 4 and 5.
    const orvix::detail::LocalToWorld frame{
        {0.8, -0.6, 0, 4'468'000.25, 0.6, 0.8, 0, 5'335'100.5, 0, 0, 1, 512.125, 0, 0, 0, 1}};
    for (int i = 1; i < count; ++i) {
        const auto written = orvix::output::WriteBuilding(orvix::platform::FromUtf8(arguments[i]),
                                                          orvix::test::SampleBuilding(), frame);
        if (written) continue;
        std::fprintf(stderr, "%s\n", written.error().message.c_str());
        return 1;
    }
    return 0;
}
