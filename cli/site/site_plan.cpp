// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/site/site_plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/unfinished_file.h"
#include "orvix/points/stream_hash.h"
#include "output/file_ending.h"

namespace orvix::cli {

namespace {

// Of files that hold nothing but scans. Other text files are imported by themselves.
constexpr std::array kEndings{L".e57", L".las", L".laz", L".pcd",
                              L".ply", L".ptx", L".pts", L".xyz"};
constexpr std::array kOwnFolders{L"_Project_Files", L"_Tasks"};
constexpr const wchar_t* kStampFolder = L"orvix-site";
constexpr std::uint64_t kMark = std::uint64_t{1} << 20;

bool IsScan(const CString& name) {
    return std::any_of(kEndings.begin(), kEndings.end(),
                       [&](const wchar_t* ending) { return output::HasEnding(name, ending); });
}

bool IsOwn(const CString& name) {
    return name == kStampFolder ||
           std::any_of(kOwnFolders.begin(), kOwnFolders.end(),
                       [&](const CString& ending) { return name.ends_with(ending); });
}

// "floor 1/hall.e57" -> "floor 1%2Fhall.e57": one file name, and no two scans have the same.
std::string FileNameFor(const std::string& scan) {
    std::string name;
    for (const char c : scan) {
        if (c == '/') {
            name += "%2F";
        } else if (c == '%') {
            name += "%25";
        } else {
            name += c;
        }
    }
    return name;
}

class Finder {
public:
    explicit Finder(const SiteOptions& options) : options_(options) {}

    Expected<void> Look(const CString& folder, const std::string& before) {
        std::error_code error;
        const std::vector<CString> names = platform::ListFolder(folder, error);
        if (error) return FailSystem(error, platform::ToUtf8(folder) + " could not be read");
        for (const CString& name : names) {
            const CString path = platform::JoinPath(folder, name);
            const std::string its = before + platform::ToUtf8(name);
            if (platform::IsLink(path)) continue;
            if (platform::IsFolder(path)) {
                if (IsOwn(name)) continue;
                if (auto looked = Look(path, its + "/"); !looked) return looked;
            } else if (IsScan(name)) {
                SiteScan scan{its, path, ProjectOf(its), 0};
                platform::QueryFileSize(path, scan.bytes);
                scans_.push_back(std::move(scan));
            }
        }
        return {};
    }
    std::vector<SiteScan> Take() {
        std::sort(scans_.begin(), scans_.end(),
                  [](const SiteScan& a, const SiteScan& b) { return a.name < b.name; });
        return std::move(scans_);
    }

private:
    // The scan's whole name, so that hall.e57 and hall.las are two projects. BEHAVIOUR C21
    [[nodiscard]] CString ProjectOf(const std::string& name) const {
        CString path = options_.to;
        for (std::size_t at = 0; at <= name.size();) {
            const std::size_t end = std::min(name.find('/', at), name.size());
            path = platform::JoinPath(path, platform::FromUtf8(name.substr(at, end - at)));
            at = end + 1;
        }
        return path + L".prj";
    }

    const SiteOptions& options_;
    std::vector<SiteScan> scans_;
};

// The size of a scan and its first and last megabyte. BEHAVIOUR C21
std::uint64_t MarkOf(const SiteScan& scan) {
    detail::StreamHash hash;
    hash.Add(&scan.bytes, sizeof scan.bytes);
    std::error_code error;
    const platform::File file = platform::File::OpenRead(scan.path, error);
    std::vector<char> part(static_cast<std::size_t>(std::min(kMark, scan.bytes)));
    for (const std::uint64_t at : {std::uint64_t{0}, scan.bytes - part.size()}) {
        if (error) break;
        const std::size_t read = file.ReadAt(at, part.data(), part.size(), error);
        hash.Add(part.data(), read);
    }
    return hash.Value();
}

// A step's words without the places of its files.
std::vector<std::string> ChoicesOf(const SiteOptions& options, const std::string& step) {
    std::vector<std::string> words{step};
    const auto& more = step == "import" ? options.import : options.planes;
    if (step != "check") words.insert(words.end(), more.begin(), more.end());
    if (step == "planes") words.emplace_back("--save");
    return words;
}

std::string KeyOf(const std::vector<std::string>& words, const std::string& before) {
    std::string all = before;
    for (const std::string& word : words) all += '\0' + word;
    return fmt::format("{:016x}", detail::HashOf(all.data(), all.size()));
}

std::optional<Json> ReadJson(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return std::nullopt;
    std::string text(static_cast<std::size_t>(file.Size()), '\0');
    text.resize(file.ReadAt(0, text.data(), text.size(), error));
    Json json = Json::parse(text, nullptr, false);
    if (error || !json.is_object()) return std::nullopt;
    return json;
}

Expected<void> WriteText(const CString& path, const std::string& text) {
    std::error_code error;
    platform::UnfinishedFile file(path, L".orvix-part", error);
    if (!error) file.Append(text.data(), text.size(), error);
    if (!error) file.Publish(error);
    if (error) return FailSystem(error, platform::ToUtf8(path) + " could not be written");
    return {};
}

void Remove(const CString& path) {
    std::error_code ignored;  // what stays is written anew
    platform::RemoveFile(path, ignored);
}

}  // namespace

const char* WordOf(SiteStep::State state) {
    switch (state) {
        case SiteStep::State::Done:
            return "done";
        case SiteStep::State::ToDo:
            return "to-do";
        case SiteStep::State::Ran:
            return "ran";
        case SiteStep::State::Failed:
            return "failed";
        case SiteStep::State::Left:
            break;
    }
    return "left";
}

Expected<std::vector<SiteScan>> FindScans(const SiteOptions& options) {
    const std::string folder = platform::ToUtf8(options.folder);
    if (!platform::IsFolder(options.folder))
        return Fail(ErrorCode::BadInput, folder + " is no folder of scans");
    Finder finder(options);
    if (auto looked = finder.Look(options.folder, ""); !looked) return ErrorOf(looked);
    std::vector<SiteScan> all = finder.Take();
    if (all.empty())
        return Fail(ErrorCode::BadInput,
                    folder +
                        " holds no scans: files that end in .e57, .las, .laz, .pcd, .ply, "
                        ".ptx, .pts or .xyz");
    if (options.scans.empty()) return all;
    std::vector<SiteScan> some;
    for (const std::string& name : options.scans) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const SiteScan& scan) { return scan.name == name; });
        if (found == all.end())
            return Fail(ErrorCode::BadInput, fmt::format("{} holds no scan {}", folder, name));
        some.push_back(*found);
    }
    return some;
}

CString StampFolderOf(const SiteOptions& options) {
    return platform::JoinPath(options.to, kStampFolder);
}

std::vector<std::string> WordsOf(const SiteOptions& options, const SiteScan& scan,
                                 const std::string& step) {
    std::vector<std::string> words = ChoicesOf(options, step);
    if (step == "import") words.push_back(platform::ToUtf8(scan.path));
    words.push_back(platform::ToUtf8(scan.project));
    return words;
}

SiteStamps::SiteStamps(const SiteOptions& options, const SiteScan& scan)
    : options_(options),
      scan_(scan),
      folder_(StampFolderOf(options)),
      key_(fmt::format("{:016x}", MarkOf(scan))) {}

CString SiteStamps::PathOf(const std::string& step, const std::string& ending) const {
    return platform::JoinPath(
        folder_, platform::FromUtf8(fmt::format("{}.{}{}", FileNameFor(scan_.name), step, ending)));
}

bool SiteStamps::IsDone(const std::string& step) const {
    const auto stamp = ReadJson(PathOf(step, ".json"));
    return stamp && stamp->value("key", "") == KeyOf(ChoicesOf(options_, step), key_) &&
           platform::PathExists(scan_.project);
}

std::string SiteStamps::FailureOf(const std::string& step) const {
    const auto stamp = ReadJson(PathOf(step, ".failed.json"));
    if (!stamp || stamp->value("key", "") != KeyOf(ChoicesOf(options_, step), key_)) return {};
    return stamp->value("message", "");
}

bool SiteStamps::HasBegun() const {
    return platform::PathExists(PathOf("import", ".json")) ||
           platform::PathExists(PathOf("import", ".begun"));
}

Expected<void> SiteStamps::Begin(const std::string& step) const {
    if (step == "import")
        if (auto noted = WriteText(PathOf(step, ".begun"), key_ + "\n"); !noted) return noted;
    bool later = false;
    for (const char* each : kSiteSteps) {
        later |= each == step;
        if (later) Remove(PathOf(each, ".json"));
    }
    Remove(PathOf(step, ".failed.json"));
    return {};
}

Expected<void> SiteStamps::Write(const std::string& step, const std::string& ending,
                                 Json content) const {
    Json stamp = Json::object();
    stamp["scan"] = scan_.name;
    stamp["step"] = step;
    stamp["key"] = KeyOf(ChoicesOf(options_, step), key_);
    stamp.update(content);
    return WriteText(PathOf(step, ending), JsonText(stamp));
}

Expected<void> SiteStamps::Finish(const std::string& step, const Json& result) const {
    auto written = Write(step, ".json", Json{{"result", result}});
    if (written) Remove(PathOf(step, ".begun"));
    return written;
}

Expected<void> SiteStamps::Fail(const std::string& step, int code,
                                const std::string& message) const {
    return Write(step, ".failed.json", Json{{"exit", code}, {"message", message}});
}

}  // namespace orvix::cli
