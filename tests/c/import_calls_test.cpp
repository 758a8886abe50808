// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "orvix/c/orvix_import.h"
#include "tests/c/c_project.h"

namespace orvix::test {
namespace {

class CImport : public testing::Test {
protected:
    CImport() {
        std::string text;
        for (int i = 0; i < 500; ++i)
            text += std::to_string(i % 31) + " " + std::to_string(i % 7) + " 0.5\n";
        WriteText(folder / L"höhe.xyz", text);
        scan = platform::ToUtf8(folder / L"höhe.xyz");
        project = platform::ToUtf8(folder / L"p.prj");
        inputs = {scan.c_str()};
    }
    orvix_status Begin(const orvix_import_options* options = nullptr) {
        return orvix_import_tasks_begin(inputs.data(), inputs.size(), project.c_str(), options,
                                        &tasks, &error);
    }

    ScratchFolder folder;
    std::string scan;
    std::string project;
    std::vector<const char*> inputs;
    orvix_import_tasks* tasks = nullptr;
    orvix_error error = Sized<orvix_error>();
};

std::int32_t ORVIX_C_CALL Never(void*, double) {
    return 0;
}

TEST_F(CImport, RunsTasksUntilTheProjectAppears) {
    ASSERT_EQ(Begin(), ORVIX_OK) << error.text;
    auto report = Sized<orvix_import_report>();
    std::vector<std::string> ran;
    for (;;) {
        std::uint64_t count = 0;
        ASSERT_EQ(orvix_import_tasks_ready(tasks, nullptr, 0, &count, &error), ORVIX_OK);
        if (count == 0) break;
        std::vector<orvix_task_name> names(count);
        ASSERT_EQ(orvix_import_tasks_ready(tasks, names.data(), count, &count, &error), ORVIX_OK);
        ran.emplace_back(names[0].text);
        ASSERT_EQ(orvix_import_tasks_run(tasks, names[0].text, &report, &error), ORVIX_OK)
            << error.text;
    }
    orvix_import_tasks_close(tasks);
    EXPECT_THAT(ran,
                testing::ElementsAre("survey/0", "sort/0", "plan", "merge/0", "finish", "publish"));
    EXPECT_EQ(report.written, 500u);
    EXPECT_EQ(report.stations, 1u);
    auto again = Sized<orvix_import_report>();
    auto options = Sized<orvix_import_options>();
    options.overwrite = 1;
    ASSERT_EQ(orvix_import(inputs.data(), 1, project.c_str(), &options, &again, &error), ORVIX_OK);
    EXPECT_EQ(again.checksum, report.checksum);
    EXPECT_EQ(again.skeleton_points, report.skeleton_points);
}

TEST_F(CImport, AnswersWhatCannotBe) {
    auto options = Sized<orvix_import_options>();
    options.unit = 5;
    EXPECT_EQ(Begin(&options), ORVIX_BAD_ARGUMENT);
    EXPECT_THAT(error.text, testing::HasSubstr("options.unit is 5"));
    options = Sized<orvix_import_options>();
    options.station_count = 1;
    EXPECT_EQ(Begin(&options), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_import(nullptr, 0, project.c_str(), nullptr, nullptr, &error), ORVIX_BAD_INPUT);
    EXPECT_EQ(orvix_import_tasks_open(project.c_str(), nullptr, &tasks, &error), ORVIX_BAD_INPUT);
    EXPECT_EQ(tasks, nullptr);
    EXPECT_EQ(orvix_import_tasks_ready(nullptr, nullptr, 0, nullptr, &error), ORVIX_BAD_ARGUMENT);
    options = Sized<orvix_import_options>();
    options.proceed = Never;
    EXPECT_EQ(orvix_import(inputs.data(), 1, project.c_str(), &options, nullptr, &error),
              ORVIX_CANCELLED);
    ASSERT_EQ(Begin(), ORVIX_OK);
    EXPECT_EQ(orvix_import_tasks_run(tasks, "publish", nullptr, &error), ORVIX_BAD_INPUT);
    EXPECT_EQ(orvix_import_tasks_run(tasks, "sort", nullptr, &error), ORVIX_BAD_INPUT);
    orvix_import_tasks_close(tasks);
    EXPECT_EQ(orvix_import_tasks_clear(project.c_str(), &error), ORVIX_OK);
    EXPECT_THAT(folder.Names(), testing::ElementsAre(L"höhe.xyz"));
}

}  // namespace
}  // namespace orvix::test
