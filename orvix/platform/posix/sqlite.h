// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::platform::detail {

/// One connection to a database file. The result of each call is SQLite's own code.
class Database {
public:
    /// `flags` as for sqlite3_open_v2. A file that cannot be written opens for reading.
    Database(const std::string& path, int flags) {
        sqlite3* opened = nullptr;
        result_ = sqlite3_open_v2(path.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
        connection_.reset(opened);
        if (opened == nullptr) return;
        sqlite3_busy_timeout(opened, kBusyMilliseconds);
        Distrust(opened);
    }

    [[nodiscard]] int OpenResult() const { return result_; }
    [[nodiscard]] sqlite3* Get() const { return connection_.get(); }
    [[nodiscard]] std::string Message() const { return sqlite3_errmsg(connection_.get()); }

    int Execute(const char* statements) {
        return sqlite3_exec(connection_.get(), statements, nullptr, nullptr, nullptr);
    }

private:
    /// A database file may hold statements of its own, views and triggers, that run when its tables
    /// are asked: for ever, or until memory ends. The store has none, so a file with some is damaged.
    static void Distrust(sqlite3* opened) {
        sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
        sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
        sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, kLongestValue);
    }

    /// Bytes of a row at most; what hosts store are kilobytes.
    static constexpr int kLongestValue = 1 << 26;
    /// How long a call waits for another process to finish its change.
    static constexpr int kBusyMilliseconds = 5000;

    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    std::unique_ptr<sqlite3, Close> connection_;
    int result_ = SQLITE_OK;
};

/// One prepared statement; parameters are bound in order, results read by column from 0.
class Statement {
public:
    Statement(Database& database, std::string_view text) {
        sqlite3_stmt* prepared = nullptr;
        result_ = sqlite3_prepare_v2(database.Get(), text.data(), static_cast<int>(text.size()),
                                     &prepared, nullptr);
        statement_.reset(prepared);
    }

    Statement& Bind(const std::string& text) {
        sqlite3_bind_text64(statement_.get(), ++bound_, text.data(), text.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8);
        return *this;
    }
    Statement& Bind(std::int64_t number) {
        sqlite3_bind_int64(statement_.get(), ++bound_, number);
        return *this;
    }
    Statement& Bind(std::span<const std::byte> bytes) {
        // A null address would bind a null instead of an empty value.
        const void* const data = bytes.empty() ? "" : static_cast<const void*>(bytes.data());
        sqlite3_bind_blob64(statement_.get(), ++bound_, data, bytes.size(), SQLITE_TRANSIENT);
        return *this;
    }

    /// SQLITE_ROW, SQLITE_DONE or an error, that of the preparation included.
    int Step() { return result_ == SQLITE_OK ? sqlite3_step(statement_.get()) : result_; }

    [[nodiscard]] std::int64_t Number(int column) const {
        return sqlite3_column_int64(statement_.get(), column);
    }
    [[nodiscard]] std::string Text(int column) const {
        const std::vector<std::byte> bytes = Bytes(column);
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    [[nodiscard]] std::vector<std::byte> Bytes(int column) const {
        const auto* const data =
            static_cast<const std::byte*>(sqlite3_column_blob(statement_.get(), column));
        const int size = sqlite3_column_bytes(statement_.get(), column);
        return data == nullptr ? std::vector<std::byte>()
                               : std::vector<std::byte>(data, data + size);
    }

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    int result_ = SQLITE_OK;
    int bound_ = 0;
};

}  // namespace orvix::platform::detail
