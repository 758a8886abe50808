// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/import_marks.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <string_view>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::detail {
namespace {

constexpr std::string_view kStart = "orvix import 1\n";
constexpr std::string_view kEnd = "\nend\n";
constexpr std::size_t kLongestText = 256;

// The content of a file that is no longer than any such text.
std::optional<std::string> ReadStart(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error || file.Size() > kLongestText) return std::nullopt;
    std::string text(kLongestText, '\0');
    text.resize(file.ReadAt(0, text.data(), text.size(), error));
    if (error) return std::nullopt;
    return text;
}

}  // namespace

ImportMarks::ImportMarks(const CString& project) {
    const CString working = platform::RemoveExtension(project) + L".importing";
    note = working + L".note";
    workingProject = working + L".prj";
    workingFiles = working + L"_Project_Files";
    aside = working + L"_Replaced_Files";
    tasks = working + L"_Tasks";
    lock = working + L".lock";
}

CString ImportMarks::TasksOf(const std::string& text) const {
    constexpr std::string_view kNumber = "number ";
    constexpr std::size_t kDigits = 16;
    const std::size_t at = text.find(kNumber);
    const std::string number =
        at == std::string::npos ? std::string() : text.substr(at + kNumber.size(), kDigits);
    return platform::JoinPath(tasks, platform::FromUtf8(number));
}

CString ImportMarks::MarkerIn(const CString& folder) {
    return platform::JoinPath(folder, L"importing");
}

std::string NewImportText() {
    std::random_device source;
    const std::uint64_t number = std::uint64_t{source()} << 32 | source();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
    return fmt::format("{}started {} s after 1970-01-01 UTC\nnumber {:016x}{}", kStart, seconds,
                       number, kEnd);
}

std::string ReadImportText(const CString& path) {
    const std::string text = ReadStart(path).value_or(std::string());
    return text.starts_with(kStart) && text.ends_with(kEnd) ? text : std::string();
}

MarkerState MarkerStateOf(const CString& folder, const std::string& text) {
    const CString marker = ImportMarks::MarkerIn(folder);
    if (!platform::PathExists(marker)) return MarkerState::None;
    const std::optional<std::string> found = ReadStart(marker);
    if (!found) return MarkerState::Unreadable;
    return *found == text ? MarkerState::Own : MarkerState::Other;
}

bool IsUnfinishedImportText(const CString& path) {
    const std::optional<std::string> text = ReadStart(path);
    if (!text || platform::IsLink(path) || text->ends_with(kEnd)) return false;
    return kStart.starts_with(std::string_view(*text).substr(0, kStart.size()));
}

bool IsHalfReplaced(const CString& project) {
    const ImportMarks marks(project);
    if (!platform::PathExists(marks.workingProject)) return false;
    const std::string text = ReadImportText(marks.note);
    const CString folder = platform::RemoveExtension(project) + L"_Project_Files";
    return !text.empty() && MarkerStateOf(folder, text) == MarkerState::Own;
}

Expected<void> RequireNotHalfReplaced(const CString& project) {
    if (!IsHalfReplaced(project)) return {};
    return Fail(
        ErrorCode::Damaged,
        fmt::format("{} is being replaced by an import, or the import was ended on the way: "
                    "its folder is the new one, its settings are the former ones; the next "
                    "'orvix import' of it brings the former folder back",
                    platform::ToUtf8(project)));
}

}  // namespace orvix::detail
