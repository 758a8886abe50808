// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/task_notes.h"

#include <fmt/format.h>

#include <random>
#include <span>
#include <system_error>

#include "importer/files/whole_file.h"
#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

constexpr std::uint64_t kLongestNote = std::uint64_t{1} << 31;

std::string SumLine(std::string_view text) {
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    return fmt::format("\ncrc32c {:08x}\n", platform::Crc32c(bytes));
}

constexpr std::size_t kChanceDigits = 16;

// NAME.0123456789abcdef, or that with an ending of a part's file.
bool IsUnfinished(const CString& name) {
    const std::size_t dot = name.find(L'.');
    for (std::size_t at = dot; at != CString::npos; at = name.find(L'.', at + 1)) {
        const CString digits = name.substr(at + 1, name.find(L'.', at + 1) - at - 1);
        if (digits.size() == kChanceDigits &&
            digits.find_first_not_of(L"0123456789abcdef") == CString::npos)
            return true;
    }
    return false;
}

Expected<std::string> ReadText(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (!error && file.Size() > kLongestNote) return FailDamagedNote(path);
    std::string text;
    if (!error) {
        text.resize(static_cast<std::size_t>(file.Size()));
        text.resize(file.ReadAt(0, text.data(), text.size(), error));
    }
    if (error) return FailSystem(error, fmt::format("cannot read {}", ToUtf8(path)));
    return text;
}

}  // namespace

Json TextJson(const std::string& text) {
    Json json = text;
    try {
        static_cast<void>(json.dump());
        return json;
    } catch (const Json::exception&) {
        return std::vector<std::uint8_t>(text.begin(), text.end());
    }
}

std::string StringOf(const Json& json) {
    if (json.is_string()) return json.get<std::string>();
    const auto bytes = json.get<std::vector<std::uint8_t>>();
    return {bytes.begin(), bytes.end()};
}

tl::unexpected<Error> FailDamagedNote(const CString& path) {
    return Fail(ErrorCode::Damaged,
                fmt::format("{} is not what a task of the import wrote; remove it and go on with "
                            "--resume, or begin anew without it",
                            ToUtf8(path)));
}

CString TaskNotes::PathOf(const std::string& file) const {
    return platform::JoinPath(folder_, platform::FromUtf8(file));
}

bool TaskNotes::Has(const std::string& note) const {
    return platform::PathExists(PathOf(note + ".json"));
}

Expected<Json> TaskNotes::Read(const std::string& note) const {
    const CString path = PathOf(note + ".json");
    const Expected<std::string> text = ReadText(path);
    if (!text) return ErrorOf(text);
    const std::size_t end = text->rfind('\n', text->empty() ? 0 : text->size() - 2);
    if (end == std::string::npos || text->substr(end) != SumLine(text->substr(0, end)))
        return FailDamagedNote(path);
    Json content = Json::parse(text->begin(), text->begin() + static_cast<std::ptrdiff_t>(end),
                               nullptr, false);
    if (content.is_discarded()) return FailDamagedNote(path);
    return content;
}

Expected<void> TaskNotes::Write(const std::string& note, const Json& content) const {
    std::string text;
    try {
        text = content.dump();
    } catch (const Json::exception&) {
        return Fail(ErrorCode::Failure,
                    fmt::format("{}: a name is not valid UTF-8", ToUtf8(PathOf(note + ".json"))));
    }
    text += SumLine(text);
    const CString path = NewPath(note);
    auto done = WriteNewFile(path, text.data(), text.size());
    if (done) done = Publish(path, PathOf(note + ".json"));
    std::error_code ignored;
    if (!done) platform::RemoveFile(path, ignored);
    return done;
}

// What killed tasks were writing: their names have more digits than any other.
void TaskNotes::RemoveUnfinished() const {
    std::error_code ignored;
    for (const CString& name : platform::ListFolder(folder_, ignored)) {
        if (IsUnfinished(name)) platform::RemoveFile(platform::JoinPath(folder_, name), ignored);
    }
}

void TaskNotes::Remove(const std::string& note) const {
    std::error_code ignored;
    platform::RemoveFile(PathOf(note + ".json"), ignored);
}

CString TaskNotes::NewPath(const std::string& file) const {
    std::random_device source;
    return PathOf(fmt::format("{}.{:08x}{:08x}", file, source(), source()));
}

Expected<void> TaskNotes::Publish(const CString& from, const CString& to) {
    std::error_code error;
    platform::Rename(from, to, error);
    if (!error) return {};
    // Some systems replace no file that is open: another process has the same result there already.
    if (error == std::errc::permission_denied && platform::PathExists(to)) {
        platform::RemoveFile(from, error);
        return {};
    }
    return FailSystem(error, fmt::format("cannot rename {} to {}", ToUtf8(from), ToUtf8(to)));
}

}  // namespace orvix::importer
