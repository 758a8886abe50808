// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "detection/plane_search.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/transform_file.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix::detection {

/// A project that is open for the length of a test.
class Opened {
public:
    explicit Opened(const CString& path) {
        auto opened = detail::OpenProject::Open(path);
        if (!opened) throw std::runtime_error(opened.error().message);
        project_ = std::move(*opened);
        origin_ = detail::ReadTransform(project_->Manager().transformFile)->Origin();
    }
    CProjectCore& Core() { return project_->Core(); }
    [[nodiscard]] const SimplePointT<double>& Origin() const { return origin_; }
    std::unique_ptr<PlaneSearch> Search(const PlaneSearchOptions& options = {}) {
        auto search = PlaneSearch::Run(Core(), options);
        EXPECT_TRUE(search) << search.error().message;
        return search ? std::move(*search) : nullptr;
    }

private:
    std::unique_ptr<detail::OpenProject> project_;
    SimplePointT<double> origin_;
};

/// Writes a project of these points; returns its file.
inline CString WritePoints(const test::ScratchFolder& folder,
                           const std::vector<SimplePointT<double>>& points) {
    std::vector<CCloudPoint<float>> records;
    for (const auto& p : points) {
        CCloudPoint<float> record;
        record.x = static_cast<float>(p.x);
        record.y = static_cast<float>(p.y);
        record.z = static_cast<float>(p.z);
        records.push_back(record);
    }
    const CString project = folder / L"points.prj";
    test::WriteTinyProject(test::MakeTinyProject(records), project);
    return project;
}

}  // namespace orvix::detection
