// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/read_only_file.h"

#include <filesystem>
#include <unistd.h>

namespace orvix::test {
namespace {

namespace fs = std::filesystem;

constexpr fs::perms kWrite =
    fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
constexpr uid_t kNobody = 65'534;

// The real user changes as well: a program that is started with two different ones counts as
// privileged and cannot be looked into, which the leak check at its end has to do.
std::uint32_t ActAs(std::uint32_t user) {
    const uid_t before = geteuid();
    if (before == 0 || user == 0) (void)!setresuid(user, user, 0);
    return before;
}

}  // namespace

ReadOnlyFile::ReadOnlyFile(const CString& tree, const CString& file) : file_(file) {
    for (const auto& entry : fs::recursive_directory_iterator(platform::ToUtf8(tree))) {
        fs::permissions(entry.path(), kWrite, fs::perm_options::add);
    }
    fs::permissions(platform::ToUtf8(file), kWrite, fs::perm_options::remove);
    user_ = ActAs(kNobody);
}

ReadOnlyFile::~ReadOnlyFile() {
    ActAs(user_);
    fs::permissions(platform::ToUtf8(file_), fs::perms::owner_write, fs::perm_options::add);
}

}  // namespace orvix::test
