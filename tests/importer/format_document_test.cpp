// SPDX-License-Identifier: GPL-3.0-or-later
// docs/FORMAT.md shows a small cloud and the bytes of every file that its import writes.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "importer/import_scans.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"
#include "tests/support/shown_bytes.h"

namespace orvix::importer::test {
namespace {

struct Document {
    std::vector<ScanPoint> points;
    ProjectBytes files;
};

ScanPoint PointOfRow(const std::string& row) {
    std::istringstream cells(row);
    const auto next = [&] {
        std::string cell;
        std::getline(cells, cell, '|');
        return std::stod(cell);
    };
    cells.ignore();
    ScanPoint point;
    point.x = next();
    point.y = next();
    point.z = next();
    point.intensity = static_cast<float>(next());
    point.red = static_cast<std::uint16_t>(next());
    point.green = static_cast<std::uint16_t>(next());
    point.blue = static_cast<std::uint16_t>(next());
    point.classification = static_cast<std::uint8_t>(next());
    return point;
}

Document ReadDocument() {
    std::ifstream file(ORVIX_FORMAT_DOCUMENT);
    Document document;
    Bytes* block = nullptr;
    bool inTable = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```hex ")) {
            const std::string name = line.substr(7);
            if (name == "planes" || name == "model") continue;  // no file of an import
            block = &document.files[name == "scan.prj" ? "" : name];
        } else if (line.starts_with("```")) {
            block = nullptr;
        } else if (block != nullptr) {
            orvix::test::AddHexLine(line, *block);
        } else if (line.starts_with("| x | y | z | intensity")) {
            inTable = true;
        } else if (inTable && !line.starts_with("|--")) {
            inTable = line.starts_with("|");
            if (inTable) document.points.push_back(PointOfRow(line));
        }
    }
    return document;
}

TEST(FormatDocument, ShowsTheBytesThatTheImportOfItsExampleWrites) {
    const Document document = ReadDocument();
    ASSERT_EQ(document.points.size(), 4u);
    MemoryScan scan;
    scan.points = document.points;
    const orvix::test::ScratchFolder folder;
    const CString project = folder / L"scan.prj";
    const auto report = ImportScans(Open(std::vector{scan}), project, {}, PlanMemory(1 << 28, 1));
    ASSERT_TRUE(report) << report.error().message;
    const ProjectBytes written = ReadProject(project);
    EXPECT_EQ(written.size(), document.files.size());
    for (const auto& [name, bytes] : written) {
        ASSERT_TRUE(document.files.contains(name)) << name;
        EXPECT_EQ(document.files.at(name), bytes) << name;
    }
}

}  // namespace
}  // namespace orvix::importer::test
