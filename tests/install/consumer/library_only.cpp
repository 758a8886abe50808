// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "orvix/points/nearest_neighbour.h"
#include "orvix/version.h"

int main() {
    if (orvix::Version() != ORVIX_VERSION) return 1;
    const std::vector<orvix::SimplePointT<float>> points{{0, 0, 0}, {1, 0, 0}, {5, 0, 0}};
    orvix::CNearestNeighbour neighbours(&points);
    const orvix::SimplePointT<double> query{4, 0, 0};
    int count = 0;
    const int* nearest = neighbours.Find(&query, -1.0, count);
    std::printf("orvix %s, nearest %d\n", orvix::VersionString(), nearest[0]);
    return count == 1 && nearest[0] == 2 ? 0 : 1;
}
