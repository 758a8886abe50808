// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>

#include "cli/known_settings.h"
#include "cli/verbs.h"

namespace orvix::cli {

namespace {

Json NumberOf(const KnownSetting& setting, double value) {
    if (IsWhole(setting)) return static_cast<std::int64_t>(value);
    return value;
}

Json JsonOf(const KnownSetting& setting) {
    const SettingValue now = ReadSetting(setting);
    Json json = Json::object();
    json["name"] = setting.name;
    json["value"] = NumberOf(setting, now.value);
    json["default"] = NumberOf(setting, setting.defaultValue);
    json["stored"] = now.stored;
    json["root"] = setting.root == kCurrentUser ? "user" : "machine";
    json["key"] = platform::ToUtf8(setting.key);
    json["meaning"] = setting.meaning;
    return json;
}

std::string LineOf(const KnownSetting& setting) {
    const SettingValue now = ReadSetting(setting);
    return fmt::format("{:<17}{:>9}  {}{}\n", setting.name, ValueText(setting, now.value),
                       setting.meaning, now.stored ? "" : " (default)");
}

tl::unexpected<Error> Unknown(const std::string& name) {
    std::string known;
    for (const KnownSetting& setting : KnownSettings())
        known += (known.empty() ? "" : ", ") + std::string(setting.name);
    return Fail(ErrorCode::BadInput,
                fmt::format("there is no setting {}; the settings are {}", name, known));
}

Expected<Outcome> RunList() {
    Outcome outcome;
    outcome.json["settings"] = Json::array();
    for (const KnownSetting& setting : KnownSettings()) {
        outcome.json["settings"].push_back(JsonOf(setting));
        outcome.text += LineOf(setting);
    }
    return outcome;
}

Expected<Outcome> RunGet(const std::string& name) {
    const KnownSetting* setting = FindSetting(name);
    if (setting == nullptr) return Unknown(name);
    return Outcome{JsonOf(*setting), ValueText(*setting, ReadSetting(*setting).value) + "\n"};
}

Expected<Outcome> RunSet(const std::string& name, const std::string& value) {
    const KnownSetting* setting = FindSetting(name);
    if (setting == nullptr) return Unknown(name);
    if (auto written = WriteSetting(*setting, value); !written) return ErrorOf(written);
    return Outcome{JsonOf(*setting), LineOf(*setting)};
}

Expected<Outcome> RunReset(const std::vector<std::string>& names) {
    std::vector<const KnownSetting*> chosen;
    for (const std::string& name : names) {
        chosen.push_back(FindSetting(name));
        if (chosen.back() == nullptr) return Unknown(name);
    }
    if (names.empty())
        for (const KnownSetting& setting : KnownSettings()) chosen.push_back(&setting);
    Outcome outcome;
    outcome.json["reset"] = Json::array();
    for (const KnownSetting* setting : chosen) {
        const Expected<bool> reset = ResetSetting(*setting);
        if (!reset) return ErrorOf(reset);
        if (!*reset) continue;
        outcome.json["reset"].push_back(setting->name);
        outcome.text += LineOf(*setting);
    }
    if (outcome.text.empty()) outcome.text = "every default held already\n";
    return outcome;
}

void AddListAndGet(CLI::App& settings, CommandContext& context) {
    AddVerb(settings, context, "list", "Show every setting with its value, default and meaning",
            "  orvix settings list\n  orvix settings list --json",
            [](CommandContext&) { return RunList(); });
    const auto name = std::make_shared<std::string>();
    CLI::App* get =
        AddVerb(settings, context, "get", "Show one setting", "  orvix settings get SplitSize",
                [name](CommandContext&) { return RunGet(*name); });
    get->add_option("name", *name, "The setting")->required()->type_name("NAME");
}

void AddSetAndReset(CLI::App& settings, CommandContext& context) {
    const auto name = std::make_shared<std::string>();
    const auto value = std::make_shared<std::string>();
    CLI::App* set = AddVerb(settings, context, "set", "Change one setting",
                            "  orvix settings set SplitSize 0.25",
                            [name, value](CommandContext&) { return RunSet(*name, *value); });
    set->add_option("name", *name, "The setting")->required()->type_name("NAME");
    set->add_option("value", *value, "Its new value")->required()->type_name("VALUE");
    const auto names = std::make_shared<std::vector<std::string>>();
    CLI::App* reset = AddVerb(settings, context, "reset", "Return settings to their defaults",
                              "  orvix settings reset SplitSize DiffA\n"
                              "  orvix settings reset                   all of them",
                              [names](CommandContext&) { return RunReset(*names); });
    reset->add_option("names", *names, "The settings; none: all")->type_name("NAME...");
}

}  // namespace

void AddSettingsVerb(CLI::App& app, CommandContext& context) {
    CLI::App* settings = app.add_subcommand("settings", "Show and change the user's settings");
    settings->require_subcommand(1);
    settings->footer(fmt::format("Settings are kept in {}.", platform::SettingsPlace()));
    AddListAndGet(*settings, context);
    AddSetAndReset(*settings, context);
}

}  // namespace orvix::cli
