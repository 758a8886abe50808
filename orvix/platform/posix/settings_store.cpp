// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/settings_store.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <pwd.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/posix/sqlite.h"
#include "orvix/platform/system.h"

namespace orvix::platform {
namespace {

using detail::Database;
using detail::Statement;

/// The database's user_version: 0 is a file that no change has reached yet, 1 the tables below.
constexpr std::int64_t kStoreVersion = 1;
constexpr const char* kCreateTables =
    "CREATE TABLE IF NOT EXISTS setting_keys("
    " folded TEXT PRIMARY KEY, path TEXT NOT NULL) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS setting_values("
    " key TEXT NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL, type INTEGER NOT NULL,"
    " bytes BLOB NOT NULL, PRIMARY KEY(key, folded)) WITHOUT ROWID;"
    "PRAGMA user_version=1;";

constinit std::atomic<int> quietSettings = 0;
constinit std::atomic<bool> troubleAnnounced[2] = {};

std::string HomeFolder() {
    const CString home = EnvironmentVariable("HOME");
    if (!home.empty()) return ToUtf8(home);
    // Entries are a few hundred bytes; directories of large sites have longer ones.
    std::vector<char> texts(std::size_t{1} << 16);
    passwd entry{};
    passwd* user = nullptr;
    const int failure = getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &user);
    return failure == 0 && user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

/// The folder that an XDG variable names; those that are not absolute do not count.
std::string ConfigurationFolder(const char* variable, const std::string& otherwise) {
    const std::string listed = ToUtf8(EnvironmentVariable(variable));
    const std::string first = listed.substr(0, listed.find(':'));
    return (first.starts_with('/') ? first : otherwise) + "/orvix";
}

std::string StoreFolder(HKEY root) {
    const std::string chosen = ToUtf8(EnvironmentVariable("ORVIX_SETTINGS_DIR"));
    if (!chosen.empty()) return chosen;  // BEHAVIOUR U9
    return root == kCurrentUser ? ConfigurationFolder("XDG_CONFIG_HOME", HomeFolder() + "/.config")
                                : ConfigurationFolder("XDG_CONFIG_DIRS", "/etc/xdg");
}

std::string StorePath(HKEY root) {
    return StoreFolder(root) + (root == kCurrentUser ? "/user.db" : "/machine.db");
}

/// A key path without empty parts, as spelled and as compared.
// BEHAVIOUR U8
struct KeyPath {
    explicit KeyPath(const CString& text) {
        CString joined;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find(L'\\', at), text.size());
            if (end > at) {
                if (!joined.empty()) joined += L'\\';
                joined.append(text, at, end - at);
            }
            at = end + 1;
        }
        path = ToUtf8(joined);
        folded = ToUtf8(FoldCase(joined));
    }
    std::string path;
    std::string folded;
};

std::string Folded(const CString& name) {
    return ToUtf8(FoldCase(name));
}

bool IsDamage(int result) {
    const int primary = result & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || primary == SQLITE_FORMAT ||
           primary == SQLITE_ERROR;
}

void Announce(HKEY root, const std::string& text) {
    if (quietSettings != 0) return;
    if (troubleAnnounced[static_cast<unsigned>(root)].exchange(true)) return;  // BEHAVIOUR U7
    ReportError(FromUtf8(text).c_str());
}

void AnnounceDamage(HKEY root, const std::string& cause) {
    Announce(root, "The settings file " + StorePath(root) + " cannot be used (" + cause +
                       "), default settings apply. Delete the file to start anew.");
}

void AnnounceRefusal(HKEY root, const char* what, const std::string& cause) {
    if (root != kCurrentUser) return;
    Announce(root, std::string("Settings cannot be ") + what + " " + StorePath(root) + " (" +
                       cause + "). Check the permissions of the file and of its folder.");
}

/// SQLITE_OK where the file ends where a page does. SQLite takes what a page lacks at its end for
/// zeros.
int RequireWholePages(HKEY root, Database& database) {
    Statement query(database, "PRAGMA page_size");
    const int result = query.Step();
    if (result != SQLITE_ROW) return result == SQLITE_DONE ? SQLITE_CORRUPT : result;
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(StorePath(root), error);
    if (error) return SQLITE_IOERR;
    const std::int64_t page = query.Number(0);
    const bool whole = page > 0 && bytes % static_cast<std::uintmax_t>(page) == 0;
    return whole ? SQLITE_OK : SQLITE_CORRUPT;
}

/// Reads the version, which begins the transaction in earnest; SQLITE_OK, or what stands in the
/// way of using the file. One of a newer version is as unusable as a damaged one.
int Examine(HKEY root, Database& database, std::int64_t& version) {
    Statement query(database, "PRAGMA user_version");
    const int result = query.Step();
    if (result != SQLITE_ROW) return result == SQLITE_DONE ? SQLITE_CORRUPT : result;
    version = query.Number(0);
    if (version > kStoreVersion) return SQLITE_FORMAT;
    return RequireWholePages(root, database);
}

std::string Cause(const Database& database, int result) {
    if (result == SQLITE_FORMAT) return "a newer program wrote it";
    return result == SQLITE_CORRUPT ? "it is damaged" : database.Message();
}

/// Reports to the user what `result` kept from being done. The store is let go of before: the host
/// may take its time over the message, and may use the store meanwhile.
void AnnounceTrouble(HKEY root, Database& database, int result, const char* what) {
    const std::string cause = Cause(database, result);
    database.Execute("ROLLBACK");
    if (IsDamage(result)) {
        AnnounceDamage(root, cause);
    } else {
        AnnounceRefusal(root, what, cause);
    }
}

Lookup Unreadable(HKEY root, Database& database, int result) {
    AnnounceTrouble(root, database, result, "read from");
    return Lookup::Unreadable;
}

bool StoreExists(HKEY root) {
    std::error_code ignored;
    return std::filesystem::exists(StorePath(root), ignored);
}

/// Runs `onRow` for each result row of a query.
template <class BindAll, class OnRow>
Lookup Query(HKEY root, std::string_view text, BindAll bindAll, OnRow onRow) {
    // Opened for writing where possible: a change that a killed process left half done must be
    // undone before reading.
    Database database(StorePath(root), SQLITE_OPEN_READWRITE);
    if (database.OpenResult() == SQLITE_CANTOPEN && !StoreExists(root)) return Lookup::Missing;
    std::int64_t version = 0;
    int result = database.OpenResult();
    if (result == SQLITE_OK) result = database.Execute("BEGIN");
    if (result == SQLITE_OK) result = Examine(root, database, version);
    if (result != SQLITE_OK) return Unreadable(root, database, result);
    if (version == 0) return Lookup::Missing;
    Statement statement(database, text);
    bindAll(statement);
    Lookup lookup = Lookup::Missing;
    while ((result = statement.Step()) == SQLITE_ROW) {
        onRow(statement);
        lookup = Lookup::Found;
    }
    return result == SQLITE_DONE ? lookup : Unreadable(root, database, result);
}

/// Makes one change, whole or not at all; false when the store refuses.
template <class Body>
bool Change(HKEY root, Body body) {
    std::error_code ignored;
    std::filesystem::create_directories(StoreFolder(root), ignored);
    Database database(StorePath(root), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    std::int64_t version = 0;
    int result = database.OpenResult();
    if (result == SQLITE_OK) result = database.Execute("BEGIN IMMEDIATE");
    if (result == SQLITE_OK) result = Examine(root, database, version);
    if (result == SQLITE_OK && version == 0) result = database.Execute(kCreateTables);
    if (result == SQLITE_OK) result = body(database);
    if (result == SQLITE_DONE) result = database.Execute("COMMIT");
    if (result == SQLITE_OK) return true;
    AnnounceTrouble(root, database, result, "saved in");
    return false;
}

int InsertKey(Database& database, const KeyPath& key) {
    return Statement(database, "INSERT INTO setting_keys VALUES(?1, ?2) ON CONFLICT DO NOTHING")
        .Bind(key.folded)
        .Bind(key.path)
        .Step();
}

/// True for the key itself and for those below it ("]" follows "\" in byte order).
constexpr std::string_view kListQuery =
    "SELECT path, name, type, bytes FROM setting_keys k JOIN setting_values v ON v.key = k.folded"
    " WHERE ?1 = '' OR k.folded = ?1 OR (k.folded > ?1 || '\\' AND k.folded < ?1 || ']')"
    " ORDER BY k.folded, v.folded";
constexpr std::string_view kKeyQuery =
    "SELECT 1 FROM setting_keys"
    " WHERE folded = ?1 OR (folded > ?1 || '\\' AND folded < ?1 || ']') LIMIT 1";

constexpr std::string_view kValueQuery =
    "SELECT type, bytes FROM setting_values WHERE key = ?1 AND folded = ?2";

StoredSetting SettingAt(const Statement& row, int column) {
    return {static_cast<std::uint32_t>(row.Number(column)), row.Bytes(column + 1)};
}

int PutSetting(Database& database, const KeyPath& path, const CString& name, std::uint32_t type,
               std::span<const std::byte> bytes) {
    const int result = InsertKey(database, path);
    if (result != SQLITE_DONE) return result;
    return Statement(database,
                     "INSERT INTO setting_values VALUES(?1, ?2, ?3, ?4, ?5)"
                     " ON CONFLICT DO UPDATE SET type = ?4, bytes = ?5"
                     " WHERE type <> ?4 OR bytes <> ?5")
        .Bind(path.folded)
        .Bind(Folded(name))
        .Bind(ToUtf8(name))
        .Bind(static_cast<std::int64_t>(type))
        .Bind(bytes)
        .Step();
}

}  // namespace

Lookup LookUpSetting(HKEY root, const CString& key, const CString& name, StoredSetting& value) {
    return Query(
        root, kValueQuery,
        [&](Statement& query) { query.Bind(KeyPath(key).folded).Bind(Folded(name)); },
        [&](const Statement& row) { value = SettingAt(row, 0); });
}

bool StoreSetting(HKEY root, const CString& key, const CString& name, std::uint32_t type,
                  std::span<const std::byte> bytes) {
    return Change(root, [&](Database& database) {
        return PutSetting(database, KeyPath(key), name, type, bytes);
    });
}

bool StoreSettingOver(HKEY root, const CString& key, const CString& name,
                      const std::optional<StoredSetting>& seen, std::uint32_t type,
                      std::span<const std::byte> bytes) {
    return Change(root, [&](Database& database) -> int {
        const KeyPath path(key);
        std::optional<StoredSetting> now;
        {
            Statement query(database, kValueQuery);
            const int result = query.Bind(path.folded).Bind(Folded(name)).Step();
            if (result != SQLITE_ROW && result != SQLITE_DONE) return result;
            if (result == SQLITE_ROW) now = SettingAt(query, 0);
        }
        return now == seen ? PutSetting(database, path, name, type, bytes) : SQLITE_DONE;
    });
}

bool CreateSettingKey(HKEY root, const CString& key) {
    return Change(root, [&](Database& database) { return InsertKey(database, KeyPath(key)); });
}

bool SettingKeyExists(HKEY root, const CString& key) {
    return Query(
               root, kKeyQuery, [&](Statement& query) { query.Bind(KeyPath(key).folded); },
               [](const Statement&) {}) == Lookup::Found;
}

bool RemoveSetting(HKEY root, const CString& key, const CString& name) {
    if (!QuerySetting(root, key, name)) return false;
    bool removed = false;
    const bool done = Change(root, [&](Database& database) {
        const int result =
            Statement(database, "DELETE FROM setting_values WHERE key = ?1 AND folded = ?2")
                .Bind(KeyPath(key).folded)
                .Bind(Folded(name))
                .Step();
        removed = sqlite3_changes(database.Get()) != 0;
        return result;
    });
    return done && removed;
}

std::vector<NamedSetting> ListSettings(HKEY root, const CString& keyPrefix) {
    std::vector<NamedSetting> settings;
    Query(
        root, kListQuery, [&](Statement& query) { query.Bind(KeyPath(keyPrefix).folded); },
        [&](const Statement& row) {
            settings.push_back({FromUtf8(row.Text(0)), FromUtf8(row.Text(1)), SettingAt(row, 2)});
        });
    return settings;
}

const char* SettingsPlace() {
    return "the user's configuration folder; ORVIX_SETTINGS_DIR names another";
}

const char* SettingsRemedy(Lookup lookup) {
    return lookup == Lookup::Unreadable
               ? "the settings file is damaged, or not open to you; delete it to start anew, or "
                 "name "
                 "another folder in ORVIX_SETTINGS_DIR"
               : "make the settings folder writable, or name another one in ORVIX_SETTINGS_DIR";
}

QuietSettings::QuietSettings() {
    ++quietSettings;
}
QuietSettings::~QuietSettings() {
    --quietSettings;
}

}  // namespace orvix::platform
