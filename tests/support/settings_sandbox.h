// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace orvix::test {

/// While it lives, this process keeps its settings in a place of its own, empty at first.
///
/// Boundaries the values that the library reads while it is loaded come before any sandbox: on
///            Linux the tests' own environment sends those elsewhere (cmake/OrvixHelpers.cmake).
class SettingsSandbox {
public:
    SettingsSandbox();
    ~SettingsSandbox();
    SettingsSandbox(const SettingsSandbox&) = delete;
    SettingsSandbox& operator=(const SettingsSandbox&) = delete;

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The same for programs that this process starts, as far as the plane search settings go.
class ChildSettingsSandbox {
public:
    ChildSettingsSandbox();
    ~ChildSettingsSandbox();
    ChildSettingsSandbox(const ChildSettingsSandbox&) = delete;
    ChildSettingsSandbox& operator=(const ChildSettingsSandbox&) = delete;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orvix::test
