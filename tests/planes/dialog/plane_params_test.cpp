// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <set>

#include "orvix/planes/dialog/caption_keys.h"
#include "orvix/planes/dialog/plane_params_captions.h"
#include "orvix/planes/dialog/plane_params_rows.h"
#include "orvix/planes/dialog/plane_params_values.h"
#include "orvix/platform/utility_lib.h"
#include "support/scratch_folder.h"
#include "tests/support/settings_sandbox.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

using detail::PlaneButton;
using detail::PlaneRow;
using platform::SliderStep;
using Positions = std::array<int, detail::kPlaneRows>;  // M, DCM, CM, ABC, speed

/// Remembers what it was given; its user is a script.
struct FakeWindow final : platform::RowWindow {
    using Script = std::function<void(FakeWindow&)>;
    explicit FakeWindow(Script what) : script(std::move(what)) {}

    int Run(void* owner, const platform::RowWindowContent& shown,
            platform::RowWindowEvents& heard) override {
        parent = owner;
        content = shown;
        events = &heard;
        code = 0;
        heard.Opened();
        if (code == 0) script(*this);
        return code;
    }
    void Close(int with) override { code = with; }
    [[nodiscard]] CString Trouble() const override { return L"no screen"; }
    void SetChoice(int entry) override { choice = entry; }
    void SetRow(std::size_t row, int position, const CString& value) override {
        positions.at(row) = position;
        values.at(row) = value;
    }
    void SetChoiceNote(const CString& text) override { note = text; }
    void SetGroupNote(const CString& text) override { step = text; }
    void EnableButton(int id, bool enabled) override {
        if (id == static_cast<int>(PlaneButton::View)) view = enabled;
    }
    void ShowPicture(const platform::WindowPicture& shown) override { picture = shown.text; }
    void StepAside() override { log += L"aside "; }
    void ComeBack() override { log += L"back "; }

    void Move(PlaneRow row, int position) {
        events->SliderMoved(static_cast<std::size_t>(row), position);
    }
    void Press(PlaneButton button) { events->ButtonPressed(static_cast<int>(button)); }
    void Step(PlaneRow row, SliderStep direction) {
        events->StepPressed(static_cast<std::size_t>(row), direction);
    }
    void Choose(int entry) { events->ChoiceMade(entry); }
    [[nodiscard]] std::vector<std::pair<int, int>> Ranges() const {
        std::vector<std::pair<int, int>> ranges;
        for (const platform::SliderRow& row : content.rows) ranges.emplace_back(row.low, row.high);
        return ranges;
    }

    Script script;
    platform::RowWindowEvents* events = nullptr;
    void* parent = nullptr;
    int code = 0;
    platform::RowWindowContent content;
    int choice = -1;
    Positions positions{};
    std::array<CString, detail::kPlaneRows> values;
    CString note;
    CString step;
    bool view = false;
    CString picture;
    CString log;
};

struct PlaneParamsTest : testing::Test {
    PlaneParamsTest() { UtilityLib::OverrideLocale(0x409); }

    /// Opens the dialog, lets the script use it, and presses OK when the script has not closed it.
    int Open(const FakeWindow::Script& script,
             const std::function<void(PlaneParams&)>& prepare = {}, double minSplitSize = 0) {
        PlaneParams dialog(settings, true, minSplitSize, nullptr);
        if (prepare) prepare(dialog);
        dialog.UseWindow(std::make_unique<FakeWindow>([&](FakeWindow& window) {
            script(window);
            if (window.code == 0) window.Press(PlaneButton::Ok);
        }));
        return dialog.DoModal();
    }

    void SetAlive(double splitSize, double diff = 0.15, std::int32_t minPlane = 0) {
        settings->SetAliveSplitSize(splitSize);
        settings->aliveDiffA = settings->aliveDiffB = settings->aliveDiffC = diff;
        settings->aliveMinPlane = minPlane;
        settings->usage = 0;
        settings->SetUsage();
    }

    test::SettingsSandbox sandbox;
    std::shared_ptr<PlaneWormSettings> settings =
        std::make_shared<PlaneWormSettings>(false, true, ProjectManager(), 2.0);
};

// BEHAVIOUR D10
TEST_F(PlaneParamsTest, OpensWithTheSetInUseItsRangesAndItsTexts) {
    settings->stepClass = 1;
    Open([](FakeWindow& w) {
        EXPECT_EQ(w.choice, 1) << "usage 1 is the skeleton set";
        EXPECT_EQ(w.positions, (Positions{0, 4, 0, 10, 0}));
        EXPECT_THAT(w.Ranges(),
                    testing::ElementsAre(std::pair(0, 10), std::pair(0, 10), std::pair(0, 10),
                                         std::pair(1, 100), std::pair(0, 2)));
        EXPECT_THAT(w.values,
                    testing::ElementsAre(L"0 m", L"4 dcm", L"0 cm", L"10 (8.6\u00B0)", L"Exact"));
        EXPECT_EQ(w.step, L"Step: 0.40 m");
        EXPECT_EQ(w.content.choices, (std::vector<CString>{L"Full cloud", L"Thinned cloud"}));
        EXPECT_EQ(w.content.choiceNote, L"Thinned to 10 cm");
        EXPECT_TRUE(w.view);
    });
}

// BEHAVIOUR D12
TEST_F(PlaneParamsTest, SaysHowFarTheCloudIsThinnedWhileThatOneIsChosen) {
    settings->stepClass = 1;
    Open([](FakeWindow& w) {
        EXPECT_EQ(w.note, L"Thinned to 10 cm");
        w.Choose(0);
        EXPECT_EQ(w.note, L"");
        w.Choose(1);
        EXPECT_EQ(w.note, L"Thinned to 10 cm");
        w.Choose(0);
    });
    Open([](FakeWindow& w) { EXPECT_EQ(w.note, L"") << "opened with the full cloud"; });
}

// BEHAVIOUR D1
TEST_F(PlaneParamsTest, StoresWhatNobodyTouchedToTheLastBit) {
    const double odd = std::nextafter(0.1473, 1.0);
    SetAlive(odd);
    settings->aliveDiffB = 0.0721;
    settings->aliveDiffC = 1.9;
    settings->aliveMinPlane = 9;
    settings->SetSkeletSplitSize(12.345678);
    settings->skeletDiffA = 0.001;
    settings->skeletMinPlane = -7;
    settings->usage = 3;
    const int code = Open([](FakeWindow& w) {
        EXPECT_EQ(w.positions, (Positions{10, 3, 4, 1, 2})) << "at their ends";
        EXPECT_EQ(w.step, L"Step: 12.35 m") << "the value, not the sliders";
        w.Choose(0);
        EXPECT_EQ(w.positions, (Positions{0, 1, 4, 10, 2}));
        w.Choose(1);
    });
    EXPECT_EQ(code, PlaneParams::kOk);
    EXPECT_EQ(settings->aliveSplitSize, odd);
    EXPECT_EQ(settings->aliveDiffA, 0.15);
    EXPECT_EQ(settings->aliveDiffB, 0.0721);
    EXPECT_EQ(settings->aliveDiffC, 1.9);
    EXPECT_EQ(settings->aliveMinPlane, 9);
    EXPECT_EQ(settings->skeletSplitSize, 12.345678);
    EXPECT_EQ(settings->skeletDiffA, 0.001);
    EXPECT_EQ(settings->skeletMinPlane, -7);
    EXPECT_EQ(settings->usage, 1) << "switched away and back";
    Open([](FakeWindow&) {});
    settings->usage = 3;
    Open([](FakeWindow&) {});
    EXPECT_EQ(settings->usage, 3) << "any value but 0 is the skeleton set";
}

// BEHAVIOUR D8
TEST_F(PlaneParamsTest, CancelChangesNothing) {
    const auto before = *settings;
    const int code = Open([](FakeWindow& w) {
        for (const PlaneRow slider : {PlaneRow::Metres, PlaneRow::Angle})
            w.Step(slider, SliderStep::Up);
        w.Choose(0);
        w.Press(PlaneButton::Default);
        w.Press(PlaneButton::Cancel);
    });
    EXPECT_EQ(code, PlaneParams::kCancel);
    EXPECT_EQ(settings->skeletSplitSize, before.skeletSplitSize);
    EXPECT_EQ(settings->skeletDiffA, before.skeletDiffA);
    EXPECT_EQ(settings->aliveSplitSize, before.aliveSplitSize);
    EXPECT_EQ(settings->usage, before.usage);
}

// Every split size the sliders reach: stored, scaled, shown again as the same size and stored again
// without any change.
// BEHAVIOUR D3
TEST_F(PlaneParamsTest, KeepsEveryReachableSplitSizeWithoutDrift) {
    for (int m = 0; m <= 10; ++m) {
        for (int dcm = 0; dcm <= 10; ++dcm) {
            for (int cm = 0; cm <= 10; ++cm) {
                const int sum = std::max(1, m * 100 + dcm * 10 + cm);
                SetAlive(m == 0 ? 5.55 : 0.0);
                Open([&](FakeWindow& w) {
                    w.Move(PlaneRow::Metres, m);
                    w.Move(PlaneRow::Decimetres, dcm);
                    w.Move(PlaneRow::Centimetres, cm);
                    EXPECT_EQ(w.positions[0] * 100 + w.positions[1] * 10 + w.positions[2], sum);
                });
                const double stored = settings->aliveSplitSize;
                ASSERT_NEAR(stored, sum / 100.0, 1e-14);
                ASSERT_EQ(std::trunc(stored * 100), sum) << stored;
                ASSERT_EQ(settings->SplitSizeScaled(), stored * 2.0);
                Open([&](FakeWindow& w) {
                    const Positions expected{std::min(sum / 100, 10), sum % 100 / 10, sum % 10, 10,
                                             0};
                    EXPECT_EQ(w.positions, expected);
                });
                ASSERT_EQ(settings->aliveSplitSize, stored);
            }
        }
    }
}

// BEHAVIOUR D3
TEST_F(PlaneParamsTest, KeepsEveryPositionOfTheAngularToleranceWithoutDrift) {
    for (int position = 1; position <= 100; ++position) {
        SetAlive(0.1, position == 1 ? 1.5 : 0.0);
        Open([&](FakeWindow& w) { w.Move(PlaneRow::Angle, position); });
        const double stored = settings->diffA;
        ASSERT_NEAR(stored, position * 0.015, 1e-15);
        EXPECT_EQ(settings->diffB, stored);
        EXPECT_EQ(settings->diffC, stored);
        Open([&](FakeWindow& w) { EXPECT_EQ(w.positions[3], position); });
        ASSERT_EQ(settings->diffA, stored);
    }
}

TEST_F(PlaneParamsTest, StepButtonsMoveTheirSliderByOneAndStopAtItsEnds) {
    struct Case {
        PlaneRow slider;
        int low, high;
    };
    for (const Case& c : {Case{PlaneRow::Metres, 0, 10}, Case{PlaneRow::Decimetres, 0, 10},
                          Case{PlaneRow::Centimetres, 0, 10}, Case{PlaneRow::Angle, 1, 100},
                          Case{PlaneRow::Speed, 0, 2}}) {
        SetAlive(5.55, 0.45, 400);
        Open([&](FakeWindow& w) {
            const auto at = static_cast<std::size_t>(c.slider);
            const Positions before = w.positions;
            for (int i = before[at]; i < c.high + 2; ++i) {
                Positions expected = before;
                expected[at] = i > c.high ? c.high : i;
                ASSERT_EQ(w.positions, expected) << "no other slider moves";
                w.Step(c.slider, SliderStep::Up);
            }
            for (int i = c.high; i > c.low - 2; --i) {
                ASSERT_EQ(w.positions[at], i < c.low ? c.low : i);
                w.Step(c.slider, SliderStep::Down);
            }
        });
    }
}

// BEHAVIOUR D1
TEST_F(PlaneParamsTest, AStepAtASlidersEndTouchesNothing) {
    SetAlive(12.345, 1.7, 77);
    Open([](FakeWindow& w) {
        w.Step(PlaneRow::Metres, SliderStep::Up);
        w.Step(PlaneRow::Angle, SliderStep::Up);
        w.Step(PlaneRow::Speed, SliderStep::Up);
        w.Move(PlaneRow::Metres, 10);
    });
    EXPECT_EQ(settings->aliveSplitSize, 12.345);
    EXPECT_EQ(settings->aliveDiffA, 1.7);
    EXPECT_EQ(settings->aliveMinPlane, 77);
}

// BEHAVIOUR D2
TEST_F(PlaneParamsTest, MovingOneSliderOfTheSplitSizeTakesTheSumOfAllThree) {
    SetAlive(12.347);
    Open([](FakeWindow& w) {
        w.Step(PlaneRow::Centimetres, SliderStep::Up);
        EXPECT_EQ(w.step, L"Step: 10.35 m");
        EXPECT_EQ(w.values[2], L"5 cm");
    });
    EXPECT_EQ(settings->splitSize, 10.35);
    SetAlive(0.147);
    Open([](FakeWindow& w) { w.Step(PlaneRow::Angle, SliderStep::Up); });
    EXPECT_EQ(settings->splitSize, 0.147) << "the angle is no part of it";
}

// BEHAVIOUR D4
TEST_F(PlaneParamsTest, ACellHasAnEdge) {
    SetAlive(0.01);
    Open([](FakeWindow& w) {
        w.Step(PlaneRow::Centimetres, SliderStep::Down);
        EXPECT_EQ(w.positions[2], 1);
    });
    EXPECT_EQ(settings->splitSize, 0.01);
    const auto raise = [](FakeWindow& w) {
        w.Step(PlaneRow::Centimetres, SliderStep::Up);
        EXPECT_EQ(w.step, L"Step: 0.29 m");
    };
    Open(raise, {}, 0.29);
    EXPECT_EQ(settings->splitSize, detail::SplitSizeOf(29)) << "the smallest size that was given";
    for (const double smallest : {std::numeric_limits<double>::quiet_NaN(), -1.0, 1e300}) {
        SetAlive(5.0);
        Open([](FakeWindow& w) { w.Step(PlaneRow::Metres, SliderStep::Down); }, {}, smallest);
        EXPECT_EQ(settings->splitSize, smallest > 0 ? 10.0 : 4.0);
    }
}

// BEHAVIOUR D6
TEST_F(PlaneParamsTest, SpeedStandsForNoneFourHundredAndTheSetsOwnOrOneHundred) {
    SetAlive(0.1, 0.15, 9);
    Open([](FakeWindow& w) {
        EXPECT_EQ(w.values[4], L"Fast");
        w.Move(PlaneRow::Speed, 1);
        EXPECT_EQ(w.values[4], L"Balanced");
    });
    EXPECT_EQ(settings->minPlane, 400);
    Open([](FakeWindow& w) { w.Move(PlaneRow::Speed, 2); });
    EXPECT_EQ(settings->minPlane, 100);
    settings->aliveMinPlane = 9;
    Open([](FakeWindow& w) {
        w.Move(PlaneRow::Speed, 0);
        w.Choose(1);
        w.Move(PlaneRow::Speed, 2);
        w.Choose(0);
        w.Move(PlaneRow::Speed, 2);
    });
    EXPECT_EQ(settings->aliveMinPlane, 9) << "its own comes back";
    EXPECT_EQ(settings->skeletMinPlane, 100);
}

TEST_F(PlaneParamsTest, EachSetKeepsItsChangesWhileTheOtherIsShown) {
    SetAlive(0.2);
    Open([](FakeWindow& w) {
        w.Move(PlaneRow::Decimetres, 7);
        w.Choose(1);
        EXPECT_EQ(w.positions, (Positions{0, 4, 0, 10, 0}));
        w.Move(PlaneRow::Metres, 3);
        w.Move(PlaneRow::Angle, 20);
        w.Choose(0);
        EXPECT_EQ(w.positions, (Positions{0, 7, 0, 10, 0}));
        w.Choose(0);
        w.Choose(1);
        EXPECT_EQ(w.positions, (Positions{3, 4, 0, 20, 0}));
    });
    EXPECT_EQ(settings->aliveSplitSize, 0.7);
    EXPECT_EQ(settings->skeletSplitSize, 3.4);
    EXPECT_EQ(settings->skeletDiffC, detail::DiffOf(20));
    EXPECT_EQ(settings->usage, 1);
    EXPECT_EQ(settings->splitSize, 3.4) << "the chosen set is current";
    EXPECT_EQ(settings->SplitSizeScaled(), 6.8);
}

// BEHAVIOUR D7
TEST_F(PlaneParamsTest, DefaultRestoresTheSetShownAlone) {
    settings->defaultStepA = 0.18;
    settings->defaultStepB = 0.14;
    SetAlive(3.0, 0.9, 400);
    settings->SetSkeletSplitSize(2.0);
    Open([](FakeWindow& w) {
        w.Press(PlaneButton::Default);
        EXPECT_EQ(w.positions, (Positions{0, 1, 4, 10, 0}));
        EXPECT_EQ(w.step, L"Step: 0.14 m");
    });
    EXPECT_EQ(settings->aliveSplitSize, 0.14);
    EXPECT_EQ(settings->aliveDiffB, 0.15);
    EXPECT_EQ(settings->aliveMinPlane, 0);
    EXPECT_EQ(settings->skeletSplitSize, 2.0);
    Open([](FakeWindow& w) {
        w.Choose(1);
        w.Press(PlaneButton::Default);
    });
    EXPECT_EQ(settings->skeletSplitSize, 0.18);
}

// BEHAVIOUR D7
TEST_F(PlaneParamsTest, DefaultSuitsTheProjectsPoints) {
    settings->project = std::make_shared<ProjectManager>();
    settings->project->projectSettings.baseStep = 0.21;
    settings->project->cloudHeader.pointCount = 100'000;
    settings->project->cloudHeader.skeletonCount = 4'390;
    SetAlive(3.0, 0.9, 400);
    const auto useDefaults = [](FakeWindow& w) {
        w.Choose(0);
        w.Press(PlaneButton::Default);
        w.Choose(1);
        w.Press(PlaneButton::Default);
    };
    Open(useDefaults);
    EXPECT_EQ(settings->aliveSplitSize, 4 * 0.21);
    EXPECT_EQ(settings->skeletSplitSize, 4.01);
    settings->project->cloudHeader.skeletonCount = 100'000;
    Open(useDefaults);
    EXPECT_EQ(settings->skeletSplitSize, 0.84);
    settings->project->cloudHeader.skeletonCount = 1;
    Open(useDefaults);
    EXPECT_EQ(settings->skeletSplitSize, 10);
    settings->project->cloudHeader = {};
    Open(useDefaults);
    EXPECT_EQ(settings->skeletSplitSize, 0.84) << "a head file that does not say";
}

// BEHAVIOUR D9
TEST_F(PlaneParamsTest, DrawsWhatItShowsWhenItOpensAndAtView) {
    std::vector<double> drawn;
    const auto prepare = [&](PlaneParams& dialog) {
        dialog.DrawCallback([&](const PlaneWormSettings& tried) {
            drawn.push_back(tried.splitSize);
            EXPECT_EQ(tried.SplitSizeScaled(), tried.splitSize * 2.0);
            dialog.ShowPicture({0, 0, {}, L"drawn"});
        });
    };
    SetAlive(0.2);
    Open(
        [&](FakeWindow& w) {
            w.Step(PlaneRow::Decimetres, SliderStep::Up);
            EXPECT_EQ(drawn, std::vector{0.2});
            w.Press(PlaneButton::View);
            EXPECT_EQ(w.picture, L"drawn");
            EXPECT_EQ(w.log, L"") << "without an orbit the window stays";
            w.Press(PlaneButton::Cancel);
        },
        prepare);
    EXPECT_EQ(drawn, (std::vector{0.2, 0.3}));
    EXPECT_EQ(settings->splitSize, 0.2) << "the settings themselves wait for OK";
}

TEST_F(PlaneParamsTest, StandsAsideWhileTheUserOrbits) {
    FakeWindow* open = nullptr;
    Open(
        [&](FakeWindow& w) {
            open = &w;
            w.Press(PlaneButton::View);
            EXPECT_EQ(w.log, L"aside orbit back ");
        },
        [&](PlaneParams& dialog) { dialog.OrbitCallback([&] { open->log += L"orbit "; }); });
    PlaneParams plain(settings, false, 0, nullptr);
    plain.DrawCallback([](const PlaneWormSettings&) { ADD_FAILURE() << "no preview is offered"; });
    plain.UseWindow(std::make_unique<FakeWindow>([](FakeWindow& w) {
        EXPECT_FALSE(w.view);
        w.Press(PlaneButton::View);
        w.Press(PlaneButton::Cancel);
    }));
    EXPECT_EQ(plain.DoModal(), PlaneParams::kCancel);
}

TEST_F(PlaneParamsTest, SaysWhyItCouldNotOpen) {
    PlaneParams dialog(settings, false, 0, nullptr);
    dialog.UseWindow(std::make_unique<FakeWindow>(
        [](FakeWindow& w) { w.code = platform::RowWindow::kCannotOpen; }));
    EXPECT_EQ(dialog.DoModal(), PlaneParams::kCannotOpen);
    EXPECT_EQ(dialog.Trouble(), L"no screen");
}

TEST_F(PlaneParamsTest, MovesASliderOfTheHostsOwn) {
    PlaneParams dialog(settings, false, 0, nullptr);
    CSliderCtrl slider;
    slider.SetRange(3, 4);
    EXPECT_EQ(slider.GetPos(), 3);
    EXPECT_TRUE(dialog.RStep(&slider));
    EXPECT_FALSE(dialog.RStep(&slider));
    EXPECT_EQ(slider.GetPos(), 4);
    EXPECT_TRUE(dialog.LStep(&slider));
    EXPECT_FALSE(dialog.LStep(&slider));
}

TEST_F(PlaneParamsTest, SavesIntoTheProjectAndReadsItBackUnchanged) {
    test::ScratchFolder folder;
    const CString path = folder / L"scan.prj";
    test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(1)), path);
    settings = std::make_shared<PlaneWormSettings>(path, 1.0);
    Open([](FakeWindow& w) {
        w.Choose(1);
        w.Move(PlaneRow::Centimetres, 9);
        w.Move(PlaneRow::Angle, 11);
        w.Move(PlaneRow::Speed, 1);
    });
    settings->Save();
    const PlaneWormSettings kept(path, 1.0);
    EXPECT_EQ(kept.usage, 1);
    EXPECT_EQ(kept.splitSize, settings->skeletSplitSize);
    EXPECT_EQ(kept.diffA, detail::DiffOf(11));
    EXPECT_EQ(kept.minPlane, 400);
    EXPECT_EQ(kept.aliveMinPlane, 9);
}

// BEHAVIOUR D5
TEST(PlaneParamsValues, TellTheTurnThatNoNormalFailsAt) {
    EXPECT_NEAR(detail::PassingAngle(0.15), 8.602, 1e-3);
    EXPECT_EQ(detail::PassingAngle(2.5), 180);
    EXPECT_EQ(detail::PassingAngle(-1), 0);
    EXPECT_EQ(detail::PassingAngle(std::numeric_limits<double>::quiet_NaN()), 0);
    // By brute force: a normal turned by that angle about any axis differs by no more.
    const double radians = detail::PassingAngle(0.3) * std::acos(-1.0) / 180;
    for (double a = 0; a < 6.28; a += 0.01) {
        EXPECT_LE(std::fabs(std::cos(a + radians) - std::cos(a)), 0.3 + 1e-12);
    }
}

TEST(PlaneParamsValues, TakeAnyNumber) {
    for (const double wild : {1e300, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
        const auto centimetres = detail::CentimetresOf(wild);
        EXPECT_TRUE(centimetres == 0 || std::abs(double(centimetres)) > 2e9);
    }
}

// BEHAVIOUR D11
TEST(CaptionKeys, GiveEveryCaptionOfEveryLanguageAKeyOfItsOwn) {
    for (const int language : {0x409, 0x407, 0x40C, 0xC0A}) {
        UtilityLib::OverrideLocale(language);
        const auto content = detail::PlaneParamsContent(0);
        std::vector<CString> marked{content.choiceCaption};
        for (const platform::SliderRow& row : content.rows) marked.push_back(row.caption);
        for (const platform::WindowButton& button : content.buttons)
            if (button.role == platform::ButtonRole::Plain) marked.push_back(button.caption);
        ASSERT_EQ(marked.size(), 8u);
        std::set<wchar_t> keys;
        for (const CString& caption : marked) {
            const std::size_t at = caption.find(L'&');
            ASSERT_LT(at + 1, caption.size()) << platform::ToUtf8(caption);
            keys.insert(platform::FoldCase(caption.substr(at + 1, 1))[0]);
        }
        EXPECT_EQ(keys.size(), marked.size()) << std::hex << language;
    }
    UtilityLib::OverrideLocale(0x409);
}

TEST(CaptionKeys, PreferTheStartOfAWordAndDoubleAnAmpersand) {
    detail::CaptionKeys keys;
    EXPECT_EQ(keys.Mark(L"View"), L"&View");
    EXPECT_EQ(keys.Mark(L"Vast \u00E9tage"), L"V&ast \u00E9tage");
    EXPECT_EQ(keys.Mark(L"Very odd"), L"Very &odd");
    EXPECT_EQ(keys.Mark(L"R & D"), L"&R && D");
    EXPECT_EQ(keys.Mark(L"Voa"), L"Voa") << "every letter is taken";
}

}  // namespace
}  // namespace orvix
