// SPDX-License-Identifier: GPL-3.0-or-later
// A C host of the installed library: counts the points of a project.
#include <orvix/c/orvix.h>

#include <stdio.h>

int main(int argc, char** argv) {
    orvix_error error = {sizeof error, ORVIX_OK, ""};
    orvix_project* project = NULL;
    orvix_project_info info = {sizeof info};
    if (argc != 2 || orvix_project_open(argv[1], NULL, &project, &error) != ORVIX_OK ||
        orvix_project_get_info(project, &info, &error) != ORVIX_OK) {
        fprintf(stderr, "%s\n", error.text);
        return 1;
    }
    printf("%llu points through the C interface\n", (unsigned long long)info.points);
    orvix_project_close(project);
    return info.points > 0 ? 0 : 1;
}
