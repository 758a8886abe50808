// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "orvix/planes/dialog/plane_params.h"
#include "orvix/planes/dialog/plane_params_values.h"
#include "orvix/platform/utility_lib.h"
#include "tests/planes/dialog/window_driver.h"
#include "tests/support/settings_sandbox.h"

namespace orvix {
namespace {

using detail::PlaneButton;
using detail::PlaneRow;
using platform::SliderStep;
using test::Key;
using test::WindowDriver;

/// The system's own window, used from a second thread; what was set is read from the settings.
struct RealWindow : testing::Test {
    RealWindow() { UtilityLib::OverrideLocale(0x409); }

    using Script = std::function<void()>;

    int Open(const Script& script) {
        PlaneParams dialog(settings, true, 0, nullptr);
        return Run(dialog, script);
    }

    int Run(PlaneParams& dialog, const Script& script) {
        ticks = 0;
        std::atomic<bool> done = false;
        dialog.TickCallback([this, &dialog, &done, late = 0]() mutable {
            ++ticks;
            if (!done || ++late < kLateTicks) return;
            ADD_FAILURE() << "the window stayed open";
            dialog.OnBnClickedCancel();
        });
        driver = WindowDriver::Make();
        std::thread user([&] {
            Settle();
            script();
            done = true;
        });
        const int code = dialog.DoModal();
        // A window that never came would be waited for in vain.
        if (code == PlaneParams::kCannotOpen) ticks = kNever;
        EXPECT_NE(code, PlaneParams::kCannotOpen) << platform::ToUtf8(dialog.Trouble());
        closed = true;
        user.join();
        closed = false;
        EXPECT_TRUE(done);
        return code;
    }

    /// Until what was done has arrived: ticks come after everything else that waits.
    void Settle() {
        const int seen = ticks;
        while (ticks < seen + 2 && ticks < kNever && !closed)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    /// A toolkit may show a button pressed for a while before it is.
    void SettleUntil(const std::function<bool()>& arrived) {
        for (int i = 0; i < 200 && !arrived(); ++i) Settle();
    }
    void Press(Key key, int times = 1) {
        for (int i = 0; i < times; ++i) driver->Press(key), Settle();
    }
    void Alt(char key) { driver->PressWithAlt(key), Settle(); }
    template <class... Arguments>
    void Click(Arguments... arguments) {
        driver->Click(arguments...), Settle();
    }

    static constexpr int kNever = 1 << 30;
    static constexpr int kLateTicks = 60;
    test::SettingsSandbox sandbox;
    std::shared_ptr<PlaneWormSettings> settings =
        std::make_shared<PlaneWormSettings>(false, true, ProjectManager(), 1.0);
    std::unique_ptr<WindowDriver> driver;
    std::atomic<int> ticks = 0;
    std::atomic<bool> closed = false;
};

TEST_F(RealWindow, LeadsTheTabKeyThroughItsControlsInOrder) {
    std::vector<std::string> order;
    const int code = Open([&] {
        for (int i = 0; i < 11; ++i) {
            order.push_back(driver->Focus());
            Press(Key::Tab);
        }
        Press(Key::Escape);
    });
    EXPECT_EQ(code, PlaneParams::kCancel);
    EXPECT_THAT(order, testing::ElementsAre("choice", "slider 0", "slider 1", "slider 2",
                                            "slider 3", "slider 4", "button 0", "button 1",
                                            "button 2", "button 3", "choice"));
}

TEST_F(RealWindow, MovesSlidersByTheSameKeysEverywhere) {
    const int code = Open([&] {
        Alt('m');
        EXPECT_EQ(driver->Focus(), "slider 0");
        Press(Key::Right);
        EXPECT_EQ(driver->Value(PlaneRow::Metres), L"1 m");
        Press(Key::Up, 4);
        Press(Key::Left);
        Press(Key::Down);
        EXPECT_EQ(driver->Value(PlaneRow::Metres), L"3 m");
        Press(Key::PageUp, 2);
        Press(Key::PageDown);
        EXPECT_EQ(driver->Value(PlaneRow::Metres), L"5 m");
        Alt('a');
        EXPECT_EQ(driver->Focus(), "slider 3");
        Press(Key::PageUp);
        EXPECT_EQ(driver->Value(PlaneRow::Angle).substr(0, 3), L"30 ");
        Alt('p');
        Press(Key::Right, 3);
        EXPECT_EQ(driver->Value(PlaneRow::Speed), L"Fast");
        Press(Key::Enter);
    });
    EXPECT_EQ(code, PlaneParams::kOk);
    EXPECT_EQ(settings->skeletSplitSize, 5.4);
    EXPECT_EQ(settings->skeletDiffB, detail::DiffOf(30));
    EXPECT_EQ(settings->skeletMinPlane, 100);
    EXPECT_EQ(settings->aliveSplitSize, 0.1);
}

TEST_F(RealWindow, SwitchesSetsAndStepsByButtons) {
    settings->defaultStepB = 0.14;
    const int code = Open([&] {
        Alt('s');
        Press(Key::Up);
        EXPECT_EQ(driver->Value(PlaneRow::Decimetres), L"1 dcm") << "the alive set";
        Click(PlaneRow::Centimetres, SliderStep::Up);
        Click(PlaneRow::Centimetres, SliderStep::Up);
        Click(PlaneRow::Decimetres, SliderStep::Down);
        EXPECT_EQ(driver->Focus(), "slider 1") << "where the mouse left off";
        Alt('s');
        Press(Key::Down);
        EXPECT_EQ(driver->Value(PlaneRow::Decimetres), L"4 dcm");
        Click(PlaneRow::Metres, SliderStep::Up);
        Alt('s');
        Press(Key::Up);
        EXPECT_EQ(driver->Value(PlaneRow::Centimetres), L"2 cm");
        Click(PlaneButton::Ok);
    });
    EXPECT_EQ(code, PlaneParams::kOk);
    EXPECT_EQ(settings->usage, 0);
    EXPECT_EQ(settings->aliveSplitSize, 0.02);
    EXPECT_EQ(settings->skeletSplitSize, 1.4);
    EXPECT_EQ(Open([&] { Click(PlaneButton::Default), Click(PlaneButton::Ok); }), PlaneParams::kOk);
    EXPECT_EQ(settings->splitSize, 0.14);
}

TEST_F(RealWindow, CancelsByButtonEscapeAndFrame) {
    const Script changes = [&] { Click(PlaneRow::Angle, SliderStep::Up); };
    EXPECT_EQ(Open([&] { changes(), Click(PlaneButton::Cancel); }), PlaneParams::kCancel);
    EXPECT_EQ(Open([&] { changes(), Press(Key::Escape); }), PlaneParams::kCancel);
    EXPECT_EQ(Open([&] { changes(), driver->CloseFrame(), Settle(); }), PlaneParams::kCancel);
    EXPECT_EQ(settings->skeletDiffA, 0.15);
}

TEST_F(RealWindow, ShowsPicturesAndStandsAsideForTheOrbit) {
    PlaneParams dialog(settings, true, 0, nullptr);
    bool visibleInOrbit = true;
    std::atomic<int> drawn = 0;
    dialog.DrawCallback([&](const PlaneWormSettings&) {
        // A text at first, then a picture of two pixels, the second by the window's own tick.
        const std::vector<std::uint8_t> rgb{255, 0, 0, 0, 0, 255};
        if (++drawn == 1) return;
        dialog.ShowPicture(drawn == 2 ? platform::WindowPicture{0, 0, {}, L"<searching>"}
                                      : platform::WindowPicture{2, 1, rgb, {}});
    });
    dialog.OrbitCallback([&] { visibleInOrbit = driver->Visible(); });
    const int code = Run(dialog, [&] {
        const int narrow = driver->Width();
        Click(PlaneButton::View);
        const int wide = driver->Width();
        EXPECT_GT(wide, narrow + 200);
        Alt('v');
        SettleUntil([&] { return drawn == 3; });
        EXPECT_EQ(driver->Width(), wide) << "it grows once";
        EXPECT_TRUE(driver->Visible());
        Press(Key::Escape);
    });
    EXPECT_EQ(code, PlaneParams::kCancel);
    EXPECT_EQ(drawn, 3);
    EXPECT_FALSE(visibleInOrbit);
}

TEST_F(RealWindow, HasRoomForEveryTextInEveryLanguage) {
    for (const int language : {0x409, 0x407, 0x40C, 0xC0A}) {
        UtilityLib::OverrideLocale(language);
        for (const int stepClass : {0, 1, 2, 3}) {
            settings->stepClass = stepClass;
            settings->skeletMinPlane = stepClass == 0 ? 400 : stepClass;
            settings->skeletDiffA = 1.5;
            Open([&] {
                EXPECT_THAT(driver->CutOff(), testing::IsEmpty()) << std::hex << language;
                Press(Key::Escape);
            });
        }
    }
}

}  // namespace
}  // namespace orvix
