// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

using Json = nlohmann::json;

/// The results of tasks on the disk: one note each, and files that notes speak of.
///
/// A note is a line of JSON and a line with the sum of the first, written under a name of its own,
/// brought to the device and renamed: it is there as a whole or not at all. A task whose note is
/// there is done. Two processes may write the same note: both write the same.
///
/// Errors   with the file's name; Damaged for a note that does not match its sum.
/// Threads  any number.
class TaskNotes {
public:
    explicit TaskNotes(CString folder) : folder_(std::move(folder)) {}

    [[nodiscard]] const CString& Folder() const { return folder_; }
    [[nodiscard]] CString PathOf(const std::string& file) const;
    [[nodiscard]] bool Has(const std::string& note) const;
    [[nodiscard]] Expected<Json> Read(const std::string& note) const;
    Expected<void> Write(const std::string& note, const Json& content) const;
    void Remove(const std::string& note) const;
    /// Removes what killed tasks were writing. Precondition no task is running.
    void RemoveUnfinished() const;

    /// A name in the folder that no other process uses; `Publish` gives its file the final name.
    [[nodiscard]] CString NewPath(const std::string& file) const;
    static Expected<void> Publish(const CString& from, const CString& to);

private:
    CString folder_;
};

/// A text in a note; bytes that are no UTF-8, as a path may hold, are a list of numbers.
Json TextJson(const std::string& text);
std::string StringOf(const Json& json);

/// The failure for a note whose content is not what it should be.
tl::unexpected<Error> FailDamagedNote(const CString& path);

/// Reads something out of a note: what `read` throws about its shape becomes that failure.
template <class Read>
auto ReadNote(const TaskNotes& notes, const std::string& note, const Read& read)
    -> Expected<decltype(read(std::declval<const Json&>()))> {
    const Expected<Json> content = notes.Read(note);
    if (!content) return ErrorOf(content);
    try {
        return read(*content);
    } catch (const Json::exception&) {
        return FailDamagedNote(notes.PathOf(note + ".json"));
    }
}

}  // namespace orvix::importer
