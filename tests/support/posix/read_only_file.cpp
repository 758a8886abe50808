// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/read_only_file.h"

#include <filesystem>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace orvix::test {
namespace {

namespace fs = std::filesystem;

constexpr fs::perms kWrite =
    fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;

fs::path Native(const CString& path) {
    const std::string utf8 = platform::ToUtf8(path);
    return std::u8string(utf8.begin(), utf8.end());
}

#ifndef _WIN32
constexpr uid_t kNobody = 65'534;

std::uint32_t ActAs(std::uint32_t user) {
    const uid_t before = geteuid();
    if (before == 0 || user == 0) (void)!seteuid(user);
    return before;
}
#else
constexpr std::uint32_t kNobody = 0;

std::uint32_t ActAs(std::uint32_t) {
    return 0;
}
#endif

}  // namespace

ReadOnlyFile::ReadOnlyFile(const CString& tree, const CString& file) : file_(file) {
    for (const auto& entry : fs::recursive_directory_iterator(Native(tree))) {
        fs::permissions(entry.path(), kWrite, fs::perm_options::add);
    }
    fs::permissions(Native(file), kWrite, fs::perm_options::remove);
    user_ = ActAs(kNobody);
}

ReadOnlyFile::~ReadOnlyFile() {
    ActAs(user_);
    fs::permissions(Native(file_), fs::perms::owner_write, fs::perm_options::add);
}

}  // namespace orvix::test
